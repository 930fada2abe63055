"""Plain Python model of a whole vehicle in a scene: rig, ground, run start, frame update, histories.

It stands on `carmodel` and shares nothing with the C++ sources; both were written separately from the same description.
A matrix is a list of sixteen numbers, four for each axis, then four for the
position; `product(a, b)` applies b first. Units: scene units, seconds, radians.
"""
