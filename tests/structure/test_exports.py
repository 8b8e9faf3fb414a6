"""The library exports what applications may link to, and none of what it uses: test_exports.py LIBRARY"""

import re
import subprocess
import sys

# C functions and constants; then the mangled names of the library's namespace and of its classes outside of it.
OURS = re.compile(r'(WL|RZ|JX|_{0,2}LK|k(LK|Bulletin)|Wickerlane)\w+|DVGetFloat32Answer'
                  r'|_Z(T[ISV]|Th\w+_)?(N[KR]*)?(10wickerlane|\d+_?(JX|LK))\w*')

listed = subprocess.run(['nm', '-D', '--defined-only', sys.argv[1]], check=True, capture_output=True, text=True).stdout
symbols = [line.split()[-1] for line in listed.splitlines()]
names = [symbol.partition('@')[0] for symbol in symbols if not symbol.startswith('WICKERLANE_')]
assert len(names) > 100, 'nm lists next to nothing'
foreign = [name for name in names if not OURS.fullmatch(name)]
assert not foreign, f'these are exported, too: {foreign}; wickerlane/exports.map says what may be'
unversioned = [symbol for symbol in symbols if not symbol.startswith('WICKERLANE_') and '@@WICKERLANE_' not in symbol]
assert not unversioned, f'these have no version: {unversioned}'
