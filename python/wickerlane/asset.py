"""Assets: what is known of one, its bytes, and changing it."""

import dataclasses
import datetime
import os
from collections.abc import Iterable, Mapping
from ctypes import byref, c_double, c_int64, c_void_p, string_at
from typing import Any, BinaryIO, Literal, NamedTuple, NotRequired, TypedDict, Unpack

from . import dates
from .native import C, Handle, Scope, array, ask, known, number_of, location, optional, string, strings, text_argument
from .native import text_or_none, url, view, whole
from .session import Session
from .values import Value, handle_of, mapping_of

Kind = Literal['photo', 'video']
Picture = Literal['original', 'small', 'preview', 'full', 'full-png', 'large']

KINDS: tuple[Kind, ...] = ('photo', 'video')
PICTURES: tuple[Picture, ...] = ('original', 'small', 'preview', 'full', 'full-png', 'large')


class DetailChanges(TypedDict):
    """What can be set of assets. What is left out stays as it is."""

    favourite: NotRequired[bool]
    hidden: NotRequired[bool]
    rating: NotRequired[int]
    """1 to 5 stars; 0 takes the rating away."""
    caption: NotRequired[str]
    """At most 4096 bytes; an empty text takes the caption away."""
    keywords: NotRequired[Iterable[str]]
    """In place of those that there are."""
    add_keywords: NotRequired[Iterable[str]]
    remove_keywords: NotRequired[Iterable[str]]


