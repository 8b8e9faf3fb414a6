"""A root of its own, whose library a chosen hoardd serves."""

import contextlib
import json
import os
import pathlib
import plistlib
import select
import signal
import subprocess
import time
from collections.abc import Callable, Iterator
from typing import Any

SERVICE = 'org.wickerlane.hoardd.Gatekeeper'
DEADLINE = 120


def wait_until(condition: Callable[[], bool]) -> None:
    deadline = time.monotonic() + DEADLINE
    while not condition():
        assert time.monotonic() < deadline, 'it does not come about'
        time.sleep(0.02)


class Root:
    def __init__(self, folder: pathlib.Path, hoardd: pathlib.Path) -> None:
        self.folder = folder
        self.media = folder / 'var/mobile/Media'
        self.store = self.media / 'PhotoData/Pixhold.sqlite'
        self.environment = {**os.environ, 'WICKERLANE_ROOT': str(folder),
                            'WICKERLANE_SERVICES': str(folder / 'services'), 'LC_ALL': 'C.UTF-8', 'LANGUAGE': ''}
        self.served_by(hoardd)

    def served_by(self, hoardd: pathlib.Path) -> None:
        """Which hoardd the next client starts."""
        (self.folder / 'services').mkdir(parents=True, exist_ok=True)
        (self.folder / f'services/{SERVICE}.plist').write_bytes(plistlib.dumps(
            {'Program': str(hoardd), 'Arguments': ['--idle-seconds', '60', '--analyze-after', '0']}))

    def run(self, command: pathlib.Path, *words: str | pathlib.Path) -> 'subprocess.CompletedProcess[str]':
        return subprocess.run([command, *words], stdin=subprocess.DEVNULL, capture_output=True, text=True, check=False,
                              timeout=DEADLINE, env=self.environment)

    def start(self, command: pathlib.Path, *words: str) -> 'subprocess.Popen[bytes]':
        return subprocess.Popen([command, *words], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                env=self.environment)

    def ask(self, command: pathlib.Path, *words: str | pathlib.Path) -> str:
        result = self.run(command, *words)
        assert result.returncode == 0, (words, result)
        return result.stdout

    def json(self, command: pathlib.Path, *words: str | pathlib.Path) -> Any:
        return json.loads(self.ask(command, *words, '--json'))

    def log(self) -> str:
        return (self.folder / f'var/log/wickerlane/{SERVICE}.log').read_text(encoding='utf-8')

    def process(self) -> int:
        return int((self.media / 'PhotoData/hoardd.lock').read_text(encoding='ascii'))

    @contextlib.contextmanager
    def daemon(self) -> Iterator[int]:
        """A descriptor of the process that serves the library."""
        descriptor = os.pidfd_open(self.process())
        try:
            yield descriptor
        finally:
            os.close(descriptor)

    def end_daemon(self) -> None:
        """Has it end, and waits until it has."""
        with contextlib.suppress(FileNotFoundError, ProcessLookupError), self.daemon() as descriptor:
            signal.pidfd_send_signal(descriptor, signal.SIGTERM)
            wait_for_end(descriptor)


def wait_for_end(daemon: int) -> None:
    assert select.select([daemon], [], [], DEADLINE)[0], 'hoardd does not end'
