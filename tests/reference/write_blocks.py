#!/usr/bin/env python3
"""Writes one saved block for each version of the format, and beside each what a vehicle must hold after loading it.

Usage: write_blocks.py FOLDER

An implementation of its own: it shares no table and no code with the module. Blocks go to FOLDER/NAME.bin, expectations
to FOLDER/NAME.txt. FOLDER/saved/NAME.bin is what a vehicle saves that has loaded NAME.bin, for a few of them, and
FOLDER/saved/new.bin what one saves that has never run. Everything is made from the names of version and key, so a second run writes the same files.

A line of an expectation is a word, a name and values; numbers are written as C's %a does, so that reading is exact:
    scene KIND               which rig stands in the scene: numbered, middle or current
    result N                 what the load answers
    count NODES N            corner nodes that the vehicle has afterwards
    double|bool|int PATH V   a field
    matrix PATH V*16
    keys NAME KIND N (T V..)*N
    mesh VERTICES FACES      of the stored ground
"""
import base64
import pathlib
import struct
import sys
import zlib

# Key, kind of value, the first version that has it (None: written but never read), the field that holds it.
ROWS = [
    ("sDataChunkSaveStruct", "record", 100, "sDataChunkSaveStruct"),
    ("fRelMaxBumperLen", "double", 104, "cCarCam.fRelMaxBumperLen"),
    ("fSurfaceEdgeResponseFactor", "double", 104, "fSurfaceEdgeResponseFactor"),
    ("cCarCambGravityOn", "bool", 104, "cCarCam.bGravityOn"),
    ("dScaleRelMaxJumpVelocity", "double", 107, "cCarCam.dScaleRelMaxJumpVelocity"),
    ("dHorizontalRestoringFactor", "double", 107, "cCarCam.dHorizontalRestoringFactor"),
    ("dLandingNeutralizer", "double", 107, "cCarCam.dLandingNeutralizer"),
    ("iRayMultiplier", "int", 107, "iRayMultiplier"),
    ("ancCarCamcCarBodyfRelYPos", "linear", 100, "ancCarCamcCarBodyfRelYPos"),
    ("ancCarCamcCarBodyfRelXAng", "linear", 100, "ancCarCamcCarBodyfRelXAng"),
    ("ancCarCamcCarBodyfRelZAng", "linear", 100, "ancCarCamcCarBodyfRelZAng"),
    ("ancCarCamcCarBodyfRelYVel", "linear", 106, "ancCarCamcCarBodyfRelYVel"),
    ("ancCarCamcCarBodyfRelXAngVel", "linear", 106, "ancCarCamcCarBodyfRelXAngVel"),
    ("ancCarCamcCarBodyfRelZAngVel", "linear", 106, "ancCarCamcCarBodyfRelZAngVel"),
    ("anFollowCamFilterMem", "transform", 100, "anFollowCamFilterMem"),
    ("ancCarCampcInput_STEERING_WHEEL", "linear", 100, "ancCarCampcInput_STEERING_WHEEL"),
    ("ancCarCampcInput_GAS_PEDAL", "linear", 100, "ancCarCampcInput_GAS_PEDAL"),
    ("wheelstore", "store", 100, "wheelstore"),
    ("ancCarCamqTransCarAbsIncr", "transform", 100, "ancCarCamqTransCarAbsIncr"),
    ("ancCarCampcInput_SKID_BRAKE", "linear", 100, "ancCarCampcInput_SKID_BRAKE"),
    ("ancCarCambSkidBreakingOn", "flags", 100, "ancCarCambSkidBreakingOn"),
    ("ancCarCampcInput_SKIDDING", "linear", 100, "ancCarCampcInput_SKIDDING"),
    ("ancCarCambSkiddingOn", "flags", 100, "ancCarCambSkiddingOn"),
    ("ancCarCamfSkidWantedGasPedalValue", "linear", 100, "ancCarCamfSkidWantedGasPedalValue"),
    ("anQGravityFilterMem", "quat", 8115, "anQGravityFilterMem"),
    ("anbCarInTheAir", "flags", 8115, "anbCarInTheAir"),
    ("dVelRelMaxSteeringChangeVel", "double", 108, "cCarCam.dVelRelMaxSteeringChangeVel"),
    ("cCarCamdWantedSkiddingValue", "linear", 109, "cCarCamdWantedSkiddingValue"),
    ("dBurnoutShake", "double", 110, "cCarCam.dBurnoutShake"),
    ("dBurnoutTiltForce", "double", 110, "cCarCam.dBurnoutTiltForce"),
    ("dMinGroundDistance", "double", 110, "dMinGroundDistance"),
    ("dSpeedDependentTurnRadiusReductionFactor", "double", 112, "cCarCam.dSpeedDependentTurnRadiusReductionFactor"),
    ("ancCarCampcInput_BOOSTER", "linear", 112, "ancCarCampcInput_BOOSTER"),
    ("cCarCamfGravity", "double", 113, "cCarCam.fGravity"),
    ("ancCarCampcInput_BURNOUT", "linear", 115, "ancCarCampcInput_BURNOUT"),
    ("cCarCamdBurnoutFadeoutFactor", "double", 115, "cCarCam.dBurnoutFadeoutFactor"),
    ("dLandingSkiddingFactor", "double", 116, "cCarCam.dLandingSkiddingFactor"),
    ("dBoosterStiffnessMult", "double", 116, "cCarCam.dBoosterStiffnessMult"),
    ("fStiffnessBack", "double", 122, "cCarCam.fStiffnessBack"),
    ("fDampingBack", "double", 122, "cCarCam.fDampingBack"),
    ("cCarCambAutonomousMode", "bool", 122, "cCarCam.bAutonomousMode"),
    ("dFollowAccelerationMult", "double", 122, "dFollowAccelerationMult"),
    ("dIgnoreSphereRadius", "double", 122, "dIgnoreSphereRadius"),
    ("cCarCamdSkiddingOffset", "double", 122, "cCarCam.dSkiddingOffset"),
    ("cCarCamdSkiddingReleaseThresh", "double", 122, "cCarCam.dSkiddingReleaseThresh"),
    ("cCarCamdGravelShakeOffset", "double", 122, "cCarCam.dGravelShakeOffset"),
    ("anvAcceleration", "vector", 122, "anvAcceleration"),
    ("cCarCamdInputFilterMem", "linear", 122, "cCarCamdInputFilterMem"),
    ("cCarCamdGasPedalInputFilterMem", "linear", 123, "cCarCamdGasPedalInputFilterMem"),
    ("dFollowAccRespFact", "double", 125, "dFollowAccRespFact"),
    ("dAutoSteeringValueRespFact", "double", 125, "dAutoSteeringValueRespFact"),
    ("andFollowAccMem", "linear", 125, "andFollowAccMem"),
    ("andAutoSteeringValueMem", "linear", 125, "andAutoSteeringValueMem"),
    ("cCarCamdForceOffset", "double", 127, "cCarCam.dForceOffset"),
    ("bSaveDynamicData", "bool", 128, "bSaveDynamicData"),
    ("bDisableGroundNodesAnimation", "bool", 129, "bDisableGroundNodesAnimation"),
    ("bDisableFollowCamAnimation", "bool", 129, "bDisableFollowCamAnimation"),
    ("bDisableGravityNodeAnimation", "bool", 129, "bDisableGravityNodeAnimation"),
    ("cCarCamdMaximumForwardTiltAngle", "double", 130, "cCarCam.dMaximumForwardTiltAngle"),
    ("cCarCamdMaximumSideTiltAngle", "double", 130, "cCarCam.dMaximumSideTiltAngle"),
    ("dMaximumSpringChangeVelocityRel", "double", 131, "dMaximumSpringChangeVelocityRel"),
    ("bFixateWheelBottomNodes", "bool", 132, "bFixateWheelCenterNodes"),
    ("ancCarCamfCarLocalYawIncr", "linear", 134, "ancCarCamfCarLocalYawIncr"),
    ("dDegsPerRay", "double", 137, "dDegsPerRay"),
    ("dVelocityConversionMult", "double", 139, "dVelocityConversionMult"),
    ("bAlignWheelCenterToGroundNormal", "bool", 139, "bAlignWheelCenterToGroundNormal"),
    ("dInitialVelocity", "double", 139, "dInitialVelocity"),
    ("bAddRaysAtWheelEdges", "bool", 140, "bAddRaysAtWheelEdges"),
    ("dStartTime", "double", 8108, "dStartTime"),
    ("bKeyframeOnlyEssential", "bool", None, "bKeyframeOnlyEssential"),
    ("cCarCam.dSkidBrakeRotBrakeMult", "double", 8118, "cCarCam.dSkidBrakeRotBrakeMult"),
    ("ancCarCambSkidBreakingOnDisableFeatures", "flags", 8119, "ancCarCambSkidBreakingOnDisableFeatures"),
    ("dReverseMaxVelMult", "double", 8120, "dReverseMaxVelMult"),
    ("cCarCam.dSteeringNoise", "double", 8121, "cCarCam.dSteeringNoise"),
    ("cSteeringWheelNode.dSteeringWheelRotMult", "double", 8124, "cSteeringWheelNode.dSteeringWheelRotMult"),
    ("cCarCam.bUseReverseAsAbsBrake", "bool", 8125, "cCarCam.bUseReverseAsAbsBrake"),
    ("ancCarCampcInput_GAS_PEDAL_inp_prev", "linear", 8126, "ancCarCampcInput_GAS_PEDAL_inp_prev"),
    ("ancCarCambIsReverseVelAbsBraking", "flags", 8126, "ancCarCambIsReverseVelAbsBraking"),
    ("ancCarCamvSkidBrakePosIncr", "vector", 8129, "ancCarCamvSkidBrakePosIncr"),
    ("ancCarCamdSkidBrakeLocalYawIncr", "linear", 8129, "ancCarCamdSkidBrakeLocalYawIncr"),
    ("ancCarCambSkidFirstTime", "flags", 8130, "ancCarCambSkidFirstTime"),
    ("bMoveWheelCenterNodeToGroundHitPoint", "bool", 8133, "bMoveWheelCenterNodeToGroundHitPoint"),
    ("cCarCam.dGasPedalMaxRateOfChange", "double", 8136, "cCarCam.dGasPedalMaxRateOfChange"),
    ("ancCarCamrandomValue_gravelShake", "counter", 8137, "ancCarCamrandomValue_gravelShake"),
    ("ancCarCamrandomValue_burnout", "counter", 8137, "ancCarCamrandomValue_burnout"),
    ("ancCarCamrandomValue_steeringNoise", "counter", 8137, "ancCarCamrandomValue_steeringNoise"),
    ("cSteeringWheelNode.mInit_loc", "matrix", 8139, "cSteeringWheelNode.mInit_loc"),
    ("bUseStaticMesh", "bool", 8140, "bUseStaticMesh"),
    ("cMesh_storedGroundMesh", "text", 8143, "cMesh_storedGroundMesh"),
    ("mBulletGroundMesh", "matrix", 8143, "mBulletGroundMesh"),
    ("bStoreGroundMeshData", "bool", 8143, "bStoreGroundMeshData"),
    ("cCarCam.dWorldAvoidanceSphereRadius", "double", 8145, "cCarCam.dWorldAvoidanceSphereRadius"),
    ("cCarCam.dWheelRadiusMult", "double", 8148, "cCarCam.dWheelRadiusMult"),
]

