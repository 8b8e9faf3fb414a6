"""A library of its own, its daemon, and the server of its page."""

import os
import pathlib
import plistlib
import select
import signal
import subprocess
from collections.abc import Iterator
from contextlib import contextmanager

HOARDD = os.environ['HOARDD_PROGRAM']
COMMAND = os.environ['WICKERLANE_COMMAND']
PAGE = pathlib.Path(__file__).parents[2] / 'view'


class ServedLibrary:
    def __init__(self, folder: pathlib.Path) -> None:
        self.root = folder / 'root'
        self.services = self.root / 'services'
        self.services.mkdir(parents=True)
        self.environment = {**os.environ, 'WICKERLANE_ROOT': str(self.root), 'WICKERLANE_SERVICES': str(self.services),
                            'WICKERLANE_VIEW_FILES': str(PAGE), 'LC_ALL': 'C.UTF-8', 'LANGUAGE': ''}
        self.server: subprocess.Popen[str] | None = None # since a page was served
        self.describe_service()

    def describe_service(self) -> None:
        """From now on the daemon is started when something asks for it."""
        arguments = ['--idle-seconds', '300', '--analyze-after', '0']
        self.description.write_bytes(plistlib.dumps({'Program': HOARDD, 'Arguments': arguments}))

    @property
    def description(self) -> pathlib.Path:
        return self.services / 'org.wickerlane.hoardd.Gatekeeper.plist'

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

    @contextmanager
    def view(self, *options: str) -> Iterator[str]:
        """The address that `wickerlane view` prints; it is good for one browser."""
        with subprocess.Popen([COMMAND, 'view', '--no-open', *options], env=self.environment, stdout=subprocess.PIPE,
                              text=True) as process:
            self.server = process
            try:
                assert process.stdout is not None
                address = process.stdout.readline().strip()
                assert address, 'the server did not start'
                yield address
            finally:
                process.terminate()
                try:
                    process.wait(60)
                except subprocess.TimeoutExpired:
                    process.kill()
                    raise
