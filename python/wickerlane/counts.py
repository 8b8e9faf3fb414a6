"""The numbers of all photos and videos, which the daemon knows without looking at the assets."""

from .handlers import answer_of
from .native import C
from .session import Session


def photos_and_videos(session: Session) -> tuple[int, int] | None:
    """None when the daemon does not say: another request then fails with the reason."""
    photos, videos = answer_of(session, C.RZGetPhotosAndVideosCount)
    if photos is None or videos is None:
        return None
    return C.WLNumberUInt64(photos), C.WLNumberUInt64(videos)
