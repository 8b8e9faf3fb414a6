"""The package as a whole: its types, how it is built, and how it fails to load."""

import importlib
import inspect
import os
import pathlib
import shutil
import subprocess
import sys
import zipfile

import pytest
import wickerlane

TREE = pathlib.Path(__file__).parents[2]


def run(*command: object, **more: object) -> subprocess.CompletedProcess[str]:
    return subprocess.run([str(word) for word in command], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          check=False, **more)


@pytest.mark.parametrize('sources', [
    ['wickerlane'],
    ['../examples/backup.py', '../examples/contact_sheet.py', '../examples/watch.py'],
])
def test_types(sources: list[str], tmp_path: pathlib.Path) -> None:
    checked = run(sys.executable, '-m', 'mypy', '--strict', '--cache-dir', tmp_path, *sources, cwd=TREE / 'python')
    assert checked.returncode == 0, checked.stdout


def test_everything_public_is_documented() -> None:
    assert sorted(wickerlane.__all__) == wickerlane.__all__
    missing = []
    for name in wickerlane.__all__:
        public = getattr(wickerlane, name)
        members = [(f'{name}.{member}', value) for member, value in vars(public).items()
                   if not member.startswith('_') and (inspect.isfunction(value) or isinstance(value, property))]
        missing += [label for label, value in [(name, public), *members] if not inspect.getdoc(value)]
    assert not missing


def test_it_is_built_without_a_network_or_a_compiler(tmp_path: pathlib.Path) -> None:
    source = tmp_path / 'source'
    shutil.copytree(TREE / 'python', source, ignore=shutil.ignore_patterns('__pycache__', '.mypy_cache'))
    build = 'import setuptools.build_meta as backend, sys; print(backend.build_wheel(sys.argv[1]))'
    built = run(sys.executable, '-c', build, tmp_path, cwd=source, env={**os.environ, 'CC': '/bin/false'})
    assert built.returncode == 0, built.stdout
    wheel, = tmp_path.glob('*-py3-none-any.whl')
    files = {file.name for file in (TREE / 'python/wickerlane').iterdir() if file.suffix or file.name == 'py.typed'}
    assert {f'wickerlane/{name}' for name in files} <= set(zipfile.ZipFile(wheel).namelist())


def test_a_library_that_is_not_there_is_named() -> None:
    failed = run(sys.executable, '-c', 'import wickerlane', env={**os.environ, 'WICKERLANE_LIBRARY': '/nowhere.so'})
    assert failed.returncode == 1
    assert 'ImportError' in failed.stdout and '/nowhere.so' in failed.stdout


def test_each_reason_has_its_class() -> None:
    """As the header has them."""
    errors = importlib.import_module('wickerlane.errors')
    header = (TREE / 'wickerlane/api/WLError.h').read_text(encoding='utf-8')
    lines = [line.split() for line in header.splitlines() if line.startswith('    WLError')]
    codes = {int(words[2].rstrip(',')): words[0].removeprefix('WLError') for words in lines}
    assert len(codes) == 15
    assert {code: kind.__name__ for code, kind in errors.BY_CODE.items()} == codes
