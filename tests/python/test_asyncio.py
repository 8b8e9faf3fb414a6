"""The library in programs that run on asyncio."""

import asyncio
import concurrent.futures
import subprocess
import sys
import threading
from collections.abc import Callable

import pytest
import wickerlane
from conftest import TREE
from pictures import png
from wickerlane import changes

Save = Callable[..., wickerlane.Asset]
LONG = 60 # seconds, for what should come soon


async def until(watched: wickerlane.CountChanges, counts: tuple[int, int]) -> None:
    async with asyncio.timeout(LONG):
        while await anext(watched) != counts:
            pass


def test_all_watchers_see_changes(library: wickerlane.Library) -> None:
    async def watch() -> None:
        async with library.count_changes() as first:
            async with library.count_changes() as second:
                assert await anext(first) == await anext(second) == (0, 0)
                await asyncio.to_thread(library.save, png(300))
                await asyncio.gather(until(first, (1, 0)), until(second, (1, 0)))
            await asyncio.to_thread(library.save, png(301)) # the first goes on without the second
            await until(first, (2, 0))
            await asyncio.to_thread(library.asset((await anext(aiter(library.assets()))).uuid).delete)
            await until(first, (1, 0))

    asyncio.run(watch())
    assert not changes._handlers and not any(changes._readers.values())


def test_loops_of_two_threads_watch(library: wickerlane.Library) -> None:
    have_begun = threading.Barrier(3, timeout=LONG)

    async def watch() -> None:
        async with library.count_changes() as watched:
            await until(watched, (1, 0))
            await asyncio.to_thread(have_begun.wait)
            await until(watched, (2, 0))

    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        library.save(png(302))
        watchers = [pool.submit(lambda: asyncio.run(watch())) for _ in range(2)]
        have_begun.wait()
        library.save(png(303))
        for watcher in watchers:
            watcher.result(LONG)


def test_a_watcher_that_is_cancelled_leaves_nothing(library: wickerlane.Library) -> None:
    async def watch() -> None:
        async with library.count_changes() as watched:
            await anext(watched)
            with pytest.raises(TimeoutError):
                async with asyncio.timeout(0.05):
                    while True: # what was imported before may be told late
                        await anext(watched)
            raise asyncio.CancelledError

    with pytest.raises(asyncio.CancelledError):
        asyncio.run(watch())
    assert not changes._handlers and not any(changes._readers.values())


def test_pages_are_awaited(library: wickerlane.Library, save: Save) -> None:
    saved = [save(png(310 + i)) for i in range(5)]

    async def collect() -> list[wickerlane.Asset]:
        return [asset async for asset in library.assets(page_size=2, order='added')]

    assert asyncio.run(collect()) == saved
    library.close()
    with pytest.raises(ValueError, match='closed'):
        asyncio.run(collect())


def test_the_example(library: wickerlane.Library) -> None:
    program = [sys.executable, TREE / 'examples/watch.py', '1']
    with subprocess.Popen(program, stdout=subprocess.PIPE, text=True) as watcher:
        assert watcher.stdout is not None
        try:
            assert watcher.stdout.readline() == '0 photos, 0 videos\n'
            library.save(png(320))
            assert watcher.stdout.read() == '1 photos, 0 videos\n'
            assert watcher.wait(LONG) == 0
        finally:
            watcher.kill()
