"""Checks that what commands wrote is as their schema says: check_schema.py SCHEMA FOLDER, with files COMMAND.json."""
import json
import pathlib
import sys

import jsonschema  # type: ignore

schema = json.loads(pathlib.Path(sys.argv[1]).read_text())
faults = 0
for path in sorted(pathlib.Path(sys.argv[2]).glob('*.json')):
    validator = jsonschema.Draft202012Validator({**schema, '$ref': f'#/$defs/{path.stem}'})
    for fault in validator.iter_errors(json.loads(path.read_text())):
        faults += 1
        print(f'{path.stem}: {fault.json_path}: {fault.message}')
jsonschema.Draft202012Validator.check_schema(schema)
sys.exit(1 if faults else 0)
