"""The library itself."""

import dataclasses
import datetime
import math
import os
from collections.abc import Iterable, Iterator
from types import TracebackType
from typing import Literal, Self, Unpack

from .album import Album
from .asset import KINDS, Asset, DetailChanges, set_details
from .changes import CountChanges
from .counts import photos_and_videos
from .dates import seconds_of_clock, seconds_of_instant
from .errors import NotFound
from .moment import Duplicates, Moment
from .native import C, Handle, ask, known, size, string, text_argument, url
from .query import Assets, Filters, make_query, pages
from .session import Session

DuplicateKind = Literal['all', 'same', 'similar']
DUPLICATE_KINDS: tuple[DuplicateKind, ...] = ('all', 'same', 'similar')


@dataclasses.dataclass(frozen=True, slots=True)
class Saved:
    """What came of saving a file. Library.asset() gives all facts of the asset."""

    uuid: str
    """Of the asset."""
    url: str
    """The persistent URL of the asset."""
    was_present: bool
    """Whether the library had it already."""
    problem: str | None
    """Why the file, which was saved all the same, could not be decoded."""


class Library:
    """The photo library of this user, through its daemon, which starts when it is needed.

    Any number of threads may use it, and several objects may be used at once. All functions but close() wait for the
    daemon, and raise a WickerlaneError when it does not do what was asked."""

    def __init__(self, *, time_limit: float | None = None) -> None:
        """`time_limit` is how many seconds each request may take, of this object and all that it gives; a late one
        raises TimedOut. None is without a limit, and not even an interrupt from the keyboard ends the wait."""
        self._session = Session(time_limit)

    def __enter__(self) -> Self:
        return self

    def __exit__(self, _type: type[BaseException] | None, _value: BaseException | None,
                 _traceback: TracebackType | None) -> None:
        self.close()

    def close(self) -> None:
        """From now on, this object and all that it gave ask nothing more; what they know can still be read."""
        self._session.is_open = False

    # Assets.

    def assets(self, *, fields: Iterable[str] | None = None, page_size: int = 500,
               **filters: Unpack[Filters]) -> Assets:
        """The assets that match all filters, which Filters describes. `fields` names the properties of Asset that are
        needed, so that no others travel; `page_size`, 1 to 10,000, is how many travel at once."""
        return Assets(make_query(filters, fields, page_size), self._session)

    def count(self, **filters: Unpack[Filters]) -> int:
        """How many assets match all filters. Without any, or by kind alone, it does not depend on their number."""
        assets = self.assets(**filters)
        counts = photos_and_videos(self._session) if filters.keys() <= {'kind'} else None
        if counts is None:
            return assets.count()
        return counts[KINDS.index(filters['kind'])] if 'kind' in filters else sum(counts)

    def count_changes(self) -> CountChanges:
        """The numbers of photos and videos at each change, for programs that run on asyncio."""
        return CountChanges(lambda: (self.count(kind='photo'), self.count(kind='video')))

    def asset(self, identity: str) -> Asset:
        """The asset with a UUID, a beginning of one that no other has, a URL or an object ID."""
        for asset in self.assets(identity=identity, page_size=2):
            return asset
        raise NotFound(f'there is no asset {identity!r}')

    def save(self, source: os.PathLike[str] | str | bytes | bytearray | memoryview, *, name: str | None = None,
             created: datetime.datetime | None = None, unless_present: bool = False) -> Saved:
        """Saves a copy of a file, by its path, or the bytes of one. Returns when it is safe on the disk.

        `name` is what the file is called, in place of the path's last part. `created` is when the photo or video was
        taken, whatever the file says. With `unless_present`, an asset with the same bytes is the result instead of a
        copy, so that it may be done again after any failure."""
        if isinstance(source, (bytes, bytearray, memoryview)):
            contents = bytes(source)
            job = Handle(C.WLSaveJobCreateWithData(Handle(C.WLDataCreate(contents, len(contents)))))
        else:
            path = os.fspath(source)
            pointer = C.WLSaveJobCreateWithFile(text_argument(path))
            if pointer is None:
                raise ValueError(f'a path to save must not be empty: {path!r}')
            job = Handle(pointer)
        if name is not None:
            C.WLSaveJobSetOriginalFilename(job, text_argument(name))
        if created is not None:
            C.WLSaveJobSetDateCreated(job, seconds_of_instant(created))
        C.WLSaveJobSetUnlessPresent(job, unless_present)
        with self._session.asking():
            saved = ask(C.WLSaveJobRun, job)
            return Saved(known(string(C.WLSavedAssetUUID(saved))), known(url(C.WLSavedAssetURL(saved))),
                         bool(C.WLSavedAssetWasPresent(saved)), string(C.WLSavedAssetProblem(saved)))

    def set(self, assets: Iterable[Asset], **changes: Unpack[DetailChanges]) -> None:
        """Sets what people say of 1 to 10,000 assets; when that fails, nothing has changed."""
        set_details(self._session, assets, changes)

    # Albums.

    def albums(self) -> list[Album]:
        """All albums, by name."""
        with self._session.asking():
            albums = Handle(ask(C.WLAlbumsCreate))
        return [Album(Handle.retaining(C.WLAsAlbum(C.WLArrayGet(albums, index))), self._session)
                for index in range(C.WLArrayCount(albums))]

    def album(self, name: str) -> Album:
        """The album of that name."""
        for album in self.albums():
            if album.name == name:
                return album
        raise NotFound(f'there is no album {name!r}')

    def make_album(self, name: str) -> Album:
        """Makes an album. Exists is raised when there is one of that name."""
        with self._session.asking():
            uuid = string(ask(C.WLAlbumAdd, text_argument(name)))
        for album in self.albums():
            if album.uuid == uuid:
                return album
        raise NotFound(f'the album {name!r} was made, and deleted again by another program')

    # What the daemon has found out.

    def moments(self, *, since: datetime.date | None = None, until: datetime.date | None = None,
                newest_first: bool = False, page_size: int = 500) -> Iterator[Moment]:
        """The moments that begin in a time, in the order in which they begin. Dates are those of the camera's clock."""
        start = seconds_of_clock(since) if since is not None else -math.inf
        end = seconds_of_clock(until) if until is not None else math.inf
        found = pages(self._session, C.WLMomentPageCreate, C.WLMomentPageCreateNext, start, end, newest_first,
                      size(page_size))
        return (Moment(Handle.retaining(C.WLMomentPageGet(page, index)), self._session)
                for page in found for index in range(C.WLMomentPageCount(page)))

    def duplicates(self, kind: DuplicateKind = 'all', *, page_size: int = 500) -> Iterator[Duplicates]:
        """Groups of assets that are the same picture, of those that are similar, or of both."""
        found = pages(self._session, C.WLDuplicatesPageCreate, C.WLDuplicatesPageCreateNext,
                      DUPLICATE_KINDS.index(kind), size(page_size))
        return (Duplicates(Handle.retaining(C.WLDuplicatesPageGet(page, index)))
                for page in found for index in range(C.WLDuplicatesPageCount(page)))
