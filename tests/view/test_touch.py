"""What fingers do, and dragging."""

from browser import Browser
from served import ServedLibrary


def touch(page: Browser, kind: str, *points: tuple[float, float]) -> None:
    page.driver.execute_cdp_cmd('Input.dispatchTouchEvent', {
        'type': kind, 'touchPoints': [{'x': x, 'y': y, 'id': number} for number, (x, y) in enumerate(points)]})


def test_a_long_press_selects_and_swipes_and_pinches_move_large_pictures(page: Browser) -> None:
    page.driver.execute_cdp_cmd('Emulation.setTouchEmulationEnabled', {'enabled': True, 'maxTouchPoints': 2})
    page.resize(360, 740)
    page.wait(lambda: page.run("return document.querySelector('.grid').clientWidth") < 360, 'no new width')
    cell = page.wait_for_grid()[0]
    at = (cell['left'] + 30, cell['top'] + 30)
    touch(page, 'touchStart', at)
    page.wait(lambda: page.one_or_none('.selection-bar'), 'a long press does not select')
    touch(page, 'touchEnd')
    assert [each['index'] for each in page.cells() if each['isSelected']] == [0]
    page.named('Clear the selection').click()
    page.cell(0).click()
    first = page.wait(page.large_picture, 'no large picture')
    touch(page, 'touchStart', (300, 300))
    for x in (260, 200, 140, 80):
        touch(page, 'touchMove', (x, 302))
    touch(page, 'touchEnd')
    page.wait(lambda: (now := page.large_picture()) and now['src'] != first['src'], 'a swipe does not go on')
    touch(page, 'touchStart', (160, 300), (200, 300))
    for step in (20, 40, 60):
        touch(page, 'touchMove', (160 - step, 300), (200 + step, 300))
    touch(page, 'touchEnd')
    page.wait(lambda: page.one_or_none('.stage.zoomed'), 'a pinch does not zoom')


def test_photos_are_dragged_to_an_album(page: Browser, library: ServedLibrary) -> None:
    library.command('album', 'create', 'Trips')
    try:
        page.run('''
            window.dragged = new DataTransfer();
            const facts = {bubbles: true, cancelable: true, dataTransfer: window.dragged};
            const event = (name) => new DragEvent(name, facts);
            document.querySelector('.cell').dispatchEvent(event('dragstart'));
            window.dropOn = (place) => ['dragover', 'drop'].forEach((name) => place.dispatchEvent(event(name)));''')
        page.wait(lambda: page.run("return [...document.querySelectorAll('.tray-album')].some((each) => "
                                   "each.textContent === 'Trips')"), 'the albums do not appear')
        page.run("window.dropOn([...document.querySelectorAll('.tray-album')].find((each) => "
                 "each.textContent === 'Trips'))")
        page.toast('1 item added to “Trips”')
        assert '"assetCount": 1' in library.command('album', 'list', '--json')
    finally:
        library.command('album', 'delete', 'Trips', '--yes')


def test_files_are_dropped_on_the_page(page: Browser) -> None:
    page.run('''
        const data = new DataTransfer();
        data.items.add(new File(['no photo'], 'dropped.txt'));
        const event = (name) => new DragEvent(name, {bubbles: true, cancelable: true, dataTransfer: data});
        document.body.dispatchEvent(event('dragover'));
        window.isTarget = !document.querySelector('.drop-target').hidden;
        document.body.dispatchEvent(event('drop'));''')
    assert page.run('return window.isTarget')
    page.wait(lambda: 'dropped.txt' in page.one('.refusals').text, 'it is not tried')
