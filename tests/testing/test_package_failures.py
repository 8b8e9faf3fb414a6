"""What the package does when the daemon does not do what it should."""

import os
import pathlib
import signal
import threading
from collections.abc import Callable

import pytest
import wickerlane
from wickerlane import handlers, saving
from wickerlane.testing import ScriptedDaemon, asset

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
        functions: list[Callable[[], object]] = [
            library.changes, library.sections, library.assets(name='a').count, lambda: list(library.trash()),
            asset.edit, library.bulletins, library.badge_count, library.feed, library.moment_lists, library.analyze,
            library.rebuild_moments, library.reset_duplicates, library.rebuild_thumbnails, library.import_files,
            asset.revert, lambda: library.companions([asset]), lambda: library.video_facts('/a.mov'),
            library.empty_trash, asset.restore, asset.remove, lambda: asset.set_edit(b'x')]
        for number, function in enumerate(functions):
            try:
                raised = function()
            except Exception as error:
                raised = error
            assert type(raised) is wickerlane.NoSpace and 'the disk is full' in str(raised), (number, raised)


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


def test_an_interrupted_wait_leaves_nothing_to_its_late_answer(scripted_daemon: ScriptedDaemon) -> None:
    operation = 'getPhotosAndVideosCountWithHandler:'
    scripted_daemon.answer(operation, {'photoCount': 2, 'videoCount': 1}, held=True)

    def interrupt() -> None:
        assert scripted_daemon.wait_for_requests(1)
        os.kill(os.getpid(), signal.SIGINT)

    with wickerlane.Library() as library:
        interrupter = threading.Thread(target=interrupt)
        interrupter.start()
        with pytest.raises(KeyboardInterrupt):
            library.count()
        interrupter.join()
        given_up, = handlers._waits.values()
        scripted_daemon.release()
        scripted_daemon.answer(operation, {'photoCount': 3, 'videoCount': 4})
        while handlers._waits: # until the late answer has come
            assert library.count() == 7
        assert given_up.answer == (None, None)


def test_a_late_answer_is_said_by_the_library(scripted_daemon: ScriptedDaemon, tmp_path: pathlib.Path) -> None:
    scripted_daemon.answer(None, held=True)
    (tmp_path / 'a').write_bytes(b'a')
    with wickerlane.Library(time_limit=0.05) as library:
        for late in (library.count, lambda: library.save_all([tmp_path / 'a'])):
            with pytest.raises(wickerlane.TimedOut):
                late()
    assert not [wait for wait in handlers._waits.values() if not wait.is_given_up]


def test_a_later_failure_keeps_the_earlier_outcomes(scripted_daemon: ScriptedDaemon, tmp_path: pathlib.Path,
                                                    monkeypatch: pytest.MonkeyPatch) -> None:
    monkeypatch.setattr(saving, '_MOST_JOBS', 2)
    operation = 'saveOpenFilesWithJobDictionaries:handler:'
    saved = {'uuid': 'U', 'assetURL': 'rez-vault://a'}
    scripted_daemon.answer(operation, {'resultJobDictionaries': [saved, saved]})
    scripted_daemon.fail(operation, wickerlane.Busy, nth=2)
    with wickerlane.Library() as library:
        kinds = [type(each) is wickerlane.Saved for each in library.save_all(['a', 'b', '', 'c', 'd', 'e', 'f'])]
        assert kinds == [True, True, False, False, False, True, True]
        scripted_daemon.fail(operation, wickerlane.Busy)
        with pytest.raises(wickerlane.WickerlaneError):
            library.save_all(['a'])


def test_a_beginning_of_two_assets_is_none_of_them(scripted_daemon: ScriptedDaemon) -> None:
    scripted_daemon.answer('assetsMatchingQuery:', {'assets': [asset(), asset()]})
    with wickerlane.Library() as library, pytest.raises(wickerlane.Invalid, match="begin with '0123'"):
        library.asset('0123')


@pytest.mark.parametrize('kind', [bytes, bytearray, memoryview])
def test_each_kind_of_bytes_is_data(kind: Callable[[bytes], bytes], scripted_daemon: ScriptedDaemon) -> None:
    scripted_daemon.answer('assetsMatchingQuery:', {'assets': [asset(sha256=kind(bytes(range(32))))]})
    with wickerlane.Library() as library:
        found, = library.assets()
        assert found.sha256 == bytes(range(32))
