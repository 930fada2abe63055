"""Bodywork of a small two-seat coupe, scaled to a length near 1, its nose at the -z end.

One half (x >= 0) is modelled and mirrored. The outer skin is a box of grids that share their borders: the side (columns
from nose to tail, rows from sill to shoulder), the deck (bonnet and boot; the middle is left open), nose, tail, and the
greenhouse, which is a band of rings over the opening of the deck and a roof. The side leaves out a block of cells at
each wheel; its border is laid on the wheel arch, and the columns and rows around relax to fit it.

Parts that only touch the skin (wheel wells, cabin, seats, lamps and the like) keep their own vertices there.
"""

import math

from shape import Shape, add, box, curve, extruded, lerp, mix, mul, revolved, sub, unit

VERTICES, FACES = 1570, 2690

# Wheels as the default rig places them, in lengths of the car; the body's mesh is tilted by half a degree before use,
# which raises what lies behind its origin and lowers what lies in front.
ARCH_RADIUS = 0.0835
FRONT_WHEEL = (0.0338, -0.2981)  # y, z
BACK_WHEEL = (0.0286, 0.2964)

ROWS = 6  # of the side, from sill to shoulder
ACROSS = 4  # cells of half the deck, from shoulder to middle
COLUMNS = 30
FRONT_ARCH = (3, 9)
BACK_ARCH = (20, 26)
ARCH_ROWS = 3
COWL, REAR_SHELF = 11, 22  # columns at which the greenhouse begins and ends
# Rows of roof, bonnet and boot that are kept off their outer edges, where the side is finer than these need.
ROOF_ROWS = (0, 1, 3, 5, 7, 9, 11)
BONNET_ROWS = (0, 1, 3, 5, 7, 9, 11)
BOOT_ROWS = (0, 2, 4, 6, 7, 8)
# Segments of the greenhouse's rings that are no window, from the middle of the windscreen round to the middle of the
# rear window.
PILLARS = {3, 4, 10, 13, 14, 15}
GROOVES = (11, 18)  # columns of the side at which the door is cut
INTAKE = ((1, 3), (1, 4))  # rows and cells of the nose that lie deeper
PLATE = ((2, 4), (2, 4))  # the same of the tail
ROOF_CROWN = 0.0185
LOWEST = -0.036  # foot of the mud flaps: two centimetres over the ground when the car is 3.5 m long
ACROSS_AT = [1.0, 0.90, 0.62, 0.32, 0.0]  # share of the half width, shoulder to middle

half_width = curve(
    [
        (-0.438, 0.171), (-0.42, 0.188), (-0.40, 0.1985), (-0.37, 0.2065), (-0.30, 0.2105), (-0.2, 0.2095),
        (0.0, 0.2075), (0.15, 0.2095), (0.3, 0.213), (0.4, 0.211), (0.45, 0.2045), (0.48, 0.193), (0.497, 0.176),
    ]
)  # fmt: skip
shoulder_height = curve(
    [
        (-0.44, 0.083), (-0.411, 0.0955), (-0.40, 0.1055), (-0.37, 0.1265), (-0.298, 0.144), (-0.22, 0.152),
        (-0.14, 0.157), (0.0, 0.160),
        (0.15, 0.1665), (0.3, 0.176), (0.4, 0.1745), (0.45, 0.1735), (0.5, 0.178),
    ]
)  # fmt: skip
sill_height = curve([(-0.44, -0.018), (-0.38, -0.014), (-0.2, -0.010), (0.2, -0.010), (0.38, -0.010), (0.5, 0.006)])
# Sideways from the half width, over the share of the way from sill to shoulder.
section = curve(
    [(0, -0.014), (0.07, -0.005), (0.14, -0.0035), (0.3, -0.001), (0.5, 0.0), (0.62, -0.001), (0.75, -0.0055),
     (0.9, -0.014), (1.0, -0.026)]
)  # fmt: skip
# What the doors add to it: a hollow below a line along the car.
hollow = curve([(0.1, 0.0), (0.34, -0.0045), (0.5, -0.0035), (0.64, 0.0022), (0.78, 0.001), (0.9, 0.0)])
on_doors = curve([(-0.23, 0.0), (-0.14, 1.0), (0.14, 1.0), (0.23, 0.0)])
# How far nose and tail stand back behind their foremost and hindmost line, over the height.
nose_recess = curve(
    [(-0.018, 0.012), (-0.002, 0.002), (0.025, 0.0), (0.05, 0.002), (0.068, 0.0075), (0.080, 0.015), (0.088, 0.026)]
)
tail_recess = curve(
    [(0.006, 0.030), (0.03, 0.010), (0.06, 0.0), (0.095, 0.002), (0.105, 0.012), (0.15, 0.016), (0.163, 0.010),
     (0.176, 0.0)]
)  # fmt: skip

