"""A library of its own for the tests, and the daemon of the build tree, which serves it."""

import os
import pathlib
import plistlib
import select
import shutil
import signal
import subprocess
import sys
import tempfile
import time
from collections.abc import Callable, Iterator
from contextlib import contextmanager

import pytest

TREE = pathlib.Path(__file__).parents[2]
HOARDD = os.environ['HOARDD_PROGRAM']
COMMAND = os.environ['WICKERLANE_COMMAND']

# The process has one library. New processes that it starts are to find the package and the library as well.
ROOT = pathlib.Path(tempfile.mkdtemp(prefix='wickerlane-python-'))
os.environ['WICKERLANE_ROOT'] = str(ROOT)
os.environ['WICKERLANE_SERVICES'] = str(ROOT / 'services')
os.environ['PYTHONPATH'] = os.pathsep.join([str(TREE / 'python'), str(pathlib.Path(__file__).parent)])
sys.path.insert(0, str(TREE / 'python'))

import wickerlane  # noqa: E402


def describe_service(*more: str) -> None:
    """Says how the daemon is started from now on."""
    folder = ROOT / 'services'
    folder.mkdir(exist_ok=True)
    arguments = ['--idle-seconds', '60', '--analyze-after', '0', *more]
    (folder / 'org.wickerlane.hoardd.Gatekeeper.plist').write_bytes(
        plistlib.dumps({'Program': HOARDD, 'Arguments': arguments}))


def command(*words: str) -> None:
    """Runs the command `wickerlane`."""
    subprocess.run([COMMAND, *words], stdout=subprocess.DEVNULL, check=True)


@contextmanager
def daemon() -> Iterator[int | None]:
    """A descriptor of the daemon's process, if it runs. Its number may be another process's by now."""
    try:
        process = int((ROOT / 'var/mobile/Media/PhotoData/hoardd.lock').read_text(encoding='utf-8'))
        descriptor = os.pidfd_open(process)
    except (OSError, ValueError):
        yield None
        return
    try:
        yield descriptor if os.path.samefile(f'/proc/{process}/exe', HOARDD) else None
    except FileNotFoundError:
        yield None
    finally:
        os.close(descriptor)


def stands_still(thread: pathlib.Path) -> bool:
    """Of a folder below /proc."""
    try:
        return '\nState:\tT' in (thread / 'status').read_text(encoding='utf-8')
    except OSError: # it has ended meanwhile
        return True


@contextmanager
def stopped_daemon() -> Iterator[None]:
    """Inside, the daemon, which must run, stands still. A signal stops its threads one after another."""
    with daemon() as descriptor:
        assert descriptor is not None
        facts = pathlib.Path(f'/proc/self/fdinfo/{descriptor}').read_text(encoding='ascii')
        threads = pathlib.Path('/proc') / facts.split('Pid:')[1].split()[0] / 'task'
        signal.pidfd_send_signal(descriptor, signal.SIGSTOP)
        try:
            while not all(stands_still(thread) for thread in threads.iterdir()):
                time.sleep(0.001)
            yield
        finally:
            signal.pidfd_send_signal(descriptor, signal.SIGCONT)


def end_daemon() -> None:
    """Returns when it has ended."""
    with daemon() as descriptor:
        if descriptor is not None:
            signal.pidfd_send_signal(descriptor, signal.SIGTERM)
            assert select.select([descriptor], [], [], 60)[0], 'the daemon does not end'


@pytest.fixture(scope='session', autouse=True)
def root() -> Iterator[pathlib.Path]:
    """Below which the library is."""
    describe_service()
    yield ROOT
    end_daemon()
    shutil.rmtree(ROOT)


@pytest.fixture
def library() -> Iterator[wickerlane.Library]:
    """An empty library."""
    with wickerlane.Library() as opened:
        for asset in opened.assets(fields=[]):
            asset.delete()
        for album in opened.albums():
            album.delete()
        yield opened


@pytest.fixture
def save(library: wickerlane.Library) -> Callable[..., wickerlane.Asset]:
    """Saves as Library.save() does, and gives the asset."""
    return lambda *arguments, **more: library.asset(library.save(*arguments, **more).uuid)
