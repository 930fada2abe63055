"""A host for the plain vehicle: reads drive files, puts vehicles onto their ground, feeds them and drives.

Written from the documentation of drive files and takes, apart from the host in C++. It stands on `vehiclemodel`.
Lengths are scene units, angles in files are degrees, times are seconds.
"""
