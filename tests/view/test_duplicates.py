"""Duplicates: groups side by side, and what is kept of them."""

import json
import pathlib
from collections.abc import Iterator

import pytest
from browser import Browser
from pictures import PALETTES, Photos
from served import ServedLibrary


@pytest.fixture
def twins(tmp_path: pathlib.Path, photos: Photos) -> Iterator[ServedLibrary]:
    """A library in which each landscape is twice."""
    served = ServedLibrary(tmp_path)
    photos.made = 0
    files = [photos.photo(f'TWIN_{number}.JPG', f'2024:05:{number % len(PALETTES) + 1:02} 12:00:00')
             for number in range(2 * len(PALETTES))]
    served.command('import', '-q', *files)
    served.command('duplicates', '--update')
    yield served
    served.end_daemon()


def test_the_best_is_kept_with_one_key_and_others_are_told_apart(browser: Browser, twins: ServedLibrary) -> None:
    with twins.view() as address:
        browser.driver.get(address)
        browser.wait_for_grid()
        browser.named('Duplicates', 'nav').click()
        browser.wait(lambda: len(browser.all('.group')) == len(PALETTES), 'not every pair is a group')
        group = browser.all('.group')[0]
        assert 'same picture' in group.text
        # What is the same is not stressed.
        differing = browser.run(
            "return [...arguments[0].querySelectorAll('.differs')].map((each) => each.textContent)", group)
        assert any('TWIN_' in each for each in differing) and not any('×' in each for each in differing)
        # Some differ by one byte.
        sizes = browser.run("""
            return [...document.querySelectorAll('.group')].map((group) => [...group.querySelectorAll('.differs')]
                .map(({textContent}) => textContent).filter((text) => /byte|kB/.test(text)))""")
        assert any(sizes) and all(len(set(each)) == len(each) for each in sizes)
        browser.run('arguments[0].focus()', group)
        browser.press('k')
        browser.toast('1 item moved to the trash')
        browser.wait(lambda: len(browser.all('.group')) == len(PALETTES) - 1, 'the group stays')
        browser.named('Undo', '.toast').click()
        browser.toast('1 item restored')
        twins.command('duplicates', '--update')
        browser.wait(lambda: len(browser.all('.group')) == len(PALETTES), 'the group does not come back')
        browser.run("document.querySelector('.group').focus()")
        browser.press('k')
        browser.wait(lambda: len(browser.all('.group')) == len(PALETTES) - 1, 'the group stays the second time')
        # The next group has the focus.
        browser.press('n')
        browser.wait(lambda: len(browser.all('.group')) == len(PALETTES) - 2, 'the group that is none stays')
        assert len(json.loads(twins.command('list', '--json'))) == 2 * len(PALETTES) - 1
        # What another program does is followed.
        focused = browser.run('return document.activeElement.best')
        other = browser.run("return [...document.querySelectorAll('.group')].find((each) => "
                            "each !== document.activeElement).best")
        twins.command('delete', '--yes', other)
        browser.wait(lambda: len(browser.all('.group')) == len(PALETTES) - 3, 'a group of one stays')
        assert browser.run('return document.activeElement.best') == focused
        browser.driver.refresh()
        browser.wait(lambda: len(browser.all('.group')) == len(PALETTES) - 3, 'what was decided is forgotten')