SHOULDER_Z = [
    -0.411, -0.401, -0.387, -0.369, -0.346, -0.322, -0.298, -0.274, -0.250, -0.226, -0.186, -0.145,
    -0.127, -0.085, -0.043, 0.0, 0.043, 0.085, 0.102, 0.154, 0.207, 0.245, 0.285,
    0.312, 0.337, 0.362, 0.387, 0.415, 0.443, 0.467, 0.488,
]  # fmt: skip


def arch_outline(wheel):
    """13 points (y, z) from the front foot of the arch over its top to the back foot."""
    wheel_y, wheel_z = wheel
    points = [(sill_height(wheel_z), wheel_z - ARCH_RADIUS)]
    for k in range(11):
        angle = math.pi * (k + 0.1) / 10.2
        points.append((wheel_y + ARCH_RADIUS * math.sin(angle), wheel_z - ARCH_RADIUS * math.cos(angle)))
    return points + [(sill_height(wheel_z), wheel_z + ARCH_RADIUS)]


def arch_cells(arch):
    """The 13 grid points (column, row) on the border of the cells that an arch leaves out."""
    first, last = arch
    up = [(first, row) for row in range(ARCH_ROWS)]
    top = [(column, ARCH_ROWS) for column in range(first, last + 1)]
    down = [(last, row) for row in reversed(range(ARCH_ROWS))]
    return up + top + down


def in_arch(i, j):
    return j < ARCH_ROWS and (FRONT_ARCH[0] <= i < FRONT_ARCH[1] or BACK_ARCH[0] <= i < BACK_ARCH[1])


def side_layout():
    """(y, z) of each point of the side grid: the borders set, the inside relaxed between them."""
    fixed = {}
    for i, z in enumerate(SHOULDER_Z):
        fixed[i, ROWS] = (shoulder_height(z), z)
    for column, recess, corner, sign in ((0, nose_recess, -0.438, 1), (COLUMNS, tail_recess, 0.497, -1)):
        top = fixed[column, ROWS]
        for j in range(ROWS):
            y = lerp(sill_height(corner), top[0], [0.0, 0.14, 0.32, 0.52, 0.71, 0.87][j])
            fixed[column, j] = (y, corner + sign * recess(y))
    for arch, wheel in ((FRONT_ARCH, FRONT_WHEEL), (BACK_ARCH, BACK_WHEEL)):
        fixed.update(zip(arch_cells(arch), arch_outline(wheel)))
    gaps = [(0, FRONT_ARCH[0]), (FRONT_ARCH[1], BACK_ARCH[0]), (BACK_ARCH[1], COLUMNS)]
    for first, last in gaps:
        for i in range(first + 1, last):
            z = lerp(fixed[first, 0][1], fixed[last, 0][1], (i - first) / (last - first))
            fixed[i, 0] = (sill_height(z), z)
    points = dict(fixed)
    free = []
    for i in range(COLUMNS + 1):
        for j in range(ROWS + 1):
            if (i, j) not in points and not (in_arch(i, j) and in_arch(i - 1, j)):
                points[i, j] = (lerp(sill_height(SHOULDER_Z[i]), fixed[i, ROWS][0], j / ROWS), SHOULDER_Z[i])
                free.append((i, j))
    for _ in range(400):
        for i, j in free:
            around = [points[n] for n in ((i - 1, j), (i + 1, j), (i, j - 1), (i, j + 1))]
            points[i, j] = (sum(p[0] for p in around) / 4, sum(p[1] for p in around) / 4)
    return points


