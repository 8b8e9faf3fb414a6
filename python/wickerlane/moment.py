"""What the daemon has found out about the assets: moments, and groups of duplicates."""

import dataclasses
import datetime
from collections.abc import Iterable
from typing import Unpack

from . import dates
from .native import C, Handle, ask, known, location, text_or_none
from .query import Assets, Filters, make_query
from .session import Session


class Moment:
    """Assets that were made at one time and place. It is immutable."""

    __slots__ = ('_handle', '_session')

    def __init__(self, handle: Handle, session: Session) -> None:
        """For the package's own use."""
        self._handle = handle
        self._session = session

    def __repr__(self) -> str:
        return f'<moment {self.number} of {self.asset_count} assets>'

    @property
    def number(self) -> int:
        """It is not used again for another moment."""
        return int(C.WLMomentNumber(self._handle))

    @property
    def list_number(self) -> int:
        """The number of the list of moments that it belongs to; 0 when it is in none yet."""
        return int(C.WLMomentListNumber(self._handle))

    @property
    def start(self) -> datetime.datetime:
        """When its first asset was taken, in UTC."""
        return dates.instant(C.WLMomentStartDate(self._handle))

    @property
    def end(self) -> datetime.datetime:
        """When its last asset was taken, in UTC."""
        return dates.instant(C.WLMomentEndDate(self._handle))

    @property
    def asset_count(self) -> int:
        """How many assets it had."""
        return int(C.WLMomentAssetCount(self._handle))

    @property
    def location(self) -> tuple[float, float] | None:
        """The middle of it: latitude and longitude in degrees; north and east are positive."""
        return location(C.WLMomentGetLocation, self._handle)

    @property
    def is_analyzed(self) -> bool:
        """Whether the daemon has looked at its assets. What follows is known only then."""
        return bool(C.WLMomentIsAnalyzed(self._handle))

    @property
    def photo_count(self) -> int:
        """How many of its assets are photos."""
        return int(C.WLMomentPhotoCount(self._handle))

    @property
    def video_count(self) -> int:
        """How many of its assets are videos."""
        return int(C.WLMomentVideoCount(self._handle))

    @property
    def key_asset(self) -> str | None:
        """The UUID of the asset that stands for it."""
        return text_or_none(C.WLMomentKeyAsset(self._handle))

    def assets(self, *, fields: Iterable[str] | None = None, page_size: int = 500,
               **filters: Unpack[Filters]) -> Assets:
        """Its assets, as Library.assets() gives them."""
        filters['moment'] = self.number
        return Assets(make_query(filters, fields, page_size), self._session)


class Duplicates:
    """A group of assets that are alike. It is immutable."""

    __slots__ = ('_handle',)

    def __init__(self, handle: Handle) -> None:
        """For the package's own use."""
        self._handle = handle

    def __repr__(self) -> str:
        return f'<{len(self.uuids)} {"same" if self.are_same else "similar"} assets>'

    @property
    def are_same(self) -> bool:
        """Whether its assets are one picture, encoded again or resized; else they are similar, as in a burst."""
        return bool(C.WLDuplicatesAreSame(self._handle))

    @property
    def uuids(self) -> tuple[str, ...]:
        """Of its assets."""
        count = C.WLDuplicatesCount(self._handle)
        return tuple(known(text_or_none(C.WLDuplicatesGetUUID(self._handle, index))) for index in range(count))


@dataclasses.dataclass(frozen=True, slots=True)
class MomentList:
    """Moments that belong together: a journey, a time at home."""

    number: int
    """Moment.list_number of its moments."""
    start: datetime.datetime
    """When its first asset was taken, in UTC."""
    end: datetime.datetime
    """When its last asset was taken, in UTC."""
    moment_count: int
    asset_count: int
    is_analyzed: bool
    """Whether the daemon has looked at its moments. The next is known only then."""
    key_asset: str | None
    """The UUID of the asset that stands for it."""


def moment_lists(session: Session) -> list[MomentList]:
    """All of them, the earliest first."""
    with session.asking():
        lists = Handle(ask(C.WLMomentListsCreate))
    return [MomentList(C.WLMomentListsNumber(lists, index), dates.instant(C.WLMomentListsStartDate(lists, index)),
                       dates.instant(C.WLMomentListsEndDate(lists, index)), C.WLMomentListsMomentCount(lists, index),
                       C.WLMomentListsAssetCount(lists, index), C.WLMomentListsIsAnalyzed(lists, index),
                       text_or_none(C.WLMomentListsKeyAsset(lists, index)))
            for index in range(C.WLMomentListsCount(lists))]
