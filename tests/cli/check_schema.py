"""Checks a schema, and that what commands wrote is as it says: check_schema.py SCHEMA FOLDER. A file DEFINITION.json or
DEFINITION@VARIANT.json has what a command wrote, one that ends in .jsonl has such a value a line."""
import json
import pathlib
import sys
from collections.abc import Iterator
from typing import Any

import jsonschema  # type: ignore

schema = json.loads(pathlib.Path(sys.argv[1]).read_text(encoding='utf-8'))
definitions = schema['$defs']
faults = []
FREE = {'entries', 'properties', 'value', 'values'} # keys of objects whose own keys are not the command's
UNKNOWN = 'notInTheSchema'


def parts(value: Any) -> Iterator[dict[str, Any]]:
    """All schemas in one."""
    if isinstance(value, list):
        for each in value:
            yield from parts(each)
    elif isinstance(value, dict):
        yield value
        for key, each in value.items():
            if key == 'properties':
                for one in each.values():
                    yield from parts(one)
            elif key not in ('enum', 'const', 'required'):
                yield from parts(each)


def target(part: dict[str, Any]) -> dict[str, Any]:
    while '$ref' in part:
        part = definitions[part['$ref'].removeprefix('#/$defs/')]
    return part


def type_of(part: dict[str, Any]) -> str:
    """What a value is, with its unit: two keys with the same type are checked by the same definition."""
    if '$ref' in part:
        return str(part['$ref'])
    if 'items' in part:
        return f'array of {type_of(part["items"])}'
    return str(part.get('type', 'string' if 'enum' in part else 'anything'))


def check_keys() -> None:
    """A key is one thing wherever it is used, is never null, and is documented."""
    types: dict[str, str] = {}
    for name, definition in definitions.items():
        for part in parts(definition):
            for key, value in part.get('properties', {}).items():
                kind = type_of(value)
                if types.setdefault(key, kind) != kind:
                    faults.append(f'{name}: {key} is {kind}, and elsewhere {types[key]}')
                if 'null' in json.dumps(value) or not value.get('description', target(value).get('description')):
                    faults.append(f'{name}: {key} has no description, or may be null')


def with_unknown_key(value: Any, key: str = '') -> Iterator[Any]:
    """The value with one more key in each of its objects, one after the other. Of long lists, in the first entries."""
    if isinstance(value, dict):
        if key not in FREE:
            yield {**value, UNKNOWN: 1}
        for name, each in value.items() if key != 'value' else ():
            for changed in with_unknown_key(each, '' if key == 'values' else name):
                yield {**value, name: changed}
    elif isinstance(value, list):
        for i, each in enumerate(value[:3]):
            for changed in with_unknown_key(each):
                yield [*value[:i], changed, *value[i + 1:]]


def check_written(path: pathlib.Path) -> None:
    name = path.stem.split('@')[0]
    if name not in definitions:
        faults.append(f'there is no definition of {name}')
        return
    validator = jsonschema.Draft202012Validator({**schema, '$ref': f'#/$defs/{name}'})
    text = path.read_text(encoding='utf-8')
    for each in text.splitlines() if path.suffix == '.jsonl' else [text]:
        value = json.loads(each)
        faults.extend(f'{path.stem}: {fault.json_path}: {fault.message}' for fault in validator.iter_errors(value))
        if any(validator.is_valid(changed) for changed in with_unknown_key(value)):
            faults.append(f'{path.stem}: a key that the schema does not name is not refused')


jsonschema.Draft202012Validator.check_schema(schema)
check_keys()
for file in sorted(pathlib.Path(sys.argv[2]).glob('*.json*')):
    check_written(file)
sys.exit('\n'.join(faults) or 0)
