"""Looking at the library: the grid, going through time, large pictures."""

import pathlib
import signal
import urllib.request
from urllib.error import HTTPError

import pytest
from browser import CONTROL, DOWN, END, ENTER, ESCAPE, LEFT, RIGHT, SPACE, TAB, UP, Browser
from conftest import COUNT
from pictures import Photos
from served import ServedLibrary


def test_the_grid_shows_the_newest_days_first_and_only_what_is_near(page: Browser) -> None:
    cells = page.wait_for_grid()
    assert [each['index'] for each in cells] == list(range(len(cells)))
    assert 'November' in cells[0]['name'] and '2025' in cells[0]['name']
    shown = page.run("return document.querySelectorAll('.cell').length")
    assert len(cells) <= shown < COUNT
    height = page.run("return document.querySelector('.spacer').offsetHeight")
    page.run("document.querySelector('.scroll').scrollTop = arguments[0]", height)
    page.wait(lambda: page.wait_for_grid()[-1]['index'] == COUNT, 'the oldest photo does not appear')
    assert '2018' in page.cells()[-1]['name']
    # The layout did not change while pictures arrived.
    assert page.run("return document.querySelector('.spacer').offsetHeight") == height


def test_the_newest_are_shown_before_the_whole_timeline_is_known(browser: Browser, address: str) -> None:
    browser.driver.execute_cdp_cmd('Page.addScriptToEvaluateOnNewDocument', {'source': """
        const real = window.fetch;
        const held = new Promise((resolve) => { window.letGo = resolve; });
        window.fetch = async (address, options) => {
            if (address === '/api/sections?unit=day')
                await held;
            return real(address.replace('first=400', 'first=40'), options);
        };"""})
    browser.driver.get(address)
    browser.wait_for_sharp_grid()
    assert browser.one_or_none('.scrubber') is None
    browser.run("""
        window.before = new Map([...document.querySelectorAll('.cell')].map((cell) => [cell, cell.loading]));
        letGo();""")
    scrubber = browser.one('.scrubber')
    browser.wait_for_grid()
    # What was there does not blink.
    assert browser.run('return [...before].every(([cell, loading]) => cell.isConnected && cell.loading === loading)')
    browser.run('arguments[0].focus()', scrubber)
    browser.press(END)
    browser.wait(lambda: browser.wait_for_grid()[-1]['index'] == COUNT, 'the oldest photo does not appear')


def test_pictures_stand_beside_each_other_without_overlap(page: Browser) -> None:
    for width in (1280, 360):
        page.resize(width, 800)
        page.wait(lambda: page.run("return document.querySelector('.grid').clientWidth") < width, 'no new width')
        cells = page.wait_for_grid()
        right = page.run("return document.querySelector('.grid').getBoundingClientRect().right")
        for one in cells:
            assert one['width'] > 20 and one['left'] + one['width'] <= right + 1
            for other in cells:
                assert one is other or one['left'] + one['width'] <= other['left'] or \
                    other['left'] + other['width'] <= one['left'] or one['top'] + one['height'] <= other['top'] or \
                    other['top'] + other['height'] <= one['top'], (one, other)
        assert page.run('return document.documentElement.scrollWidth') <= width


def test_a_click_counts_although_a_sharper_picture_arrives_during_it(page: Browser) -> None:
    page.resize(600, 800)
    page.wait(lambda: page.run("return document.querySelector('.row').clientWidth") < 600, 'no new width')
    page.wait_for_sharp_grid()
    cell = page.cell(0)
    page.actions().click_and_hold(cell).perform()
    page.resize(600, 800, density=3)
    page.run("document.querySelector('.scroll').scrollTop += 1")
    page.wait(lambda: page.run('return arguments[0].density === 3', cell), 'no sharper picture arrives')
    page.actions().release().perform()
    page.wait(page.large_picture, 'the click is lost')