class Asset:
    """A photo or video of the library.

    An asset is immutable: it stays as it was when the daemon was asked, even when the asset is changed. Any number of
    threads may use it. Facts that the query did not ask for are None, empty, or 0."""

    __slots__ = ('handle', '_session')

    def __init__(self, handle: Handle, session: Session) -> None:
        """For the package's own use."""
        self.handle = handle
        self._session = session

    def __repr__(self) -> str:
        return f'<{self.kind} {self.uuid}>'

    def __eq__(self, other: object) -> bool:
        return isinstance(other, Asset) and self.uuid == other.uuid

    def __hash__(self) -> int:
        return hash(self.uuid)

    # What it is called and where it is.

    @property
    def uuid(self) -> str:
        """36 characters, upper case. Assets with equal UUIDs are equal."""
        return known(text_or_none(C.WLAssetUUID(self.handle)))

    @property
    def url(self) -> str:
        """The persistent URL, by which other functions and programs name the asset."""
        return known(url(C.WLAssetURL(self.handle)))

    @property
    def object_id(self) -> str:
        """The URI of its object ID."""
        return known(url(C.WLAssetObjectID(self.handle)))

    @property
    def path(self) -> str:
        """The path of the original's file. This program may have no right to open it: open() does without."""
        with Scope():
            return known(string(C.WLAssetFilePath(self.handle)))

    @property
    def filename(self) -> str:
        """The name of the original's file in the library."""
        return known(text_or_none(C.WLAssetFilename(self.handle)))

    # What the file is.

    @property
    def kind(self) -> Kind:
        """'photo' or 'video'."""
        return KINDS[C.WLAssetKind(self.handle)]

    @property
    def original_filename(self) -> str | None:
        """What the file was called before it came into the library. May be any text: it is no safe path."""
        return text_or_none(C.WLAssetOriginalFilename(self.handle))

    @property
    def format(self) -> str | None:
        """The media type, told by content, such as 'image/jpeg'."""
        return text_or_none(C.WLAssetFormat(self.handle))

    @property
    def width(self) -> int:
        """In pixels, with the orientation applied; 0 when the file could not be decoded."""
        return int(C.WLAssetWidth(self.handle))

    @property
    def height(self) -> int:
        """In pixels, with the orientation applied; 0 when the file could not be decoded."""
        return int(C.WLAssetHeight(self.handle))

    @property
    def orientation(self) -> int:
        """How the file's picture has to be turned to stand upright: 1 (not at all) to 8, as EXIF counts."""
        return int(C.WLAssetOrientation(self.handle))

    @property
    def size(self) -> int:
        """The size of the original in bytes."""
        return int(C.WLAssetByteSize(self.handle))

    @property
    def sha256(self) -> bytes:
        """The SHA-256 of the original's bytes: 32 bytes."""
        return string_at(C.WLAssetSHA256(self.handle), 32)

    @property
    def duration(self) -> float:
        """Of a video, in seconds; 0 when unknown, and for photos."""
        return float(C.WLAssetDuration(self.handle))

    @property
    def problem(self) -> str | None:
        """Why the file could not be decoded, for people; None when it could."""
        return text_or_none(C.WLAssetProblem(self.handle))

    @property
    def thumbnail_index(self) -> int:
        """Counts up each time that thumbnails are made; 0 while there are none."""
        return int(C.WLAssetThumbnailIndex(self.handle))

    # When and where.

    @property
    def date(self) -> datetime.datetime:
        """The date that people read: what the camera's clock showed, without a zone."""
        return dates.clock_date(C.WLAssetDate(self.handle))

    @property
    def created(self) -> datetime.datetime:
        """The instant at which it was taken, in UTC. Without a known zone, it is what the clock showed."""
        return dates.instant(C.WLAssetDateCreated(self.handle))

    @property
    def added(self) -> datetime.datetime:
        """When it came into the library, in UTC."""
        return dates.instant(C.WLAssetDateAdded(self.handle))

    @property
    def zone(self) -> datetime.timezone | None:
        """The zone of the camera's clock."""
        minutes = optional(C.WLAssetGetZoneMinutes, self.handle, c_int64)
        if minutes is None or abs(minutes) >= 24 * 60:
            return None
        return datetime.timezone(datetime.timedelta(minutes=minutes))

    @property
    def location(self) -> tuple[float, float] | None:
        """Latitude and longitude in degrees; north and east are positive."""
        return location(C.WLAssetGetLocation, self.handle)

    # What the file says of the camera.

    @property
    def camera(self) -> str | None:
        """Maker and model."""
        return text_or_none(C.WLAssetCamera(self.handle))

    @property
    def lens(self) -> str | None:
        """The model of the lens."""
        return text_or_none(C.WLAssetLens(self.handle))

    @property
    def exposure_seconds(self) -> float | None:
        """For how long light came in."""
        value: float | None = optional(C.WLAssetGetExposureSeconds, self.handle, c_double)
        return value

    @property
    def aperture(self) -> float | None:
        """The f-number."""
        value: float | None = optional(C.WLAssetGetAperture, self.handle, c_double)
        return value

    @property
    def iso_speed(self) -> int | None:
        """The speed of the film, or what stands for it."""
        value: int | None = optional(C.WLAssetGetISOSpeed, self.handle, c_int64)
        return value

    @property
    def focal_length(self) -> float | None:
        """In millimetres, of the lens itself."""
        value: float | None = optional(C.WLAssetGetFocalLength, self.handle, c_double)
        return value

    # What people say of it.

    @property
    def favourite(self) -> bool:
        """Whether it is a favourite."""
        return bool(C.WLAssetIsFavourite(self.handle))

    @property
    def hidden(self) -> bool:
        """Whether views leave it out."""
        return bool(C.WLAssetIsHidden(self.handle))

    @property
    def rating(self) -> int:
        """1 to 5 stars; 0 without a rating."""
        return int(C.WLAssetRating(self.handle))

    @property
    def caption(self) -> str | None:
        """May have several lines."""
        return text_or_none(C.WLAssetCaption(self.handle))

    @property
    def keywords(self) -> tuple[str, ...]:
        """Each once, in the order in which they were given."""
        lines = text_or_none(C.WLAssetKeywords(self.handle))
        return tuple(lines.split('\n')) if lines else ()

    @property
    def usage_intent(self) -> int:
        """A number that an application has noted, and that only applications understand; 0 at first."""
        return int(C.WLAssetExternalUsageIntent(self.handle))

    # Its bytes. All of these wait for the daemon.

    def picture(self, picture: Picture) -> memoryview:
        """The bytes of the original, or of a picture made from it, which is upright.

        'small', 'preview' and 'large' are JPEG files of at most 256, 1024 and 2048 pixels a side, kept once made;
        'full' (JPEG) and 'full-png' have the full size. The view is read-only and no copy; bytes() makes one."""
        number = number_of(PICTURES, picture)
        with self._session.asking():
            return view(Handle(ask(C.WLAssetCreatePicture, self.handle, number)))

    def original(self) -> memoryview:
        """The bytes of the file that was saved. For large files, such as videos, open() is to be preferred."""
        return self.picture('original')

    def thumbnail(self) -> memoryview:
        """A JPEG file of at most 256 pixels a side."""
        return self.picture('small')

    def open(self) -> BinaryIO:
        """The original as a file, open for reading. The caller closes it."""
        with self._session.asking():
            return os.fdopen(ask(C.WLAssetOpenOriginal, self.handle), 'rb')

    # Changes. All of these wait for the daemon.

    def set(self, **changes: Unpack[DetailChanges]) -> None:
        """Sets what people say of the asset. This object stays as it was."""
        set_details(self._session, [self], changes)

    def set_edit(self, picture: bytes | bytearray | memoryview, properties: Mapping[str, Value] | None = None) -> None:
        """Stores an edited version, which other programs are shown, in place of one that there is. `picture` is a file
        of a picture, and `properties` is what its editor says of it. The original stays as it is."""
        contents = bytes(picture)
        data = Handle(C.WLDataCreate(contents, len(contents)))
        said = handle_of(properties) if properties is not None else None
        with self._session.asking():
            ask(C.WLAssetSetEdit, self.handle, data, said)

    def revert(self) -> None:
        """Takes the edited version away. NotFound is raised when there is none."""
        with self._session.asking():
            ask(C.WLAssetRevert, self.handle)

    def edit(self) -> 'Edit | None':
        """The edited version; None when there is none."""
        properties = c_void_p()
        with self._session.asking():
            file = ask(C.WLAssetGetEdit, self.handle, byref(properties))
            if file is None:
                return None
            return Edit(known(string(C.WLURLPath(file))), mapping_of(properties.value) if properties.value else {})

    def delete(self) -> None:
        """Moves the asset to the trash, from where it can be restored for 30 days."""
        with self._session.asking():
            ask(C.WLAssetDelete, self.handle)

    def restore(self) -> None:
        """Takes the asset out of the trash, with its albums and edits."""
        self._ask_by_url(C.WLTrashRestore)

    def remove(self) -> None:
        """Deletes the asset for good, whether it is in the library or in its trash."""
        self._ask_by_url(C.WLTrashRemove)

    def _ask_by_url(self, function: Any) -> None:
        with self._session.asking():
            ask(function, C.WLAssetURL(self.handle))


