"""The libraries export what applications may link to, and none of what they use: test_exports.py LIBRARY..."""

import re
import subprocess
import sys

# C functions and constants; then the mangled names of the library's namespace and of its classes outside of it.
OURS = re.compile(r'(WL|RZ|JX|_{0,2}LK|k(LK|Bulletin)|Wickerlane)\w+|DVGetFloat32Answer'
                  r'|_Z(T[ISV]|Th\w+_)?(N[KR]*)?(10wickerlane|\d+_?(JX|LK))\w*')

for library in sys.argv[1:]:
    listed = subprocess.run(['nm', '-D', '--defined-only', library], check=True, capture_output=True, text=True).stdout
    symbols = [symbol for line in listed.splitlines() if not (symbol := line.split()[-1]).startswith('WICKERLANE_')]
    assert len(symbols) > 5, f'nm lists next to nothing of {library}'
    foreign = [symbol for symbol in symbols if not OURS.fullmatch(symbol.partition('@')[0])]
    assert not foreign, f'{library} exports these, too: {foreign}; wickerlane/exports.map says what may be'
    unversioned = [symbol for symbol in symbols if '@@WICKERLANE_' not in symbol]
    assert not unversioned, f'these of {library} have no version: {unversioned}'