STORE_NAMES = [
    "ancCarCampcWheelfSuspZeroDiff",
    "ancCarCampcWheelfSuspZeroDiff_prev",
    "ancCarCampcWheelpfTotalPitch",
    "ancWheelNodeCurrDelta",
    "ancWheelNodeCurrDeltaW",
    "andWheelGroundNormalDiff",
]

RECORD_FLAGS = [
    "bFreshStart",
    "bHideHelpersDuringRecording",
    "bHideHelpers",
    "bHideTopViewCamera",
    "bHideDriverCamera",
    "bHideFollowCamera",
    "bSpareFlag",
    "bWireframeMode",
]

RECORD_NUMBERS = (
    [f"cCarCam.pcInput[{i}].response" for i in range(9)]
    + [f"cCarCam.pcInput[{i}].maximum" for i in range(9)]
    + ["cCarCam." + name for name in (
        "dSkidBrakeStopFactor", "dSkiddingReleaseResponseFactor", "dTurnBase", "dTurnBaseSpare", "fBodyRestHeight",
        "fBodyHeight", "fBodyWidth", "fBodyLength")]
    + [f"cCarCam.wheelGeom[{i}].{part}" for i in range(4) for part in ("radius", "z", "x")]
    + ["cCarCam." + name for name in (
        "dSpringLimitMult", "dSpringLimitSpare", "fMassMult", "fStiffnessFront", "fDampingFront", "dSpringIntegralGain",
        "dGravelRoughness")])

