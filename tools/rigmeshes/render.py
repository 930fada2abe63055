#!/usr/bin/env python3
"""Draws the rig: docs/images/rig.png (the car as it stands after its creation) and docs/images/rig-meshes.png (each
shape alone).

Usage: render.py [--draft] [--samples N] [--only NAMES] [--check-winding] [--out DIRECTORY]
Needs a C++20 compiler (CXX, else c++) for the tracer.
"""

import argparse
import math
import os
import pathlib
import struct
import subprocess
import tempfile
import zlib

from generate import MESHES
from shape import add, cross, dot, length, mul, sub, unit

HERE = pathlib.Path(__file__).resolve().parent
IMAGES = HERE.parent.parent / "docs" / "images"

# The default rig: length of the car, its origin's height over the ground, wheels as (x, z), their radius.
LENGTH, REST_HEIGHT, RADIUS = 3.522, 0.15, 0.26
WHEELS = [(-0.64, -1.05), (0.64, -1.05), (-0.64, 1.044), (0.64, 1.044)]
BODY, WHEEL, HELPER = (200, 210, 150), (140, 147, 105), (224, 143, 87)
ARROW, TARGET, STEERING, CENTRE = (224, 86, 86), (86, 224, 86), (180, 189, 135), (240, 252, 180)

# Edges with a larger angle between their faces stay sharp.
CREASE = math.cos(math.radians(33))


def scaling(x, y=None, z=None):
    y, z = (x if y is None else y), (x if z is None else z)
    return lambda p: (p[0] * x, p[1] * y, p[2] * z)


def moving(x, y, z):
    return lambda p: (p[0] + x, p[1] + y, p[2] + z)


def turning(axis, degrees):
    c, s = math.cos(math.radians(degrees)), math.sin(math.radians(degrees))
    if axis == "x":
        return lambda p: (p[0], p[1] * c - p[2] * s, p[1] * s + p[2] * c)
    if axis == "y":
        return lambda p: (p[0] * c + p[2] * s, p[1], -p[0] * s + p[2] * c)
    return lambda p: (p[0] * c - p[1] * s, p[0] * s + p[1] * c, p[2])


def chained(*steps):
    """The first step acts first."""

    def f(p):
        for step in steps:
            p = step(p)
        return p

    return f


def linear(byte):
    return (byte / 255) ** 2.2


def triangles(shape, transform, colour, gloss):
    """Rows of the tracer's input, with normals that are smooth over blunt edges."""
    points = [transform(p) for p in shape.vertices]
    flat = []
    for a, b, c in shape.faces:
        flat.append(cross(sub(points[b], points[a]), sub(points[c], points[a])))
    at_vertex = [[] for _ in points]
    # Vertices of equal position count as one: a seam of the mesh is not an edge of the shape.
    same = {}
    owner = [same.setdefault(tuple(round(c, 6) for c in p), i) for i, p in enumerate(points)]
    for index, face in enumerate(shape.faces):
        for i in face:
            at_vertex[owner[i]].append(index)
    units = [unit(n) for n in flat]
    rows = []
    shade = tuple(linear(c) for c in colour)
    for index, face in enumerate(shape.faces):
        numbers = []
        for i in face:
            numbers.extend(points[i])
        for i in face:
            total = (0.0, 0.0, 0.0)
            for other in at_vertex[owner[i]]:
                if dot(units[index], units[other]) >= CREASE:
                    total = add(total, flat[other])
            numbers.extend(unit(total))
        numbers.extend(shade)
        numbers.append(gloss)
        rows.append(" ".join(f"{n:.7g}" for n in numbers))
    return rows


def car_rows(helpers=True):
    place = moving(0, REST_HEIGHT, 0)
    in_body = chained(scaling(LENGTH), place)
    rows = triangles(MESHES["CarBodyMesh"](), chained(turning("x", -0.5), in_body), BODY, 0.07)
    for x, z in WHEELS:
        turn = turning("y", 180) if x > 0 else scaling(1)
        put = chained(turn, scaling(0.7 * RADIUS, RADIUS, RADIUS), moving(x, RADIUS, z))
        rows += triangles(MESHES["WheelMesh"](), put, WHEEL, 0.0)
    steering = chained(scaling(0.035), turning("x", -20), moving(-0.091, 0.147, -0.068), in_body)
    rows += triangles(MESHES["SteeringWheelMesh"](), steering, STEERING, 0.02)
    if helpers:
        # The tip of the arrow points through the ground where it is created; the picture shows it lifted.
        arrow = chained(scaling(0.12 * LENGTH), moving(0, 0.3, -LENGTH / 2 * 1.51))
        rows += triangles(MESHES["GravityDirectionMesh"](), arrow, ARROW, 0.02)
        cross_at = chained(scaling(0.4), moving(0, REST_HEIGHT, -LENGTH / 2 * 2.01), place)
        rows += triangles(MESHES["TargetMesh"](), cross_at, TARGET, 0.02)
    return rows


SAMPLES = 128  # per pixel

# Meshes of the sheet and their colours.
SHEET = [
    ("CarBodyMesh", BODY),
    ("WheelMesh", WHEEL),
    ("SteeringWheelMesh", STEERING),
    ("TurnBaseMesh", WHEEL),
    ("GravityDirectionMesh", ARROW),
    ("TargetMesh", TARGET),
    ("AttachToMesh", HELPER),
    ("WheelGroundMesh", CENTRE),
]


