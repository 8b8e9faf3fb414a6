"""A daemon that does what a test says, for tests of programs that use the library of photos.

    from wickerlane import Busy, Library
    from wickerlane.testing import ScriptedDaemon, album

    with ScriptedDaemon() as daemon, Library() as library:
        daemon.answer('albums', {'albums': [album(name='Dunes')]})
        daemon.fail('albums', Busy, 'the library is in use', nth=2)
        assert [each.name for each in library.albums()] == ['Dunes']
        assert daemon.requests[0].operation == 'albums'

With pytest, `pytest_plugins = ['wickerlane.testing.pytest_plugin']` gives the fixture `scripted_daemon`.

The package calls the C functions of `libwickerlane-testing.so.1`, which is looked for beside the library that
WICKERLANE_LIBRARY names, if that is set."""

from .daemon import Request, ScriptedDaemon, operations
from .facts import AlbumFacts, AssetFacts, album, asset
from ..values import Value

__all__ = ['AlbumFacts', 'AssetFacts', 'Request', 'ScriptedDaemon', 'Value', 'album', 'asset', 'operations']
