"""What the package does when the daemon does not do what it should."""

from collections.abc import Callable

import pytest
import wickerlane
from wickerlane.testing import ScriptedDaemon

pytest_plugins = ['wickerlane.testing.pytest_plugin']


def test_following_outlives_one_end_of_the_daemon(scripted_daemon: ScriptedDaemon) -> None:
    operation = 'awaitChangesSinceToken:limit:seconds:'
    scripted_daemon.die(operation, nth=1)
    scripted_daemon.fail(operation, wickerlane.Busy, 'too many wait', nth=2)
    scripted_daemon.die(operation)
    with wickerlane.Library() as library:
        with pytest.raises(wickerlane.Busy, match='too many wait'):
            next(iter(library.follow('1')))
        with pytest.raises(wickerlane.Ending):
            next(iter(library.follow('1')))
    assert [request.values['token'] for request in scripted_daemon.requests] == ['1'] * 4


def test_the_time_that_the_daemon_waits_is_not_limited(scripted_daemon: ScriptedDaemon) -> None:
    scripted_daemon.fail('awaitChangesSinceToken:limit:seconds:', wickerlane.Busy, 'too many wait', delay=0.2)
    with wickerlane.Library(time_limit=0.02) as hasty, pytest.raises(wickerlane.Busy):
        next(iter(hasty.follow('1')))


def test_each_function_says_what_failed(scripted_daemon: ScriptedDaemon) -> None:
    scripted_daemon.answer('assetsMatchingQuery:', {'assets': [{}]})
    with wickerlane.Library() as library:
        asset, = library.assets()
        scripted_daemon.fail(None, wickerlane.NoSpace, 'the disk is full')
        with_reason: list[Callable[[], object]] = [
            library.changes, library.sections, library.assets(name='a').count, lambda: list(library.trash()),
            asset.edit, library.bulletins, library.badge_count, library.feed, library.moment_lists, library.analyze,
            library.rebuild_moments, library.reset_duplicates, library.rebuild_thumbnails, library.import_files,
            asset.revert, lambda: library.companions([asset]), lambda: library.video_facts('/a.mov')]
        # The daemon answers these by no more than yes or no.
        without: list[Callable[[], object]] = [library.empty_trash, asset.restore, asset.remove,
                                               lambda: asset.set_edit(b'x')]
        for kind, functions in ((wickerlane.NoSpace, with_reason), (wickerlane.Failed, without)):
            for number, function in enumerate(functions):
                try:
                    raised = function()
                except Exception as error:
                    raised = error
                assert type(raised) is kind and str(raised), (number, raised)


def test_a_time_limit_for_one_call(scripted_daemon: ScriptedDaemon) -> None:
    scripted_daemon.answer('albums', {'albums': []}, held=True)
    with wickerlane.Library() as library:
        hasty = library.within(0.02)
        with pytest.raises(wickerlane.TimedOut):
            hasty.albums()
        scripted_daemon.release()
        scripted_daemon.answer('albums', {'albums': []})
        assert library.albums() == []
    with pytest.raises(ValueError, match='closed'):
        hasty.albums()
    with pytest.raises(ValueError):
        library.within(0)