def trace(tracer, size, samples, eye, target, angle, rows, ground=0.0, back=False, sun=(-0.62, 0.66, -0.22)):
    head = [*size, samples, *eye, *target, angle, *sun, 2.5, 2.42, 2.3, ground, 0.15, 0.16, 0.175, int(back), len(rows)]
    text = " ".join(str(n) for n in head) + "\n" + "\n".join(rows) + "\n"
    result = subprocess.run([tracer], input=text.encode(), stdout=subprocess.PIPE, check=True)
    return result.stdout


def write_png(path, size, pixels):
    width, height = size

    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    # Each row is written as differences to the row above, which packs smooth pictures well.
    stride = width * 3
    lines, above = [], bytes(stride)
    for y in range(height):
        row = pixels[y * stride : (y + 1) * stride]
        lines.append(b"\x02" + bytes((a - b) & 255 for a, b in zip(row, above)))
        above = row
    header = struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)
    packed = zlib.compress(b"".join(lines), 9)
    data = b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", packed) + chunk(b"IEND", b"")
    pathlib.Path(path).write_bytes(data)


def build_tracer(directory):
    program = os.path.join(directory, "trace")
    compiler = os.environ.get("CXX", "c++")
    subprocess.run([compiler, "-std=c++20", "-O3", "-pthread", str(HERE / "trace.cpp"), "-o", program], check=True)
    return program


def rig_view(tracer, size, samples, back, view):
    views = {
        "rig": ((-5.3, 1.75, -4.6), (-0.1, 0.34, -1.29), 29),
        "side": ((-8, 0.8, 0), (0, 0.5, 0), 26),
        "front": ((0, 0.9, -8), (0, 0.5, 0), 18),
        "back": ((3.2, 1.7, 4.4), (0, 0.4, 0), 34),
        "top": ((0.01, 9, 0.0), (0, 0, 0), 24),
        "near": ((-2.4, 0.9, -3.1), (-0.1, 0.42, -0.3), 36),
        "cabin": ((-1.7, 1.6, -0.9), (0, 0.6, 0.1), 45),
        "driver": ((-0.32, 0.87, 0.07), (-0.32, 0.80, -3), 75),
    }
    eye, target, angle = views[view]
    return trace(tracer, size, samples, eye, target, angle, car_rows(view == "rig"), back=back)


def tile(tracer, name, colour, size, samples, back):
    """One mesh, brought to one size and set on the ground."""
    shape = MESHES[name]()
    low, high = zip(*shape.extents())
    middle = mul(add(low, high), 0.5)
    reach = length(sub(high, low)) / 2
    at_driver = name == "SteeringWheelMesh"
    eye = mul(unit((-0.75, 0.5, 0.9) if at_driver else (-0.75, 0.42, -0.72)), 3.6 if name == "CarBodyMesh" else 4.4)
    sun = (-0.55, 0.75, 0.30) if at_driver else (-0.70, 0.70, -0.20)
    rows = triangles(shape, lambda p: mul(sub(p, middle), 1 / reach), colour, 0.03)
    ground = (low[1] - middle[1]) / reach - 0.002
    return trace(tracer, size, samples, eye, (0, 0, 0), 28, rows, ground=ground, back=back, sun=sun)


def sheet(tracer, size, samples, back):
    """All meshes, four in a line, each in a tile of the given size; the whole size and the pixels."""
    columns, lines = 4, 2
    total = (size[0] * columns, size[1] * lines)
    pixels = bytearray(total[0] * total[1] * 3)
    for index, (name, colour) in enumerate(SHEET):
        part = tile(tracer, name, colour, size, samples, back)
        left, top = index % columns * size[0], index // columns * size[1]
        for y in range(size[1]):
            at = ((top + y) * total[0] + left) * 3
            pixels[at : at + size[0] * 3] = part[y * size[0] * 3 : (y + 1) * size[0] * 3]
    return total, bytes(pixels)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--samples", type=int, help="per pixel")
    parser.add_argument("--draft", action="store_true", help="small and noisy")
    parser.add_argument("--only", help="of rig, rig-meshes, side, front, back, top, near, cabin, driver")
    parser.add_argument("--check-winding", action="store_true", help="paint faces that are seen from behind in red")
    parser.add_argument("--out", default=str(IMAGES), help="default: %(default)s")
    options = parser.parse_args()
    os.makedirs(options.out, exist_ok=True)
    samples = options.samples or (12 if options.draft else SAMPLES)
    with tempfile.TemporaryDirectory() as directory:
        tracer = build_tracer(directory)
        for name in options.only.split(",") if options.only else ["rig", "rig-meshes"]:
            if name == "rig-meshes":
                edge = 200 if options.draft else 300
                size, pixels = sheet(tracer, (edge, edge), samples, options.check_winding)
            else:
                size = (800, 450) if options.draft else (1200, 675)
                pixels = rig_view(tracer, size, samples, options.check_winding, name)
            write_png(os.path.join(options.out, name + ".png"), size, pixels)


if __name__ == "__main__":
    main()
