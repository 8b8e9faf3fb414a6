"""Tests a function of an application with a scripted daemon: pytest test_albums.py"""

import wickerlane
from wickerlane.testing import ScriptedDaemon, album

pytest_plugins = ['wickerlane.testing.pytest_plugin']


def album_line() -> str:
    """The application: its albums in one line."""
    try:
        with wickerlane.Library() as library:
            return ', '.join(each.name for each in library.albums())
    except wickerlane.WickerlaneError:
        return 'Photos can\'t be read now.'


def test_the_line_names_all_albums(scripted_daemon: ScriptedDaemon) -> None:
    scripted_daemon.answer('albums', {'albums': [album(name='Dunes'), album(name='Seas')]})
    scripted_daemon.fail('albums', wickerlane.Busy, nth=2)
    assert album_line() == 'Dunes, Seas'
    assert album_line() == 'Photos can\'t be read now.'
    assert [each.operation for each in scripted_daemon.requests] == ['albums', 'albums']
