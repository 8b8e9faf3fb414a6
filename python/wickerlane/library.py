"""The library itself."""

import datetime
import itertools
import math
import os
from collections.abc import Iterable, Iterator
from types import TracebackType
from typing import Any, Literal, Self, Unpack

from .album import Album
from .asset import KINDS, Asset, DetailChanges, Trashed, set_details
from .changes import CountChanges
from .counts import photos_and_videos
from .dates import instant, seconds_of_clock
from .errors import Invalid, NotFound, WickerlaneError
from .following import Changes, Following, changes_since
from .moment import Duplicates, Moment, MomentList, moment_lists
from .native import C, Handle, array, ask, note_use, number_of, size, string, text_argument
from .query import Assets, Filters, Section, SectionUnit, make_query, pages
from .saving import Companion, Saved, companions_of, data_job, describe, file_job, save_files, saved_of
from .session import Session
from .sharing import Bulletin, FeedEntry, bulletins, feed
from .video import VideoFacts, video_facts

DuplicateKind = Literal['all', 'same', 'similar']
DUPLICATE_KINDS: tuple[DuplicateKind, ...] = ('all', 'same', 'similar')


class Library:
    """The photo library of this user, through its daemon, which starts when it is needed.

    Any number of threads may use it, and several objects may be used at once. All functions but close() wait for the
    daemon, and raise a WickerlaneError when it does not do what was asked."""

    def __init__(self, *, time_limit: float | None = None) -> None:
        """`time_limit` is how many seconds each request may take, of this object and all that it gives; a late one
        raises TimedOut. None is without a limit. An interrupt from the keyboard ends the waits of follow(), of
        save_all() and of count() without filters or by kind alone; others go on until the daemon has answered."""
        self._session = Session(time_limit)

    def __enter__(self) -> Self:
        return self

    def __exit__(self, _type: type[BaseException] | None, _value: BaseException | None,
                 _traceback: TracebackType | None) -> None:
        self.close()

    def close(self) -> None:
        """From now on, this object and all that it gave ask nothing more; what they know can still be read."""
        self._session.close()

    def within(self, seconds: float | None) -> Self:
        """The same library with another time limit: `library.within(2).albums()`. None is without a limit. When one of
        both is closed, so is the other."""
        same = type(self).__new__(type(self))
        same._session = Session(seconds, self._session)
        return same

    # Assets.

    def assets(self, *, fields: Iterable[str] | None = None, page_size: int = 500, cursor: str | None = None,
               **filters: Unpack[Filters]) -> Assets:
        """The assets that match all filters, which Filters describes. `fields` names the properties of Asset that are
        needed, so that no others travel; `page_size`, 1 to 10,000, is how many travel at once. `cursor` is that of a
        Page, to go on behind it."""
        return Assets(make_query(filters, fields, page_size, cursor), self._session)

    def sections(self, by: SectionUnit = 'month', **filters: Unpack[Filters]) -> list[Section]:
        """The days or months of the assets that match all filters."""
        return self.assets(**filters).sections(by)

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
        """The asset with a UUID, a beginning of one that no other has, a URL or an object ID. Invalid is raised for a
        beginning that several have."""
        found = list(itertools.islice(self.assets(identity=identity, page_size=2), 2))
        if len(found) > 1:
            raise Invalid(f'several assets begin with {identity!r}: give more of it')
        if not found:
            raise NotFound(f'there is no asset {identity!r}')
        return found[0]

    def save(self, source: os.PathLike[str] | str | bytes | bytearray | memoryview, *, name: str | None = None,
             created: datetime.datetime | None = None, unless_present: bool = False,
             sidecar: os.PathLike[str] | str | None = None, companion: os.PathLike[str] | str | None = None) -> Saved:
        """Saves a copy of a file, by its path, or the bytes of one. Returns when it is safe on the disk.

        `name` is what the file is called, in place of the path's last part. `created` is when the photo or video was
        taken, whatever the file says. With `unless_present`, an asset with the same bytes is the result instead of a
        copy, so that it may be done again after any failure. `sidecar` is a file of metadata that is kept with the
        asset. `companion` is a second file of the same shot: if contents and times say that it is one, it is kept."""
        job = data_job(source) if isinstance(source, (bytes, bytearray, memoryview)) else file_job(source)
        describe(job, name=name, created=created, unless_present=unless_present, sidecar=sidecar, companion=companion)
        with self._session.asking():
            return saved_of(ask(C.WLSaveJobRun, job))

    def save_all(self, paths: Iterable[os.PathLike[str] | str], *,
                 unless_present: bool = False) -> list[Saved | WickerlaneError]:
        """Saves copies of any number of files. What came of each, in their order: a file that can't be saved does not
        keep the others from it. This program opens the files, so that the daemon need not have the right to. They
        travel 4096 at a time: what keeps the first of these requests from being done is raised, and what befalls a
        later one is the outcome of each of its files."""
        return save_files(self._session, paths, unless_present)

    def companions(self, assets: Iterable[Asset]) -> dict[str, Companion]:
        """The second files of the shots that 1 to 10,000 assets are, by the UUIDs of those that have one."""
        return companions_of(self._session, assets)

    def adjust_dates(self, assets: Iterable[Asset], by: datetime.timedelta) -> None:
        """Moves the dates of 1 to 1000 photos whose camera's clock was wrong: by `by`, which is whole seconds. When
        that fails, no date has changed."""
        if by.microseconds != 0:
            raise ValueError('dates are moved by whole seconds')
        with self._session.asking():
            ask(C.WLAssetsAdjustDates, array(asset.handle for asset in assets), by.days * 86400 + by.seconds)

    def video_facts(self, path: os.PathLike[str] | str) -> VideoFacts:
        """What is known of a file of a video, which need not be in the library. This program must be allowed to read
        it."""
        return video_facts(self._session, path)

    def set(self, assets: Iterable[Asset], **changes: Unpack[DetailChanges]) -> None:
        """Sets what people say of 1 to 10,000 assets; when that fails, nothing has changed."""
        set_details(self._session, assets, changes)

    # Changes.

    def changes(self, since: str | None = None) -> Changes:
        """What has happened to assets since the token of other Changes, until now. Without a token there is nothing in
        them but the token of the present; an empty text stands for the oldest change that the library knows. TooOld is
        raised when it no longer knows all: list the assets again, and go on with the token of the exception."""
        return changes_since(self._session, since)

    def follow(self, since: str | None = None) -> Following:
        """The same as they come, also by `async for`. Without a token, it begins with the next change."""
        return Following(self._session, since)

    # The trash.

    def trash(self, *, page_size: int = 500) -> Iterator[Trashed]:
        """The assets in the trash, and when they were moved there, the latest first."""
        found = pages(self._session, C.WLTrashPageCreate, C.WLTrashPageCreateNext, size(page_size))
        return (Trashed(Asset(Handle.retaining(C.WLTrashPageGet(page, index)), self._session),
                        instant(C.WLTrashPageDate(page, index)))
                for page in found for index in range(C.WLTrashPageCount(page)))

    def empty_trash(self) -> None:
        """Deletes all that is in the trash for good."""
        self._do(C.WLTrashEmpty)

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
                      number_of(DUPLICATE_KINDS, kind), size(page_size))
        return (Duplicates(Handle.retaining(C.WLDuplicatesPageGet(page, index)))
                for page in found for index in range(C.WLDuplicatesPageCount(page)))

    def moment_lists(self) -> list[MomentList]:
        """Moments that belong together, the earliest first."""
        return moment_lists(self._session)

    # Shared albums, and damaged originals.

    def bulletins(self) -> list[Bulletin]:
        """What a board of bulletins shows now."""
        return bulletins(self._session)

    def clear_bulletins(self, last: Bulletin) -> None:
        """Clears all up to and including one. It is sent at once, and done soon."""
        with self._session.asking():
            note_use()
            C.WLBulletinsClear(last.record)

    def badge_count(self) -> int:
        """The number on the application's badge."""
        return int(self._do(C.WLBadgeCount))

    def feed(self) -> list[FeedEntry]:
        """What came into shared albums, the newest first."""
        return feed(self._session)

    # Upkeep. The daemon does all this by itself when it has time; in a large library it takes long.

    def analyze(self) -> None:
        """Analyzes the moments and duplicates that are out of date."""
        self._do(C.WLAnalyzeWhatIsOutOfDate)

    def rebuild_moments(self) -> None:
        """Makes all moments and their lists again."""
        self._do(C.WLMomentsRebuild, False)
        self._do(C.WLMomentListsRebuild)

    def reset_duplicates(self) -> None:
        """Discards the found duplicates, and searches again."""
        self._do(C.WLDuplicatesReset)

    def rebuild_thumbnails(self) -> None:
        """Makes all thumbnails again."""
        self._do(C.WLThumbnailsRebuild)

    def import_files(self) -> None:
        """Imports the files that lie in the library's folders without being assets."""
        self._do(C.WLLibraryImportFiles)

    def _do(self, function: Any, *arguments: object) -> Any:
        with self._session.asking():
            return ask(function, *arguments)
