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
    ('wickerlane/platform/file/Up.cpp', '"wickerlane/client/Client.h"', 'wickerlane/platform may not include'),
    ('wickerlane/client/Client.cpp', '"wickerlane/client/ClientInternal.h"', ''),
    ('wickerlane/client/Client.h', '"wickerlane/client/ClientInternal.h"', 'not installed'),
    ('wickerlane/client/Text.h', '<unicode/unistr.h>', 'shows a library'),
    ('wickerlane/client/Text.cpp', '<unicode/unistr.h>', ''),
    ('wickerlane/client/Store.cpp', '"wickerlane/store/Store.h"', 'wickerlane/client may not include'),
    ('wickerlane/extra/New.cpp', '"wickerlane/platform/file/Files.h"', 'no room'),
    ('hoardd/Main.cpp', '"hoardd/media/Pool.h"', ''),
    ('hoardd/Call.cpp', '"wickerlane/client/Client.h"', 'hoardd may not include wickerlane/client'),
    ('hoardd/media/Worker.cpp', '"hoardd/library/Store.h"', 'hoardd/media may not include hoardd'),
    ('cli/Main.cpp', '"wickerlane/client/Client.h"', ''),
    ('cli/Other.cpp', '"hoardd/library/Store.h"', 'cli may not include hoardd'),
    ('cli/Local.cpp', '"Main.h"', 'no such header'),
    ('tests/Any.cpp', '"hoardd/library/Store.h"', ''),
]

with tempfile.TemporaryDirectory() as made:
    root = pathlib.Path(made)
    for path, included, _ in CASES:
        for name in [path, included.strip('"')]:
            if name.startswith(('wickerlane/', 'hoardd/', 'cli/', 'tests/')):
                (root / name).parent.mkdir(parents=True, exist_ok=True)
                (root / name).touch()
    for path, included, _ in CASES:
        (root / path).write_text(f'// text\n#include {included}\n', encoding='utf-8')
    result = subprocess.run([sys.executable, sys.argv[1], root], stdout=subprocess.PIPE, text=True, check=False)
    lines = result.stdout.splitlines()
    for path, included, fault in CASES:
        said = [line for line in lines if line.startswith(f'{path}:2: #include {included}: ')]
        assert len(said) == (1 if fault else 0), (path, said)
        assert not fault or fault in said[0], said
    assert len(lines) == sum(1 for case in CASES if case[2]), lines
    assert result.returncode == 1
