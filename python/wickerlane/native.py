"""The C functions, and the ownership of what they give."""

import ctypes
import operator
import os
import pathlib
from collections.abc import Callable, Iterable, Sequence
from ctypes import c_bool, c_char_p, c_double, c_int, c_int64, c_size_t, c_uint32, c_uint64, c_void_p
from types import TracebackType
from typing import Any, NoReturn, SupportsIndex

from . import errors

Function = Callable[..., Any]


def library_file(name: str) -> str:
    """Where one of the libraries is: beside the one that the environment names, where it was installed together with
    this package, or where the linker finds it."""
    named = os.environ.get('WICKERLANE_LIBRARY', '')
    if '/' in named:
        return str(pathlib.Path(named).with_name(name))
    package = pathlib.Path(__file__).parent
    try:
        folder = (package / 'library-folder').read_text(encoding='utf-8').rstrip('\n')
    except FileNotFoundError:
        return name
    return str(package / folder / name)


def _load() -> ctypes.CDLL:
    name = os.environ.get('WICKERLANE_LIBRARY') or library_file('libwickerlane.so.1')
    try:
        return ctypes.CDLL(name)
    except OSError as error:
        raise ImportError(f'the library of Wickerlane can\'t be loaded ({error}): install it, or name its file in '
                          'the environment variable WICKERLANE_LIBRARY') from error


_library = _load()

_POINTER, _TEXT, _ERROR = c_void_p, c_char_p, ctypes.POINTER(c_void_p)

