"""Queries: which assets there are."""

import asyncio
import dataclasses
import datetime
from collections.abc import AsyncIterator, Callable, Iterable, Iterator, Sequence
from typing import Any, Literal, NotRequired, TypedDict

from .asset import KINDS, Asset, Kind
from .dates import clock_date, seconds_of_clock
from .native import C, Handle, ask, memory, number_of, size, text_argument, text_or_none, truth, whole
from .session import Session

Order = Literal['date', 'added', 'size', 'name']
ORDERS: tuple[Order, ...] = ('date', 'added', 'size', 'name')
SectionUnit = Literal['day', 'month']
SECTION_UNITS: tuple[SectionUnit, ...] = ('day', 'month')

# The numbers of the fields behind each property of Asset; names and places are always there.
_FIELDS: dict[str, tuple[int, ...]] = {
    'kind': (1,), 'original_filename': (4,), 'format': (5,), 'width': (6,), 'height': (7,), 'orientation': (8,),
    'created': (9,), 'added': (10,), 'location': (11, 12), 'size': (13,), 'sha256': (14,), 'thumbnail_index': (15,),
    'problem': (16,), 'duration': (17,), 'date': (9, 18), 'zone': (19,), 'usage_intent': (20,), 'camera': (21,),
    'lens': (22,), 'exposure_seconds': (23,), 'aperture': (24,), 'iso_speed': (25,), 'focal_length': (26,),
    'favourite': (27,), 'hidden': (28,), 'rating': (29,), 'caption': (30,), 'keywords': (31,),
}
_ALWAYS_THERE = {'uuid', 'url', 'object_id', 'path', 'filename'}


class Filters(TypedDict):
    """Conditions and order of a query. The assets to which all conditions apply are given; without one, all are."""

    identity: NotRequired[str]
    """One asset by a UUID or a beginning of it of at least four characters, by its URL, or by its object ID."""
    kind: NotRequired[Kind]
    since: NotRequired[datetime.date]
    """Not before this date, which is compared with Asset.date: it has no zone."""
    until: NotRequired[datetime.date]
    """Before this date."""
    near: NotRequired[tuple[float, float, float]]
    """Latitude and longitude in degrees, and the greatest distance from there in meters."""
    box: NotRequired[tuple[float, float, float, float]]
    """South, west, north and east in degrees. A west that is larger than the east spans the date line."""
    album: NotRequired[object]
    """Members of an Album, or of the one with this UUID."""
    moment: NotRequired[object]
    """Those of a Moment, or of the one with this number."""
    name: NotRequired[str]
    """With this original name; `*` and `?` stand for any characters and for any one."""
    text: NotRequired[str]
    """Words, each of which the original name, the caption, a keyword, the camera or the title of an album has."""
    format: NotRequired[str]
    """Of a media type, such as 'image/jpeg'."""
    camera: NotRequired[str]
    """Of a camera, as Asset.camera gives it."""
    favourite: NotRequired[bool]
    hidden: NotRequired[bool]
    rating: NotRequired[int]
    """The fewest stars, 1 to 5."""
    edited: NotRequired[bool]
    problem: NotRequired[bool]
    """Whether something kept the file from being decoded."""
    sizes: NotRequired[tuple[int, int | None]]
    """The smallest and the largest size of originals, in bytes; None is no limit."""
    order: NotRequired[Order]
    """By date at first."""
    newest_first: NotRequired[bool]
    """Whether the order begins with the last date or name, or the largest size."""


def _sizes(query: Handle, sizes: tuple[int, int | None]) -> None:
    try:
        least, most = sizes
    except (TypeError, ValueError):
        raise TypeError(f'{sizes!r} is not two sizes') from None
    C.WLAssetQuerySetSizes(query, size(least), 2**64 - 1 if most is None else size(most))


def _text(setter: Any) -> Callable[[Handle, Any], object]:
    return lambda query, value: setter(query, text_argument(value))


def _truth(setter: Any) -> Callable[[Handle, Any], object]:
    return lambda query, value: setter(query, truth(value))


def _numbers(setter: Any, count: int) -> Callable[[Handle, Any], object]:
    def set_numbers(query: Handle, value: tuple[float, ...]) -> None:
        if not isinstance(value, Sequence) or len(value) != count:
            raise TypeError(f'{value!r} is not {count} numbers')
        for number in value:
            if not isinstance(number, (int, float)):
                raise TypeError(f'{number!r} is no number')
        setter(query, *map(float, value))
    return set_numbers


_SETTERS: dict[str, Callable[[Handle, Any], object]] = {
    'identity': _text(C.WLAssetQuerySetIdentity),
    'kind': lambda query, kind: C.WLAssetQuerySetKind(query, number_of(KINDS, kind)),
    'since': lambda query, date: C.WLAssetQuerySetFrom(query, seconds_of_clock(date)),
    'until': lambda query, date: C.WLAssetQuerySetUntil(query, seconds_of_clock(date)),
    'near': _numbers(C.WLAssetQuerySetNear, 3),
    'box': _numbers(C.WLAssetQuerySetBox, 4),
    'album': lambda query, album: C.WLAssetQuerySetAlbum(query, text_argument(getattr(album, 'uuid', album))),
    'moment': lambda query, moment: C.WLAssetQuerySetMoment(query, whole(getattr(moment, 'number', moment))),
    'name': _text(C.WLAssetQuerySetName),
    'text': _text(C.WLAssetQuerySetText),
    'format': _text(C.WLAssetQuerySetFormat),
    'camera': _text(C.WLAssetQuerySetCamera),
    'favourite': _truth(C.WLAssetQuerySetFavourite),
    'hidden': _truth(C.WLAssetQuerySetHidden),
    'rating': lambda query, rating: C.WLAssetQuerySetMinimumRating(query, whole(rating)),
    'edited': _truth(C.WLAssetQuerySetEdited),
    'problem': _truth(C.WLAssetQuerySetProblem),
    'sizes': _sizes,
}


