"""The tools of desktops take the entries of the command, which names all types of files that it imports.

    test_entries.py TREE
"""

import configparser
import pathlib
import re
import shutil
import subprocess
import sys
import xml.etree.ElementTree as ElementTree

TREE = pathlib.Path(sys.argv[1])
NAME = 'org.wickerlane.Wickerlane'
folder = TREE / 'packaging/desktop'
faults = []


def read(path: pathlib.Path) -> configparser.SectionProxy:
    parser = configparser.RawConfigParser()
    parser.optionxform = str # type: ignore[assignment]
    parser.read(path, encoding='utf-8')
    return parser['Desktop Entry']


for tool, arguments, files in (('desktop-file-validate', ['--warn-kde'], [*folder.glob('*.desktop')]),
                               ('appstreamcli', ['validate', '--no-net'], [folder / f'{NAME}.metainfo.xml'])):
    assert files
    if shutil.which(tool) is None:
        print(f'not asked: {tool}')
        continue
    result = subprocess.run([tool, *arguments, *files], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                            check=False)
    if result.returncode != 0:
        faults.append(result.stdout)

# Files as cameras make them have many types of their own, of which this one is the general one.
imported = {'image/x-dcraw' if name == 'image/x-raw' else name for name in
            re.findall(r'\.name = "(.*?)"', (TREE / 'wickerlane/model/MediaType.cpp').read_text(encoding='utf-8'))}
entry = read(folder / f'{NAME}.Import.desktop')
named = set(entry['MimeType'].strip(';').split(';'))
if len(imported) < 10 or named != imported:
    faults.append(f'named only: {named - imported}; imported only: {imported - named}')
for path in folder.glob('*.desktop'):
    if read(path)['Icon'] != NAME:
        faults.append(f'{path}: another icon')
if ElementTree.parse(TREE / 'view/icon.svg').getroot().tag != '{http://www.w3.org/2000/svg}svg':
    faults.append('the icon is no SVG')
sys.exit('\n'.join(faults) or 0)
