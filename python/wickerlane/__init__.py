"""The photo library of this device.

    import pathlib
    import wickerlane

    with wickerlane.Library() as library:
        library.save(pathlib.Path('picture.jpg'), unless_present=True)
        for asset in library.assets(kind='photo', newest_first=True):
            print(asset.uuid, asset.date, asset.original_filename)

The package calls the C functions of `libwickerlane.so.0`, or of the library that the environment variable
WICKERLANE_LIBRARY names. The library of photos is below WICKERLANE_ROOT if that is set, else in the user's data
folder."""

from .album import Album
from .asset import Asset, DetailChanges
from .changes import CountChanges
from .errors import (Busy, DamagedStore, Empty, Ending, Exists, Failed, ForkedProcess, Invalid, NewerVersion,
                     NoSpace, NotFound, NotWritable, QueueFull, Refused, TimedOut, Unreachable, WickerlaneError)
from .library import Library, Saved
from .moment import Duplicates, Moment
from .query import Assets, Filters

__all__ = [
    'Album', 'Asset', 'Assets', 'Busy', 'CountChanges', 'DamagedStore', 'DetailChanges', 'Duplicates', 'Empty',
    'Ending', 'Exists', 'Failed', 'Filters', 'ForkedProcess', 'Invalid', 'Library', 'Moment', 'NewerVersion',
    'NoSpace', 'NotFound', 'NotWritable', 'QueueFull', 'Refused', 'Saved', 'TimedOut', 'Unreachable',
    'WickerlaneError',
]
