"""The package as a whole: its types, how it is built, and how it fails to load."""

import ctypes
import dataclasses
import email
import importlib
import inspect
import os
import pathlib
import re
import shutil
import subprocess
import sys
import zipfile

import pytest
import wickerlane
from wickerlane import asset, following, native, query, video

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
        missing += [label for label, value in [(name, public), *members]
                    if value is not wickerlane.Value and not inspect.getdoc(value)]
    assert not missing


def headers(metadata: str) -> list[tuple[str, str]]:
    """All but the version of the format, which is the choice of each setuptools."""
    return sorted((name, value) for name, value in email.message_from_string(metadata).items()
                  if name != 'Metadata-Version')


def test_it_is_built_without_a_network_or_a_compiler(tmp_path: pathlib.Path) -> None:
    source = tmp_path / 'source'
    shutil.copytree(TREE / 'python', source, ignore=shutil.ignore_patterns('__pycache__', '.mypy_cache'))
    build = 'import setuptools.build_meta as backend, sys; print(backend.build_wheel(sys.argv[1]))'
    built = run(sys.executable, '-c', build, tmp_path, cwd=source, env={**os.environ, 'CC': '/bin/false'})
    assert built.returncode == 0, built.stdout
    wheel, = tmp_path.glob('*-py3-none-any.whl')
    files = {file.relative_to(TREE / 'python').as_posix() for file in (TREE / 'python/wickerlane').rglob('*')
             if file.suffix == '.py' or file.name == 'py.typed'}
    archive = zipfile.ZipFile(wheel)
    assert files <= set(archive.namelist())
    # What CMake installs without setuptools says the same of the package.
    metadata, = (archive.read(name).decode() for name in archive.namelist() if name.endswith('/METADATA'))
    installed = pathlib.Path(os.environ['WICKERLANE_METADATA']).read_text(encoding='utf-8')
    assert headers(installed) == headers(metadata)


def test_a_library_that_is_not_there_is_named() -> None:
    failed = run(sys.executable, '-c', 'import wickerlane', env={**os.environ, 'WICKERLANE_LIBRARY': '/nowhere.so'})
    assert failed.returncode == 1
    assert 'ImportError' in failed.stdout and '/nowhere.so' in failed.stdout


def constants(header: str, prefix: str) -> dict[str, int]:
    """The numbers that a header of C gives to names with a prefix."""
    text = (TREE / 'wickerlane/api' / header).read_text(encoding='utf-8')
    found = {name: int(number) for name, number in re.findall(rf'^    {prefix}(\w+) = (\d+)', text, re.MULTILINE)}
    assert len(found) > 1
    return found


def test_numbers_are_those_of_the_headers() -> None:
    errors = importlib.import_module('wickerlane.errors')
    assert {kind.__name__: code for code, kind in errors.BY_CODE.items()} == constants('WLError.h', 'WLError')
    orders = {name.lower(): number for name, number in constants('WLAssetQuery.h', 'WLAssetOrder').items()}
    assert dict(zip(query.ORDERS, range(4), strict=True)) == orders
    pictures = {'original': 'Original', 'small': 'SmallJPEG', 'preview': 'PreviewJPEG', 'full': 'FullJPEG',
                'full-png': 'FullPNG', 'large': 'LargeJPEG'}
    assert {pictures[name]: i for i, name in enumerate(asset.PICTURES)} == constants('WLAssetData.h', 'WLPicture')
    assert dict(zip(following.CHANGE_KINDS, range(3), strict=True)) == {
        name.lower(): number for name, number in constants('WLChanges.h', 'WLChange').items()}
    assert dict(zip(query.SECTION_UNITS, range(2), strict=True)) == {
        name.lower(): number for name, number in constants('WLAssetQuery.h', 'WLSection').items()}
    other_names = {'created': ['DateCreated'], 'added': ['DateAdded'], 'location': ['Latitude', 'Longitude'],
                   'size': ['ByteSize'], 'sha256': ['SHA256'], 'date': ['DateCreated', 'ClockDate'],
                   'zone': ['ZoneMinutes'], 'usage_intent': ['ExternalUsageIntent'], 'iso_speed': ['ISOSpeed']}
    fields = constants('WLAssetQuery.h', 'WLAssetField')
    for name, numbers in query._FIELDS.items():
        names = other_names.get(name, [''.join(word.capitalize() for word in name.split('_'))])
        assert numbers == tuple(fields[each] for each in names), name
    assert {number for numbers in query._FIELDS.values() for number in numbers} == set(fields.values())


def test_functions_are_declared_as_in_the_headers() -> None:
    c_types = {'void': None, 'bool': ctypes.c_bool, 'int': ctypes.c_int, 'size_t': ctypes.c_size_t,
               'double': ctypes.c_double, 'int64_t': ctypes.c_int64, 'uint32_t': ctypes.c_uint32,
               'uint64_t': ctypes.c_uint64, 'WLReleaseContext': ctypes.c_void_p, 'const char *': ctypes.c_char_p,
               'double *': ctypes.POINTER(ctypes.c_double), 'int64_t *': ctypes.POINTER(ctypes.c_int64),
               'WLError **': ctypes.POINTER(ctypes.c_void_p),
               'WLDictionary **': ctypes.POINTER(ctypes.c_void_p)}

    def ctype(text: str) -> object:
        """Of a type, or of an argument with its name."""
        kind = re.sub(r'(?<=[ *])\w+$', '', text).strip() if ' ' in text else text
        return c_types.get(kind, ctypes.c_void_p if '*' in kind or '(' in kind else kind)

    headers = '\n'.join(file.read_text(encoding='utf-8') for file in (TREE / 'wickerlane/api').glob('*.h'))
    declared = {}
    for result, name, arguments in re.findall(r'^WL_EXTERN_C ([\w ]+?[ *]+)(\w+)\((.*?)\);', headers, re.M | re.S):
        arguments = re.sub(r'\(\*\w+\)\(.*?\)', '*function', ' '.join(arguments.split())) # a pointer to a function
        types = [] if arguments == 'void' else [ctype(each) for each in arguments.split(', ')]
        declared[name] = (ctype(result.strip()), types)
    keys = re.findall(r'^#define WLVideo\w+ "(\w+)"', headers, re.M)
    assert [video._key(field.name) for field in dataclasses.fields(video.VideoFacts)] == keys
    assert len(declared) > 150
    for result, arguments, names in native._SIGNATURES:
        for name in names.split():
            assert declared[name] == (result, arguments), name