def test_the_scrubber_goes_to_another_year(page: Browser) -> None:
    scrubber = page.one('.scrubber')
    assert '2025' in scrubber.get_attribute('aria-valuetext')
    page.run('arguments[0].focus()', scrubber)
    page.press(END)
    page.wait(lambda: '2018' in page.one('.scrubber').get_attribute('aria-valuetext'), 'the scrubber does not move')
    assert '2018' in page.wait_for_grid()[-1]['name']
    page.run('''
        const {left, top, height} = arguments[0].getBoundingClientRect();
        const at = {clientX: left + 4, clientY: top + height / 2, button: 0, pointerId: 1, bubbles: true};
        arguments[0].setPointerCapture = () => {};
        for (const name of ['pointerdown', 'pointerup'])
            arguments[0].dispatchEvent(new PointerEvent(name, at));''', scrubber)
    page.wait(lambda: any(year in page.one('.scrubber').get_attribute('aria-valuetext') for year in ('2021', '2022')),
              'a press in the middle does not go to the middle')
    page.wait_for_grid()


def test_a_photo_is_turned_compared_and_reverted_in_the_large_view(page: Browser) -> None:
    page.cell(1).click()
    before = page.wait(page.large_picture, 'no large picture')
    assert before is not None
    page.named('Turn left').click()
    page.wait(lambda: (turned := page.large_picture()) and turned['src'] != before['src'] and
              turned['width'] * before['width'] > 0 and
              (turned['width'] > turned['height']) != (before['width'] > before['height']), 'the picture does not turn')
    page.named('Compare with original').click()
    page.wait(lambda: page.run("return [...document.querySelectorAll('figure img')].filter((each) => "
                               'each.naturalWidth > 0).length') == 2, 'the versions do not stand side by side')
    page.named('Revert to original').click()
    page.wait(lambda: (reverted := page.large_picture()) and
              (reverted['width'] > reverted['height']) == (before['width'] > before['height']), 'it does not turn back')
    # One keeps one's place in time.
    page.press(ESCAPE)
    page.wait(lambda: page.run('return document.activeElement.index') == 1, 'the focus does not return')


def test_facts_are_shown_and_set(page: Browser, library: ServedLibrary) -> None:
    page.cell(1).click()
    page.press('i')
    caption = page.one('.facts textarea')
    caption.send_keys('A red lake')
    keywords = page.one('.facts input[type=text]')
    keywords.send_keys('lake, evening', TAB)
    page.run("document.querySelectorAll('.facts [type=radio]')[3].click()")
    uuid = page.run("return location.hash.split('open=')[1]")
    page.wait(lambda: all(part in library.command('show', uuid, '--json') for part in
                          ('A red lake', 'evening', '"rating": 4')), 'the facts do not arrive')


def test_arrow_keys_go_from_picture_to_picture(page: Browser) -> None:
    page.cell(0).click()
    first = page.wait(page.large_picture, 'no large picture')
    assert first is not None
    page.press(RIGHT)
    page.wait(lambda: (now := page.large_picture()) and now['src'] != first['src'], 'the next one does not appear')
    page.press(LEFT)
    page.wait(lambda: (now := page.large_picture()) and now['src'].split('?')[0].split('/')[4] ==
              first['src'].split('/')[4], 'the one before does not appear')
    # The large view is an address of its own.
    page.driver.refresh()
    page.wait(page.large_picture, 'it is not there after loading the page again')
    page.driver.back()


def test_a_video_plays_from_where_one_wants(page: Browser) -> None:
    page.one('.search-input').send_keys('kind:video')
    page.wait(lambda: len(page.cells()) == 1 and page.cells()[0]['isLoaded'], 'the video is not found')
    page.cell(0).click()
    page.one('.stage video')
    assert page.module('''
        const video = document.querySelector('.stage video');
        if (video.readyState < 1)
            await new Promise((resolve, reject) => {
                video.addEventListener('loadedmetadata', resolve);
                video.addEventListener('error', () => reject(video.error.message));
            });
        const sought = new Promise((resolve) => video.addEventListener('seeked', resolve));
        video.currentTime = 1.5;
        await sought;
        return [Math.round(video.duration), video.currentTime];''') == [2, 1.5]


