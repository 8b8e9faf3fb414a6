"""The photo library of this device.

    import pathlib
    import wickerlane

    with wickerlane.Library() as library:
        library.save(pathlib.Path('picture.jpg'), unless_present=True)
        for asset in library.assets(kind='photo', newest_first=True):
            print(asset.uuid, asset.date, asset.original_filename)

The package calls the C functions of `libwickerlane.so.1`, or of the library that the environment variable
WICKERLANE_LIBRARY names. The library of photos is below WICKERLANE_ROOT if that is set, else in the user's data
folder."""

from .album import Album
from .asset import Asset, DetailChanges, Edit, Trashed
from .changes import CountChanges
from .errors import (Busy, Cancelled, DamagedStore, Empty, Ending, Exists, Failed, ForkedProcess, Invalid, NewerVersion,
                     NoSpace, NotFound, NotWritable, QueueFull, Refused, TimedOut, TooOld, Unreachable,
                     WickerlaneError)
from .following import Change, Changes, Following
from .library import Library
from .moment import Duplicates, Moment, MomentList
from .query import Assets, Filters, Page, Pages, Section
from .saving import Companion, Saved
from .sharing import Bulletin, FeedEntry
from .values import Value
from .video import VideoFacts

__all__ = [
    'Album', 'Asset', 'Assets', 'Bulletin', 'Busy', 'Cancelled', 'Change', 'Changes', 'Companion',
    'CountChanges', 'DamagedStore', 'DetailChanges', 'Duplicates', 'Edit', 'Empty', 'Ending', 'Exists', 'Failed',
    'FeedEntry', 'Filters', 'Following', 'ForkedProcess', 'Invalid', 'Library', 'Moment', 'MomentList', 'NewerVersion',
    'NoSpace', 'NotFound', 'NotWritable', 'Page', 'Pages', 'QueueFull', 'Refused', 'Saved', 'Section', 'TimedOut',
    'TooOld', 'Trashed', 'Unreachable', 'Value', 'VideoFacts', 'WickerlaneError',
]
