"""The check of who includes whom must find what it is there for, and nothing else."""

import pathlib
import subprocess
import sys
import tempfile

# A file, what it includes, and part of what is wrong with that; empty when nothing is.
CASES = [
    ('wickerlane/platform/file/Files.cpp', '"wickerlane/platform/object/Object.h"', ''),
    ('wickerlane/platform/object/Object.cpp', '"wickerlane/platform/file/Files.h"', 'service file comes after object'),
    ('wickerlane/platform/odd/Odd.cpp', '"wickerlane/platform/object/Object.h"', 'service odd has no place'),
    ('wickerlane/platform/surface/Surface.cpp', '"wickerlane/platform/message/value/Value.h"', ''),
    ('wickerlane/platform/message/wire/Frame.cpp', '"wickerlane/platform/message/value/Value.h"', ''),
    ('wickerlane/platform/message/wire/Up.cpp', '"wickerlane/platform/message/listener/Listener.h"',
     'wickerlane/platform/message/wire may not include wickerlane/platform/message/listener'),
    ('wickerlane/util/texts/Text.cpp', '"wickerlane/util/uuid/UUID.h"', 'wickerlane/util/texts may not include'),
    ('wickerlane/platform/file/Up.cpp', '"wickerlane/client/Client.h"', 'wickerlane/platform may not include'),
    ('wickerlane/client/Client.cpp', '"wickerlane/client/ClientInternal.h"', ''),
    ('wickerlane/client/Client.h', '"wickerlane/client/ClientInternal.h"', 'not installed'),
    ('wickerlane/client/Text.h', '<unicode/unistr.h>', 'shows a library'),
    ('wickerlane/client/Text.cpp', '<unicode/unistr.h>', ''),
    ('wickerlane/client/Store.cpp', '"wickerlane/store/Store.h"', 'wickerlane/client may not include'),
    ('wickerlane/extra/New.cpp', '"wickerlane/platform/file/Files.h"', 'no room'),
    ('wickerlane/client/Shown.h', '"wickerlane/platform/queue/Timer.h"', 'not installed'),
    ('hoardd/Main.cpp', '"hoardd/media/Pool.h"', ''),
    ('hoardd/service/Call.cpp', '"wickerlane/client/Client.h"', 'hoardd/service may not include wickerlane/client'),
    ('hoardd/saving/Saver.cpp', '"hoardd/library/Store.h"', ''),
    ('hoardd/library/Library.cpp', '"hoardd/saving/Saver.h"', 'hoardd/library may not include hoardd/saving'),
    ('hoardd/library/Owner.cpp', '"hoardd/Main.h"', 'hoardd/library may not include hoardd'),
    ('hoardd/media/Worker.cpp', '"hoardd/library/Store.h"', 'hoardd/media may not include hoardd'),
    ('cli/Main.cpp', '"wickerlane/client/Client.h"', ''),
    ('cli/Other.cpp', '"hoardd/library/Store.h"', 'cli may not include hoardd'),
    ('cli/Reader.cpp', '"wickerlane/store/Store.h"', 'the command asks hoardd'),
    ('cli/LibraryState.cpp', '"wickerlane/store/Store.h"', ''),
    ('cli/Paths.cpp', '"wickerlane/store/LibraryPaths.h"', ''),
    ('cli/commands/Any.cpp', '"cli/Other.h"', ''),
    ('cli/Low.cpp', '"cli/commands/Any.h"', 'cli may not include cli/commands'),
    ('cli/Local.cpp', '"Main.h"', 'no such header'),
    ('tests/Any.cpp', '"hoardd/library/Store.h"', ''),
]

# Files that include each other; of the last, the sources the headers.
CIRCLES = [
    [('wickerlane/model/One.h', 'wickerlane/model/Two.h'), ('wickerlane/model/Two.h', 'wickerlane/model/One.h')],
    [('hoardd/service/One.cpp', 'hoardd/service/Two.h'), ('hoardd/service/Two.cpp', 'hoardd/service/One.h')],
]


def check(root):
    """What the check says about a tree, line by line, and its exit code."""
    result = subprocess.run([sys.executable, sys.argv[1], root], stdout=subprocess.PIPE, text=True, check=False)
    return result.stdout.splitlines(), result.returncode


with tempfile.TemporaryDirectory() as made:
    root = pathlib.Path(made)
    for path, included, _ in CASES:
        for name in [path, included.strip('"')]:
            if name.startswith(('wickerlane/', 'hoardd/', 'cli/', 'tests/')):
                (root / name).parent.mkdir(parents=True, exist_ok=True)
                (root / name).touch()
    for path, included, _ in CASES:
        (root / path).write_text(f'// text\n#include {included}\n', encoding='utf-8')
    lines, code = check(root)
    for path, included, fault in CASES:
        said = [line for line in lines if line.startswith(f'{path}:2: #include {included}: ')]
        assert len(said) == (1 if fault else 0), (path, said)
        assert not fault or fault in said[0], said
    assert len(lines) == sum(1 for case in CASES if case[2]), lines
    assert code == 1

for circle in CIRCLES:
    with tempfile.TemporaryDirectory() as made:
        root = pathlib.Path(made)
        for path, included in circle:
            for name in [path, included]:
                (root / name).parent.mkdir(parents=True, exist_ok=True)
                (root / name).touch()
        for path, included in circle:
            (root / path).write_text(f'#include "{included}"\n', encoding='utf-8')
        lines, code = check(root)
        assert code == 1 and len(lines) == 1 and lines[0].startswith('a circle: '), lines
