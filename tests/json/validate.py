#!/usr/bin/python3
"""Checks a JSON document against a schema.

  validate.py SCHEMA.json [DOCUMENT.json]    the document is standard input unless it is named

Writes one line for each place where the document is not as the schema says, and nothing when it
holds. Ends with status 0 when it holds, 1 when it does not, 2 when there is nothing to check.
"""

import json
import sys

import jsonschema


def not_json(name):
    """NaN and the infinities, which Python would read."""
    raise ValueError(f"{name} is no JSON")


def violations(schema, text):
    try:
        document = json.loads(text.decode("utf-8"), parse_constant=not_json)
    except ValueError as error:
        return [f"no JSON document: {error}"]
    found = jsonschema.Draft7Validator(schema).iter_errors(document)
    return [
        "/".join(["", *map(str, each.absolute_path)]) + ": " + each.message
        for each in sorted(found, key=lambda each: list(map(str, each.absolute_path)))
    ]


def main(arguments):
    if len(arguments) not in (1, 2):
        print(__doc__, file=sys.stderr)
        return 2
    with open(arguments[0], encoding="utf-8") as file:
        schema = json.load(file)
    jsonschema.Draft7Validator.check_schema(schema)
    if len(arguments) == 2:
        with open(arguments[1], "rb") as file:
            text = file.read()
    else:
        text = sys.stdin.buffer.read()
    found = violations(schema, text)
    for line in found:
        print(line)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