def flare(y, z):
    """How far the wing stands out around the arches: steep at the arch, fading over some centimetres."""
    out = 0.0
    for wheel_y, wheel_z in (FRONT_WHEEL, BACK_WHEEL):
        distance = math.hypot(max(y - wheel_y, 0.0), z - wheel_z) - ARCH_RADIUS
        out = max(out, 0.0075 * math.exp(-((max(distance, 0.0) / 0.022) ** 2)))
    return out


def side_point(y, z):
    sill, top = sill_height(z), shoulder_height(z)
    share = min(max((y - sill) / (top - sill), 0.0), 1.0)
    near_nose = min(max((-0.36 - z) / 0.06, 0.0), 1.0)
    near_tail = min(max((z - 0.42) / 0.06, 0.0), 1.0)
    plan_z = z - nose_recess(y) * near_nose + tail_recess(y) * near_tail
    return (half_width(plan_z) + section(share) + hollow(share) * on_doors(z) + flare(y, z), y, z)


class Skin:
    """The grids of the outer skin, as positions."""

    def __init__(self):
        layout = side_layout()
        self.side = {key: side_point(*yz) for key, yz in layout.items()}
        self.nose = self.end_grid(0, plan=-0.037, crown=0.012)
        self.tail = self.end_grid(COLUMNS, plan=0.028, crown=0.007)
        self.deck = {}
        for i in range(COLUMNS + 1):
            self.deck[i] = self.deck_row(i)
        self.deck[0] = self.nose[ROWS]
        self.deck[COLUMNS] = self.tail[ROWS]
        self.base = (
            list(reversed(self.deck[COWL]))
            + [self.side[i, ROWS] for i in range(COWL + 1, REAR_SHELF)]
            + self.deck[REAR_SHELF]
        )
        self.roof_edge = self.make_roof_edge()

    def end_grid(self, column, plan, crown):
        """Nose or tail: rows from sill to the edge of the deck, each from the corner to the middle."""
        rows = []
        for j in range(ROWS + 1):
            x, y, z = self.side[column, j]
            rise = crown * (j / ROWS) ** 2
            rows.append([(x * f, y + rise * (1 - f * f), z + plan * (1 - f**3)) for f in ACROSS_AT])
        return rows

    def deck_row(self, i):
        x, y, z = self.side[i, ROWS]
        if i <= COWL:
            t = i / COWL
            arrow, crown = lerp(-0.037, -0.042, t), curve([(0, 0.012), (0.3, 0.019), (0.7, 0.0185), (1, 0.010)])(t)
            # A dome along the middle of the bonnet, which fades towards both ends.
            dome = math.sin(math.pi * min(max((t - 0.02) / 0.96, 0.0), 1.0)) ** 0.5
            rises = [lerp(1 - f**2.6, d, dome) for f, d in zip(ACROSS_AT, (0.0, 0.20, 0.62, 1.12, 1.16))]
            return [(x * f, y + crown * rise, z + arrow * (1 - f * f)) for f, rise in zip(ACROSS_AT, rises)]
        else:
            t = (i - REAR_SHELF) / (COLUMNS - REAR_SHELF)
            arrow, crown = lerp(0.040, 0.028, t), lerp(0.010, 0.007, t)
        return [(x * f, y + crown * (1 - f**2.6), z + arrow * (1 - f * f)) for f in ACROSS_AT]

    def make_roof_edge(self):
        rail_z = [(-0.012, COWL), (0.0015, COWL + 1), (0.088, 17), (0.103, 18), (0.172, 20), (0.218, REAR_SHELF)]
        at = curve([(i, z) for z, i in rail_z])
        rail_x = curve([(-0.012, 0.126), (0.03, 0.135), (0.09, 0.138), (0.15, 0.134), (0.218, 0.120)])
        rail_y = curve([(-0.012, 0.2385), (0.02, 0.2445), (0.07, 0.2475), (0.13, 0.2455), (0.218, 0.234)])
        rail = [(rail_x(at(i)), rail_y(at(i)), at(i)) for i in range(COWL, REAR_SHELF + 1)]

        def header(corner, rise, shift):
            x, y, z = corner
            return [(x * f, y + rise * (1 - f * f), z + shift * (1 - f * f)) for f in ACROSS_AT]

        front, back = header(rail[0], 0.014, -0.026), header(rail[-1], 0.013, 0.022)
        return list(reversed(front)) + rail[1:-1] + back

    def band(self, share, bulge):
        """A ring of the greenhouse between base (0) and roof edge (1)."""
        ring = []
        for k, (low, high) in enumerate(zip(self.base, self.roof_edge)):
            p = mix(low, high, share)
            if k < ACROSS:
                out = (0.0, 0.7, -0.7)
            elif k <= ACROSS + REAR_SHELF - COWL:
                out = (1.0, 0.3, 0.0)
            else:
                out = (0.0, 0.7, 0.7)
            p = add(p, mul(out, bulge))
            ring.append((0.0 if low[0] == 0 else p[0], p[1], p[2]))
        return ring

    def roof(self):
        """Rows along the car, each from the rail to the middle."""
        n = REAR_SHELF - COWL
        edge = self.roof_edge
        rows = [list(reversed(edge[: ACROSS + 1]))]
        for k in range(1, n):
            x, y, z = edge[ACROSS + k]
            t = k / n
            shift = lerp(-0.026, 0.022, t)
            crown = curve([(0, 0.014), (0.35, ROOF_CROWN), (0.6, ROOF_CROWN), (1, 0.013)])(t)
            rows.append([(x * f, y + crown * (1 - f**2.2), z + shift * (1 - f * f)) for f in ACROSS_AT])
        rows.append(edge[ACROSS + n :])
        return rows


