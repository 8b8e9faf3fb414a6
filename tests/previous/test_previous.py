"""Today's client and the previous release's hoardd work together, and the other way round, and today's hoardd takes the
place of that.

    test_previous.py HOARDD COMMAND LIBRARY PREVIOUS-BUILD PICTURES
"""

import json
import os
import pathlib
import sqlite3
import sys
import tempfile

from root import Root
from writer import replaced_while_a_client_writes, with_a_library

HOARDD, COMMAND, LIBRARY, PREVIOUS, PICTURES = map(pathlib.Path, sys.argv[1:])
OLD_HOARDD = PREVIOUS / 'bin/hoardd'
SKIPPED = 77

if not OLD_HOARDD.exists():
    print('skipped: the previous release is not built; scripts/check previous does that')
    sys.exit(SKIPPED)

SAVED = [PICTURES / name for name in ('exif.jpg', 'described.jpg', 'one.gif')]


def works(root: Root, command: pathlib.Path) -> None:
    """The operations that both releases have."""
    root.ask(command, 'import', *SAVED)
    assert root.ask(command, 'count') == '3 photos, 0 videos\n'
    assets = root.json(command, 'list')
    assert len(assets) == 3
    first, second, _ = (asset['uuid'] for asset in assets)
    small = root.folder / 'small.jpg'
    root.ask(command, 'thumbnail', first, '--format', 'small', '--to', small)
    assert small.read_bytes().startswith(b'\xff\xd8')
    root.ask(command, 'album', 'create', 'Dunes')
    root.ask(command, 'album', 'add', 'Dunes', first, second)
    album, = root.json(command, 'album', 'list')
    assert (album['name'], album.get('assetCount', album.get('assets'))) == ('Dunes', 2) # 0.9 has `assets`
    root.ask(command, 'set', first, '--rating', '4')
    assert root.json(command, 'show', first)['rating'] == 4
    root.ask(command, 'moments', '--update')
    assert sum(len(moment['uuids']) for moment in root.json(command, 'moments')) == 3
    root.ask(command, 'delete', '--yes', second)
    assert root.ask(command, 'count') == '2 photos, 0 videos\n'
    assert [asset['uuid'] for asset in root.json(command, 'trash', 'list')] == [second]
    root.ask(command, 'trash', 'restore', second)
    assert root.json(command, 'changes')
    root.ask(command, 'export', '--all', '--to', root.folder / 'exported')
    exported = {path.read_bytes() for path in (root.folder / 'exported').iterdir()}
    assert exported == {path.read_bytes() for path in SAVED}
    missing = root.run(command, 'show', '00000000-0000-4000-8000-000000000000')
    assert missing.returncode == 4, missing


def todays_client_and_the_previous_daemon(folder: pathlib.Path) -> None:
    root = Root(folder, OLD_HOARDD)
    works(root, COMMAND)
    status = root.run(COMMAND, 'daemon', 'status', '--json')
    told = json.loads(status.stdout)
    assert (told['version'], told['protocol']) == ('0.9 or older', 0), told
    assert 'older than this command' in status.stderr and 'wickerlane daemon restart' in status.stderr, status
    root.served_by(HOARDD)
    root.ask(COMMAND, 'daemon', 'restart')
    status = root.run(COMMAND, 'daemon', 'status', '--json')
    told = json.loads(status.stdout)
    assert told['protocol'] >= 1 and status.stderr == '', status
    assert root.ask(COMMAND, 'count') == '3 photos, 0 videos\n'
    root.end_daemon()


def the_previous_command_and_todays_daemon(folder: pathlib.Path) -> None:
    root = Root(folder, HOARDD)
    works(root, PREVIOUS / 'bin/wickerlane')
    assert os.path.samefile(f'/proc/{root.process()}/exe', HOARDD)
    root.end_daemon()


def the_previous_client_and_todays_daemon(folder: pathlib.Path) -> None:
    """By the release's library and its Python package."""
    root = Root(folder, HOARDD)
    root.environment.update({'WICKERLANE_LIBRARY': str(PREVIOUS / 'wickerlane/libwickerlane.so'),
                             'PYTHONPATH': str(PREVIOUS.parent / 'source/python')})
    root.ask(pathlib.Path(sys.executable), pathlib.Path(__file__).with_name('use_library.py'), *SAVED)
    root.end_daemon()


def a_newer_store_and_the_previous_daemon(folder: pathlib.Path) -> None:
    root = Root(folder, HOARDD)
    root.ask(COMMAND, 'import', SAVED[0])
    root.end_daemon()
    with sqlite3.connect(root.store) as store:
        store.execute('PRAGMA user_version = 9999')
    store.close()
    before = root.store.read_bytes()
    root.served_by(OLD_HOARDD)
    refused = root.run(COMMAND, 'count')
    assert refused.returncode == 7 and 'model version 9999' in refused.stderr, refused
    root.end_daemon()
    assert root.store.read_bytes() == before


def upgrade_from_the_previous_release(root: Root) -> None:
    def replace() -> None:
        assert os.path.samefile(f'/proc/{root.process()}/exe', OLD_HOARDD)
        root.served_by(HOARDD)
        root.end_daemon()

    replaced_while_a_client_writes(root, COMMAND, SAVED[2], replace)
    assert os.path.samefile(f'/proc/{root.process()}/exe', HOARDD)


for each in (todays_client_and_the_previous_daemon, the_previous_command_and_todays_daemon,
             the_previous_client_and_todays_daemon, a_newer_store_and_the_previous_daemon):
    with tempfile.TemporaryDirectory() as made:
        each(pathlib.Path(made).resolve())
with_a_library(OLD_HOARDD, LIBRARY, upgrade_from_the_previous_release)
