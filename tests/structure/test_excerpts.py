"""Code in the guides is code of programs that are built and run: each block of more than two lines is found, line by
line, in one of them."""

import pathlib
import re
import sys
import textwrap

TREE = pathlib.Path(sys.argv[1])
GUIDES = ['README.md', *(f'docs/{name}.md' for name in (
    'c-api', 'errors', 'event-loops', 'first-application', 'python', 'renditions', 'testing', 'threads'))]
SHORT = 2 # lines, of which a block may have that many of its own
OWN = {('README.md', 'python')}
BLOCK = re.compile(r'^```(c|cpp|python|cmake)\n(.*?)^```$', re.MULTILINE | re.DOTALL)

sources = [path for path in [*(TREE / 'examples').iterdir(), TREE / 'tests/install/application/CMakeLists.txt']
           if path.suffix in ('.c', '.cpp', '.py', '.txt')]
texts = [path.read_text(encoding='utf-8').splitlines() for path in sources]


def has(lines: list[str], block: list[str]) -> bool:
    """Whether the lines have the block, at any indentation."""
    length = len(block)
    return any(textwrap.dedent('\n'.join(lines[i:i + length])).splitlines() == block
               for i in range(len(lines) - length + 1) if lines[i].strip() == block[0].strip())


faults, checked = [], 0
for guide in GUIDES:
    for language, code in BLOCK.findall((TREE / guide).read_text(encoding='utf-8')):
        block = textwrap.dedent(code).splitlines()
        if len(block) <= SHORT or (guide, language) in OWN:
            continue
        checked += 1
        if not any(has(lines, block) for lines in texts):
            faults.append(f'{guide}: no example has this:\n{code}')
assert checked > 10, checked
sys.exit('\n'.join(faults) or 0)
