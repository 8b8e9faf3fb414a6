"""A library of its own, its daemon, and the server of `wickerlane view`."""

import http.client
import json
import os
import pathlib
import plistlib
import select
import signal
import socket
import subprocess
import urllib.parse
from typing import Any

HOARDD = os.environ['HOARDD_PROGRAM']
COMMAND = os.environ['WICKERLANE_COMMAND']


class Library:
    def __init__(self, folder: pathlib.Path) -> None:
        self.root = folder / 'root'
        services = self.root / 'services'
        services.mkdir(parents=True)
        self.copies = folder / 'copies' # where files are put while they are saved
        self.copies.mkdir()
        self.environment = {**os.environ, 'WICKERLANE_ROOT': str(self.root), 'WICKERLANE_SERVICES': str(services),
                            'TMPDIR': str(self.copies), 'LC_ALL': 'C.UTF-8', 'LANGUAGE': ''}
        arguments = ['--idle-seconds', '300', '--analyze-after', '0']
        (services / 'org.wickerlane.hoardd.Gatekeeper.plist').write_bytes(
            plistlib.dumps({'Program': HOARDD, 'Arguments': arguments}))

    def command(self, *words: object) -> str:
        return subprocess.run([COMMAND, *map(str, words)], env=self.environment, check=True, text=True,
                              stdout=subprocess.PIPE).stdout

    def end_daemon(self, how: signal.Signals = signal.SIGTERM) -> None:
        """Returns when it has ended."""
        try:
            process = int((self.root / 'var/mobile/Media/PhotoData/hoardd.lock').read_text(encoding='utf-8'))
            descriptor = os.pidfd_open(process)
        except (OSError, ValueError):
            return
        try:
            # Its number may be another process's by now.
            if os.path.samefile(f'/proc/{process}/exe', HOARDD):
                signal.pidfd_send_signal(descriptor, how)
                assert select.select([descriptor], [], [], 60)[0], 'the daemon does not end'
        except FileNotFoundError:
            pass
        finally:
            os.close(descriptor)


class Answer:
    def __init__(self, status: int, headers: http.client.HTTPMessage, body: bytes) -> None:
        self.status, self.headers, self.body = status, headers, body

    @property
    def json(self) -> Any:
        return json.loads(self.body)


class View:
    """A server, and a browser that it lets in."""

    def __init__(self, library: Library, *options: str, knocks: bool = True) -> None:
        self.process = subprocess.Popen([COMMAND, 'view', '--no-open', *options], env=library.environment,
                                        stdout=subprocess.PIPE, text=True)
        assert self.process.stdout is not None
        self.address = self.process.stdout.readline().strip()
        parts = urllib.parse.urlsplit(self.address)
        assert parts.port is not None, 'the server did not start'
        self.port = parts.port
        self.invitation = f'{parts.path}?{parts.query}'
        self.headers: dict[str, str] = {}
        if not knocks:
            return
        entrance = self.get(self.invitation)
        self.headers['Cookie'] = entrance.headers['Set-Cookie'].split(';')[0]
        self.token: str = self.get('/api/session').json['token']

    def ask(self, method: str, path: str, body: bytes | None, more: dict[str, str]) -> Answer:
        connection = http.client.HTTPConnection('127.0.0.1', self.port, timeout=60)
        try:
            connection.request(method, path, body, {**self.headers, **more})
            answer = connection.getresponse()
            return Answer(answer.status, answer.headers, answer.read())
        finally:
            connection.close()

    def get(self, path: str, **more: str) -> Answer:
        """`more` are headers, with _ for -."""
        return self.ask('GET', path, None, {name.replace('_', '-'): value for name, value in more.items()})

    def post(self, path: str, value: Any) -> Answer:
        body = value if isinstance(value, bytes) else json.dumps(value).encode()
        return self.ask('POST', path, body, {'X-Wickerlane-Token': self.token})

    def change(self, path: str, value: Any) -> Any:
        """A change that succeeds."""
        answer = self.post(path, value)
        assert answer.status == 200, answer.body
        return answer.json

    def send(self, sent: bytes) -> tuple[int, bytes]:
        """What comes back for these bytes until the end of the connection: the status, and all of it."""
        with socket.create_connection(('127.0.0.1', self.port), timeout=60) as connection:
            connection.sendall(sent)
            connection.shutdown(socket.SHUT_WR)
            received = b''
            while part := connection.recv(65536):
                received += part
        return int(received.split(b' ', 2)[1]), received

    def end(self) -> int:
        """As Ctrl-C ends it."""
        self.process.send_signal(signal.SIGINT)
        status = self.process.wait(60)
        assert self.process.stdout is not None
        self.process.stdout.close()
        return status
