"""Albums."""

import datetime
from collections.abc import Iterable
from typing import Unpack

from . import dates
from .asset import Asset
from .native import C, Handle, array, ask, known, text_argument, text_or_none, url
from .query import Assets, Filters, make_query
from .session import Session

_MOST_AT_ONCE = 10_000


class Album:
    """An album of the library. It is immutable: it stays as it was when the daemon was asked."""

    __slots__ = ('_handle', '_session')

    def __init__(self, handle: Handle, session: Session) -> None:
        """For the package's own use."""
        self._handle = handle
        self._session = session

    def __repr__(self) -> str:
        return f'<album {self.name!r} {self.uuid}>'

    def __eq__(self, other: object) -> bool:
        return isinstance(other, Album) and self.uuid == other.uuid

    def __hash__(self) -> int:
        return hash(self.uuid)

    @property
    def uuid(self) -> str:
        """36 characters, upper case. Albums with equal UUIDs are equal."""
        return known(text_or_none(C.WLAlbumUUID(self._handle)))

    @property
    def name(self) -> str:
        """No two albums have the same, and none has an empty one."""
        return known(text_or_none(C.WLAlbumName(self._handle)))

    @property
    def asset_count(self) -> int:
        """How many assets it had."""
        return int(C.WLAlbumAssetCount(self._handle))

    @property
    def created(self) -> datetime.datetime:
        """When it was made, in UTC."""
        return dates.instant(C.WLAlbumDateCreated(self._handle))

    @property
    def stream_id(self) -> str | None:
        """The ID of the stream that shares it; None when it is not shared."""
        return text_or_none(C.WLAlbumStreamID(self._handle))

    @property
    def url(self) -> str:
        """The persistent URL."""
        return known(url(C.WLAlbumURL(self._handle)))

    @property
    def object_id(self) -> str:
        """The URI of its object ID."""
        return known(url(C.WLAlbumObjectID(self._handle)))

    # All that follows waits for the daemon.

    def assets(self, *, fields: Iterable[str] | None = None, page_size: int = 500,
               **filters: Unpack[Filters]) -> Assets:
        """Its assets, as Library.assets() gives them."""
        filters['album'] = self.uuid
        return Assets(make_query(filters, fields, page_size), self._session)

    def rename(self, name: str) -> None:
        """Gives it another name, of 1 to 1024 bytes. Exists is raised when another album has it."""
        with self._session.asking():
            ask(C.WLAlbumRename, self.uuid.encode(), text_argument(name))

    def delete(self) -> None:
        """Deletes the album; its assets stay in the library."""
        with self._session.asking():
            ask(C.WLAlbumDelete, self.uuid.encode())

    def add(self, *assets: Asset) -> None:
        """Adds assets; those that it has already stay. When it fails, some may have been added."""
        for asset in assets:
            with self._session.asking():
                ask(C.WLAlbumAddAsset, self.uuid.encode(), asset.handle)

    def remove(self, *assets: Asset) -> None:
        """Takes assets out; those that are not in it are ignored. The assets stay in the library."""
        for first in range(0, len(assets), _MOST_AT_ONCE):
            some = array(asset.handle for asset in assets[first:first + _MOST_AT_ONCE])
            with self._session.asking():
                ask(C.WLAlbumRemoveAssets, self.uuid.encode(), some)
