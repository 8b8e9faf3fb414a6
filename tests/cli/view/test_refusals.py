"""What the server must refuse, whatever sends it."""

import contextlib
import json
import os
import pathlib
import socket
import subprocess
import sys
import time
from collections.abc import Iterator

import pytest

from served import Library, View

ABSENT = '00000000-0000-4000-8000-000000000000'
OTHER_USER = 65534
# Sends what it reads, and writes what comes back.
ASKING = '''
import socket, sys
with socket.create_connection(('127.0.0.1', int(sys.argv[1])), timeout=60) as connection:
    try:
        connection.sendall(sys.stdin.buffer.read())
        while part := connection.recv(65536):
            sys.stdout.buffer.write(part)
    except ConnectionError:
        pass
'''


@pytest.fixture(scope='module')
def view(tmp_path_factory: pytest.TempPathFactory, pictures: list[pathlib.Path]) -> Iterator[View]:
    """Nothing here changes the library."""
    library = Library(tmp_path_factory.mktemp('library'))
    library.command('import', '-q', *pictures)
    served = View(library)
    yield served
    assert served.end() == 130
    library.end_daemon()


def test_a_request_of_another_form_or_sender_gets_nothing(view: View) -> None:
    host, cookie, token = f'Host: 127.0.0.1:{view.port}', f'Cookie: {view.headers["Cookie"]}', \
        f'X-Wickerlane-Token: {view.token}'
    question, change = [host, cookie], [host, cookie, token]
    empty = 'POST /api/trash/empty HTTP/1.1'
    grid = 'GET /api/grid HTTP/1.1'
    page = 'GET / HTTP/1.1'
    cases: list[tuple[str, str, list[str], str, set[int]]] = [
        ('no cookie', page, [host], '', {403}),
        ('another cookie', grid, [host, cookie[:-1] + ('0' if cookie[-1] != '0' else '1')], '', {403}),
        ('the beginning of the cookie', grid, [host, cookie[:-1]], '', {403}),
        ('the cookie under another name', grid, [host, cookie.replace('=', '0=')], '', {403}),
        ('two cookies', grid, [host, cookie, cookie], '', {403}),
        ('an invitation that was used', f'GET {view.invitation} HTTP/1.1', [host], '', {403}),
        ('another invitation', f'GET {view.invitation[:-1]}x HTTP/1.1', [host], '', {403}),
        ('an invitation to elsewhere', f'GET /api/grid{view.invitation[1:]} HTTP/1.1', [host], '', {403}),
        ('no host', grid, [cookie], '', {403}),
        ('two hosts', grid, [host, *question], '', {403}),
        ('another host', grid, ['Host: example.org', cookie], '', {403}),
        ('another port', grid, [f'Host: 127.0.0.1:{view.port - 1}', cookie], '', {403}),
        ('a name that begins like the host', grid, [host + '.example.org', cookie], '', {403}),
        ('a page of another origin', grid, [*question, 'Origin: http://example.org'], '', {403}),
        ('a page of no origin', grid, [*question, 'Origin: null'], '', {403}),
        ('a page of another scheme', grid, [*question, f'Origin: https://127.0.0.1:{view.port}'], '', {403}),
        ('a page of another site', grid, [*question, 'Sec-Fetch-Site: cross-site'], '', {403}),
        ('a page of another port', grid, [*question, 'Sec-Fetch-Site: same-site'], '', {403}),
        ('both', grid, [*question, 'Sec-Fetch-Site: same-origin', 'Sec-Fetch-Site: cross-site'], '', {403}),
        ('HEAD', 'HEAD / HTTP/1.1', question, '', {405}),
        ('OPTIONS', 'OPTIONS / HTTP/1.1', question, '', {405}),
        ('TRACE', 'TRACE / HTTP/1.1', question, '', {405}),
        ('PUT', 'PUT /api/grid HTTP/1.1', [*change, 'Content-Length: 2'], '{}', {405}),
        ('DELETE', 'DELETE /api/grid HTTP/1.1', question, '', {405}),
        ('CONNECT', 'CONNECT example.org:80 HTTP/1.1', question, '', {400, 405}),
        ('no method', 'BREW / HTTP/1.1', question, '', {400}),
        ('no version', 'GET /', question, '', {400}),
        ('another version', 'GET / HTTP/9.9', question, '', {400}),
        ('a change without a token', empty, [*question, 'Content-Length: 2'], '{}', {403}),
        ('a change with another token', empty, [*question, token[:-1] + 'x', 'Content-Length: 2'], '{}', {403}),
        ('a change with two tokens', empty, [*change, token, 'Content-Length: 2'], '{}', {403}),
        ('a change without cookie', empty, [host, token, 'Content-Length: 2'], '{}', {403}),
        ('a change by a question', 'GET /api/trash/empty HTTP/1.1', change, '', {404}),
        ('a question as a change', 'POST /api/grid HTTP/1.1', [*change, 'Content-Length: 2'], '{}', {404}),
        ('no length', empty, change, '{}', {411}),
        ('two lengths', empty, [*change, 'Content-Length: 2', 'Content-Length: 3'], '{} ', {411}),
        ('pieces', empty, [*change, 'Transfer-Encoding: chunked'], '2\r\n{}\r\n0\r\n\r\n', {411}),
        ('pieces and a length', empty, [*change, 'Content-Length: 2', 'Transfer-Encoding: chunked'], '{}', {411}),
        ('a compressed body', empty, [*change, 'Content-Length: 2', 'Content-Encoding: gzip'], '{}', {411}),
        ('a form', empty, [*change, 'Content-Length: 2', 'Content-Type: multipart/form-data; boundary=x'], '{}',
         {411}),
        ('a length that is no number', empty, [*change, 'Content-Length: 2x'], '{}', {400}),
        ('a negative length', empty, [*change, 'Content-Length: -2'], '{}', {400}),
        ('a length past all bounds', empty, [*change, 'Content-Length: 99999999999999999999'], '{}', {400}),
        ('a large body', empty, [*change, 'Content-Length: 1048577'], '{}', {413}),
        ('a body that ends early', empty, [*change, 'Content-Length: 20'], '{}', {400}),
        ('a question with a body', grid, [*question, 'Content-Length: 2'], '{}', {400}),
        ('a path above', 'GET /../../etc/passwd HTTP/1.1', question, '', {404}),
        ('a coded path above', 'GET /%2e%2e/%2e%2e/etc/passwd HTTP/1.1', question, '', {404}),
        ('a path from the root', 'GET //etc/passwd HTTP/1.1', question, '', {404}),
        ('a file beside the page', 'GET /CMakeLists.txt HTTP/1.1', question, '', {404}),
        ('a NUL in the path', 'GET /index.html%00.js HTTP/1.1', question, '', {400, 404}),
        ('a long path', f'GET /{"x" * 2000} HTTP/1.1', question, '', {400}),
        ('a longer line', f'GET /{"x" * 20000} HTTP/1.1', question, '', {400, 414}),
        ('a long header', grid, [*question, 'X-Long: ' + 'x' * 20000], '', {400}),
        ('many headers', grid, [*question, *(f'X-{n}: x' for n in range(5000))], '', {400}),
        ('many parameters', f'GET /api/grid?{"&".join(f"p{n}=1" for n in range(100))} HTTP/1.1', question, '', {400}),
        ('many ranges', grid, [*question, 'Range: bytes=' + ','.join(['0-'] * 2000)], '', {200, 416}),
        ('a path as an asset', 'GET /media/..%2f..%2fetc/original HTTP/1.1', question, '', {404}),
        ('half an asset', f'GET /media/{ABSENT[:-1]}/small HTTP/1.1', question, '', {404}),
        ('no asset', f'GET /media/{ABSENT}/small HTTP/1.1', question, '', {404}),
        ('no form of an asset', f'GET /media/{ABSENT}/ HTTP/1.1', question, '', {404}),
        ('no export', 'GET /export/ HTTP/1.1', question, '', {404}),
        ('another export', f'GET /export/{"0" * 64} HTTP/1.1', question, '', {404}),
    ]
    faults = []
    for what, line, headers, body, expected in cases:
        status, received = view.send('\r\n'.join([line, *headers, '', body]).encode())
        if status not in expected or b'root:' in received or b'Content-Security-Policy: ' not in received:
            faults.append((what, status, received[:200]))
    assert faults == []
    assert view.get('/api/count').json == {'count': 3}