def greenhouse(skin):
    rings = [skin.base, skin.band(0.10, 0.001), skin.band(0.90, 0.002), skin.roof_edge]
    roof = skin.roof()
    closed = Shape()
    closed.grid([list(column) for column in zip(*rings)], flip=True)
    closed.grid(roof, flip=True)
    normals = dict(zip(closed.vertices, closed.vertex_normals()))

    def inner(p, depth=0.008):
        n = normals[closed.vertices[closed.vertex(p)]]
        if p[0] == 0:
            n = unit((0.0, n[1], n[2]))
        return sub(p, mul(n, depth))

    shape = Shape()
    columns = [list(column) for column in zip(*rings)]
    shape.grid(columns, keep=lambda t, s: s != 1 or t in PILLARS, flip=True)
    coarsened(shape, roof, ROOF_ROWS, flip=True)
    lining = [[inner(p) for p in column[1:]] for column in columns]
    shape.grid(lining, keep=lambda t, s: s == 1 or t in PILLARS)
    shape.append(roof_lining([[inner(p) for p in row] for row in roof]), weld=True)
    for t in range(len(columns) - 1):
        if t not in PILLARS:
            # Lower and upper edge of a window.
            shape.quad(lining[t][0], lining[t + 1][0], columns[t + 1][1], columns[t][1])
            shape.quad(lining[t + 1][1], lining[t][1], columns[t][2], columns[t + 1][2])
            if t - 1 in PILLARS:
                shape.quad(columns[t][1], columns[t][2], lining[t][1], lining[t][0])
            if t + 1 in PILLARS:
                n = t + 1
                shape.quad(columns[n][2], columns[n][1], lining[n][0], lining[n][1])
    return shape, [column[0] for column in lining]


def wheel_well(skin, arch):
    """From the edge of the arch inwards: a lip, the tub, its flat inner wall."""
    edge = [skin.side[cell] for cell in arch_cells(arch)]
    lip = [(p[0] - 0.016, p[1], p[2]) for p in edge]
    inside = [(0.112, p[1], p[2]) for p in edge]
    shape = Shape()
    shape.grid([edge, lip, inside], flip=True)
    shape.polygon(inside)
    return shape


