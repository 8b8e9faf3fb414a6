"""The scripted daemon from Python."""

import datetime
import os
import pathlib
import re
import subprocess
import sys

import pytest
from wickerlane import (Busy, Cancelled, Change, Companion, Ending, Failed, FeedEntry, Invalid, Library, MomentList,
                        NotFound, Refused, TimedOut, TooOld, Unreachable)
from wickerlane.testing import ScriptedDaemon, album, asset, operations

pytest_plugins = ['wickerlane.testing.pytest_plugin']

TREE = pathlib.Path(__file__).parents[2]
DAY = datetime.datetime(2024, 5, 1, 12, 30)


def test_answers_are_what_the_library_gives(scripted_daemon: ScriptedDaemon) -> None:
    made = datetime.datetime(2024, 5, 1, 10, 30, tzinfo=datetime.UTC)
    facts = {'original_filename': 'a.jpg', 'size': 5, 'date': DAY, 'created': made, 'location': (1.5, -2.0),
             'zone': datetime.timezone(datetime.timedelta(minutes=-210)), 'keywords': ('sea', 'sand'),
             'iso_speed': 100, 'favourite': True, 'sha256': bytes(range(32))}
    scripted_daemon.answer('assetsMatchingQuery:', {'assets': [asset(**facts), asset(kind='video')]})
    scripted_daemon.answer('albums', {'albums': [album(name='Dunes', asset_count=3)]})
    with Library() as library:
        first, second = library.assets(newest_first=True)
        assert {name: getattr(first, name) for name in facts} == facts
        assert (second.kind, second.filename, second.original_filename) == ('video', 'IMG_0002.MOV', None)
        found, = library.albums()
        assert (found.name, len(found.uuid)) == ('Dunes', 36)
        assert [each.uuid for each in library.assets(page_size=1)] == [first.uuid, second.uuid]
    assert scripted_daemon.requests[0].values == {'query': {'isDescending': True}}


def test_lists_that_have_no_pages(scripted_daemon: ScriptedDaemon) -> None:
    start, end = (datetime.datetime(2024, 5, day, tzinfo=datetime.UTC) for day in (1, 31))
    for operation in ('changesSinceToken:limit:', 'awaitChangesSinceToken:limit:seconds:'):
        scripted_daemon.answer(operation, {'token': 't', 'changes': [
            {'kind': 'changed', 'uuid': 'A', 'date': start, 'number': 7}, {'kind': 'removed'}]})
    scripted_daemon.answer('sectionsOfAssetsMatchingQuery:byUnit:',
                           {'sections': [{'start': start, 'shapes': [1500, 0, 65535]}]})
    scripted_daemon.answer('momentLists', {'lists': [
        {'number': 4, 'startDate': start, 'endDate': end, 'momentCount': 2, 'assetCount': 9, 'keyAsset': 'A',
         'isAnalyzed': True}, {}]})
    scripted_daemon.answer('cloudFeed', {'entries': [
        {'albumUUID': 'B', 'startDate': start, 'endDate': end, 'uuids': ['A', 'C']}, {}]})
    scripted_daemon.answer('assetsMatchingQuery:', {'assets': [asset(), asset()]})
    scripted_daemon.answer('companionsOfPhotos:', {'companions': [
        {'path': '/a/b.dng', 'originalFilename': 'b.dng', 'format': 'image/x-adobe-dng', 'byteSize': 5}]})
    with Library() as library:
        changed, removed = changes = library.changes('')
        assert changes.token == 't' and changed == Change('changed', 'A', start, 7)
        assert (removed.kind, removed.number) == ('removed', 2)
        assert next(iter(library.follow('t'))) == changes
        section, = library.sections()
        assert (section.start, section.count, list(section.shapes)) == (start.date(), 3, [1500, 0, 65535])
        first, second = library.moment_lists()
        assert first == MomentList(4, start, end, 2, 9, True, 'A') and second.number == 2
        entry, made_up = library.feed()
        assert entry == FeedEntry('B', start, end, ('A', 'C')) and made_up.asset_uuids == ()
        photos = list(library.assets())
        assert library.companions(photos) == {
            photos[0].uuid: Companion(photos[0].uuid, '/a/b.dng', 'b.dng', 'image/x-adobe-dng', 5)}
        scripted_daemon.answer('changesSinceToken:limit:', {'changes': [], 'isTooOld': True})
        with pytest.raises(TooOld):
            library.changes('')


def test_two_assets_tell_that_a_beginning_is_ambiguous(scripted_daemon: ScriptedDaemon) -> None:
    scripted_daemon.answer('assetsMatchingQuery:', {'assets': [asset() for _ in range(5)]})
    with Library() as library, pytest.raises(Invalid):
        library.asset('0000')
    assert len(scripted_daemon.requests) == 1


def test_what_was_sent_is_recorded_in_its_order(scripted_daemon: ScriptedDaemon) -> None:
    scripted_daemon.answer(None)
    scripted_daemon.answer('albums', {'albums': [album(name='Dunes')]})
    with Library() as library:
        library.albums()[0].rename('Seas')
    listed, renamed = scripted_daemon.requests
    assert (listed.operation, listed.values, listed.process) == ('albums', {}, os.getpid())
    assert renamed.operation == 'renameAlbumWithUUID:to:' and renamed.wants_reply
    assert list(renamed.values) == ['albumUUID', 'name'] and renamed.values['name'] == 'Seas'
    scripted_daemon.forget_requests()
    assert scripted_daemon.requests == [] and not scripted_daemon.wait_for_requests(1, 0)


