"""What a checker for assistive technology finds on each part of the page."""

from browser import CONTROL, Browser


def serious(page: Browser, axe: str) -> list[str]:
    page.run(axe)
    found: list[str] = page.module('''
        const {violations} = await axe.run(document, {resultTypes: ['violations']});
        return violations.filter(({impact}) => ['serious', 'critical'].includes(impact)).map(({id, nodes}) =>
            `${id}: ${nodes.slice(0, 3).map(({html, failureSummary}) => `${html} ${failureSummary}`).join(' / ')}`);''')
    return found


def test_nothing_serious_is_found(page: Browser, axe: str) -> None:
    found = {'photos': serious(page, axe)}
    page.click_with(CONTROL, page.cell(0))
    page.one('.selection-bar')
    found['selection'] = serious(page, axe)
    page.press('?')
    page.one('dialog')
    found['help'] = serious(page, axe)
    page.named('Close', 'dialog').click()
    page.one('.search-input').send_keys('2019 kind:photo')
    page.one('.chip')
    page.wait_for_grid()
    found['search'] = serious(page, axe)
    page.cell(0).click()
    page.wait(page.large_picture, 'no large picture')
    page.press('i')
    page.one('.facts textarea')
    found['large view'] = serious(page, axe)
    page.named('Close').click()
    for name in ('Albums', 'Duplicates', 'Trash'):
        page.named(name, 'nav').click()
        page.wait(lambda: page.one('.page h1').text == name, f'{name} does not open')
        found[name] = serious(page, axe)
    page.resize(360, 740, is_dark=True)
    page.named('Photos', 'nav').click()
    page.wait_for_grid()
    found['narrow and dark'] = serious(page, axe)
    assert {name: each for name, each in found.items() if each} == {}