@pytest.mark.skipif(os.geteuid() != 0, reason='only root can be another user')
def test_a_process_of_another_user_gets_nothing(view: View) -> None:
    shown = view.get('/api/count')
    request = (f'GET /api/count HTTP/1.1\r\nHost: 127.0.0.1:{view.port}\r\nCookie: {view.headers["Cookie"]}\r\n'
               'Connection: close\r\n\r\n').encode()
    received = {user: subprocess.run([sys.executable, '-c', ASKING, str(view.port)], input=request, check=True,
                                     stdout=subprocess.PIPE, user=user, group=user, extra_groups=[], cwd='/').stdout
                for user in (0, OTHER_USER)}
    assert received[0].startswith(b'HTTP/1.1 200 ') and received[0].endswith(shown.body)
    assert received[OTHER_USER] == b''


def test_bytes_that_are_no_request_are_refused(view: View) -> None:
    cookie = view.headers['Cookie'].encode()
    for sent in (b'\r\n\r\n', b'\0' * 100, b'\xff' * 40000, b'GET / HTTP/1.1\nHost: x\n\n', b'GET  /  HTTP/1.1\r\n\r\n',
                 b'GET / HTTP/1.1\r\nno header\r\n\r\n', b'\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03' * 5,
                 b'GET / HTTP/1.1\r\nCookie: ' + cookie + b'\r\n\r\n'):
        assert view.send(sent)[0] in (400, 403, 414), sent[:40]
    assert view.get('/api/count').status == 200


