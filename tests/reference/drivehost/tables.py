"""Tables of numbers with a header: logs of devices and paths of targets."""

from bisect import bisect_right


def read_table(path):
    """{name of the column in small letters: numbers}; columns that hold other things are left out."""
    lines = [line.strip() for line in path.read_text().splitlines()]
    lines = [line for line in lines if line and not line.startswith("#")]
    separator = next(mark for mark in ",;\t" if mark in lines[0])
    rows = [[field.strip() for field in line.split(separator)] for line in lines]
    table = {}
    for name, *fields in zip(*rows):
        try:
            table[name.lower()] = [float(field) for field in fields]
        except ValueError:
            continue
    return table


def first_of(table, names):
    return next((name for name in names if name in table), None)


def between(times, values, time):
    """Straight between two points, which may be numbers or vectors; held before the first and behind the last."""
    i = bisect_right(times, time)
    if i == 0:
        return values[0]
    if i == len(times):
        return values[-1]
    return values[i - 1] + (values[i] - values[i - 1]) * ((time - times[i - 1]) / (times[i] - times[i - 1]))