IDENTITY = [1.0, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 0.0, 1.0]

# What a new vehicle holds where a block may leave it alone.
NEW_VEHICLE = {
    "cCarCam.fRelMaxBumperLen": 0.2,
    "fSurfaceEdgeResponseFactor": 0.8,
    "cCarCam.bGravityOn": False,
    "cCarCam.dScaleRelMaxJumpVelocity": 10.0,
    "cCarCam.dHorizontalRestoringFactor": 0.05,
    "cCarCam.dLandingNeutralizer": 0.8,
    "iRayMultiplier": 10,
    "cCarCam.dVelRelMaxSteeringChangeVel": 2.0,
    "cCarCam.dBurnoutShake": 0.2,
    "cCarCam.dBurnoutTiltForce": 1.0,
    "dMinGroundDistance": 0.3,
    "cCarCam.dSpeedDependentTurnRadiusReductionFactor": 0.2,
    "cCarCam.fGravity": 1.0,
    "cCarCam.dBurnoutFadeoutFactor": 0.99,
    "cCarCam.dLandingSkiddingFactor": 0.05,
    "cCarCam.dBoosterStiffnessMult": 0.3,
    "cCarCam.fStiffnessBack": 2000.0,
    "cCarCam.fDampingBack": 200.0,
    "cCarCam.bAutonomousMode": False,
    "dFollowAccelerationMult": 0.5,
    "dIgnoreSphereRadius": 0.5,
    "cCarCam.dSkiddingOffset": 0.0,
    "cCarCam.dSkiddingReleaseThresh": 0.04,
    "cCarCam.dGravelShakeOffset": 0.5,
    "dFollowAccRespFact": 0.02,
    "dAutoSteeringValueRespFact": 0.2,
    "cCarCam.dForceOffset": 0.0,
    "bSaveDynamicData": True,
    "bDisableGroundNodesAnimation": False,
    "bDisableFollowCamAnimation": False,
    "bDisableGravityNodeAnimation": False,
    "cCarCam.dMaximumForwardTiltAngle": 0.06,
    "cCarCam.dMaximumSideTiltAngle": 0.07,
    "dMaximumSpringChangeVelocityRel": 0.05,
    "bFixateWheelCenterNodes": False,
    "dDegsPerRay": 2.0,
    "dVelocityConversionMult": 3.6,
    "bAlignWheelCenterToGroundNormal": False,
    "dInitialVelocity": 0.0,
    "bAddRaysAtWheelEdges": True,
    "dStartTime": 0.0,
    "bKeyframeOnlyEssential": False,
    "cCarCam.dSkidBrakeRotBrakeMult": 1.0,
    "dReverseMaxVelMult": 0.5,
    "cCarCam.dSteeringNoise": 0.0,
    "cSteeringWheelNode.dSteeringWheelRotMult": 1.0,
    "cCarCam.bUseReverseAsAbsBrake": True,
    "bMoveWheelCenterNodeToGroundHitPoint": False,
    "cCarCam.dGasPedalMaxRateOfChange": 2.0,
    "cSteeringWheelNode.mInit_loc": IDENTITY,
    "bUseStaticMesh": True,
    "mBulletGroundMesh": IDENTITY,
    "bStoreGroundMeshData": False,
    "cCarCam.dWorldAvoidanceSphereRadius": 0.0,
    "cCarCam.dWheelRadiusMult": 0.95,
    "iChunkVersion": 100,
    "bFreshStart": True,
    "bHideHelpersDuringRecording": False,
    "bHideHelpers": False,
    "bHideTopViewCamera": True,
    "bHideDriverCamera": True,
    "bHideFollowCamera": True,
    "bSpareFlag": False,
    "bWireframeMode": False,
    "cCarCam.dSkidBrakeStopFactor": 1.0,
    "cCarCam.dSkiddingReleaseResponseFactor": 1.0,
    "cCarCam.dTurnBase": 0.0,
    "cCarCam.dTurnBaseSpare": 30.0,
    "cCarCam.fBodyRestHeight": 0.15,
    "cCarCam.fBodyHeight": 1.002,
    "cCarCam.fBodyWidth": 1.361,
    "cCarCam.fBodyLength": 3.522,
    "cCarCam.dSpringLimitMult": 1e16,
    "cCarCam.dSpringLimitSpare": 1e9,
    "cCarCam.fMassMult": 2.0,
    "cCarCam.fStiffnessFront": 2000.0,
    "cCarCam.fDampingFront": 200.0,
    "cCarCam.dSpringIntegralGain": 0.0,
    "cCarCam.dGravelRoughness": 0.9,
}
for _i, (_response, _maximum) in enumerate([
        (0.01, 3.0), (0.1, 0.7), (0.02, 6.0), (1.0, 0.03), (0.1, 0.9), (0.1, 1.0), (1.0, 0.05), (0.03, 3.0),
        (1.0, 100.0)]):
    NEW_VEHICLE[f"cCarCam.pcInput[{_i}].response"] = _response
    NEW_VEHICLE[f"cCarCam.pcInput[{_i}].maximum"] = _maximum