def test_a_body_that_makes_no_sense_changes_nothing(view: View) -> None:
    asset = view.get('/api/grid').json['assets'][0]['id']
    cases: list[tuple[str, object]] = [
        ('/api/assets/delete', b''), ('/api/assets/delete', b'{'), ('/api/assets/delete', b'[]'),
        ('/api/assets/delete', b'[' * 1_000_000), ('/api/assets/delete', b'{"ids":["\xff\xfe"]}'),
        ('/api/assets/delete', {}), ('/api/assets/delete', {'ids': asset}), ('/api/assets/delete', {'ids': []}),
        ('/api/assets/delete', {'ids': [asset, 5]}), ('/api/assets/delete', {'ids': [asset, '../' + asset]}),
        ('/api/assets/delete', {'ids': [asset] * 10_001}),
        ('/api/assets/set', {'ids': [asset]}), ('/api/assets/set', {'ids': [asset], 'details': {}}),
        ('/api/assets/set', {'ids': [asset], 'details': {'rating': 6}}),
        ('/api/assets/set', {'ids': [asset], 'details': {'rating': 'many'}}),
        ('/api/assets/set', {'ids': [asset], 'details': {'name': 'x'}}),
        ('/api/assets/set', {'ids': [asset], 'details': {'keywords': ['a', 1]}}),
        ('/api/assets/rotate', {'id': asset, 'quarters': 4}), ('/api/assets/rotate', {'id': asset, 'quarters': 0}),
        ('/api/assets/rotate', {'id': asset, 'quarters': 0.5}), ('/api/assets/rotate', {'quarters': 1}),
        ('/api/assets/adjust-dates', {'ids': [asset], 'seconds': '1'}),
        ('/api/albums/create', {'title': ''}), ('/api/albums/create', {'title': 'x' * 2000}),
        ('/api/albums/create', {'title': None}), ('/api/bulletins/clear', {'record': -1}),
        ('/api/export', {'ids': [asset], 'version': 'all'}), ('/api/import?name=', b'x'),
        ('/api/import?name=a%2Fb', b'x'), ('/api/import?name=a&album=b', b'x'),
        ('/api/import?name=a&second=b&secondBytes=2', b'x'), ('/api/import?name=a&second=b&secondBytes=x', b'x'),
        ('/api/import?name=a&second=..%2Fb&secondBytes=1', b'xx'), ('/api/import?name=a&secondBytes=1', b'xx'),
        ('/api/import?name=a&sidecar=b&sidecarBytes=18446744073709551615&second=c&secondBytes=1', b'xx'),
        ('/api/import/pairs', {}), ('/api/import/pairs', {'files': ['a']}), ('/api/import/pairs', {'files': {'a': 1}}),
        ('/api/import/pairs', {'files': {'a': 'ff0'}}), ('/api/import/pairs', {'files': {'a': '0x'}}),
        ('/api/import/pairs', {'files': {str(number): '' for number in range(501)}}),
    ]
    faults = [(path, body, answer.status, answer.body[:200]) for path, body in cases
              if (answer := view.post(path, body)).status != 400 or answer.json['error']['code'] != 'invalid']
    assert faults == []
    assert view.get('/api/count').json == {'count': 3}


@pytest.mark.parametrize('query', [
    'kind=film', 'from=yesterday', 'until=2019-13', 'near=1,2', 'near=91,0,1', 'near=1,2,x', 'album=x', 'moment=x',
    'rating=6', 'favourite=yes', 'hidden=2', 'unit=week', 'text=' + 'x' * 2000])
def test_a_filter_that_makes_no_sense_is_refused(view: View, query: str) -> None:
    assert view.get('/api/sections?' + query).status == 400


def test_slow_and_many_clients_leave_room_for_the_browser(view: View) -> None:
    with contextlib.ExitStack() as stack:
        for number in range(150):
            client = stack.enter_context(socket.create_connection(('127.0.0.1', view.port), timeout=60))
            with contextlib.suppress(ConnectionError):
                client.sendall(b'GET / HTTP/1.1\r\n' if number % 2 else b'')
        # There is room once the slow ones have had the time that a request may take.
        end = time.monotonic() + 120
        while (status := view.get('/api/count').status) == 503 and time.monotonic() < end:
            time.sleep(0.1)
        assert status == 200


def test_a_read_only_server_refuses_changes_alone(tmp_path: pathlib.Path, pictures: list[pathlib.Path]) -> None:
    library = Library(tmp_path)
    library.command('import', '-q', pictures[0])
    view = View(library, '--read-only')
    try:
        asset = view.get('/api/grid').json['assets'][0]['id']
        assert view.get('/api/session').json['readOnly'] is True
        for path, body in (('/api/assets/delete', {'ids': [asset]}), ('/api/import?name=a.jpg', b'x'),
                           ('/api/assets/rotate', {'id': asset, 'quarters': 1}), ('/api/trash/empty', {})):
            answer = view.post(path, body)
            assert (answer.status, answer.json['error']['code']) == (403, 'readOnly'), path
        assert view.change('/api/export', {'ids': [asset], 'version': 'original'})['href']
        assert json.loads(library.command('count', '--json'))['photos'] == 1
    finally:
        view.end()
        library.end_daemon()
