"""Saving files, and the second files of shots."""

import dataclasses
import datetime
import os
from collections.abc import Iterable
from ctypes import byref, c_void_p
from typing import Any

from . import dates
from .asset import Asset
from .errors import Invalid, WickerlaneError
from .handlers import answer_of
from .native import (C, Handle, Scope, array, ask, error_of, known, path_argument, string, text_argument, text_or_none,
                     url)
from .session import Session

_MOST_JOBS = 4096


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
    companion_was_saved: bool = False
    """Whether the second file was saved with the asset."""
    companion_was_present: bool = False
    """Whether the library had the second file already, with this asset."""


def file_job(path: str | os.PathLike[str]) -> Handle:
    """A job that saves a file."""
    return Handle(C.WLSaveJobCreateWithFile(path_argument(path)))


def data_job(source: bytes | bytearray | memoryview) -> Handle:
    """A job that saves the bytes of a file."""
    contents = bytes(source)
    return Handle(C.WLSaveJobCreateWithData(Handle(C.WLDataCreate(contents, len(contents)))))


def saved_of(result: Any) -> Saved:
    """A result, inside of a scope."""
    return Saved(known(string(C.WLSavedAssetUUID(result))), known(url(C.WLSavedAssetURL(result))),
                 bool(C.WLSavedAssetWasPresent(result)), string(C.WLSavedAssetProblem(result)),
                 bool(C.WLSavedAssetCompanionWasSaved(result)), bool(C.WLSavedAssetCompanionWasPresent(result)))


def save_files(session: Session, paths: Iterable[str | os.PathLike[str]],
               unless_present: bool) -> list[Saved | WickerlaneError]:
    """Saves files that this program opens, any number of them. What came of each, in their order."""
    jobs = [_job_or_fault(path, unless_present) for path in paths]
    sound = [job for job in jobs if isinstance(job, Handle)]
    outcomes: list[Saved | WickerlaneError] = []
    for first in range(0, len(sound), _MOST_JOBS):
        some = sound[first:first + _MOST_JOBS]
        try:
            outcomes += _outcomes(session, some)
        except WickerlaneError as error:
            if first == 0: # nothing was saved that the caller must learn of
                raise
            outcomes += [error] * len(some)
    ordered = iter(outcomes)
    return [next(ordered) if isinstance(job, Handle) else job for job in jobs]


def _job_or_fault(path: str | os.PathLike[str], unless_present: bool) -> Handle | Invalid:
    try:
        job = file_job(path)
    except ValueError as error:
        return Invalid(str(error))
    C.WLSaveJobSetUnlessPresent(job, unless_present)
    return job


def _outcomes(session: Session, jobs: list[Handle]) -> list[Saved | WickerlaneError]:
    results, failure = answer_of(session, C.WLSaveOpenFilesWithHandler, array(jobs))
    with Scope():
        if results is None:
            raise error_of(failure)
        return [_outcome(results, index) for index in range(len(jobs))]


def _outcome(results: Handle, index: int) -> Saved | WickerlaneError:
    error = c_void_p()
    result = C.WLSaveResultsGet(results, index, byref(error))
    return saved_of(result) if result is not None else error_of(error)


@dataclasses.dataclass(frozen=True, slots=True)
class Companion:
    """The second file of a shot: the raw file of a picture, or the short video that was taken with it."""

    asset_uuid: str
    path: str
    """Of its file in the library, which this program may have no right to open."""
    original_filename: str | None
    """What the file was called before it was saved. May be any text: it is no safe path."""
    format: str | None
    """The media type, told by content."""
    size: int
    """In bytes."""


def companions_of(session: Session, assets: Iterable[Asset]) -> dict[str, Companion]:
    """By the UUIDs of the assets that have one."""
    with session.asking():
        found = Handle(ask(C.WLCompanionsCreate, array(asset.handle for asset in assets)))
    companions = [Companion(known(text_or_none(C.WLCompanionsAssetUUID(found, index))),
                            known(text_or_none(C.WLCompanionsPath(found, index))),
                            text_or_none(C.WLCompanionsOriginalFilename(found, index)),
                            text_or_none(C.WLCompanionsFormat(found, index)),
                            C.WLCompanionsByteSize(found, index)) for index in range(C.WLCompanionsCount(found))]
    return {each.asset_uuid: each for each in companions}


def describe(job: Handle, *, name: str | None, created: datetime.datetime | None, unless_present: bool,
             sidecar: str | os.PathLike[str] | None, companion: str | os.PathLike[str] | None) -> None:
    """Sets on a job what the arguments of Library.save() say of the file."""
    if name is not None:
        C.WLSaveJobSetOriginalFilename(job, text_argument(name))
    if created is not None:
        C.WLSaveJobSetDateCreated(job, dates.seconds_of_instant(created))
    if sidecar is not None:
        C.WLSaveJobSetSidecar(job, path_argument(sidecar))
    if companion is not None:
        C.WLSaveJobSetCompanion(job, path_argument(companion))
    C.WLSaveJobSetUnlessPresent(job, unless_present)
