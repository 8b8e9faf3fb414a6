"""The linter looks at what changed and at all that includes it, and at everything where that can't be told."""

import os
import pathlib
import subprocess
import sys
import tempfile

# Sources and what each includes.
TREE = {
    'wickerlane/Low.h': '',
    'wickerlane/High.h': '#include "wickerlane/Low.h"\n',
    'hoardd/Uses.cpp': '#include "wickerlane/High.h"\n',
    'cli/Other.cpp': '#include <vector>\n',
    'examples/Local.h': '',
    'examples/Near.cpp': '#include "Local.h"\n',
    '.clang-tidy': '',
    'scripts/check': '',
}
ALL = ['cli/Other.cpp', 'examples/Near.cpp', 'hoardd/Uses.cpp']
# A file that is changed, and what is to be linted then.
CASES = [
    ('wickerlane/Low.h', ['hoardd/Uses.cpp']),
    ('cli/Other.cpp', ['cli/Other.cpp']),
    ('examples/Local.h', ['examples/Near.cpp']),
    ('.clang-tidy', ALL),
    ('scripts/check', []),
]

with tempfile.TemporaryDirectory() as made:
    environment = {**os.environ, 'GIT_CONFIG_GLOBAL': '/dev/null', 'GIT_CONFIG_SYSTEM': '/dev/null'}
    for name in ('AUTHOR', 'COMMITTER'):
        environment |= {f'GIT_{name}_NAME': 'a', f'GIT_{name}_EMAIL': 'a@example.org'}

    def run(*command):
        return subprocess.run(command, cwd=made, env=environment, stdout=subprocess.PIPE, text=True, check=True).stdout

    def linted(*base):
        return sorted(run(sys.executable, sys.argv[1], *base).split())

    for path, text in TREE.items():
        (pathlib.Path(made) / path).parent.mkdir(exist_ok=True)
        (pathlib.Path(made) / path).write_text(text, encoding='utf-8')
    run('git', 'init', '--quiet')
    run('git', 'add', '.')
    run('git', 'commit', '--quiet', '-m', 'first')
    assert linted('HEAD') == []
    assert linted('no-such-commit') == ALL
    assert linted() == ALL  # the only commit is not old enough
    for path, expected in CASES:
        file = pathlib.Path(made) / path
        file.write_text(TREE[path] + '// changed\n', encoding='utf-8')
        assert linted('HEAD') == expected, (path, linted('HEAD'))
        file.write_text(TREE[path], encoding='utf-8')