def roof_lining(rows):
    """The inside of the roof: two points across suffice where nothing is mirrored, but the ends follow the headers."""
    shape = Shape()
    shape.grid([[row[0], row[-1]] for row in rows[1:-1]])
    for header, next_row, flip in ((rows[0], rows[1], True), (rows[-1], rows[-2], False)):
        rail, middle = next_row[0], next_row[-1]
        shape.fan(rail, header[:3], flip=flip)
        corner = [rail, header[2], middle]
        shape.triangle(*(reversed(corner) if flip else corner))
        shape.fan(middle, header[2:], flip=flip)
    return shape


def strip(shape, upper, lower, upper_at=None, lower_at=None, flip=False):
    """Fills between two lines of different numbers of points; outside is where (along) x (from upper to lower) points.

    The points are matched by where they are along the way, evenly spread if that is not told.
    """
    upper_at = upper_at or [i / (len(upper) - 1) for i in range(len(upper))]
    lower_at = lower_at or [j / (len(lower) - 1) for j in range(len(lower))]
    i = j = 0
    while i + 1 < len(upper) or j + 1 < len(lower):
        on_upper = upper_at[i + 1] + upper_at[i] if i + 1 < len(upper) else math.inf
        on_lower = lower_at[j + 1] + lower_at[j] if j + 1 < len(lower) else math.inf
        if on_upper <= on_lower:
            corners = (upper[i], upper[i + 1], lower[j])
            i += 1
        else:
            corners = (upper[i], lower[j + 1], lower[j])
            j += 1
        shape.triangle(*(reversed(corners) if flip else corners))


def coarsened(shape, rows, chosen, flip):
    """A grid that keeps all points of its outer edge (rows[i][0]) and inside it only some of its rows."""
    strip(
        shape,
        [row[0] for row in rows],
        [rows[i][1] for i in chosen],
        list(range(len(rows))),
        list(chosen),
        flip,
    )
    shape.grid([rows[i][1:] for i in chosen], flip=flip)


def cabin(sill):
    """Dashboard, inner doors and shelf, hung to the lower edges of the windows; walls; floor."""
    shape = Shape()
    last = len(sill) - 1
    ledge = []
    for t, (x, y, z) in enumerate(sill):
        if t <= ACROSS:
            ledge.append((x * 0.93, y - 0.008 - 0.006 * (x / 0.17) ** 2, z + 0.058 - 0.01 * (x / 0.17) ** 2))
        elif t >= last - ACROSS:
            ledge.append((x * 0.93, y - 0.006, z - 0.072))
        else:
            ledge.append((x - 0.006, y - 0.014, z + (0.034 if t == ACROSS + 1 else 0.0)))
    ledge = [(0.0 if sill[t][0] == 0 else p[0], p[1], p[2]) for t, p in enumerate(ledge)]
    shape.grid([sill, ledge])
    floor = [(0.0, 0.022, -0.13), (0.158, 0.022, -0.13), (0.170, 0.022, 0.02), (0.160, 0.022, 0.18), (0.0, 0.022, 0.18)]
    strip(shape, list(reversed(ledge)), list(reversed(floor)))
    shape.polygon(list(reversed(floor)))
    return shape


def seat():
    outline = [
        (-0.005, 0.050), (-0.006, 0.084), (0.028, 0.080), (0.066, 0.088), (0.086, 0.183), (0.098, 0.192),
        (0.103, 0.221), (0.118, 0.219), (0.119, 0.180), (0.094, 0.046),
    ]  # fmt: skip
    whole = extruded(list(reversed(outline)), 0.058, 0.124, axes=(2, 1, 0))

    def narrowed(p):
        y = p[1]
        return (0.091 + (p[0] - 0.091) * (1 if y < 0.18 else 0.80 if y < 0.19 else 0.5), y, p[2])

    return outward(whole.moved(narrowed))


def outward(shape):
    if shape.volume() < 0:
        shape.faces = [(a, c, b) for a, b, c in shape.faces]
    return shape


