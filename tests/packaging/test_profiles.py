"""AppArmor's parser takes the profiles, which are for the programs as they are installed.

    test_profiles.py PROFILES HOARDD HOARDD-MEDIA
"""

import pathlib
import shutil
import subprocess
import sys

folder = pathlib.Path(sys.argv[1])
PROFILES = {'hoardd': sys.argv[2], 'hoardd-media': sys.argv[3]}
SKIPPED = 77

parser = shutil.which('apparmor_parser', path='/usr/sbin:/sbin:/usr/bin:/bin')
if parser is None:
    print('skipped: no apparmor_parser')
    sys.exit(SKIPPED)
assert {path.name for path in folder.iterdir()} == set(PROFILES)
for name, program in PROFILES.items():
    assert f'\nprofile {name} {program} ' in (folder / name).read_text(), name
    # The names are of the profiles that the parser has found; -K: no cache.
    for action, expected in (['-Q'], ''), (['-N'], name):
        result = subprocess.run([parser, '-K', *action, folder / name], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                text=True, check=False)
        assert result.returncode == 0, result.stderr
        assert result.stdout.strip() == expected, (result.stdout, expected)
