"""Finding and changing things: search, albums, importing, the trash."""

import json
import pathlib
import zipfile
from collections.abc import Callable

from browser import CONTROL, DELETE, ENTER, ESCAPE, SHIFT, Browser
from conftest import COUNT
from pictures import Photos
from served import ServedLibrary


def found(page: Browser) -> str | None:
    element = page.one_or_none('.found')
    return element.text if element else None


def search(page: Browser, text: str) -> None:
    box = page.one('.search-input')
    box.clear()
    box.send_keys(text)


def test_results_appear_as_one_types_and_chips_say_what_is_set(page: Browser) -> None:
    search(page, 'august 2019')
    page.wait(lambda: [each.text for each in page.all('.chip')] == ['August 2019'], 'no chip')
    page.wait(lambda: found(page) == '2 items', 'August 2019 is not found')
    assert all('August' in each['name'] for each in page.wait_for_grid())
    search(page, '2019 IMG_0030')
    page.wait(lambda: found(page) == '1 item', 'the name is not found')
    page.named('Remove IMG_0030').click()
    page.wait(lambda: found(page) == '25 items', 'the words stay')
    search(page, 'nothing of this kind')
    page.wait(lambda: 'Nothing matches' in page.one('.empty').text, 'something matches')
    page.driver.back()
    page.wait(lambda: found(page) is None and len(page.cells()) > 2, 'there is no way back')


def test_an_album_is_made_of_a_selection_and_changed(page: Browser) -> None:
    page.click_with(CONTROL, page.cell(1))
    page.click_with(SHIFT, page.cell(3))
    page.wait(lambda: page.one('.selection-count').text == '3 selected', 'three are not selected')
    page.named('Add to album', '.selection-bar').click()
    page.named('New album', 'dialog').click()
    page.one('dialog input').send_keys('Lakes', ENTER)
    page.toast('3 items added to “Lakes”')
    page.named('Albums', 'nav').click()
    page.wait(lambda: 'Lakes' in page.one('.album').text and '3 items' in page.one('.album').text, 'no album')
    page.click('.album')
    page.wait(lambda: len(page.cells()) == 3 and page.wait_for_grid(), 'the album does not show its photos')
    page.click_with(CONTROL, page.cell(0))
    page.named('Remove from the album', '.selection-bar').click()
    page.wait(lambda: len(page.cells()) == 2, 'the photo stays in the album')
    page.named('Undo', '.toast').click()
    page.wait(lambda: len(page.cells()) == 3, 'the photo does not return')
    page.named('Rename the album').click()
    box = page.one('dialog input')
    box.clear()
    box.send_keys('Ponds', ENTER)
    page.wait(lambda: page.one('.timeline-head h1').text == 'Ponds', 'the album keeps its name')
    page.named('Delete the album', '.timeline-head').click()
    page.named('Delete the album', 'dialog').click()
    page.wait(lambda: 'no albums' in page.one('.page').text, 'the album stays')


def test_photos_are_selected_by_day_and_by_a_rectangle(page: Browser) -> None:
    page.run("document.querySelector('.day-pick').click()")
    page.wait(lambda: page.one_or_none('.selection-bar'), 'no day is selected')
    assert page.cells()[0]['isSelected'] and not page.cells()[-1]['isSelected']
    page.press(ESCAPE)
    page.wait(lambda: not page.one_or_none('.selection-bar'), 'the selection stays')
    cells = page.wait_for_grid()
    last = cells[2]
    actions = page.actions()
    pointer = actions.w3c_actions.pointer_action
    pointer.move_to_location(10, int(cells[0]['top']) - 40)
    pointer.pointer_down()
    pointer.move_to_location(30, int(cells[0]['top']) - 20)
    pointer.move_to_location(int(last['left']) + 20, int(last['top']) + 20)
    pointer.pointer_up()
    actions.perform()
    page.wait(lambda: [each['index'] for each in page.cells() if each['isSelected']][:3] == [0, 1, 2],
              'the rectangle selects nothing')


