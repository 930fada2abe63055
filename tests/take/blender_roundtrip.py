"""Reads takes into Blender and compares what stands where with the tables next to them.

Usage: blender --background --python blender_roundtrip.py -- FOLDER
For every NAME.csv of the folder NAME.glb is read; see TakeCases.cpp for the table. All sixteen numbers of each world
matrix must be within 1e-5 of the scene's size.
"""
import csv
import pathlib
import sys

import bpy
import numpy

TOLERANCE = 1e-5
# Seconds become frames of Blender by this; the takes' own rates need not be known.
FRAMES_PER_SECOND = 100
# From glTF with +Y up to Blender with +Z up.
TURN = numpy.array([[1, 0, 0, 0], [0, 0, -1, 0], [0, 1, 0, 0], [0, 0, 0, 1]], dtype=float)


def expected_matrix(numbers, is_camera):
    """The matrix in Blender of what stands at sixteen numbers, column by column, in the take."""
    world = numpy.array([float(number) for number in numbers]).reshape(4, 4).T
    # Blender turns shapes along with their objects, but cameras look along -Z in both.
    return TURN @ world if is_camera else TURN @ world @ numpy.linalg.inv(TURN)


def read_table(path):
    """The scene's size, and by time the rows (name, is a camera, matrix)."""
    by_time = {}
    with open(path, newline="", encoding="utf-8") as file:
        rows = csv.reader(file)
        size = float(next(rows)[1])
        for name, camera, seconds, *numbers in rows:
            row = (name, camera == "1", numbers)
            by_time.setdefault(float(seconds), []).append(row)
    return size, by_time


def open_take(path):
    bpy.ops.wm.read_factory_settings(use_empty=True)
    scene = bpy.context.scene
    scene.render.fps = FRAMES_PER_SECOND
    scene.render.fps_base = 1.0
    # Takes have no normals. The default way of shading stops with an error in Blender 3.4 with NumPy 1.24.
    bpy.ops.import_scene.gltf(filepath=str(path), import_shading="FLAT")
    return scene


def compare(table):
    size, by_time = read_table(table)
    scene = open_take(table.with_suffix(".glb"))
    worst, where, count = 0.0, "", 0
    for seconds, rows in sorted(by_time.items()):
        frame = seconds * FRAMES_PER_SECOND
        scene.frame_set(int(frame), subframe=frame - int(frame))
        for name, camera, numbers in rows:
            found = scene.objects.get(name)
            if found is None:
                return f"{table.stem}: there is no object '{name}'"
            if camera != (found.type == "CAMERA"):
                return f"{table.stem}: '{name}' is a {found.type}"
            actual = numpy.array(found.matrix_world)
            difference = float(numpy.abs(actual - expected_matrix(numbers, camera)).max()) / size
            count += 1
            if difference > worst:
                worst, where = difference, f"{name} at {seconds} s"
    print(f"{table.stem}: {count} matrices, largest difference {worst:.2e} of the scene's size ({where})")
    if count == 0 or not worst <= TOLERANCE:
        return f"{table.stem}: differs by {worst} at {where}"
    return None


def main():
    folder = pathlib.Path(sys.argv[sys.argv.index("--") + 1])
    tables = sorted(folder.glob("*.csv"))
    findings = [finding for finding in map(compare, tables) if finding]
    for finding in findings:
        print("FAILED:", finding, file=sys.stderr)
    if not tables:
        print("FAILED: no table in", folder, file=sys.stderr)
    sys.exit(1 if findings or not tables else 0)


main()