# What a function returns, what it takes, and the functions of which that is true. Without types Python would treat
# results as 32-bit numbers.
_SIGNATURES: list[tuple[Any, list[Any], str]] = [
    (_POINTER, [], 'WLScopePush WLAssetQueryCreate WLAssetDetailsCreate'),
    (None, [_POINTER], 'WLScopePop WLRelease RZUnregisterForPhotosAndVideosCount'),
    (_POINTER, [_POINTER, _POINTER, _POINTER, _POINTER], 'RZRegisterForPhotosAndVideosCount'),
    (None, [_POINTER, _POINTER, _POINTER], 'RZGetPhotosAndVideosCount'),
    (None, [_POINTER, _POINTER, _POINTER, _POINTER], 'WLSaveOpenFilesWithHandler'),
    (None, [c_uint64], 'WLBulletinsClear'),
    (c_uint64, [_POINTER], 'WLNumberUInt64'),
    (_POINTER, [], 'WLQueueMain'),
    (c_int, [], 'WLMainDescriptor'),
    (c_size_t, [], 'WLMainDrain'),
    (_POINTER, [_POINTER], 'WLRetain WLAsAlbum WLAsString WLAsNumber WLAsDate WLAsData WLAsArray '
     'WLAsDictionary WLDescription WLURLText WLURLPath WLErrorText WLDataBytes WLSaveJobCreateWithData '
     'WLAssetURL WLAssetObjectID WLAssetFilePath WLAlbumURL WLAlbumObjectID '
     'WLSavedAssetUUID WLSavedAssetURL WLSavedAssetProblem WLAssetSHA256'),
    (_TEXT, [_POINTER], 'WLStringText WLAssetUUID WLAssetFilename WLAssetOriginalFilename WLAssetFormat '
     'WLAssetProblem WLAssetCamera WLAssetLens WLAssetCaption WLAssetKeywords WLAlbumUUID WLAlbumName '
     'WLAlbumStreamID WLMomentKeyAsset WLAssetPageCursor WLChangesToken'),
    (_POINTER, [_TEXT], 'WLStringCreate WLSaveJobCreateWithFile'),
    (_POINTER, [c_bool], 'WLNumberCreateWithBool'),
    (_POINTER, [c_int64], 'WLNumberCreateWithInt64'),
    (_POINTER, [c_uint64], 'WLNumberCreateWithUInt64'),
    (_POINTER, [c_double], 'WLNumberCreateWithDouble WLDateCreate'),
    (_POINTER, [_POINTER, _POINTER, c_size_t], 'WLDictionaryCreate'),
    (c_int, [_POINTER], 'WLAssetKind'),
    (c_int64, [_POINTER], 'WLErrorCode WLAssetThumbnailIndex WLAssetRating WLMomentNumber WLMomentListNumber'),
    (c_uint32, [_POINTER], 'WLAssetWidth WLAssetHeight WLAssetOrientation'),
    (c_uint64, [_POINTER], 'WLAssetByteSize WLAssetExternalUsageIntent WLAlbumAssetCount WLMomentAssetCount '
     'WLMomentPhotoCount WLMomentVideoCount'),
    (c_size_t, [_POINTER], 'WLDataLength WLArrayCount WLAssetPageCount WLMomentPageCount WLDuplicatesPageCount '
     'WLDuplicatesCount WLAssetSectionsCount WLTrashPageCount WLChangesCount WLMomentListsCount WLFeedCount '
     'WLCompanionsCount WLDictionaryCount'),
    (c_double, [_POINTER], 'WLAssetDuration WLAssetDate WLAssetDateCreated WLAssetDateAdded WLAlbumDateCreated '
     'WLMomentStartDate WLMomentEndDate WLDateSeconds'),
    (c_bool, [_POINTER], 'WLAssetIsFavourite WLAssetIsHidden WLSavedAssetWasPresent WLMomentIsAnalyzed '
     'WLDuplicatesAreSame WLSavedAssetCompanionWasSaved WLSavedAssetCompanionWasPresent '
     'WLChangesIsLast WLChangesIsTooOld'),
    (c_bool, [_POINTER, ctypes.POINTER(c_double)], 'WLAssetGetExposureSeconds WLAssetGetAperture '
     'WLAssetGetFocalLength'),
    (c_bool, [_POINTER, ctypes.POINTER(c_int64)], 'WLAssetGetZoneMinutes WLAssetGetISOSpeed'),
    (c_bool, [_POINTER, ctypes.POINTER(c_double), ctypes.POINTER(c_double)], 'WLAssetGetLocation '
     'WLMomentGetLocation'),
    (_POINTER, [_POINTER, c_size_t], 'WLDataCreate WLArrayCreate WLArrayGet WLAssetPageGet WLMomentPageGet '
     'WLDuplicatesPageGet WLTrashPageGet WLAssetSectionsShapes WLDictionaryKeyAt WLDictionaryValueAt'),
    (_TEXT, [_POINTER, c_size_t], 'WLDuplicatesGetUUID WLChangesUUID WLMomentListsKeyAsset WLFeedAlbumUUID '
     'WLCompanionsAssetUUID WLCompanionsPath WLCompanionsOriginalFilename WLCompanionsFormat'),
    (_TEXT, [_POINTER, c_size_t, c_size_t], 'WLFeedAssetUUID'),
    (c_size_t, [_POINTER, c_size_t], 'WLAssetSectionsAssetCount WLFeedAssetCount'),
    (c_double, [_POINTER, c_size_t], 'WLAssetSectionsStart WLTrashPageDate WLChangesDate WLMomentListsStartDate '
     'WLMomentListsEndDate WLFeedStartDate WLFeedEndDate'),
    (c_int, [_POINTER, c_size_t], 'WLChangesKind'),
    (c_int64, [_POINTER, c_size_t], 'WLChangesNumber WLMomentListsNumber'),
    (c_uint64, [_POINTER, c_size_t], 'WLMomentListsMomentCount WLMomentListsAssetCount WLCompanionsByteSize'),
    (c_bool, [_POINTER, c_size_t], 'WLMomentListsIsAnalyzed'),
    (None, [_POINTER, _TEXT], 'WLAssetQuerySetIdentity WLAssetQuerySetAlbum WLAssetQuerySetName '
     'WLAssetQuerySetText WLAssetQuerySetFormat WLAssetQuerySetCamera WLAssetQuerySetCursor'),
    (None, [_POINTER, c_int], 'WLAssetQuerySetKind WLAssetQueryAddField'),
    (None, [_POINTER, c_int64], 'WLAssetQuerySetMoment WLAssetQuerySetMinimumRating WLAssetDetailsSetRating'),
    (None, [_POINTER, c_bool], 'WLAssetQuerySetFavourite WLAssetQuerySetHidden WLAssetQuerySetEdited '
     'WLAssetQuerySetProblem WLSaveJobSetUnlessPresent WLAssetDetailsSetFavourite WLAssetDetailsSetHidden'),
    (None, [_POINTER, c_double], 'WLAssetQuerySetFrom WLAssetQuerySetUntil WLSaveJobSetDateCreated'),
    (None, [_POINTER, c_double, c_double, c_double], 'WLAssetQuerySetNear'),
    (None, [_POINTER, c_double, c_double, c_double, c_double], 'WLAssetQuerySetBox'),
    (None, [_POINTER, c_uint64, c_uint64], 'WLAssetQuerySetSizes'),
    (None, [_POINTER, c_int, c_bool], 'WLAssetQuerySetOrder'),
    (None, [_POINTER, c_size_t], 'WLAssetQuerySetLimit'),
    (None, [_POINTER, _POINTER], 'WLAssetDetailsSetKeywords WLAssetDetailsAddKeywords WLAssetDetailsRemoveKeywords'),
    (c_bool, [_POINTER, _TEXT], 'WLSaveJobSetOriginalFilename WLSaveJobSetSidecar WLSaveJobSetCompanion '
     'WLAssetDetailsSetCaption'),
    (None, [c_double], 'WLSetTimeLimitOfThread'),
    # Those that wait for the daemon.
    (_POINTER, [_ERROR], 'WLAlbumsCreate WLMomentListsCreate WLFeedCreate WLBulletinsCreate'),
    (_POINTER, [c_size_t, _ERROR], 'WLTrashPageCreate'),
    (_POINTER, [_TEXT, c_size_t, _ERROR], 'WLChangesCreate'),
    (_POINTER, [_TEXT, c_size_t, c_int64, _ERROR], 'WLChangesCreateWhenAny'),
    (_POINTER, [_POINTER, c_size_t, _ERROR], 'WLSaveResultsGet'),
    (_POINTER, [_POINTER, ctypes.POINTER(c_void_p), _ERROR], 'WLAssetGetEdit'),
    (_POINTER, [c_uint64, _ERROR], 'WLBulletinCreateThumbnail'),
    (_POINTER, [_POINTER, _ERROR], 'WLAssetPageCreate WLAssetPageCreateNext WLSaveJobRun WLMomentPageCreateNext '
     'WLDuplicatesPageCreateNext WLTrashPageCreateNext WLCompanionsCreate'),
    (_POINTER, [_POINTER, c_int, _ERROR], 'WLAssetSectionsCreate WLAssetCreatePicture'),
    (_POINTER, [c_double, c_double, c_bool, c_size_t, _ERROR], 'WLMomentPageCreate'),
    (_POINTER, [c_int, c_size_t, _ERROR], 'WLDuplicatesPageCreate'),
    (_POINTER, [_TEXT, _ERROR], 'WLAlbumAdd WLVideoMetadataCreate'),
    (c_int, [_POINTER, _ERROR], 'WLAssetOpenOriginal'),
    (c_int64, [_POINTER, _ERROR], 'WLAssetQueryCount'),
    (c_int64, [_ERROR], 'WLBadgeCount'),
    (c_bool, [_ERROR], 'WLTrashEmpty WLAnalyzeWhatIsOutOfDate WLThumbnailsRebuild WLMomentListsRebuild '
     'WLDuplicatesReset WLLibraryImportFiles'),
    (c_bool, [c_bool, _ERROR], 'WLMomentsRebuild'),
    (c_bool, [_POINTER, _ERROR], 'WLAssetDelete WLTrashRestore WLTrashRemove WLAssetRevert'),
    (c_bool, [_POINTER, _POINTER, _POINTER, _ERROR], 'WLAssetSetEdit'),
    (c_bool, [_POINTER, c_int64, _ERROR], 'WLAssetsAdjustDates'),
    (c_bool, [_TEXT, _ERROR], 'WLAlbumDelete'),
    (c_bool, [_TEXT, _TEXT, _ERROR], 'WLAlbumRename'),
    (c_bool, [_TEXT, _POINTER, _ERROR], 'WLAlbumAddAsset WLAlbumRemoveAssets'),
    (c_bool, [_POINTER, _POINTER, _ERROR], 'WLAssetDetailsApply'),
]


