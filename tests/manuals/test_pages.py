"""Each command has a manual page with all of its options and examples, and pages name no page that is not there:
test_pages.py WICKERLANE FOLDER"""

import pathlib
import re
import sys

from helps import examples, help_of, helps

command, folder = sys.argv[1], pathlib.Path(sys.argv[2])
if not folder.exists():
    print('scdoc is missing, and so are the pages')
    sys.exit(77)


def text_of(page: pathlib.Path) -> str:
    """What a reader of a page sees, in one line."""
    text = re.sub(r'\\f.', '', page.read_text(encoding='utf-8'))
    for escape, letter in {r'\-': '-', r'\(aq': "'", r'\(ti': '~', r'\(ha': '^', r'\(ga': '`', r'\&': '',
                           r'\e': '\\'}.items():
        text = text.replace(escape, letter)
    return ' '.join(text.split())


texts = {page.name: text_of(page) for page in folder.glob('man*/*')}
faults = []
checked = 0
for name, text in [('', help_of(command, [])), *helps(command)]:
    file = f'wickerlane-{name}.1' if name else 'wickerlane.1'
    page = texts.get(file)
    if page is None:
        faults.append(f'{file} is missing')
        continue
    options = {option for options in re.findall(r'^  (-\S+)', text, re.MULTILINE) for option in options.split(',')}
    for option in sorted(options - {'-h', '--help'}):
        checked += 1
        if not re.search(rf'(?<![\w-]){option}(?![\w-])', page):
            faults.append(f'{file} lacks {option}')
    faults += [f'{file} lacks the example {line}' for line in examples(text) if line not in page]
    faults += [f'{file} lacks {part}' for part in ('NAME', 'SYNOPSIS', 'DESCRIPTION', 'SEE ALSO')
               if f'.SH {part}' not in page]
for file, page in texts.items():
    for other, section in re.findall(r'\b((?:lib)?wickerlane[a-z-]*|hoardd)\s?\((\d)\)', page):
        if f'{other}.{section}' not in texts:
            faults.append(f'{file} names {other}({section}), which is missing')
assert checked > 150, checked
sys.exit('\n'.join(faults) or 0)
