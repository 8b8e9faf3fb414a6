"""wickerlane(5) names all variables of the environment that the sources read, and all preferences.

    test_manual_names.py TREE
"""

import pathlib
import re
import sys

TREE = pathlib.Path(sys.argv[1])
MANUAL = 'docs/man/wickerlane.5.scd'
# In a source that reads variables, any text in capitals may be the name of one.
NO_VARIABLES = {'POSIX', 'GET'}
# It is read, and has no effect.
NO_PREFERENCES = {'IgnoreHomeshell'}

sections = dict(re.findall(r'^# ([A-Z ]+)\n(.*?)(?=^# |\Z)', (TREE / MANUAL).read_text(encoding='utf-8'), re.M | re.S))
variables: set[str] = set()
preferences: set[str] = set()
for folder in 'wickerlane', 'hoardd', 'cli', 'python/wickerlane':
    for path in (TREE / folder).rglob('*'):
        if path.suffix not in ('.h', '.cpp', '.py'):
            continue
        text = path.read_text(encoding='utf-8')
        if 'getenv(' in text:
            variables.update(re.findall(r'"([A-Z][A-Z_]+)"', text))
        variables.update(re.findall(r'''(?:Variable = |dataFolders\(|environ\.get\()["']([A-Z_]+)["']''', text))
        preferences.update(re.findall(r'preference(?:Value|Integer)\(\s*"(.+?)"', text))
circumstances = (TREE / 'wickerlane/platform/process/Circumstances.cpp').read_text(encoding='utf-8')
passed = re.findall(r'"([A-Z_]+)="', circumstances)
variables.update(name for name in passed if not name.endswith('_OPTIONS')) # sanitizers have those

variables -= NO_VARIABLES
preferences -= NO_PREFERENCES
assert len(variables) > 20 and len(preferences) >= 5, (variables, preferences)
faults = [f'{MANUAL} does not name the {kind} {name}'
          for kind, names, section in (('variable', variables, 'ENVIRONMENT'),
                                       ('preference', preferences, 'PREFERENCES'))
          for name in sorted(names) if f'*{name}*' not in sections[section]]
sys.exit('\n'.join(faults) or 0)