def test_files_are_imported_and_refused_with_a_reason(page: Browser, photos: Photos, library: ServedLibrary) -> None:
    note = photos.folder / 'note.txt'
    note.write_text('This is no photo.')
    new = photos.photo('NEW.JPG', '2025:12:24 18:00:00')
    page.run("document.querySelector('input[type=file]').removeAttribute('accept')")
    page.all('input[type=file]')[0].send_keys(f'{new}\n{note}')
    page.wait(lambda: 'December' in page.cells()[0]['name'], 'the new photo does not appear')
    page.wait(lambda: '1 refused' in page.one('.import-text').text, 'the note is not refused')
    assert 'note.txt' in page.one('.refusals').text and len(page.one('.refusals').text) > len('note.txt') + 10
    page.all('input[type=file]')[0].send_keys(str(new))
    page.wait(lambda: 'there already' in page.one('.import-text').text, 'it is taken twice')
    uuid = page.cells()[0]['id']
    assert 'NEW.JPG' in library.command('show', uuid)
    library.command('delete', '--yes', uuid)
    page.wait(lambda: 'December' not in page.cells()[0]['name'], 'the deleted photo stays')


def test_a_dropped_folder_is_imported_with_the_folders_in_it(page: Browser, tmp_path: pathlib.Path, photos: Photos,
                                                             library: ServedLibrary) -> None:
    inner = tmp_path / 'trip/day'
    inner.mkdir(parents=True)
    for number, folder in enumerate((inner.parent, inner)):
        made = photos.photo(f'DROPPED_{number}.JPG', f'2025:12:2{number} 18:00:00')
        made.rename(folder / made.name)
    (inner / '.hidden').write_text('Left alone.')
    page.drop(inner.parent)
    page.wait(lambda: [each['name'] for each in page.cells()[:2] if 'December' in each['name']][1:], 'not both appear')
    page.wait(lambda: page.one('.import-text').text, 'nothing says how it went')
    assert not page.one_or_none('.refusals li')
    library.command('delete', '--yes', 'DROPPED_0.JPG', 'DROPPED_1.JPG')
    page.wait(lambda: 'December' not in page.cells()[0]['name'], 'the deleted photos stay')


def test_files_of_one_shot_are_imported_together(page: Browser, tmp_path: pathlib.Path, photos: Photos,
                                                 library: ServedLibrary) -> None:
    folder = tmp_path / 'shots'
    (folder / '.trash').mkdir(parents=True)
    for name, filmed in (('PAIR', '2025-12-20T17:00:02Z'), ('APART', '2025-12-19T03:07:00Z')):
        for made in (photos.photo(f'{name}.JPG', '2025:12:20 18:00:00'), photos.clip(f'{name}.MP4', filmed)):
            made.rename(folder / made.name)
        (folder / f'{name}.xmp').write_text(f'<{name}/>', encoding='utf-8')
    photos.photo('HIDDEN.JPG', '2025:12:20 18:00:00').rename(folder / '.trash/HIDDEN.JPG')
    page.drop(folder)
    page.wait(lambda: page.one('.import-text').text == '3 items imported', 'not three are imported')
    assert not page.one_or_none('.refusals li')
    kept = {}
    for name in ('PAIR.JPG', 'APART.JPG', 'APART.MP4'):
        shown = json.loads(library.command('show', name, '--json'))
        sidecar = pathlib.Path(shown['sidecar']).read_text(encoding='utf-8')
        kept[name] = (shown.get('companion', {}).get('name'), sidecar)
    assert kept == {'PAIR.JPG': ('PAIR.MP4', '<PAIR/>'), 'APART.JPG': (None, '<APART/>'),
                    'APART.MP4': (None, '<APART/>')}
    library.command('delete', '--yes', *kept)
    page.wait(lambda: 'December' not in page.cells()[0]['name'], 'the deleted photos stay')


def test_an_import_is_stopped(page: Browser, photos: Photos, library: ServedLibrary) -> None:
    # A server that takes its time.
    page.run('''
        window.sent = 0;
        XMLHttpRequest.prototype.send = () => { window.sent += 1; };''')
    before = int(library.command('count').split()[0])
    files = [str(photos.photo(f'STOPPED_{number}.JPG', '2025:12:20 18:00:00')) for number in range(5)]
    page.all('input[type=file]')[0].send_keys('\n'.join(files))
    page.wait(lambda: page.run('return window.sent') == 2, 'nothing is sent')
    page.named('Stop importing').click()
    page.wait(lambda: page.one('.import-text').text == '0 items imported', 'it does not stop')
    assert page.run('return window.sent') == 2 and int(library.command('count').split()[0]) == before
    page.named('Close', '.import-panel').click()
    page.wait(lambda: not page.one_or_none('.import-panel'), 'the panel stays')