def lamp(x, y, z, radius, depth, segments, forward, outwards, upwards=0):
    """A round lamp: a tube out of the body, its rim, a lens set back with a domed middle.

    forward is -1 or +1 in z; outwards and upwards turn the lamp, in degrees.
    """
    rings = [(radius, -depth), (radius * 0.96, 0.0), (radius * 0.82, -0.004), (0.0, 0.002)]
    shape = revolved(rings, segments, axis="z", start_angle=math.pi / segments)
    c, s = math.cos(math.radians(outwards)), math.sin(math.radians(outwards))
    cu, su = math.cos(math.radians(upwards)), math.sin(math.radians(upwards))

    def placed(p):
        py, depth_now = p[1] * cu + p[2] * su, -p[1] * su + p[2] * cu
        px, pz = p[0] * c + depth_now * s, -p[0] * s + depth_now * c
        return (x + px, y + py, z + forward * pz)

    turned = shape.moved(placed)
    if forward < 0:
        turned.faces = [(a, c, b) for a, b, c in turned.faces]
    return turned


def exhaust(x, y, z):
    rings = [(0.0115, -0.055), (0.0115, 0.0), (0.0085, 0.0), (0.0, -0.03)]
    return revolved(rings, 7, axis="z").moved(lambda p: (x + p[0], y + p[1], z + p[2]))


def mirror():
    """A housing like half an egg with its glass towards the driver, on a short foot at the door."""
    cx, cy = 0.2085, 0.187
    rows = []
    for k in range(9):
        angle = 2 * math.pi * (k % 8) / 8
        c, s = math.cos(angle), math.sin(angle)
        rows.append(
            [
                (cx, cy - 0.001, -0.128),
                (cx + 0.0165 * c, cy + 0.0105 * s, -0.1205),
                (cx + 0.0225 * c, cy + 0.0140 * s, -0.1000),
                (cx, cy, -0.104),
            ]
        )
    housing = Shape()
    housing.grid(rows)
    foot = box((0.176, 0.170, -0.1185), (0.200, 0.182, -0.1035))
    return Shape().append(outward(housing)).append(foot)


def handle():
    x = side_point(0.126, 0.06)[0]
    grip = box((x - 0.003, 0.1225, 0.050), (x + 0.0035, 0.1290, 0.080))
    return grip.moved(lambda p: (p[0] - (0.0028 if p[0] > x and p[2] < 0.06 else 0.0), p[1], p[2]))


def mud_flaps():
    shape = Shape()
    for _, wheel_z in (FRONT_WHEEL, BACK_WHEEL):
        z = wheel_z + ARCH_RADIUS + 0.004
        flap = box((0.156, LOWEST, z), (0.204, 0.004, z + 0.004))
        shape.append(flap.moved(lambda p: (p[0], p[1], p[2] + (0.003 if p[1] == LOWEST else 0))))
    return shape


def underside():
    """Flat floor panels between and around the wheel wells."""

    def at(x, z):
        return (x, sill_height(z) + 0.001, z)

    shape = Shape()
    front, back = FRONT_WHEEL[1], BACK_WHEEL[1]
    r = ARCH_RADIUS
    shape.grid([[at(0.0, z), at(0.112, z)] for z in (-0.452, front - r, front + r, back - r, back + r, 0.47)])
    for low, high, wide_low, wide_high in (
        (-0.425, front - r, 0.150, 0.190),
        (front + r, back - r, 0.197, 0.197),
        (back + r, 0.462, 0.192, 0.180),
    ):
        shape.quad(at(0.112, low), at(0.112, high), at(wide_high, high), at(wide_low, low))
    return shape


def recessed(shape, rows, cells_i, cells_j, offset, flip):
    """The bottom and the walls of a block of cells of a grid, moved by an offset; the grid itself leaves them out."""
    block = [[rows[i][j] for j in range(cells_j[0], cells_j[1] + 1)] for i in range(cells_i[0], cells_i[1] + 1)]
    sunk = [[add(p, offset) if p[0] else (0.0, p[1] + offset[1], p[2] + offset[2]) for p in row] for row in block]
    shape.grid(sunk, flip=flip)

    def wall(outer, inner):
        shape.grid([outer, inner], flip=flip)

    wall(block[0], sunk[0])
    wall(list(reversed(block[-1])), list(reversed(sunk[-1])))
    wall([row[0] for row in reversed(block)], [row[0] for row in reversed(sunk)])
    if block[0][-1][0] != 0:
        wall([row[-1] for row in block], [row[-1] for row in sunk])