def test_each_kind_of_failure(scripted_daemon: ScriptedDaemon) -> None:
    scripted_daemon.answer('albums', {'albums': []})
    scripted_daemon.fail('albums', Busy, 'in use', nth=2)
    scripted_daemon.die('albums', nth=3)
    scripted_daemon.answer('albums', nth=4, held=True)
    with Library(time_limit=None) as library, Library(time_limit=0.02) as hasty:
        assert library.albums() == []
        with pytest.raises(Busy, match='in use'):
            library.albums()
        with pytest.raises(Ending):
            library.albums()
        with pytest.raises(TimedOut):
            hasty.albums()
        scripted_daemon.release()
        scripted_daemon.refuse_access()
        with pytest.raises(Refused):
            library.albums()
        scripted_daemon.refuse_access(False)
        scripted_daemon.answer('albums', delay=0.01)
        assert library.albums() == []
        with pytest.raises(Failed, match='the scripted daemon has no answer to "assetsMatchingQuery:"'):
            list(library.assets())
        scripted_daemon.fail(None, NotFound)
        with pytest.raises(NotFound):
            list(library.assets())
        scripted_daemon.stop()
        asked = subprocess.run([sys.executable, '-c', 'import wickerlane; wickerlane.Library().albums()'],
                               stderr=subprocess.PIPE, text=True, check=False)
        assert 'wickerlane.errors.Unreachable' in asked.stderr
        scripted_daemon.listen()
        with pytest.raises(NotFound):
            list(library.assets())


def test_a_script_that_no_daemon_could_follow_is_refused(scripted_daemon: ScriptedDaemon) -> None:
    with pytest.raises(ValueError, match='did you mean "assetsMatchingQuery:"'):
        scripted_daemon.answer('assetsMatching')
    with pytest.raises(ValueError, match='has no "name"; it has "albums"'):
        scripted_daemon.answer('albums', {'name': 'Dunes'})
    with pytest.raises(ValueError, match='"version" needs a whole number'):
        scripted_daemon.answer('getCurrentModelVersion', {'version': 1.5})
    with pytest.raises(ValueError, match='counted from 1'):
        scripted_daemon.die('albums', nth=0)
    for kind, instead in ((Unreachable, 'stop it'), (TimedOut, 'hold its answer'), (Cancelled, 'hold its answer')):
        with pytest.raises(ValueError, match=instead):
            scripted_daemon.fail('albums', kind)
    with pytest.raises(ValueError, match='runs already'):
        scripted_daemon.__enter__()
    with pytest.raises(ValueError, match='with statement'):
        ScriptedDaemon().release()
    with pytest.raises(TypeError):
        scripted_daemon.answer('getLibrarySizes:', {'sizes': {'a': None}}) # type: ignore[dict-item]
    assert operations()['albums'] == ['albums', 'storeUUID']


def test_the_root_is_that_of_the_context() -> None:
    before = os.environ.get('WICKERLANE_ROOT')
    roots = set()
    for _ in range(3):
        with ScriptedDaemon() as daemon, Library() as library:
            daemon.answer('getPhotosAndVideosCountWithHandler:', {'photoCount': 2, 'videoCount': 1})
            roots.add(daemon.root)
            assert library.count() == 3
            asked = subprocess.run([sys.executable, '-c', 'import wickerlane; print(wickerlane.Library().count())'],
                                   stdout=subprocess.PIPE, text=True, check=True)
            assert asked.stdout == '3\n'
    assert len(roots) == 3 and not any(root.exists() for root in roots)
    assert os.environ.get('WICKERLANE_ROOT') == before


def test_a_process_that_has_a_daemon_gets_no_other(scripted_daemon: ScriptedDaemon) -> None:
    """One that would go on asking the daemon from before could change a library that is not the test's."""
    with pytest.raises(OSError, match='has a scripted daemon already'), ScriptedDaemon():
        pass
    program = """
import os, wickerlane
from wickerlane.testing import ScriptedDaemon
root = os.environ['WICKERLANE_ROOT']
with wickerlane.Library() as library:
    library.albums()
    try:
        with ScriptedDaemon():
            print('two daemons')
    except OSError as error:
        print(error, os.environ['WICKERLANE_ROOT'] == root, library.albums())
"""
    scripted_daemon.answer('albums', {'albums': []})
    asked = subprocess.run([sys.executable, '-c', program], stdout=subprocess.PIPE, text=True, check=True)
    assert 'connected to another daemon' in asked.stdout and asked.stdout.endswith(' True []\n')


def test_the_guide_shows_the_examples() -> None:
    guide = (TREE / 'docs/testing.md').read_text(encoding='utf-8')
    examples = ''.join(file.read_text(encoding='utf-8') for file in (TREE / 'examples').glob('test_album*'))
    shown = re.findall(r'```\w+\n(.*?)```', guide, re.DOTALL)
    assert len(shown) >= 3 and not [each for each in shown if each not in examples]


def test_the_types_of_the_example(tmp_path: pathlib.Path) -> None:
    checked = subprocess.run([sys.executable, '-m', 'mypy', '--strict', '--cache-dir', tmp_path,
                              TREE / 'examples/test_albums.py'], cwd=TREE / 'python', stdout=subprocess.PIPE,
                             stderr=subprocess.STDOUT, text=True, check=False)
    assert checked.returncode == 0, checked.stdout
