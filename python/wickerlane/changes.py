"""Changes of the counts, for programs that run on asyncio."""

import asyncio
import errno
import itertools
import weakref
from collections.abc import Callable
from contextlib import suppress
from ctypes import CFUNCTYPE, c_void_p
from types import TracebackType
from typing import Self

from . import native
from .errors import Unreachable
from .native import C, Handle, Scope

# C calls one function, which is always there, with the number of a handler: a call that comes late finds none.
_handlers: dict[int, Callable[[], object]] = {}
_numbers = itertools.count(1)


def _call(number: int) -> None:
    handler = _handlers.get(number)
    if handler is not None:
        handler()


_pass_on = CFUNCTYPE(None, c_void_p)(_call)


# How many objects want each loop to serve the library's main queue.
_readers: weakref.WeakKeyDictionary[asyncio.AbstractEventLoop, int] = weakref.WeakKeyDictionary()


def _serve_main_queue(loop: asyncio.AbstractEventLoop) -> None:
    if _readers.get(loop, 0) == 0:
        descriptor = C.WLMainDescriptor()
        if descriptor < 0:
            raise OSError(errno.EMFILE, 'the main queue of the library has no descriptor')
        loop.add_reader(descriptor, C.WLMainDrain)
    _readers[loop] = _readers.get(loop, 0) + 1


def _leave_main_queue(loop: asyncio.AbstractEventLoop) -> None:
    _readers[loop] -= 1
    if _readers[loop] == 0:
        loop.remove_reader(C.WLMainDescriptor())


class CountChanges:
    """The numbers of photos and videos: at once, and again after each change, until the end of `async with`.

        async with library.count_changes() as changes:
            async for photos, videos in changes:
                print(photos, videos)

    Changes in quick succession share a turn. What comes while a turn is worked on is seen by the next."""

    def __init__(self, count: Callable[[], tuple[int, int]]) -> None:
        """For the package's own use."""
        self._count = count
        self._changed = asyncio.Event()

    async def __aenter__(self) -> Self:
        self._loop = asyncio.get_running_loop()
        self._changed.set() # the counts as they are, whatever happened before
        _serve_main_queue(self._loop)
        self._number = next(_numbers)
        _handlers[self._number] = self._note_change
        native.note_use()
        with Scope():
            token = C.RZRegisterForPhotosAndVideosCount(_pass_on, self._number, None, C.WLQueueMain())
            if token is None:
                self._forget()
                raise Unreachable('changes can\'t be watched: what is wrong is on the console')
            self._token = Handle.retaining(token)
        return self

    async def __aexit__(self, _type: type[BaseException] | None, _value: BaseException | None,
                        _traceback: TracebackType | None) -> None:
        C.RZUnregisterForPhotosAndVideosCount(self._token)
        self._forget()

    def _note_change(self) -> None:
        # It may be the loop of another thread that serves the main queue now, and this one may have ended meanwhile.
        with suppress(RuntimeError):
            self._loop.call_soon_threadsafe(self._changed.set)

    def _forget(self) -> None:
        del _handlers[self._number]
        _leave_main_queue(self._loop)

    def __aiter__(self) -> Self:
        return self

    async def __anext__(self) -> tuple[int, int]:
        await self._changed.wait()
        self._changed.clear()
        return await asyncio.to_thread(self._count)
