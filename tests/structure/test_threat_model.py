"""Each boundary of the threat model is held by something, and all that is named there exists.

    test_threat_model.py TREE
"""

import pathlib
import re
import sys

TREE = pathlib.Path(sys.argv[1])
text = (TREE / 'docs/threat-model.md').read_text(encoding='utf-8')
TEST = re.compile(r'^TEST(?:_F|_P)?\((\w+),\s*(\w+)\)', re.MULTILINE)
there = {f'{suite}.{name}' for source in (TREE / 'tests').rglob('*.cpp')
         for suite, name in TEST.findall(source.read_text(encoding='utf-8'))}


def exists(name: str) -> bool:
    """Whether there is a test of that name, in a file or in C++, or a campaign or a fuzz target."""
    if not name.startswith(('tests/', 'campaigns/', 'fuzz/')):
        return name in there
    path, _, test = name.partition('::')
    return (TREE / path).is_file() and (not test or f'\ndef {test}(' in (TREE / path).read_text(encoding='utf-8'))


faults = []
boundaries = re.split(r'^## ', text, flags=re.MULTILINE)[1:]
assert len(boundaries) >= 7 and len(there) > 500, (len(boundaries), len(there))
for boundary in boundaries:
    title = boundary.splitlines()[0]
    rows = [line.strip('|').split('|') for line in boundary.splitlines() if line.startswith('| ')][1:]
    if not rows:
        faults.append(f'{title}: nothing is held')
    for claim, holders in rows:
        names = re.findall(r'`(.+?)`', holders)
        if not names:
            faults.append(f'{title}: nothing holds "{claim.strip()}"')
        for name in names:
            if not exists(name):
                faults.append(f'{title}: there is no {name}')
sys.exit('\n'.join(faults) or 0)