@dataclasses.dataclass(frozen=True, slots=True)
class Edit:
    """An edited version of an asset."""

    path: str
    """Of its file, which this program may have no right to open. Asset.picture() shows what is in it."""
    properties: dict[str, Value]
    """What its editor said of it."""


class Trashed(NamedTuple):
    """An asset in the trash."""

    asset: Asset
    """Asset.restore() brings it back, and Asset.remove() deletes it for good."""
    date: datetime.datetime
    """When it was moved there, in UTC."""


_SETTERS: dict[str, tuple[Any, Any]] = {
    'favourite': (C.WLAssetDetailsSetFavourite, bool),
    'hidden': (C.WLAssetDetailsSetHidden, bool),
    'rating': (C.WLAssetDetailsSetRating, whole),
    'caption': (C.WLAssetDetailsSetCaption, text_argument),
    'keywords': (C.WLAssetDetailsSetKeywords, strings),
    'add_keywords': (C.WLAssetDetailsAddKeywords, strings),
    'remove_keywords': (C.WLAssetDetailsRemoveKeywords, strings),
}


def set_details(session: Session, assets: Iterable[Asset], changes: DetailChanges) -> None:
    """Sets details of 1 to 10,000 assets; when that fails, nothing has changed."""
    details = Handle(C.WLAssetDetailsCreate())
    for name, value in changes.items():
        if name not in _SETTERS:
            raise TypeError(f'there is no detail {name!r} of assets')
        setter, convert = _SETTERS[name]
        setter(details, convert(value))
    with session.asking():
        ask(C.WLAssetDetailsApply, details, array(asset.handle for asset in assets))
