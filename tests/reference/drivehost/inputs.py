"""What is fed to the axes of a vehicle over time."""

from .tables import between, first_of, read_table

CHANNELS = ("Gas Pedal (Forw/Backw)", "Steering Wheel (Right/Left)", "Booster", "ABS Brake", "Skidding", "Skid Brake",
            "Gravel Shake Amplitude", "Burnout", "External Force")
SHORT = ("gas", "steering", "booster", "brake", "skidding", "skidbrake", "gravel", "burnout", "force")
COLUMNS = {**{name: i for i, name in enumerate(SHORT)}, "steer": 1, "throttle": 0}
TIMES = ("time", "t", "seconds", "time_s")


def channel_index(name):
    return SHORT.index(name) if name in SHORT else CHANNELS.index(name)


class Tracks:
    """{channel: (times, values)}; of several tracks the last that has a channel counts."""

    def __init__(self, inputs):
        self._curves = {}
        for track in inputs:
            if "file" in track:
                self._add_log(track)
                continue
            keys = track.get("keys", [[0.0, track.get("value")]])
            times = [seconds + track.get("offset", 0.0) for seconds, _ in keys]
            self._curves[channel_index(track["channel"])] = (times, [float(value) for _, value in keys])

    def _add_log(self, track):
        table = read_table(track["file"])
        columns = track.get("columns", {})
        time = columns.get("time") or first_of(table, TIMES)
        times = [seconds + track.get("offset", 0.0) for seconds in table[time.lower()]]
        fed = {channel_index(c): column.lower() for c, column in columns.items() if c != "time"}
        if not fed:
            fed = {COLUMNS[name]: name for name in table if name in COLUMNS}
        for channel, column in fed.items():
            self._curves[channel] = (times, [value * track.get("scale", 1.0) for value in table[column]])

    def at(self, seconds):
        """Nine numbers."""
        return [between(*self._curves[i], seconds) if i in self._curves else 0.0 for i in range(len(CHANNELS))]