for _i, (_z, _x) in enumerate([(-1.05, -0.64), (-1.05, 0.64), (1.044, -0.64), (1.044, 0.64)]):
    NEW_VEHICLE[f"cCarCam.wheelGeom[{_i}].radius"] = 0.26
    NEW_VEHICLE[f"cCarCam.wheelGeom[{_i}].z"] = _z
    NEW_VEHICLE[f"cCarCam.wheelGeom[{_i}].x"] = _x
    NEW_VEHICLE[f"cCarCam.pcWheel[{_i}].dWheelGroundNormalDiff"] = 0.0

# What the scene of the test holds: seconds in a frame, and where its steering wheel is.
FRAME_STEP = 0.04
STEERING_WHEEL = [1.0, 0.0, 0.0, 0.0, 0.0, 2.0, 0.0, 0.0, 0.0, 0.0, 4.0, 0.0, 0.25, 0.5, 0.75, 1.0]

# ---------------------------------------------------------------------------------------------------------- values


def chance(*words):
    return zlib.crc32("/".join(map(str, words)).encode())


def number(*words):
    """A number that a double holds exactly, from 1/1024 to 64, never 0."""
    return (chance(*words) % 65536 + 1) / 1024


def value_of(kind, *words):
    if kind in ("linear", "double"):
        return [number(*words)]
    if kind in ("flags", "bool"):
        return [chance(*words) % 2 == 1]
    if kind in ("counter", "int"):
        return [chance(*words) % 2000000 - 1000000]
    count = {"transform": 7, "vector": 3, "quat": 4, "matrix": 16}[kind]
    return [number(*words, i) * (-1 if i % 3 == 2 else 1) for i in range(count)]


def history(kind, version, key):
    """Keys of an animated variable as (time, values)."""
    count = chance(version, key, "count") % 4
    start = chance(version, key, "start") % 16 / 8
    return [(start + i * 0.125, value_of(kind, version, key, i)) for i in range(count)]