def test_a_shared_stream_and_what_was_reported_of_it_are_shown(page: Browser, library: ServedLibrary) -> None:
    library.command('stream', 'walks')
    library.command('album', 'add', 'walks', page.wait_for_grid()[0]['id'])
    page.named('Albums', 'nav').click()
    page.wait(lambda: 'walks' in page.one('.album').text, 'the stream is not shown')
    bulletin = page.one('.bulletin')
    assert 'walks' in bulletin.text and bulletin.find_elements('css selector', 'a')
    page.named('Clear', '.bulletin').click()
    page.wait(lambda: page.one_or_none('.bulletin') is None, 'it stays')
    library.command('album', 'delete', '--yes', 'walks')


def test_what_was_deleted_comes_back(page: Browser, library: ServedLibrary) -> None:
    gone, other = (each['id'] for each in page.wait_for_grid()[:2])
    page.click_with(CONTROL, page.cell(0))
    page.press(DELETE)
    page.toast('moved to the trash')
    page.wait(lambda: page.cells()[0]['id'] not in (gone, None), 'it stays')
    page.named('Undo', '.toast').click()
    page.wait(lambda: page.cells()[0]['id'] == gone, 'it does not come back')
    page.wait_for_grid()
    page.click_with(CONTROL, page.cell(0))
    page.press(DELETE)
    page.wait(lambda: page.cells()[0]['id'] not in (gone, None), 'it stays the second time')
    page.named('Trash', 'nav').click()
    page.wait(lambda: any(each.text.startswith('IMG_') for each in page.all('.trash li')), 'the trash does not show it')
    page.run("document.querySelector('.trash input').click()")
    # What another program deletes appears, and what was chosen stays chosen.
    before = len(page.all('.trash li'))
    library.command('delete', '--yes', other)
    page.wait(lambda: len(page.all('.trash li')) == before + 1, 'what another program deletes does not appear')
    library.command('trash', 'restore', other)
    page.wait(lambda: len(page.all('.trash li')) == before, 'what another program restores stays')
    page.named('Restore').click()
    page.toast('1 item restored')
    page.named('Photos', 'nav').click()
    page.wait(lambda: page.cells() and page.cells()[0]['id'] == gone, 'it is not restored')


def test_dates_are_shifted_and_shifted_back(page: Browser) -> None:
    before = page.wait_for_grid()[0]
    page.click_with(CONTROL, page.cell(0))
    page.named('Shift dates', '.selection-bar').click()
    days = page.one('dialog [name=days]')
    days.clear()
    days.send_keys('-1', ENTER)
    page.toast('Date of 1 item shifted')
    page.wait(lambda: (now := page.cells()[0])['name'] != before['name'] or now['id'] != before['id'], 'nothing moves')
    page.named('Undo', '.toast').click()
    page.wait(lambda: page.cells()[0]['id'] == before['id'] and page.cells()[0]['name'] == before['name'],
              'the date is not restored')


def test_originals_are_exported(page: Browser, tmp_path: pathlib.Path) -> None:
    page.driver.execute_cdp_cmd('Browser.setDownloadBehavior', {'behavior': 'allow', 'downloadPath': str(tmp_path)})

    def downloaded(ending: str) -> Callable[[], pathlib.Path | None]:
        return lambda: next((each for each in tmp_path.glob(f'*{ending}')), None)

    page.click_with(CONTROL, page.cell(0))
    page.click_with(CONTROL, page.cell(1))
    page.named('Download', '.selection-bar').click()
    archive = page.wait(downloaded('.zip'), 'no archive')
    assert archive is not None
    names = zipfile.ZipFile(archive).namelist()
    assert len(names) == 2 and all(name.endswith('.JPG') for name in names)
    page.press(ESCAPE)
    page.cell(0).click()
    page.named('Download', '.viewer').click()
    page.wait(downloaded('.JPG'), 'no photo')


def test_all_photos_of_the_library_are_counted(page: Browser) -> None:
    search(page, '2010..2030')
    page.wait(lambda: found(page) == f'{COUNT + 1} items', 'photos are missing')