def side_skin(skin):
    columns, cell_of = [], []
    for i in range(COLUMNS + 1):
        column = [skin.side.get((i, j)) for j in range(ROWS + 1)]
        if i in GROOVES:
            inner = range(1, ROWS)

            def shifted(dx, dz):
                return [add(p, (dx, 0, dz)) if j in inner else p for j, p in enumerate(column)]

            columns += [shifted(0, -0.0018), shifted(-0.007, 0), shifted(0, 0.0018)]
            cell_of += [i, i, i]
        else:
            columns.append(column)
            cell_of.append(i)
    shape = Shape()
    shape.grid(columns, keep=lambda c, j: not in_arch(cell_of[c], j), flip=True)
    return shape


def outer_skin(skin):
    shape = side_skin(skin)
    for first, last, chosen in ((0, COWL, BONNET_ROWS), (REAR_SHELF, COLUMNS, BOOT_ROWS)):
        coarsened(shape, [skin.deck[i] for i in range(first, last + 1)], chosen, flip=True)
    ends = ((skin.nose, INTAKE, (0, 0, 0.014), True), (skin.tail, PLATE, (0, 0, -0.008), False))
    for rows, block, offset, flip in ends:
        (i0, i1), (j0, j1) = block
        shape.grid(rows, keep=lambda i, j: not (i0 <= i < i1 and j0 <= j < j1), flip=flip)
        recessed(shape, rows, *block, offset, flip)
    house, sill = greenhouse(skin)
    shape.append(house, weld=True)
    return shape, sill


def intake_bar(skin):
    """A slat across the intake, half way up."""
    low, high = skin.nose[1], skin.nose[3]
    line = [mix(low[k], high[k], 0.5) for k in (1, 2, 3, 4)]
    rows = []
    for p in line:
        rows.append([add(p, d) for d in ((0, 0.003, 0.014), (0, 0.003, 0.004), (0, -0.003, 0.004), (0, -0.003, 0.014))])
    shape = Shape()
    shape.grid(rows, flip=True)
    return shape


def wiper(skin):
    """A blade along the lower edge of the windscreen: a bar of four sides with open ends."""
    screen = skin.band(0.15, 0.004)
    rows = []
    for p in (mix(screen[0], screen[1], 0.15), mix(screen[2], screen[3], 0.6)):
        corners = ((0, 0.003, -0.003), (0, 0.003, 0.003), (0, -0.003, 0.003), (0, -0.003, -0.003))
        rows.append([add(p, d) for d in corners])
    shape = Shape()
    shape.grid([row + row[:1] for row in rows], flip=True)
    return shape


def number_plate(skin):
    z = skin.tail[3][4][2] - 0.004
    shape = Shape()
    shape.quad((0.0, 0.080, z), (0.058, 0.080, z - 0.001), (0.058, 0.108, z - 0.005), (0.0, 0.108, z - 0.004))
    return shape


def half_body():
    skin = Skin()
    shape, sill = outer_skin(skin)
    for arch in (FRONT_ARCH, BACK_ARCH):
        shape.append(wheel_well(skin, arch))
    shape.append(cabin(sill))
    shape.append(underside())
    shape.append(intake_bar(skin))
    shape.append(wiper(skin))
    shape.append(number_plate(skin))
    shape.append(seat())
    shape.append(mirror())
    shape.append(handle())
    shape.append(mud_flaps())
    shape.append(lamp(0.127, 0.0675, -0.4560, 0.0225, 0.03, 10, -1, 20, 15))
    shape.append(lamp(0.139, 0.128, 0.5005, 0.0185, 0.03, 8, 1, 15))
    shape.append(lamp(0.097, 0.128, 0.5085, 0.0155, 0.03, 8, 1, 9))
    shape.append(exhaust(0.112, 0.010, 0.510))
    return shape


def car_body():
    return half_body().mirrored().refine(VERTICES, FACES)
