"""What has changed in the library, and waiting for it."""

import asyncio
import datetime
import signal
import subprocess
import sys
import threading
from collections.abc import Callable, Iterator

import pytest
import wickerlane
from conftest import command, end_daemon
from pictures import png

Save = Callable[..., wickerlane.Asset]
LONG = 60 # seconds, for what should come soon


def what(changes: wickerlane.Changes) -> list[tuple[str, str]]:
    return [(change.kind, change.uuid) for change in changes]


def comes(wanted: tuple[str, str], following: Iterator[wickerlane.Changes]) -> bool:
    """Waits for a change, perhaps behind others, such as those of thumbnails that are made."""
    return any(wanted in what(changes) for changes in following)


def test_changes_since_a_token(library: wickerlane.Library, save: Save) -> None:
    start = library.changes()
    assert what(start) == []
    before = datetime.datetime.now(datetime.UTC)
    asset = save(png(400))
    added = library.changes(since=start.token)
    assert ('added', asset.uuid) in what(added) and len(added) == len(added.changes)
    assert all(before <= change.date <= datetime.datetime.now(datetime.UTC) for change in added)
    asset.set(favourite=True)
    asset.delete()
    kinds = [kind for kind, _ in what(library.changes(since=added.token))]
    assert 'changed' in kinds and 'removed' in kinds
    numbers = [change.number for change in library.changes(since='')]
    assert numbers == sorted(set(numbers)) and numbers[-1] > added.changes[-1].number
    assert what(library.changes(since=library.changes().token)) == []
    for wrong, kind in (('no token', wickerlane.Invalid), ('a\0b', ValueError)):
        with pytest.raises(kind):
            library.changes(since=wrong)


def test_a_token_that_is_too_old(library: wickerlane.Library, save: Save) -> None:
    token = library.changes().token
    save(png(401))
    command('changes', '--clear')
    for ask in (lambda: library.changes(since=token), lambda: next(iter(library.follow(token)))):
        with pytest.raises(wickerlane.TooOld, match='list the assets') as raised:
            ask()
    kept = save(png(402))
    assert ('added', kept.uuid) in what(library.changes(since=raised.value.token))


def test_changes_are_followed(library: wickerlane.Library, save: Save) -> None:
    token = library.changes().token
    asset = save(png(403))
    seen = next(iter(library.follow(token))) # those that came before
    assert ('added', asset.uuid) in what(seen)
    later = iter(library.follow(library.changes().token))
    threading.Timer(0.05, asset.delete).start()
    assert comes(('removed', asset.uuid), later)
    end_daemon() # between two waits
    threading.Timer(0.05, lambda: library.save(png(404))).start()
    assert any(change.kind == 'added' for changes in later for change in changes)
    library.close()
    with pytest.raises(ValueError, match='closed'):
        next(later)


def test_changes_are_followed_on_asyncio(library: wickerlane.Library) -> None:
    async def follow() -> list[str]:
        seen: list[str] = []
        token = library.changes().token
        async with asyncio.timeout(LONG), asyncio.TaskGroup() as group:
            group.create_task(asyncio.to_thread(lambda: [library.save(png(405 + i)) for i in range(3)]))
            async for changes in library.follow(token):
                seen += [change.uuid for change in changes if change.kind == 'added']
                if len(seen) == 3:
                    return seen
        raise AssertionError

    assert set(asyncio.run(follow())) == {asset.uuid for asset in library.assets()}


def test_a_wait_that_is_given_up_leaves_the_program_free(library: wickerlane.Library) -> None:
    """An interrupt, a cancelled task and the end of the interpreter don't wait for a change."""
    library.count()
    program = """
import asyncio, wickerlane
wickerlane.following._SECONDS = 600 # far more than the test waits
library = wickerlane.Library()
async def follow():
    async for changes in library.follow():
        pass
async def cancel():
    task = asyncio.create_task(follow())
    await asyncio.sleep(0.05)
    task.cancel()
    await asyncio.wait([task])
asyncio.run(cancel())
token = library.changes().token
try:
    print('cancelled', flush=True)
    for changes in library.follow(token):
        pass
except KeyboardInterrupt:
    print('interrupted')
"""
    with subprocess.Popen([sys.executable, '-c', program], stdout=subprocess.PIPE, text=True) as waiter:
        try:
            assert waiter.stdout is not None and waiter.stdout.readline() == 'cancelled\n'
            waiter.send_signal(signal.SIGINT)
            assert waiter.wait(LONG) == 0 and waiter.stdout.read() == 'interrupted\n'
        finally:
            waiter.kill()
