"""Libraries that were made by releases are kept in this folder, as keep_library.py has made them: today's hoardd opens
each, and everything is in it. Where it brings the store up to date, it makes a copy before, and says so.

    test_kept_library.py HOARDD COMMAND
"""

import hashlib
import pathlib
import shutil
import sqlite3
import sys
import tempfile

from root import Root

HOARDD, COMMAND = map(pathlib.Path, sys.argv[1:])
KEPT = sorted(pathlib.Path(__file__).parent.glob('library-*'))
assert KEPT


def query(store: pathlib.Path, sql: str) -> list[tuple[object, ...]]:
    connection = sqlite3.connect(f'{store.as_uri()}?mode=ro', uri=True)
    try:
        return connection.execute(sql).fetchall()
    finally:
        connection.close()


def lay_out(kept: pathlib.Path, folder: pathlib.Path) -> Root:
    root = Root(folder.resolve(), HOARDD)
    shutil.copytree(kept / 'Media', root.media)
    store = sqlite3.connect(root.store)
    store.executescript((kept / 'store.sql').read_text(encoding='utf-8'))
    store.execute('PRAGMA journal_mode = WAL')
    store.close()
    return root


def everything_is_there(root: Root) -> None:
    version, = query(root.store, 'PRAGMA user_version')[0]
    identity = query(root.store, 'SELECT * FROM zlibrary')
    recorded = query(root.store, 'SELECT uuid, hex(sha256), directory, filename FROM zgenericasset ORDER BY uuid')
    assert len(recorded) == 3

    assert root.ask(COMMAND, 'count') == '3 photos, 0 videos\n'
    assets = {asset['name']: asset for asset in root.json(COMMAND, 'list')}
    assert sorted(assets) == ['described.jpg', 'exif.jpg', 'one.gif']
    assert sorted(asset['uuid'] for asset in assets.values()) == [uuid for uuid, *_ in recorded]
    for _, digest, directory, filename in recorded:
        original = root.media / str(directory) / str(filename)
        assert hashlib.sha256(original.read_bytes()).hexdigest().upper() == digest
    first = root.json(COMMAND, 'show', assets['exif.jpg']['uuid'])
    assert (first['rating'], first['caption']) == (4, 'At noon')
    assert [(album['name'], album['assetCount']) for album in root.json(COMMAND, 'album', 'list')] == [('Dunes', 2)]
    assert sum(len(moment['uuids']) for moment in root.json(COMMAND, 'moments')) == 3
    assert [asset['name'] for asset in root.json(COMMAND, 'trash', 'list')] == ['alpha.png']
    edited = root.folder / 'edited.jpg'
    root.ask(COMMAND, 'export', assets['described.jpg']['uuid'], '--edited', '--to', edited)
    assert edited.read_bytes().startswith(b'\xff\xd8')
    checked = root.run(COMMAND, 'check')
    assert checked.returncode == 0, checked
    root.ask(COMMAND, 'trash', 'restore', '--all')
    assert root.ask(COMMAND, 'count') == '4 photos, 0 videos\n'

    now = root.json(COMMAND, 'daemon', 'status')['modelVersion']
    backups = [query(path, 'PRAGMA user_version')[0][0]
               for path in (root.media / 'PhotoData/Backups').glob('Pixhold-*.sqlite')]
    assert (version in backups) or version == now, backups
    assert ('brought up to date' in root.log()) == (version != now)
    root.end_daemon()
    assert query(root.store, 'PRAGMA user_version') == [(now,)]
    assert query(root.store, 'SELECT * FROM zlibrary') == identity


def a_newer_one_is_left_alone(root: Root) -> None:
    store = sqlite3.connect(root.store)
    store.execute('PRAGMA user_version = 9999')
    store.commit()
    store.close()
    before = root.store.read_bytes()
    for words in ['count'], ['import', str(HOARDD)], ['check']:
        refused = root.run(COMMAND, *words)
        assert refused.returncode == 7, (words, refused)
        assert 'version 9999' in refused.stderr and 'at least as new' in refused.stderr, (words, refused)
    root.end_daemon()
    assert root.store.read_bytes() == before
    assert not list((root.media / 'PhotoData').glob('Backups/*'))


for kept in KEPT:
    for test in everything_is_there, a_newer_one_is_left_alone:
        with tempfile.TemporaryDirectory() as made:
            library = lay_out(kept, pathlib.Path(made))
            try:
                test(library)
            except BaseException:
                print(kept.name, library.log(), sep='\n')
                raise
            finally:
                library.end_daemon()
