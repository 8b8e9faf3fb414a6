"""What is known of files of videos."""

import dataclasses
import datetime
import os

from .native import C, Handle, Scope, ask, path_argument
from .session import Session
from .values import Value, mapping_of


@dataclasses.dataclass(frozen=True, slots=True)
class VideoFacts:
    """What a file of a video says; None for what it does not say."""

    duration: float | None = None
    """In seconds."""
    width: int | None = None
    """In pixels, upright."""
    height: int | None = None
    """In pixels, upright."""
    rotation: int | None = None
    """In degrees clockwise, as stored."""
    frame_rate: float | None = None
    """Frames a second."""
    video_codec: str | None = None
    """Such as 'h264'."""
    video_bit_rate: int | None = None
    """Bits a second."""
    audio_codec: str | None = None
    """Such as 'aac'."""
    audio_bit_rate: int | None = None
    """Bits a second."""
    audio_channels: int | None = None
    audio_sample_rate: int | None = None
    """In hertz."""
    container: str | None = None
    track_count: int | None = None
    """Tracks of all kinds."""
    file_size: int | None = None
    """In bytes."""
    creation_date: datetime.datetime | None = None
    latitude: float | None = None
    """In degrees; north is positive."""
    longitude: float | None = None
    """In degrees; east is positive."""
    zone_minutes: int | None = None
    """By which the camera's clock was ahead of UTC, or this machine's when the file gives an instant alone. Without it,
    `creation_date` is what the clock showed, read as if it were UTC."""


def _key(name: str) -> str:
    first, *more = name.split('_')
    return first + ''.join(word.capitalize() for word in more)


def video_facts(session: Session, path: str | os.PathLike[str]) -> VideoFacts:
    """Of a file that this program must be allowed to read."""
    with session.asking():
        found = Handle(ask(C.WLVideoMetadataCreate, path_argument(path)))
    with Scope():
        facts: dict[str, Value] = mapping_of(found)
    known = {field.name: facts[_key(field.name)] for field in dataclasses.fields(VideoFacts)
             if _key(field.name) in facts}
    return VideoFacts(**known) # type: ignore[arg-type] # the daemon says of each what its type is
