"""What the command says is in its string tables, once and with the same places, and what services say of problems is in
tables that fit their code: test_command_texts.py SOURCE_FOLDER"""

import re
import sys
from pathlib import Path
from string import Formatter

ROOT = Path(sys.argv[1])
LANGUAGES = {'ar': ['zero', 'one', 'two', 'few', 'many', 'other'], 'de': ['one', 'other'],
             'fr': ['one', 'other'], 'ja': ['other'], 'pt-BR': ['one', 'other']}
LITERALS = r'((?:\s*"(?:[^"\\]|\\.)*")+)'
TEXT = re.compile(r'\blocalized\(' + LITERALS)
COUNTED = re.compile(r'\blocalizedCount\([^"]*?,' + LITERALS + r',' + LITERALS)
CALL = re.compile(r'\blocalized(?:Count)?\(')
ENTRY = re.compile(r'^"((?:[^"\\]|\\.)*)" = "((?:[^"\\]|\\.)*)";$')


def plain(literals: str) -> str:
    """The text that literals in a row stand for."""
    return ''.join(re.sub(r'\\(.)', r'\1', each) for each in re.findall(r'"((?:[^"\\]|\\.)*)"', literals))


def places(text: str) -> set[str]:
    """The arguments that a text shows, by their numbers."""
    fields = [field for _, field, _, _ in Formatter().parse(text) if field is not None]
    assert not any(fields) or all(fields), f'places with numbers and without: {text}'
    return {field or str(number) for number, field in enumerate(fields)}


def texts_in_code() -> tuple[set[str], set[str]]:
    """The texts, and those that speak of a number of things."""
    texts: set[str] = set()
    counted: set[str] = set()
    for path in sorted((ROOT / 'cli').rglob('*')):
        if path.suffix not in ('.h', '.cpp') or path.stem == 'Texts':
            continue
        code = path.read_text()
        found = [plain(each) for each in TEXT.findall(code)]
        forms = [(plain(one), plain(other)) for one, other in COUNTED.findall(code)]
        assert len(found) + len(forms) == len(CALL.findall(code)), f'{path}: a text is not found in the code'
        for one, other in forms:
            assert places(one) == places(other), f'{path}: "{one}" and "{other}" show other things'
        texts.update(found)
        counted.update(other for _, other in forms)
    assert len(texts) > 50 and len(counted) > 20, 'next to no texts are found'
    assert not texts & counted, f'these are said with a number and without: {texts & counted}'
    return texts, counted


def texts_of_services() -> str:
    """The literals of the daemon, of what it shares with its clients, and of the page's server."""
    paths = sorted(path for folder in ('hoardd', 'wickerlane', 'cli/view') for path in (ROOT / folder).rglob('*')
                   if path.suffix in ('.h', '.cpp') and ROOT / 'wickerlane/testing' not in path.parents)
    return '\n'.join(plain(each) for path in paths for each in re.findall(LITERALS, path.read_text()))


def table(language: str, name: str = 'Command') -> dict[str, str]:
    """The entries of a string table."""
    path = ROOT / f'resources/WickerlaneCommand.bundle/{language}.lproj/{name}.strings'
    entries: dict[str, str] = {}
    for line in re.sub(r'/\*.*?\*/', '', path.read_text(), flags=re.DOTALL).splitlines():
        if line.strip():
            entry = ENTRY.match(line)
            assert entry, f'{path}: no entry: {line}'
            key, text = (re.sub(r'\\(.)', r'\1', part) for part in entry.groups())
            assert key not in entries, f'{path}: twice: {key}'
            entries[key] = text
    return entries


TEXTS, COUNTED_TEXTS = texts_in_code()
for name, categories in LANGUAGES.items():
    wanted = {text: places(text) for text in TEXTS | COUNTED_TEXTS}
    for each in COUNTED_TEXTS:
        wanted |= {f'{each} [{category}]': places(each) for category in categories if category != 'other'}
    given = table(name)
    absent, needless = wanted.keys() - given.keys(), given.keys() - wanted.keys()
    assert not absent, f'{name} has no text for {sorted(absent)}'
    assert not needless, f'{name} has texts that nothing says: {sorted(needless)}'
    for each, shown in given.items():
        # A form for one or two things may say the number in words.
        optional = {'0'} if re.search(r' \[(zero|one|two)\]$', each) else set()
        missing = wanted[each] - places(shown) - optional
        assert not missing and places(shown) <= wanted[each], f'{name}: other places than in the code: {each}'
        assert not re.search(r'[\u200e\u200f\u202a-\u202e\u2066-\u2069]', shown), f'{name}: a hidden mark: {each}'
PROBLEMS = {name: table(name, 'Problems') for name in LANGUAGES}
known = set().union(*PROBLEMS.values())
assert len(known) > 40, 'next to no problem is translated'
said = texts_of_services()
unsaid = {text for text in known if text not in said}
assert not unsaid, f'the daemon and the server no longer say {sorted(unsaid)}'
for name, given in PROBLEMS.items():
    assert given.keys() == known, f'{name} has no text for {sorted(known - given.keys())}'
assert not table('en'), 'the English texts stand in the code'
