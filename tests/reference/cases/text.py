"""Golden text: one JSON object a line; doubles as strings in hexadecimal form, so that reading is exact."""

import json


def number(x):
    """Hexadecimal form without trailing zeros."""
    mantissa, exponent = float(x).hex().split("p")
    if "." in mantissa:
        mantissa = mantissa.rstrip("0").rstrip(".")
    return mantissa + "p" + exponent


def cell(x):
    return x if isinstance(x, (bool, int)) else number(x)


def cells(values):
    return [cell(v) for v in values]


def fields(mapping):
    return {path: cell(value) for path, value in mapping.items()}


def line(thing):
    return json.dumps(thing, separators=(",", ":")) + "\n"


def parse_cell(x):
    return float.fromhex(x) if isinstance(x, str) else x
