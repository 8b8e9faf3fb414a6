"""The examples, as programs."""

import pathlib
import signal
import subprocess
import sys
from collections.abc import Callable

import wickerlane
from conftest import TREE
from pictures import png

Save = Callable[..., wickerlane.Asset]


def run(example: str, *arguments: object) -> tuple[int, str]:
    done = subprocess.run([sys.executable, TREE / 'examples' / example, *map(str, arguments)], text=True, check=False,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    return done.returncode, done.stdout


def test_backup(library: wickerlane.Library, save: Save, tmp_path: pathlib.Path) -> None:
    folder = tmp_path / 'new/backup'
    assets = [save(png(240 + i), name='../../same.png') for i in range(3)]
    assert run('backup.py', folder) == (0, '3 copied, 0 there already, 0 failed\n')
    copies = {file.stem: file.read_bytes() for file in folder.iterdir()}
    assert copies == {asset.uuid: bytes(asset.original()) for asset in assets}
    whole = folder / (assets[1].uuid + pathlib.Path(assets[1].filename).suffix)
    whole.write_bytes(b'torn')
    save(png(250))
    assert run('backup.py', folder) == (0, '2 copied, 2 there already, 0 failed\n')
    assert whole.read_bytes() == assets[1].original()
    pathlib.Path(assets[0].path).unlink()
    for copy in folder.iterdir():
        copy.unlink()
    code, output = run('backup.py', folder)
    assert code == 1 and assets[0].uuid in output and '3 copied, 0 there already, 1 failed' in output
    assert len(list(folder.iterdir())) == 3


def test_contact_sheet(library: wickerlane.Library, save: Save, tmp_path: pathlib.Path) -> None:
    for i in range(3):
        save(png(260 + i), name=f'<{i}>.png')
    save(png(270)[:60], name='torn.png')
    assert run('contact_sheet.py', tmp_path / 'sheet.html', 2) == (0, '2 photos\n')
    page = (tmp_path / 'sheet.html').read_text(encoding='utf-8')
    assert page.count('data:image/jpeg;base64,/9j/') == 2
    assert '&lt;' in page and 'torn' not in page
    assert run('contact_sheet.py', tmp_path / 'all.html') == (0, '3 photos\n')


def test_dunes(library: wickerlane.Library, tmp_path: pathlib.Path) -> None:
    picture = tmp_path / 'dawn.png'
    picture.write_bytes(png(280))
    code, output = run('dunes.py', picture)
    assert code == 0 and ' dawn.png ' in output
    asset, = library.album('Dunes').assets()
    assert asset.favourite and asset.caption == 'Dunes at dawn'
    assert run('dunes.py', picture)[0] == 1 # there is such an album


def test_follow(library: wickerlane.Library, save: Save) -> None:
    with subprocess.Popen([sys.executable, TREE / 'examples/follow.py'], text=True,
                          stdout=subprocess.PIPE) as following:
        try:
            assert following.stdout is not None
            assert following.stdout.readline() == '0 assets\n'
            asset = save(png(281))
            assert '1 assets\n' in following.stdout
            asset.delete()
            assert '0 assets\n' in following.stdout
            following.send_signal(signal.SIGINT)
            assert following.wait() == 0
        finally:
            following.kill()
