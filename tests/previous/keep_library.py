"""Makes a small library with a release's hoardd, and keeps it for test_kept_library.py.

    keep_library.py HOARDD COMMAND LIBRARY PICTURES KEPT-FOLDER

HOARDD is that of the release, COMMAND and LIBRARY are today's, PICTURES is fuzz/corpus/media_input. KEPT-FOLDER is
made. PYTHONPATH has python/.
"""

import os
import pathlib
import shutil
import sqlite3
import sys
import tempfile

from root import Root

HOARDD, COMMAND, LIBRARY, PICTURES, KEPT = map(pathlib.Path, sys.argv[1:])
LEFT_OUT = {'Backups', 'Reserve', 'hoardd.lock', 'Pixhold.sqlite', 'Pixhold.sqlite-wal', 'Pixhold.sqlite-shm'}

with tempfile.TemporaryDirectory() as made:
    root = Root(pathlib.Path(made).resolve(), HOARDD.resolve())
    names = 'exif.jpg', 'described.jpg', 'one.gif', 'alpha.png'
    root.ask(COMMAND, 'import', *(PICTURES / name for name in names))
    assets = {asset['name']: asset['uuid'] for asset in root.json(COMMAND, 'list')}
    root.ask(COMMAND, 'album', 'create', 'Dunes')
    root.ask(COMMAND, 'album', 'add', 'Dunes', assets['exif.jpg'], assets['one.gif'])
    root.ask(COMMAND, 'set', assets['exif.jpg'], '--rating', '4', '--caption', 'At noon')
    root.ask(COMMAND, 'delete', '--yes', assets['alpha.png'])

    os.environ.update({**root.environment, 'WICKERLANE_LIBRARY': str(LIBRARY)})
    import wickerlane  # finds the root when it is first used

    with wickerlane.Library() as library:
        library.asset(assets['described.jpg']).set_edit((PICTURES / 'progressive.jpg').read_bytes())
    root.ask(COMMAND, 'moments', '--update')
    root.end_daemon()

    shutil.copytree(root.media, KEPT / 'Media', ignore=lambda _, found: LEFT_OUT.intersection(found),
                    copy_function=shutil.copyfile)
    for folder, _, files in os.walk(KEPT, topdown=False):
        if not files and not os.listdir(folder):
            os.rmdir(folder)
    store = sqlite3.connect(root.store)
    version, = store.execute('PRAGMA user_version').fetchone()
    with (KEPT / 'store.sql').open('w', encoding='utf-8') as dump:
        dump.writelines(line + '\n' for line in store.iterdump())
        dump.write(f'PRAGMA user_version = {version};\n')
    store.close()