# ----------------------------------------------------------------------------------------------------------- bytes


def packed(value):
    if isinstance(value, bool):
        return struct.pack("<?", value)
    if isinstance(value, int):
        return struct.pack("<i", value)
    return struct.pack("<d", value)


def history_block(keys, kind):
    key_size = 8 + {"linear": 8, "transform": 56, "vector": 24, "quat": 32, "flags": 1, "counter": 4}[kind]
    body = b"".join(struct.pack("<d", time) + b"".join(map(packed, values)) for time, values in keys)
    assert len(body) == len(keys) * key_size
    return struct.pack("<IIII", 16, len(body), 100, len(keys)) + body


def chunk(name, data=b"", children=()):
    raw = name.encode()
    return struct.pack("<iii", len(data), len(children), len(raw)) + raw + data + b"".join(children)


def mesh_text(vertices, faces):
    """A mesh in its compact form."""
    indices = [i for face in faces for i in face]
    packed_mesh = chunk("CMesh", b"", [
        chunk("numVertexes", packed(len(vertices))),
        chunk("numTexCoords", packed(0)),
        chunk("numFaces", packed(len(indices))),
        chunk("numTFaces", packed(len(indices))),
        chunk("vertex", b"".join(packed(c) for v in vertices for c in v)),
        chunk("texcoord"),
        chunk("face", b"".join(map(packed, indices))),
        chunk("tface", b"".join(packed(0) for _ in indices)),
    ])
    return b"<CMesh>" + base64.b64encode(packed_mesh) + b"</CMesh>\0"


GROUND_VERTICES = [(-8.0, 0.0, -8.0), (8.0, 0.5, -8.0), (8.0, 0.25, 8.0), (-8.0, 0.125, 8.0)]
GROUND_FACES = [(0, 2, 1), (0, 3, 2)]

# -------------------------------------------------------------------------------------------------------- versions

STEPS = [100, 104, 106, 107, 108, 109, 110, 112, 113, 115, 116, 119, 122, 123, 124, 125, 126, 127, 128, 129, 130, 131,
         132, 134, 137, 139, 140, 8107, 8108, 8114, 8115, 8118, 8119, 8120, 8121, 8124, 8125, 8126, 8129, 8130, 8133,
         8135, 8136, 8137, 8138, 8139, 8140, 8143, 8145, 8148, 9201]
# Names that fall between steps, or that only the comparison as text puts where it puts them.
ODD = [90, 99, 1000, 114, 117, 118, 8113, 8117, 8134, 8147]


def at_least(version, step):
    return f"CarCamDataChunk{version}".encode() >= f"CarCamDataChunk{step}".encode()


class Contents:
    """What is written into the block of one version, by key."""

    def __init__(self, version):
        self.version = version
        self.leaves = []  # (key, bytes or list of (name, bytes))
        self.values = {}  # key -> values of a plain leaf
        self.histories = {}  # key -> keys of a history
        self.store = []
        self.store2 = None
        self.has_mesh = False
        for key, kind, first, _ in ROWS:
            if first is None:
                if not at_least(version, 8108):
                    continue
            elif not at_least(version, first):
                continue
            self.add(key, kind)

    def add(self, key, kind):
        version = self.version
        if kind == "record":
            flags = [chance(version, name) % 2 == 1 for name in RECORD_FLAGS]
            numbers = [number(version, name) for name in RECORD_NUMBERS]
            self.values[key] = flags + numbers
            self.leaves.append((key, b"".join(map(packed, flags + numbers))))
        elif kind == "store":
            self.add_stores()
        elif kind == "text":
            if self.ground() == "mesh":
                self.has_mesh = True
                self.leaves.append((key, mesh_text(GROUND_VERTICES, GROUND_FACES)))
        elif key == "mBulletGroundMesh" and not (self.ground() == "mesh" and version != 99):
            return
        elif key == "bStoreGroundMeshData":
            self.plain(key, [self.ground() != "off"])
        elif key in ("anQGravityFilterMem", "anbCarInTheAir") and version == 8118:
            return
        elif key == "ancCarCampcInput_SKID_BRAKE":
            # The old spelling in old blocks, both in a few.
            if not at_least(version, 122) or version in (8119, 9201):
                self.history("ancCarCampcInput_SKID_BREAK", kind)
            if at_least(version, 122) or version == 104:
                self.history(key, kind)
        elif key == "bFixateWheelBottomNodes":
            if version in (132, 8107, 90):
                self.plain("bFixateWheelCenterNodes", [True])
            elif version == 134:
                self.plain("bFixateWheelCenterNodes", [True])
                self.plain(key, [False])
            elif version != 137:
                self.plain(key, value_of(kind, version, key))
        elif kind in ("double", "bool", "int", "matrix"):
            self.plain(key, value_of(kind, version, key))
        else:
            self.history(key, kind)

    def ground(self):
        """off, mesh, or missing: the flag without the mesh."""
        if self.version in (8145, 90):
            return "missing"
        return "mesh" if self.version in (8143, 99, 9201) else "off"

    def plain(self, key, values):
        self.values[key] = values
        self.leaves.append((key, b"".join(map(packed, values))))

    def history(self, key, kind):
        self.histories[key] = history(kind, self.version, key)
        self.leaves.append((key, history_block(self.histories[key], kind)))

    def add_stores(self):
        version = self.version
        if at_least(version, 8120):
            names = STORE_NAMES * 4
        else:
            names = [STORE_NAMES[i % 4] for i in range(17 if at_least(version, 8114) else 16)]
        self.store = [history("linear", version, f"{i}/{name}") for i, name in enumerate(names)]
        self.leaves.append(("wheelstore", [
            (name, history_block(keys, "linear")) for name, keys in zip(names, self.store)]))
        if at_least(version, 8107) and not at_least(version, 8120) and version != 8108:
            self.store2 = [number(version, "height", i) for i in range(4)]
            self.leaves.append(("wheelstore2", [("dWheelGroundNormalDiff", packed(v)) for v in self.store2]))
        elif version == 110:
            # Too early for it: must not be looked at.
            self.leaves.append(("wheelstore2", [("dWheelGroundNormalDiff", packed(77.0))] * 4))

    def block(self):
        children = []
        for key, data in self.leaves:
            if isinstance(data, list):
                children.append(chunk(key, b"", [chunk(name, bytes_) for name, bytes_ in data]))
            else:
                children.append(chunk(key, data))
        if self.version in (104, 139, 8137):  # keys of no known version, to be passed over
            children.insert(3, chunk("dKeyOfAnotherTime", packed(5.0)))
            children.insert(7, chunk("branch of another time", b"abc", [chunk("leaf", b"\0" * 40), chunk("", b"x")]))
        return chunk(f"CarCamDataChunk{self.version}", b"", children)