class _Functions:
    """The declared functions, by name."""

    def __init__(self) -> None:
        for result, arguments, names in _SIGNATURES:
            for name in names.split():
                function = _library[name]
                function.restype, function.argtypes = result, arguments
                setattr(self, name, function)

    def __getattr__(self, name: str) -> Function:
        raise AttributeError(name)


C = _Functions()
_release, _scope_push, _scope_pop = C.WLRelease, C.WLScopePush, C.WLScopePop


class Handle:
    """One reference to an object of the library's, which is released with the handle. It can be given to a C
    function, and can't be copied, pickled, or used after a failure: there is no handle of null."""

    __slots__ = ('_as_parameter_',)

    def __init__(self, pointer: int | None) -> None:
        """Takes over a reference that a function with `Create` in its name has given."""
        self._as_parameter_ = pointer
        if pointer is None:
            raise MemoryError('the library gave no object')

    @classmethod
    def retaining(cls, pointer: int | None) -> 'Handle':
        """Keeps a borrowed object."""
        return cls(C.WLRetain(pointer))

    def __del__(self, release: Function = _release) -> None: # at the end of the interpreter the global may be gone
        release(self._as_parameter_)

    def __reduce__(self) -> NoReturn:
        raise TypeError('an object of the library belongs to one process: pass its UUID on')


class Scope:
    """All that is borrowed inside is released at the end. Enter and leave it on one thread."""

    __slots__ = ('_scope',)

    def __enter__(self) -> None:
        self._scope = _scope_push()

    def __exit__(self, _type: type[BaseException] | None, _value: BaseException | None,
                 _traceback: TracebackType | None) -> None:
        _scope_pop(self._scope)


