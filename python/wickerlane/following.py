"""What has changed in the library, and waiting for it."""

import asyncio
import concurrent.futures
import dataclasses
import datetime
import threading
from collections.abc import AsyncIterator, Callable, Iterator
from typing import Literal

from . import dates
from .errors import Ending, TooOld
from .native import C, Handle, ask, known, text_argument, text_or_none
from .session import Session

ChangeKind = Literal['added', 'changed', 'removed']
CHANGE_KINDS: tuple[ChangeKind, ...] = ('added', 'changed', 'removed')

_MOST_AT_ONCE = 1000

# How long the daemon may wait before it answers that nothing has changed. A wait that was given up still ends by then.
_SECONDS = 30


@dataclasses.dataclass(frozen=True, slots=True)
class Change:
    """What has happened to an asset."""

    kind: ChangeKind
    uuid: str
    """Of the asset."""
    date: datetime.datetime
    """When, in UTC."""
    number: int
    """Ascends with each change, and is given again only after an older store was put back."""


@dataclasses.dataclass(frozen=True, slots=True)
class Changes:
    """What has happened to assets, the oldest first."""

    changes: tuple[Change, ...]
    token: str
    """To ask later for what changes behind these. It may be kept in a file."""

    def __iter__(self) -> Iterator[Change]:
        return iter(self.changes)

    def __len__(self) -> int:
        return len(self.changes)


def _read(changes: Handle) -> Changes:
    token = known(text_or_none(C.WLChangesToken(changes)))
    if C.WLChangesIsTooOld(changes):
        error = TooOld('the library no longer knows all that has changed since: list the assets again')
        error.token = token
        raise error
    return Changes(tuple(Change(CHANGE_KINDS[C.WLChangesKind(changes, index)],
                                known(text_or_none(C.WLChangesUUID(changes, index))),
                                dates.instant(C.WLChangesDate(changes, index)), C.WLChangesNumber(changes, index))
                         for index in range(C.WLChangesCount(changes))), token)


def changes_since(session: Session, token: str | None) -> Changes:
    """All until now; without a token none, but the token of the present."""
    found: list[Change] = []
    limit = _MOST_AT_ONCE if token is not None else 0
    while True:
        with session.asking():
            handle = Handle(ask(C.WLChangesCreate, text_argument(token or ''), limit))
        page = _read(handle)
        found += page.changes
        token = page.token
        if limit == 0 or C.WLChangesIsLast(handle):
            return Changes(tuple(found), token)


class Following:
    """Changes as they come, for as long as it is iterated:

        for changes in library.follow(token):
            for change in changes:
                print(change.kind, change.uuid)
            keep(changes.token)

    `async for` does the same for programs that run on asyncio. Changes in quick succession come together. TooOld is
    raised when the library no longer knows all that has changed."""

    def __init__(self, session: Session, token: str | None) -> None:
        """For the package's own use."""
        self._session = session
        self._token = token

    def __iter__(self) -> Iterator[Changes]:
        token = self._token if self._token is not None else changes_since(self._session, None).token
        while True:
            changes = _in_background(self._next, token).result()
            token = changes.token
            if changes.changes:
                yield changes

    async def __aiter__(self) -> AsyncIterator[Changes]:
        token = self._token
        if token is None:
            token = (await asyncio.to_thread(changes_since, self._session, None)).token
        while True:
            changes = await asyncio.wrap_future(_in_background(self._next, token))
            token = changes.token
            if changes.changes:
                yield changes

    def _next(self, token: str) -> Changes:
        try:
            return self._await(token)
        except Ending: # another daemon follows
            return self._await(token)

    def _await(self, token: str) -> Changes:
        with self._session.asking(waiting=_SECONDS):
            return _read(Handle(ask(C.WLChangesCreateWhenAny, text_argument(token), _MOST_AT_ONCE, _SECONDS)))


def _in_background(work: Callable[[str], Changes], token: str) -> 'concurrent.futures.Future[Changes]':
    """Does it on a thread that keeps neither an interrupt from the keyboard nor the end of the program waiting."""
    future: concurrent.futures.Future[Changes] = concurrent.futures.Future()

    def run() -> None:
        if not future.set_running_or_notify_cancel():
            return
        try:
            future.set_result(work(token))
        except BaseException as error:
            future.set_exception(error)

    threading.Thread(target=run, name='wickerlane changes', daemon=True).start()
    return future
