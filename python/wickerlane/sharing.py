"""What has happened in shared albums, and to originals."""

import dataclasses
import datetime
from typing import Literal

from . import dates
from .native import C, Handle, Scope, ask, known, text_or_none, view
from .session import Session
from .values import Value, mapping_of

BulletinKind = Literal['added', 'damaged']


@dataclasses.dataclass(frozen=True, slots=True)
class Bulletin:
    """Something for a board to show: assets that were added to an album, or an original that is damaged."""

    record: int
    """Later ones have higher numbers."""
    kind: BulletinKind
    title: str | None
    """In the user's language."""
    message: str | None
    """In the user's language."""
    date: datetime.datetime | None
    expires: datetime.datetime | None
    album_uuid: str | None
    asset_uuid: str | None
    """Of the newest asset."""
    asset_count: int
    url: str | None
    """What to open."""
    has_thumbnail: bool
    _session: Session = dataclasses.field(repr=False, compare=False)

    def thumbnail(self) -> memoryview | None:
        """A file of a picture; None when there is none. Waits for the daemon."""
        with self._session.asking():
            pointer = ask(C.WLBulletinCreateThumbnail, self.record)
        return view(Handle(pointer)) if pointer is not None else None


def _date(value: Value) -> datetime.datetime | None:
    return value if isinstance(value, datetime.datetime) else None


def _text(value: Value) -> str | None:
    return value if isinstance(value, str) else None


def _number(value: Value) -> int:
    return value if isinstance(value, int) else 0


def bulletins(session: Session) -> list[Bulletin]:
    """The current ones."""
    with session.asking():
        found = Handle(ask(C.WLBulletinsCreate))
    with Scope():
        facts = [mapping_of(C.WLArrayGet(found, index)) for index in range(C.WLArrayCount(found))]
    return [Bulletin(_number(each.get('recordID', 0)), 'damaged' if each.get('bulletinType') == 1 else 'added',
                     _text(each.get('title', 0)), _text(each.get('message', 0)), _date(each.get('date', 0)),
                     _date(each.get('expirationDate', 0)), _text(each.get('albumUUID', 0)),
                     _text(each.get('assetUUID', 0)), _number(each.get('assetCount', 0)),
                     _text(each.get('defaultURL', 0)), bool(each.get('hasThumbnail')), session) for each in facts]


@dataclasses.dataclass(frozen=True, slots=True)
class FeedEntry:
    """What came into a shared album within a short time."""

    album_uuid: str
    start: datetime.datetime
    """When the first of the assets was added, in UTC."""
    end: datetime.datetime
    """When the last was added, in UTC."""
    asset_uuids: tuple[str, ...]


def feed(session: Session) -> list[FeedEntry]:
    """The newest first."""
    with session.asking():
        found = Handle(ask(C.WLFeedCreate))
    return [FeedEntry(known(text_or_none(C.WLFeedAlbumUUID(found, index))),
                      dates.instant(C.WLFeedStartDate(found, index)), dates.instant(C.WLFeedEndDate(found, index)),
                      tuple(known(text_or_none(C.WLFeedAssetUUID(found, index, asset)))
                            for asset in range(C.WLFeedAssetCount(found, index))))
            for index in range(C.WLFeedCount(found))]
