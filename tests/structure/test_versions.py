"""A release has the same version in all files that name it.

    test_versions.py TREE
"""

import pathlib
import re
import sys

TREE = pathlib.Path(sys.argv[1])
METAINFO = 'packaging/desktop/org.wickerlane.Wickerlane.metainfo.xml'


def found(file: str, pattern: str) -> tuple[str, ...]:
    """What the groups of the pattern have where it is first met."""
    match = re.search(pattern, (TREE / file).read_text(encoding='utf-8'), re.MULTILINE)
    assert match, f'{file} has no {pattern}'
    return match.groups()


version, = found('CMakeLists.txt', r'^project\(wickerlane VERSION ([\d.]+)')
changed, date = found('CHANGELOG.md', r'^## ([\d.]+) – (.+)$')
packaged, = found('debian/changelog', r'^wickerlane \(([\d.]+)-\d+\)')
others = {'python/pyproject.toml': found('python/pyproject.toml', r'^version = "(.+)"')[0], 'CHANGELOG.md': changed,
          'debian/changelog': packaged}
faults = [f'{file} is of {other}, and CMakeLists.txt of {version}' for file, other in others.items() if other != version]
if date != 'not released yet':
    listed = found(METAINFO, r'<release version="([\d.]+)".* date="([\d-]+)"')
    if listed != (version, date):
        faults.append(f'{METAINFO} is of {listed}, and CHANGELOG.md of {version}, {date}')
sys.exit('\n'.join(faults) or 0)
