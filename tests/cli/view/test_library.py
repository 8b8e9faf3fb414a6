"""What each address does with a real library."""

import base64
import io
import itertools
import json
import pathlib
import shutil
import signal
import socket
import struct
import subprocess
import threading
import time
import zipfile
from typing import Any

import pytest

from served import COMMAND, Library, View


def assets_of(view: View, query: str = '') -> list[Any]:
    assets: list[Any] = view.get('/api/grid?' + query).json['assets']
    return assets


def named(view: View, name: str) -> str:
    """The asset with an original name."""
    found = [each['id'] for each in assets_of(view) if view.get('/api/asset/' + each['id']).json['name'] == name]
    assert len(found) == 1, name
    return str(found[0])


def corners(picture: bytes) -> tuple[int, int, list[str]]:
    """The size of a picture, and the colours of its quadrants: left and right above, then below."""
    shown = subprocess.run(['ffmpeg', '-v', 'error', '-i', '-', '-f', 'image2pipe', '-c:v', 'ppm', '-'], input=picture,
                           stdout=subprocess.PIPE, check=True).stdout
    width, height = map(int, shown.split(b'\n', 2)[1].split())
    pixels = shown[-3 * width * height:]
    colours = []
    for y in (height // 4, 3 * height // 4):
        for x in (width // 4, 3 * width // 4):
            at = 3 * (y * width + x)
            colours.append(''.join(name for name, value in zip('rgb', pixels[at:at + 3]) if value > 127))
    return width, height, colours


def test_sections_and_grid_show_the_same_assets_in_one_order(view: View, library: Library) -> None:
    asset = named(view, 'odd.jpg')
    view.change('/api/assets/adjust-dates', {'ids': [asset], 'seconds': -86400 * 40})
    sections = view.get('/api/sections').json['sections']
    assets = assets_of(view)
    assert [each['count'] for each in sections] == [2, 1]
    assert sections[0]['start'] > sections[1]['start']
    shapes = [shape for each in sections for shape in struct.unpack(
        f'<{each["count"]}H', base64.b64decode(each['shapes'], validate=True))]
    listed = json.loads(library.command('list', '--json'))
    known = {each['uuid']: each['width'] * 1000 // each['height'] for each in listed}
    assert shapes == pytest.approx([known[each['id']] for each in assets], abs=1)
    assert assets[-1]['id'] == asset and assets[-1]['kind'] == 'photo'
    days = f'from={sections[1]["start"]}&until={sections[0]["start"]}'
    assert [each['id'] for each in assets_of(view, days)] == [asset]
    assert assets_of(view, 'offset=1&limit=1') == assets[1:2]
    assert len(view.get('/api/sections?unit=month').json['sections']) == 2
    for query, count, is_whole in (('first=1', 1, False), ('first=2', 1, False), ('first=3', 2, True), ('', 2, True),
                                   (f'first=1&until={sections[0]["start"]}', 1, True)):
        answer = view.get('/api/sections?' + query).json
        assert (len(answer['sections']), answer['isWhole']) == (count, is_whole), query
        assert answer['sections'][0] == sections['until' in query]


def test_details_are_set_and_filtered_by(view: View) -> None:
    asset = named(view, 'aligned.jpg')
    view.change('/api/assets/set', {'ids': [asset], 'details': {
        'favourite': True, 'rating': 4, 'caption': 'Dunes\nat noon', 'keywords': ['Sea', 'Été']}})
    described = view.get('/api/asset/' + asset).json
    assert (described['favourite'], described['rating'], described['caption'], described['keywords']) == \
        (True, 4, 'Dunes\nat noon', ['Sea', 'Été'])
    for query, count in (('favourite=1', 1), ('rating=4', 1), ('rating=5', 0), ('kind=video', 0), ('text=dunes', 1),
                         ('format=image/png', 1), ('name=*.jpg', 2), ('from=2100-01-01', 0), ('edited=1', 0),
                         ('edited=0', 3), ('favourite=0', 2)):
        assert view.get('/api/count?' + query).json == {'count': count}, query
    view.change('/api/assets/set', {'ids': [asset], 'details': {'hidden': True}})
    assert {query: view.get('/api/count?' + query).json['count'] for query in ('', 'hidden=1', 'hidden=only')} == \
        {'': 2, 'hidden=1': 3, 'hidden=only': 1}


def test_pictures_come_in_all_forms_and_originals_in_parts(view: View, pictures: list[pathlib.Path]) -> None:
    asset = named(view, 'aligned.jpg')
    contents = pictures[0].read_bytes()
    for form in ('small', 'preview', 'large', 'full'):
        answer = view.get(f'/media/{asset}/{form}?v=1')
        assert answer.headers['Content-Type'] == 'image/jpeg' and 'immutable' in answer.headers['Cache-Control']
        assert corners(answer.body) == (64, 32, ['r', 'g', 'b', 'rgb']), form
    missing = view.get(f'/media/{asset}/edited?v=1')
    assert missing.status == 404 and missing.headers.get_all('Cache-Control') == ['no-store']
    whole = view.get(f'/media/{asset}/original?download=1')
    assert whole.body == contents and "''aligned.jpg" in whole.headers['Content-Disposition']
    size = len(contents)
    for asked, first, end in (('0-9', 0, 10), ('10-', 10, size), ('-7', size - 7, size), (f'5-{size + 50}', 5, size)):
        part = view.get(f'/media/{asset}/original', Range='bytes=' + asked)
        assert (part.status, part.body) == (206, contents[first:end]), asked
        assert part.headers['Content-Range'] == f'bytes {first}-{end - 1}/{size}'
    beyond = view.get(f'/media/{asset}/original', Range=f'bytes={size}-')
    assert (beyond.status, beyond.headers['Content-Range']) == (416, f'bytes */{size}')
    assert view.get(f'/media/{asset}/original', Range='bytes=0-1,3-4').body == contents


@pytest.mark.parametrize('name, width, height', [('aligned.jpg', 64, 32), ('odd.jpg', 70, 50), ('plain.png', 48, 32)])
def test_turns_add_up_and_the_fourth_takes_the_edit_away(view: View, name: str, width: int, height: int) -> None:
    asset = named(view, name)
    expected = [(height, width, ['b', 'r', 'rgb', 'g']), (width, height, ['rgb', 'b', 'g', 'r']),
                (height, width, ['g', 'rgb', 'r', 'b'])]
    versions = [next(each['v'] for each in assets_of(view) if each['id'] == asset)]
    for turned in expected:
        versions.append(view.change('/api/assets/rotate', {'id': asset, 'quarters': 1})['v'])
        assert corners(view.get(f'/media/{asset}/edited').body) == turned
        assert corners(view.get(f'/media/{asset}/small').body) == turned
        assert view.get('/api/asset/' + asset).json['edited'] is True
    versions.append(view.change('/api/assets/rotate', {'id': asset, 'quarters': 1})['v'])
    assert view.get('/api/asset/' + asset).json['edited'] is False
    versions.append(view.change('/api/assets/rotate', {'id': asset, 'quarters': 3})['v'])
    assert [each['id'] for each in assets_of(view) if each.get('edited')] == [asset]
    assert view.change('/api/assets/revert', {'ids': [asset]}) == {'reverted': [asset], 'refused': []}
    versions.append(next(each['v'] for each in assets_of(view) if each['id'] == asset))
    assert len(set(versions)) == len(versions)
    assert corners(view.get(f'/media/{asset}/full').body) == (width, height, ['r', 'g', 'b', 'rgb'])
    refused = view.change('/api/assets/revert', {'ids': [asset]})['refused']
    assert [each['id'] for each in refused] == [asset]


def test_an_album_lives_and_dies(view: View) -> None:
    assets = [each['id'] for each in assets_of(view)]
    album = view.change('/api/albums/create', {'title': 'Dunes'})['id']
    taken = view.post('/api/albums/create', {'title': 'Dunes'})
    assert (taken.status, taken.json['error']['code']) == (409, 'exists')
    view.change('/api/albums/add', {'id': album, 'assets': assets[:2]})
    view.change('/api/albums/rename', {'id': album, 'title': 'Sea'})
    listed = view.get('/api/albums').json['albums']
    assert [(each['id'], each['title'], each['count']) for each in listed] == [(album, 'Sea', 2)]
    assert listed[0]['cover'] == assets[0]
    assert [each['id'] for each in assets_of(view, 'album=' + album)] == assets[:2]
    assert view.get('/api/asset/' + assets[0]).json['albums'] == [{'id': album, 'title': 'Sea'}]
    view.change('/api/albums/remove', {'id': album, 'assets': assets[:1]})
    assert [each['id'] for each in assets_of(view, 'album=' + album)] == assets[1:2]
    view.change('/api/albums/delete', {'id': album})
    assert view.get('/api/albums').json == {'albums': []}
    assert view.post('/api/albums/add', {'id': album, 'assets': assets}).status == 404


def test_the_trash_gives_back_and_takes_for_good(view: View) -> None:
    kept, restored, deleted = (each['id'] for each in assets_of(view))
    assert view.change('/api/assets/delete', {'ids': [restored, deleted]})['deleted'] == [restored, deleted]
    assert {each['id'] for each in view.get('/api/trash').json['assets']} == {restored, deleted}
    # Nothing outside the trash is deleted for good.
    assert [each['id'] for each in view.change('/api/trash/delete', {'ids': [deleted, kept]})['refused']] == [kept]
    assert view.change('/api/trash/restore', {'ids': [restored]})['restored'] == [restored]
    assert {each['id'] for each in assets_of(view)} == {kept, restored}
    view.change('/api/assets/delete', {'ids': [kept]})
    view.change('/api/trash/empty', {})
    assert view.get('/api/trash').json == {'assets': []}


def test_a_file_is_imported_once_and_into_an_album(view: View, library: Library, pictures: list[pathlib.Path]) -> None:
    contents = pictures[0].read_bytes() + b'more' # behind the end of the picture
    album = view.change('/api/albums/create', {'title': 'New'})['id']
    first = view.change(f'/api/import?name=d%C3%BCne.jpg&album={album}', contents)
    assert view.change('/api/import?name=again.jpg', contents) == {'id': first['id'], 'wasPresent': True}
    described = view.get('/api/asset/' + first['id']).json
    assert (described['name'], described['bytes'], described['albums'][0]['id']) == ('düne.jpg', len(contents), album)
    assert view.get(f'/media/{first["id"]}/original').body == contents
    refused = view.post('/api/import?name=a.jpg', b'this is no picture')
    assert refused.status == 400 or refused.json.get('problem'), refused.body
    assert not list(library.copies.iterdir())


def test_an_import_that_breaks_off_saves_nothing(view: View, library: Library) -> None:
    with socket.create_connection(('127.0.0.1', view.port), timeout=60) as connection:
        connection.sendall((f'POST /api/import?name=a.jpg HTTP/1.1\r\nHost: 127.0.0.1:{view.port}\r\nCookie: '
                            f'{view.headers["Cookie"]}\r\nX-Wickerlane-Token: {view.token}\r\n'
                            'Content-Length: 100000\r\n\r\n').encode() + b'x' * 5000)
        connection.shutdown(socket.SHUT_WR)
        assert connection.recv(65536).startswith(b'HTTP/1.1 400')
    assert view.get('/api/count').json == {'count': 3}
    assert not list(library.copies.iterdir())


def test_files_of_one_name_are_paired_and_sent_together(view: View, library: Library,
                                                        pictures: list[pathlib.Path]) -> None:
    jpeg, raw, nothing = 'ffd8ffe0', b'II*\0'.hex(), ''
    files = {'/t/a.jpg': jpeg, '/t/a.CR2': raw, '/t/a.mov': nothing, '/t/b.heic': nothing, '/t/b.mov': nothing,
             '/u/b.nef': raw, '/etc/passwd': nothing, '/t/c.png': jpeg, '/t/c.nef': raw, '/t/d.jpg': raw}
    paired = view.change('/api/import/pairs', {'files': files})['pairs']
    assert paired == {'/t/a.jpg': '/t/a.CR2', '/t/b.heic': '/t/b.mov', '/t/c.png': '/t/c.nef'}
    # These are of no one shot: each is saved by itself, with its own metadata.
    first, second = pictures[0].read_bytes() + b'one', pictures[2].read_bytes() + b'two'
    parts = {'second': second, 'sidecar': b'<one/>', 'secondSidecar': b'<two/>'}
    query = '&'.join(f'{part}={part}.x&{part}Bytes={len(contents)}' for part, contents in parts.items())
    answer = view.change(f'/api/import?name=first.jpg&{query}', first + b''.join(parts.values()))
    for asset, contents, sidecar in ((answer, first, '<one/>'), (answer['second'], second, '<two/>')):
        assert view.get(f'/media/{asset["id"]}/original').body == contents
        shown = json.loads(library.command('show', asset['id'], '--json'))
        assert pathlib.Path(shown['sidecar']).read_text(encoding='utf-8') == sidecar
    # What becomes of the one says nothing of the other.
    answer = view.change(f'/api/import?name=none.txt&second=b.png&secondBytes={len(second)}', b'text' + second)
    assert answer['error'] and answer['second']['wasPresent']
    assert not list(library.copies.iterdir())


def test_an_export_is_an_archive_that_is_good_once(view: View, pictures: list[pathlib.Path]) -> None:
    asset = named(view, 'odd.jpg')
    twin = view.change('/api/import?name=ODD.jpg', pictures[1].read_bytes() + b'more')['id']
    accented = view.change('/api/import?name=%C3%A9t%C3%A9.png', pictures[2].read_bytes() + b'more')['id']
    gone = '00000000-0000-4000-8000-000000000000'
    view.change('/api/assets/rotate', {'id': asset, 'quarters': 2})
    for version in ('original', 'edited'):
        href = view.change('/api/export', {'ids': [asset, twin, gone, accented], 'version': version})['href']
        answer = view.get(href)
        assert answer.headers['Content-Type'] == 'application/zip'
        with zipfile.ZipFile(io.BytesIO(answer.body)) as archive:
            assert archive.testzip() is None
            assert archive.namelist() == ['odd.jpg', 'ODD 2.jpg', 'été.png', 'not exported.txt']
            assert (archive.read('odd.jpg') == pictures[1].read_bytes()) == (version == 'original')
            assert archive.read('été.png') == pictures[2].read_bytes() + b'more'
            assert gone.encode() in archive.read('not exported.txt')
        assert view.get(href).status == 404


def test_an_export_of_many_assets_is_asked_for_in_parts(view: View) -> None:
    assets = [each['id'] for each in assets_of(view)]
    absent = [f'{number:08}-0000-4000-8000-000000000000' for number in range(9_999)]
    href = view.change('/api/export', {'ids': [assets[0], *absent], 'version': 'original'})['href']
    assert view.change('/api/export', {'ids': assets[1:], 'href': href}) == {'href': href}
    with zipfile.ZipFile(io.BytesIO(view.get(href).body)) as archive:
        assert len(archive.namelist()) == 4 and archive.testzip() is None
        assert len(archive.read('not exported.txt').splitlines()) == 9_999
    gone = view.post('/api/export', {'ids': assets, 'href': href})
    assert (gone.status, gone.json['error']['code']) == (404, 'notFound')
    # What is not fetched does not take ever more room.
    hrefs = [view.change('/api/export', {'ids': assets, 'version': 'original'})['href'] for _ in range(2)]
    for _ in range(99):
        view.change('/api/export', {'ids': assets[:1] * 10_000, 'href': hrefs[1]})
    assert view.post('/api/export', {'ids': assets[:1] * 10_000, 'href': hrefs[1]}).status == 400
    view.change('/api/export', {'ids': assets[:1] * 9_996, 'href': hrefs[1]})
    assert view.get(hrefs[0]).status == 404


def test_changes_are_told_while_pictures_are_served(view: View) -> None:
    asset = named(view, 'odd.jpg')
    token = view.get('/api/changes').json['token']
    answers: list[Any] = []
    poll = '/api/changes?token=' + token
    waiting = [threading.Thread(target=lambda: answers.append(view.get(poll))) for _ in range(8)]
    for each in waiting:
        each.start()
    assert view.get(f'/media/{asset}/small').status == 200
    deadline = time.monotonic() + 60
    while waiting and time.monotonic() < deadline: # a request that comes late gets the next change
        view.change('/api/assets/set', {'ids': [asset], 'details': {'rating': int(time.monotonic()) % 6}})
        for each in waiting:
            each.join(0.1)
        waiting = [each for each in waiting if each.is_alive()]
    assert not waiting
    told = [each for each in answers if each.status == 200 and each.json['changes']]
    assert told and all(each.json['changes'][0] == {'id': asset, 'kind': 'changed'} for each in told)
    assert {each.status for each in answers} <= {200, 503}


def test_the_state_of_albums_tells_of_each_change_by_another_program(view: View, library: Library) -> None:
    asset = named(view, 'odd.jpg')
    states = [view.get('/api/changes').json['albums']]
    assert view.get('/api/changes').json['albums'] == states[0]
    for words in (('create', 'Tides'), ('rename', 'Tides', 'Waves'), ('add', 'Waves', asset),
                  ('remove', 'Waves', asset), ('delete', '--yes', 'Waves')):
        library.command('album', *words)
        states.append(view.get('/api/changes').json['albums'])
    assert all(state != following for state, following in itertools.pairwise(states)), states
    assert states[-1] == states[0]


def test_a_daemon_that_is_killed_comes_back(view: View, library: Library) -> None:
    before = [each['id'] for each in assets_of(view)]
    for _ in range(3):
        library.end_daemon(signal.SIGKILL)
        # A daemon that was killed makes the pictures that were due again: they may have another version.
        assert [each['id'] for each in assets_of(view)] == before
        assert view.get(f'/media/{before[0]}/small').status == 200


def test_it_ends_at_once_while_pages_wait(library: Library) -> None:
    view = View(library)
    token = view.get('/api/changes').json['token']
    with socket.create_connection(('127.0.0.1', view.port), timeout=60) as connection:
        connection.sendall(f'GET /api/changes?token={token} HTTP/1.1\r\nHost: 127.0.0.1:{view.port}\r\n'
                           f'Cookie: {view.headers["Cookie"]}\r\n\r\n'.encode())
        assert view.get('/api/count').status == 200
        began = time.monotonic()
        assert view.end() == 130
        assert time.monotonic() - began < 20 # a page waits for 25 seconds


def test_the_page_is_served_in_the_readers_language(view: View) -> None:
    page = view.get('/')
    assert page.status == 200 and page.headers['Content-Type'].startswith('text/html')
    assert view.get('/', If_None_Match=page.headers['ETag']).status == 304
    for accepted, language in (('', 'en'), ('de-CH, fr;q=0.8', 'de'), ('nl, fr;q=0.5, ja;q=0.9', 'ja'), ('pt', 'pt-BR'),
                               ('xx;q=oops,,;', 'en')):
        assert view.get('/api/session', Accept_Language=accepted).json['language'] == language
    assert view.get('/texts/de.json').json
    problem = 'there is no such asset'
    said = [(view.get(f'/texts/problems/{language}.json').json or {}).get(problem) for language in ('en', 'fr', 'pt-BR')]
    assert said == [None, 'cet élément n’existe pas', 'esse item não existe']


def test_a_port_that_is_taken_is_not_shared(view: View, library: Library) -> None:
    second = subprocess.run([COMMAND, 'view', '--no-open', '--port', str(view.port)], env=library.environment,
                            text=True, capture_output=True, timeout=60, check=False)
    assert second.returncode == 1 and f'port {view.port} can' in second.stderr
    assert view.get('/api/count').status == 200


def test_it_ends_however_early_it_is_told_to(library: Library) -> None:
    for _ in range(5):
        assert View(library, knocks=False).end() == 130


def test_duplicates_are_listed_until_they_are_dismissed(view: View, library: Library,
                                                        pictures: list[pathlib.Path]) -> None:
    original = named(view, 'aligned.jpg')
    copy = view.change('/api/import?name=copy.jpg', pictures[0].read_bytes() + b'more')['id']
    library.command('duplicates', '--update')
    listed = view.get('/api/duplicates').json
    assert listed['isComplete'] is True and len(listed['groups']) == 1
    group = listed['groups'][0]
    assert group['count'] == 2 and group['likeness'] in ('same', 'similar') # by the time between the imports
    assert {each['id'] for each in group['assets']} == {original, copy}
    assert [each['id'] for each in group['assets'] if each.get('best')] == [copy] # it has more bytes
    view.change('/api/duplicates/dismiss', {'ids': [original, copy]})
    assert view.get('/api/duplicates').json['groups'] == []


def test_the_best_of_many_copies_is_the_one_that_the_command_keeps(view: View, library: Library, tmp_path: pathlib.Path,
                                                                   pictures: list[pathlib.Path]) -> None:
    copies = []
    for number in range(45): # more than are described
        copies.append(tmp_path / f'copy-{number:02}.jpg')
        copies[-1].write_bytes(pictures[0].read_bytes() + f'{number:02}'.encode())
        shutil.copystat(pictures[0], copies[-1]) # or they may be shots of several bursts
    library.command('import', '-q', *copies)
    library.command('duplicates', '--update')
    captioned = json.loads(library.command('list', '--name', 'copy-41.jpg', '--json'))[0]['uuid']
    view.change('/api/assets/set', {'ids': [captioned], 'details': {'caption': 'Dunes'}})
    group, = view.get('/api/duplicates').json['groups']
    shown = {each['id']: each for each in group['assets']}
    others = group['others']
    assert group['count'] == 46 and len(shown) == 40 and len(others) == 6
    assert len({*shown, *others}) == 46
    assert [each for each in shown if shown[each].get('best')] == [captioned]
    moved = library.command('duplicates', '--keep-best', '--likeness', group['likeness'], '--dry-run')
    assert 'copy-41.jpg' not in moved and all(f'copy-{number:02}.jpg' in moved for number in (0, 40, 42, 44))


def test_moments_say_which_assets_they_hold(view: View, library: Library) -> None:
    library.command('moments', '--update')
    listed = view.get('/api/moments').json
    assert listed['isComplete'] is True and sum(each['count'] for each in listed['moments']) == 3
    for moment in listed['moments']:
        assert view.get('/api/count?moment=' + moment['key']).json == {'count': moment['count']}
    assert view.get('/api/moments?from=2100-01-01').json['moments'] == []


def test_bulletins_are_shown_until_they_are_cleared(view: View, library: Library) -> None:
    library.command('stream', 'walks')
    shared = view.get('/api/albums').json['albums']
    assert [(each['kind'], each['isShared']) for each in shared] == [('shared', True)]
    asset = named(view, 'aligned.jpg')
    view.change('/api/albums/add', {'id': shared[0]['id'], 'assets': [asset]})
    bulletins = view.get('/api/bulletins').json['bulletins']
    assert len(bulletins) == 1 and bulletins[0]['assets'] == [asset] and bulletins[0]['text']
    view.change('/api/bulletins/clear', {'record': bulletins[0]['record']})
    assert view.get('/api/bulletins').json == {'bulletins': []}