_used = False
_is_forked = False


def _note_fork() -> None:
    global _is_forked
    _is_forked = _used


os.register_at_fork(after_in_child=_note_fork)


def note_use() -> None:
    """From now on, children that fork() makes can't use the library."""
    global _used
    _used = True


def ask(function: Function, *arguments: object) -> Any:
    """Calls a function that waits for the daemon, inside of a scope, and raises what it says is wrong."""
    note_use()
    error = c_void_p()
    result = function(*arguments, ctypes.byref(error))
    if error.value is not None:
        raise error_of(error)
    return result


def error_of(error: object) -> errors.WickerlaneError:
    """What is raised for an error of the library's."""
    text = string(C.WLErrorText(error)) or 'the request failed'
    kind = errors.BY_CODE.get(C.WLErrorCode(error), errors.WickerlaneError)
    if _is_forked and kind is errors.Unreachable:
        kind = errors.ForkedProcess
    return kind(text)


def text_argument(text: str) -> bytes:
    """A text as C takes it."""
    if not isinstance(text, str):
        raise TypeError(f'{text!r} is no text')
    if '\0' in text:
        raise ValueError('a text for the library can\'t have a NUL in it')
    return text.encode()


def whole(number: SupportsIndex) -> int:
    """A number as C takes it: ctypes would cut off what is too large."""
    try:
        value = operator.index(number)
    except TypeError:
        raise TypeError(f'{number!r} is no whole number') from None
    if not -2**63 <= value < 2**63:
        raise ValueError(f'{value} is beyond all numbers of the library')
    return value


def number_of(words: Sequence[str], word: str) -> int:
    """The number that C has for one of some words."""
    if word not in words:
        raise ValueError(f'{word!r} is none of {", ".join(words)}')
    return words.index(word)


def truth(value: bool) -> bool:
    """Yes or no as C takes it: ctypes would take any object for yes."""
    if not isinstance(value, bool):
        raise TypeError(f'{value!r} is neither True nor False')
    return value


def size(number: SupportsIndex) -> int:
    """A number of things, or of bytes."""
    value = whole(number)
    if value < 0:
        raise ValueError(f'{value} is no size')
    return value


def path_argument(path: str | os.PathLike[str]) -> bytes:
    """A path as C takes it, which must not be empty."""
    text = os.fspath(path)
    if not text:
        raise ValueError('a path must not be empty')
    try:
        return text_argument(text)
    except UnicodeEncodeError:
        raise ValueError(f'a path must be UTF-8, and {text!r} is not') from None


def text_or_none(text: bytes | None) -> str | None:
    """A text that C gave."""
    return None if text is None else text.decode(errors='replace')


def string(pointer: int | None) -> str | None:
    """The text of a borrowed string."""
    return text_or_none(C.WLStringText(pointer))


def url(pointer: int | None) -> str | None:
    """The text of a borrowed URL."""
    with Scope():
        return string(C.WLURLText(pointer))


def known(text: str | None) -> str:
    """For texts that the headers promise."""
    return text if text is not None else ''


def array(handles: Iterable[Handle]) -> Handle:
    """An array of the library's, which retains the objects."""
    kept = list(handles)
    pointers = (c_void_p * len(kept))(*(each._as_parameter_ for each in kept))
    return Handle(C.WLArrayCreate(pointers, len(kept)))


def strings(texts: Iterable[str]) -> Handle:
    """An array of strings."""
    return array([Handle(C.WLStringCreate(text_argument(text))) for text in texts])


def optional(function: Function, handle: Handle, kind: Any) -> Any:
    """A fact that may be unknown: None then."""
    value = kind()
    return value.value if function(handle, ctypes.byref(value)) else None


def location(function: Function, handle: Handle) -> tuple[float, float] | None:
    """Latitude and longitude, where they are known."""
    latitude, longitude = c_double(), c_double()
    is_known = function(handle, ctypes.byref(latitude), ctypes.byref(longitude))
    return (latitude.value, longitude.value) if is_known else None


def view(data: Handle) -> memoryview:
    """The bytes of data, without a copy. They live as long as the view, and all that was made from it."""
    return memory(C.WLDataBytes(data), C.WLDataLength(data), data)


def memory(address: int | None, length: int, owner: Handle) -> memoryview:
    """Bytes that an object of the library holds, as view() gives them."""
    if length == 0 or address is None:
        return memoryview(b'')
    exporter: Any = (ctypes.c_ubyte * length).from_address(address)
    exporter.owner = owner
    return memoryview(exporter).cast('B').toreadonly()
