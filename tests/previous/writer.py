"""A hoardd that is replaced while a client writes."""

import os
import pathlib
import sys
import tempfile
import threading
import time
from collections.abc import Callable
from typing import Any

from root import Root, wait_until


class Writer(threading.Thread):
    """A client of today that saves pictures one after another, and asks again for what was not answered."""

    def __init__(self, library: Any, errors: Any, picture: pathlib.Path) -> None:
        super().__init__()
        self.library, self.errors, self.picture = library, errors, picture
        self.acknowledged: list[str] = []
        self.refusals: list[str] = []
        self.stopping = threading.Event()
        self.fault: BaseException | None = None

    def run(self) -> None:
        try:
            picture = self.picture.read_bytes()
            number = 0
            while not self.stopping.is_set():
                number += 1
                self.acknowledged.append(self.save(picture + b'%d' % number))
        except BaseException as fault:  # told by the thread that waits
            self.fault = fault

    def save(self, picture: bytes) -> str:
        deadline = time.monotonic() + 60
        while True:
            try:
                return str(self.library.save(picture, name='one.gif', unless_present=True).uuid)
            except (self.errors.Ending, self.errors.Busy, self.errors.QueueFull) as refusal:
                self.refusals.append(str(refusal))
                assert time.monotonic() < deadline, refusal
                time.sleep(0.01)


def replaced_while_a_client_writes(root: Root, command: pathlib.Path, picture: pathlib.Path,
                                   replace: Callable[[], None]) -> None:
    import wickerlane  # finds the root when it is first used

    with wickerlane.Library() as library:
        writer = Writer(library, wickerlane, picture)
        writer.start()
        try:
            wait_until(lambda: len(writer.acknowledged) > 20 or writer.fault is not None)
            replace()
            enough = len(writer.acknowledged) + 20
            wait_until(lambda: len(writer.acknowledged) > enough or writer.fault is not None)
        finally:
            writer.stopping.set()
            writer.join()
        assert writer.fault is None, writer.fault
        there = {asset.uuid for asset in library.assets()}
    lost = set(writer.acknowledged) - there
    print(f'{len(writer.acknowledged)} acknowledged, {len(lost)} lost, {len(writer.refusals)} asked again')
    assert not lost and len(there) == len(set(writer.acknowledged))
    root.ask(command, 'check')


def with_a_library(hoardd: pathlib.Path, library: pathlib.Path, test: Callable[[Root], None]) -> None:
    """In a process of its own, since the package has one root in each."""
    if os.fork() != 0:
        assert os.wait()[1] == 0, test.__name__
        return
    status = 1
    with tempfile.TemporaryDirectory() as folder:
        root = Root(pathlib.Path(folder).resolve(), hoardd)
        os.environ.update({**root.environment, 'WICKERLANE_LIBRARY': str(library)})
        try:
            test(root)
            status = 0
        finally:
            root.end_daemon()
            if status != 0:
                print(root.log())
            sys.stdout.flush()
    os._exit(status)