def test_the_keyboard_alone_suffices(page: Browser) -> None:
    page.press('/')
    page.press('k', 'i', 'n', 'd', ':', 'p', 'h', 'o', 't', 'o', ENTER)
    page.wait(lambda: page.run("return document.activeElement.classList.contains('cell')"), 'the grid has no focus')
    at = page.run('return document.activeElement.index')
    page.press(RIGHT, SPACE, RIGHT, SPACE)
    page.wait(lambda: [each['index'] for each in page.cells() if each['isSelected']] == [at + 1, at + 2],
              'they are not selected')
    page.press(ESCAPE)
    page.wait(lambda: not any(each['isSelected'] for each in page.cells()), 'the selection stays')
    page.press(DOWN)
    below = page.run('return document.activeElement.index')
    assert below > at + 2
    page.press(UP, END)
    page.wait(lambda: page.run('return document.activeElement.index') == COUNT - 1, 'the last one has no focus')
    page.press(ENTER)
    page.wait(page.large_picture, 'no large picture')
    page.press(ESCAPE)
    page.wait(lambda: page.run('return document.activeElement.index') == COUNT - 1, 'the focus is lost')
    page.chord(CONTROL, 'a')
    page.wait(lambda: page.one('.selection-count').text == f'{COUNT} selected', 'not all are selected')
    page.press(ESCAPE)
    page.press('?')
    assert 'Extend the selection' in page.one('dialog').text
    page.press(ESCAPE)
    page.wait(lambda: not page.all('dialog'), 'the list of keys stays')
    # Exactly one cell can be reached by the Tab key.
    assert page.run("return document.querySelectorAll('.cell[tabindex=\"0\"]').length") == 1


def test_a_killed_daemon_is_started_again_and_changes_are_followed(
        page: Browser, library: ServedLibrary, photos: Photos) -> None:
    page.wait_for_grid()
    library.end_daemon(signal.SIGKILL)
    library.command('import', '-q', photos.photo('LATE.JPG', '2025:12:30 10:00:00'))
    page.wait(lambda: 'December' in page.cells()[0]['name'], 'the new photo does not appear by itself')
    uuid = page.wait_for_grid()[0]['id']
    page.wait(lambda: not page.one_or_none('.banner'), 'the message stays')
    library.command('delete', '--yes', uuid)
    page.wait(lambda: 'December' not in page.cells()[0]['name'], 'the deleted photo stays')


def test_the_page_says_that_its_server_has_ended(browser: Browser, library: ServedLibrary) -> None:
    with library.view() as address:
        browser.driver.get(address)
        browser.wait_for_grid()
    assert 'wickerlane view' in browser.one('.banner').text
    # What was there is still shown.
    assert all(each['isLoaded'] for each in browser.cells())


def test_what_goes_without_the_cookie_is_refused(address: str) -> None:
    base = address.split('/?')[0]
    with pytest.raises(HTTPError) as refused:
        urllib.request.urlopen(f'{base}/api/session')
    assert refused.value.code == 403


def test_a_view_for_reading_only_offers_no_changes(browser: Browser, library: ServedLibrary) -> None:
    with library.view('--read-only') as address:
        browser.driver.get(address)
        browser.wait_for_grid()
        browser.cell(0).click()
        browser.wait(browser.large_picture, 'no large picture')
        names = browser.run("return [...document.querySelectorAll('button')].filter((each) => "
                            "each.getClientRects().length > 0).map((each) => each.getAttribute('aria-label'))")
        assert not {'Favourite', 'Turn left', 'Delete', 'Import'} & set(names)
        assert 'Download' in names


@pytest.mark.parametrize('language, direction', [('en', 'ltr'), ('ar', 'rtl')])
def test_the_page_is_pictured(tmp_path: pathlib.Path, library: ServedLibrary, screenshots: pathlib.Path, language: str,
                              direction: str) -> None:
    browser = Browser(tmp_path / 'profile', language)
    try:
        with library.view() as address:
            browser.driver.get(address)
            browser.wait_for_grid()
            document = browser.run('return [document.documentElement.lang, document.documentElement.dir]')
            assert document == [language, direction]
            for width in (1280, 360):
                for is_dark in (False, True):
                    browser.resize(width, 800, is_dark)
                    browser.wait_for_sharp_grid()
                    name = f'{language}-{width}-{"dark" if is_dark else "light"}.png'
                    assert browser.driver.save_screenshot(str(screenshots / name))
                    assert browser.run('return document.documentElement.scrollWidth') <= width
    finally:
        browser.end()