# --------------------------------------------------------------------------------------------------------- loading


class Loaded:
    """The vehicle after loading a block, as the version steps have it; without a block, a new one."""

    def __init__(self, contents=None):
        self.block = contents
        self.fields = dict(NEW_VEHICLE)
        self.histories = {key: (kind, []) for key, kind, _, _ in ROWS
                          if kind in ("linear", "transform", "vector", "quat", "flags", "counter")}
        self.corners = {name: [[] for _ in range(4)] for name in STORE_NAMES}
        self.mesh = (0, 0)
        if contents is not None:
            self.fields["bFreshStart"] = False
            self.run()

    def since(self, step):
        return at_least(self.block.version, step)

    def read(self, *keys):
        for key in keys:
            _, kind, _, path = next(row for row in ROWS if row[0] == key)
            if key in self.histories:
                self.histories[key] = (kind, list(self.block.histories[key]))
            else:
                values = self.block.values[key]
                self.fields[path] = values if kind == "matrix" else values[0]

    def has(self, key):
        return key in self.block.values or key in self.block.histories

    def record(self, names):
        values = dict(zip(RECORD_FLAGS + RECORD_NUMBERS, self.block.values["sDataChunkSaveStruct"]))
        for name in names:
            self.fields[name] = values[name]

    def run(self):
        f, since, read = self.fields, self.since, self.read
        half = lambda: f["cCarCam.fBodyLength"] / 2
        f["iChunkVersion"] = 101
        read("ancCarCamcCarBodyfRelYPos", "ancCarCamcCarBodyfRelXAng", "ancCarCamcCarBodyfRelZAng",
             "anFollowCamFilterMem", "ancCarCampcInput_STEERING_WHEEL", "ancCarCampcInput_GAS_PEDAL",
             "ancCarCamqTransCarAbsIncr")
        old, new = "ancCarCampcInput_SKID_BREAK", "ancCarCampcInput_SKID_BRAKE"
        self.histories[new] = ("linear", self.block.histories[old if self.has(old) else new])
        read("ancCarCambSkidBreakingOn", "ancCarCampcInput_SKIDDING", "ancCarCambSkiddingOn",
             "ancCarCamfSkidWantedGasPedalValue")
        self.record(RECORD_FLAGS + RECORD_NUMBERS[:21])
        if not since(115):
            f["cCarCam.dTurnBase"] = f["cCarCam.dTurnBase"] - f["cCarCam.wheelGeom[2].z"] / half()
        self.record(RECORD_NUMBERS[21:])
        if since(104):
            f["iChunkVersion"] = 104
            read("fRelMaxBumperLen", "fSurfaceEdgeResponseFactor", "cCarCambGravityOn")
        if since(106):
            f["iChunkVersion"] = 106
            read("ancCarCamcCarBodyfRelYVel", "ancCarCamcCarBodyfRelXAngVel", "ancCarCamcCarBodyfRelZAngVel")
        if since(107):
            read("dScaleRelMaxJumpVelocity", "dHorizontalRestoringFactor", "dLandingNeutralizer", "iRayMultiplier")
        for step, keys in [
                (108, ["dVelRelMaxSteeringChangeVel"]),
                (109, ["cCarCamdWantedSkiddingValue"]),
                (110, ["dBurnoutShake", "dBurnoutTiltForce", "dMinGroundDistance"]),
                (112, ["dSpeedDependentTurnRadiusReductionFactor", "ancCarCampcInput_BOOSTER"]),
                (113, ["cCarCamfGravity"]),
                (115, ["ancCarCampcInput_BURNOUT", "cCarCamdBurnoutFadeoutFactor"]),
                (116, ["dLandingSkiddingFactor", "dBoosterStiffnessMult"])]:
            if since(step):
                f["iChunkVersion"] = step
                read(*keys)
        if since(122):
            read("fStiffnessBack", "fDampingBack", "cCarCambAutonomousMode", "dFollowAccelerationMult",
                 "dIgnoreSphereRadius", "cCarCamdSkiddingOffset", "cCarCamdSkiddingReleaseThresh",
                 "cCarCamdGravelShakeOffset", "anvAcceleration", "cCarCamdInputFilterMem")
        else:
            f["cCarCam.fStiffnessBack"] = f["cCarCam.fStiffnessFront"]
            f["cCarCam.fDampingBack"] = f["cCarCam.fDampingFront"]
            f["cCarCam.bAutonomousMode"] = False
            f["dFollowAccelerationMult"] = 0.5
            f["dIgnoreSphereRadius"] = 0.2
        if since(123):
            read("cCarCamdGasPedalInputFilterMem")
        if since(125):
            read("dFollowAccRespFact", "dAutoSteeringValueRespFact", "andFollowAccMem", "andAutoSteeringValueMem")
        if since(127):
            read("cCarCamdForceOffset")
        if since(128):
            read("bSaveDynamicData")
        else:
            f["bSaveDynamicData"] = True
        if since(129):
            read("bDisableGroundNodesAnimation", "bDisableFollowCamAnimation", "bDisableGravityNodeAnimation")
        if since(130):
            read("cCarCamdMaximumForwardTiltAngle", "cCarCamdMaximumSideTiltAngle")
        if since(131):
            read("dMaximumSpringChangeVelocityRel")
        if since(132):
            for key in ("bFixateWheelBottomNodes", "bFixateWheelCenterNodes"):
                if self.has(key):
                    f["bFixateWheelCenterNodes"] = self.block.values[key][0]
                    break
        if since(134):
            read("ancCarCamfCarLocalYawIncr")
        if since(137):
            read("dDegsPerRay")
        if since(139):
            read("dVelocityConversionMult", "bAlignWheelCenterToGroundNormal", "dInitialVelocity")
        if since(140):
            read("bAddRaysAtWheelEdges")
        if since(8108):
            read("dStartTime")
        else:
            f["dStartTime"] = FRAME_STEP
        self.read_store()
        if since(8115):
            for key in ("anQGravityFilterMem", "anbCarInTheAir"):
                if self.has(key):
                    read(key)
        if since(8118):
            read("cCarCam.dSkidBrakeRotBrakeMult")
        else:
            f["cCarCam.dSkidBrakeStopFactor"] = 0.5
        breaking = self.block.histories["ancCarCambSkidBreakingOn"]
        if since(8119):
            read("ancCarCambSkidBreakingOnDisableFeatures")
        else:
            self.histories["ancCarCambSkidBreakingOnDisableFeatures"] = ("flags", breaking)
        for step, key, older in [
                (8120, "dReverseMaxVelMult", 0.5),
                (8121, "cCarCam.dSteeringNoise", 0.0),
                (8124, "cSteeringWheelNode.dSteeringWheelRotMult", 1.0),
                (8125, "cCarCam.bUseReverseAsAbsBrake", False)]:
            if since(step):
                read(key)
            else:
                f[key] = older
        if since(8126):
            read("ancCarCampcInput_GAS_PEDAL_inp_prev", "ancCarCambIsReverseVelAbsBraking")
        if since(8129):
            read("ancCarCamvSkidBrakePosIncr", "ancCarCamdSkidBrakeLocalYawIncr")
        if since(8130):
            read("ancCarCambSkidFirstTime")
        else:
            self.histories["ancCarCambSkidFirstTime"] = ("flags", [(t, [not v[0]]) for t, v in breaking])
        if since(8133):
            read("bMoveWheelCenterNodeToGroundHitPoint")
        else:
            f["bMoveWheelCenterNodeToGroundHitPoint"] = False
        if not since(8135):
            f["fSurfaceEdgeResponseFactor"] = 99.0
        if since(8140):
            read("bUseStaticMesh")
        else:
            f["bUseStaticMesh"] = False
        f["bStoreGroundMeshData"] = False
        if since(8143):
            f["bStoreGroundMeshData"] = self.block.values["bStoreGroundMeshData"][0] and self.block.has_mesh
        if f["bStoreGroundMeshData"]:
            self.mesh = (len(GROUND_VERTICES), len(GROUND_FACES))
            if self.has("mBulletGroundMesh"):
                read("mBulletGroundMesh")
        if since(8136):
            read("cCarCam.dGasPedalMaxRateOfChange")
        else:
            f["cCarCam.dGasPedalMaxRateOfChange"] = 99999.0
        if since(8137):
            read("ancCarCamrandomValue_gravelShake", "ancCarCamrandomValue_burnout",
                 "ancCarCamrandomValue_steeringNoise")
        if since(8139):
            read("cSteeringWheelNode.mInit_loc")
        else:
            f["cSteeringWheelNode.mInit_loc"] = STEERING_WHEEL
        if since(8145):
            read("cCarCam.dWorldAvoidanceSphereRadius")
        if since(8148):
            read("cCarCam.dWheelRadiusMult")
        else:
            f["cCarCam.dWheelRadiusMult"] = 1.0
        if f["iChunkVersion"] < 116:
            f["cCarCam.dTurnBase"] = (
                (f["cCarCam.dTurnBase"] / 2) * half() + f["cCarCam.wheelGeom[2].z"]) / half()

    def read_store(self):
        if self.since(8120):
            places = [(6, n, n) for n in range(6)]
        elif self.since(8114):
            places = [(4, n, n) for n in range(5)]
        else:
            places = [(4, n, min(n, 3)) for n in range(5)]
        for wheel in range(4):
            for stride, n, child in places:
                self.corners[STORE_NAMES[n]][wheel] = self.block.store[stride * wheel + child]
        if not self.since(8120) and self.since(8107) and self.block.store2 is not None:
            for wheel in range(4):
                self.fields[f"cCarCam.pcWheel[{wheel}].dWheelGroundNormalDiff"] = self.block.store2[wheel]
        if not self.since(8114):
            self.fields["fSurfaceEdgeResponseFactor"] = 99.0

    def saved(self):
        """What the vehicle saves in this state, with the current version."""
        children = []
        for key, kind, _, path in ROWS:
            if kind == "record":
                values = [self.fields[name] for name in RECORD_FLAGS + RECORD_NUMBERS]
                children.append(chunk(key, b"".join(map(packed, values))))
            elif kind == "store":
                children.append(chunk(key, b"", [
                    chunk(name, history_block(self.corners[name][wheel], "linear"))
                    for wheel in range(4) for name in STORE_NAMES]))
            elif key in ("cMesh_storedGroundMesh", "mBulletGroundMesh") and not self.fields["bStoreGroundMeshData"]:
                continue
            elif kind == "text":
                children.append(chunk(key, mesh_text(GROUND_VERTICES, GROUND_FACES)))
            elif key in self.histories:
                children.append(chunk(key, history_block(self.histories[key][1], kind)))
            else:
                value = self.fields[path]
                children.append(chunk(key, b"".join(map(packed, value if kind == "matrix" else [value]))))
        return chunk("CarCamDataChunk9201", b"", children)

    def scene(self):
        return "current" if self.since(139) else "middle" if self.since(122) else "numbered"

    def lines(self):
        yield f"scene {self.scene()}"
        yield "result 0"
        yield f"count relocators {4 if self.since(126) else 0}"
        for nodes in ("wheels", "centers", "suspensions"):
            yield f"count {nodes} 4"
        for path in sorted(self.fields):
            yield f"{word(self.fields[path])} {path} {text(self.fields[path])}"
        for key, (kind, keys) in self.histories.items():
            yield history_line(key, kind, keys)
        for name in STORE_NAMES:
            for wheel in range(4):
                yield history_line(f"{name}[{wheel}]", "linear", self.corners[name][wheel])
        yield f"mesh {self.mesh[0]} {self.mesh[1]}"


