"""A library of some pictures, and its server."""

import pathlib
import subprocess
from collections.abc import Iterator

import pytest

from served import Library, View

QUADRANTS = ('255,0,0', '0,255,0', '0,0,255', '255,255,255') # left and right above, then below


def picture(path: pathlib.Path, width: int, height: int) -> pathlib.Path:
    """Four quadrants of different colours."""
    parts = [f"eq(gt(X,{width // 2 - 1})+2*gt(Y,{height // 2 - 1}),{number})" for number in range(4)]
    channels = ['+'.join(f'{part}*{colour.split(",")[channel]}' for part, colour in zip(parts, QUADRANTS))
                for channel in range(3)]
    subprocess.run(['ffmpeg', '-v', 'error', '-y', '-f', 'lavfi', '-i', f'color=s={width}x{height},format=gbrp,'
                    f"geq=r='{channels[0]}':g='{channels[1]}':b='{channels[2]}'", '-frames:v', '1', '-q:v', '2', path],
                   check=True)
    return path


@pytest.fixture(scope='session')
def pictures(tmp_path_factory: pytest.TempPathFactory) -> list[pathlib.Path]:
    folder = tmp_path_factory.mktemp('pictures')
    return [picture(folder / name, width, height)
            for name, width, height in (('aligned.jpg', 64, 32), ('odd.jpg', 70, 50), ('plain.png', 48, 32))]


@pytest.fixture
def library(tmp_path: pathlib.Path, pictures: list[pathlib.Path]) -> Iterator[Library]:
    made = Library(tmp_path)
    made.command('import', '-q', *pictures)
    yield made
    made.end_daemon()


@pytest.fixture
def view(library: Library) -> Iterator[View]:
    served = View(library)
    yield served
    assert served.end() == 130