def make_query(filters: Filters, fields: Iterable[str] | None, page_size: int, cursor: str | None = None) -> Handle:
    """A query that is ready to be asked. Raises ValueError or TypeError for what no query has."""
    query = Handle(C.WLAssetQueryCreate())
    order = number_of(ORDERS, filters.get('order', 'date'))
    C.WLAssetQuerySetOrder(query, order, truth(filters.get('newest_first', False)))
    C.WLAssetQuerySetLimit(query, size(page_size))
    if cursor is not None:
        C.WLAssetQuerySetCursor(query, text_argument(cursor))
    for name, value in filters.items():
        if name in ('order', 'newest_first'):
            continue
        if name not in _SETTERS:
            raise TypeError(f'assets can\'t be asked for by {name!r}')
        _SETTERS[name](query, value)
    for field in fields if fields is not None else ():
        if field not in _FIELDS and field not in _ALWAYS_THERE:
            raise ValueError(f'assets have no field {field!r}')
        for number in _FIELDS.get(field, (1,)):
            C.WLAssetQueryAddField(query, number)
    return query


@dataclasses.dataclass(frozen=True, slots=True)
class Page:
    """Some of the assets that match a query."""

    assets: tuple[Asset, ...]
    cursor: str | None
    """Where the page that follows begins, for Library.assets() with the same filters and order, perhaps in another
    process. None after the last page."""


class Pages:
    """The pages of a query. Each iteration asks the daemon again."""

    def __init__(self, query: Handle, session: Session) -> None:
        """For the package's own use."""
        self._query = query
        self._session = session

    def __iter__(self) -> Iterator[Page]:
        for page in pages(self._session, C.WLAssetPageCreate, C.WLAssetPageCreateNext, self._query):
            assets = tuple(Asset(Handle.retaining(C.WLAssetPageGet(page, index)), self._session)
                           for index in range(C.WLAssetPageCount(page)))
            yield Page(assets, text_or_none(C.WLAssetPageCursor(page)))

    async def __aiter__(self) -> AsyncIterator[Page]:
        """The same, for programs that run on asyncio: they don't stand still while a page is awaited."""
        found = iter(self)

        def following() -> Page | None:
            return next(found, None)

        while (page := await asyncio.to_thread(following)) is not None:
            yield page


@dataclasses.dataclass(frozen=True, slots=True)
class Section:
    """A day or a month that has assets, by Asset.date."""

    start: datetime.date
    """Its first day."""
    count: int
    """How many assets it has."""
    shapes: memoryview
    """The shape of each of its pictures by date: width divided by height, in thousandths; 0 when unknown."""


class Assets:
    """The assets that match a query. Each iteration asks the daemon again, a page at a time: no asset that is there
    all the time comes twice or is passed over, even while assets come and go."""

    def __init__(self, query: Handle, session: Session) -> None:
        """For the package's own use."""
        self._query = query
        self._session = session

    def __iter__(self) -> Iterator[Asset]:
        for page in self.pages():
            yield from page.assets

    async def __aiter__(self) -> AsyncIterator[Asset]:
        """The same, for programs that run on asyncio: they don't stand still while a page is awaited."""
        async for page in self.pages():
            for asset in page.assets:
                yield asset

    def pages(self) -> Pages:
        """The same assets by the page, for programs that go on later from the cursor of one."""
        return Pages(self._query, self._session)

    def count(self) -> int:
        """How many there are now. They are not fetched for that."""
        with self._session.asking():
            return int(ask(C.WLAssetQueryCount, self._query))

    def sections(self, by: SectionUnit = 'month') -> list[Section]:
        """The days or months of all of them, so that a view knows its whole height before it has a page."""
        with self._session.asking():
            sections = Handle(ask(C.WLAssetSectionsCreate, self._query, number_of(SECTION_UNITS, by)))
        return [_section(sections, index) for index in range(C.WLAssetSectionsCount(sections))]


def _section(sections: Handle, index: int) -> Section:
    count = C.WLAssetSectionsAssetCount(sections, index)
    shapes = memory(C.WLAssetSectionsShapes(sections, index), 2 * count, sections).cast('H')
    return Section(clock_date(C.WLAssetSectionsStart(sections, index)).date(), count, shapes)


def pages(session: Session, first: Any, following: Any, *arguments: object) -> Iterator[Handle]:
    """The pages that the function `first` begins with."""
    with session.asking():
        page: Handle | None = Handle(ask(first, *arguments))
    while page is not None:
        yield page
        with session.asking():
            pointer = ask(following, page)
        page = Handle(pointer) if pointer is not None else None