def word(value):
    if isinstance(value, list):
        return "matrix"
    return {bool: "bool", int: "int", float: "double"}[type(value)]


def text(value):
    if isinstance(value, list):
        return " ".join(map(text, value))
    if isinstance(value, bool):
        return "1" if value else "0"
    return value.hex() if isinstance(value, float) else str(value)


def history_line(name, kind, keys):
    parts = [f"keys {name} {kind} {len(keys)}"]
    for time, values in keys:
        parts.append(text(time))
        parts.extend(map(text, values))
    return " ".join(parts)


def main():
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    folder = pathlib.Path(sys.argv[1])
    folder.mkdir(parents=True, exist_ok=True)
    for version in STEPS + ODD:
        contents = Contents(version)
        (folder / f"{version}.bin").write_bytes(contents.block())
        expectation = "\n".join(Loaded(contents).lines()) + "\n"
        (folder / f"{version}.txt").write_text(expectation, encoding="ascii", newline="\n")
    saved = folder / "saved"
    saved.mkdir(exist_ok=True)
    (saved / "new.bin").write_bytes(Loaded().saved())
    for version in (100, 110, 8107, 8118, 8143, 8148, 9201):
        (saved / f"{version}.bin").write_bytes(Loaded(Contents(version)).saved())


if __name__ == "__main__":
    main()
