"""The rows of the dialog that hold values, by their labels: where in the vehicle each of them is kept."""

from carmodel.record import assign

from .inputs import CHANNELS

ROWS = {
    "Initital Velocity (% of max)": "vehicle.dInitialVelocity",
    "Multiplier": "vehicle.dVelocityConversionMult",
    "Enable Seamless Transitions": "vehicle.bSaveDynamicData",
    "Keyframe only essential objects": "vehicle.bKeyframeOnlyEssential",
    "Autonomous Mode": "car.bAutonomousMode",
    "Autonomous mode follow strength": "follow.dFollowAccelerationMult",
    "Follow Strength Response Factor": "follow.dFollowAccRespFact",
    "Auto-Steering Response Factor": "follow.dAutoSteeringValueRespFact",
    "Reverse Max Vel Mult": "follow.dReverseMaxVelMult",
    "Ignore Sphere Radius (length relative)": "follow.dIgnoreSphereRadius",
    "Maximum Steering Change Velocity": "car.dVelRelMaxSteeringChangeVel",
    "Speed Dependent Turn Radius Reduction Factor": "car.dSpeedDependentTurnRadiusReductionFactor",
    "Steering Noise": "car.dSteeringNoise",
    "Steering Wheel Rot Mult": "vehicle.cSteeringWheelNode.dSteeringWheelRotMult",
    "Turn Base (Back Wheel Relative)": "car.dTurnBase",
    "Front Stiffness": "car.fStiffnessFront",
    "Front Damping": "car.fDampingFront",
    "Back Stiffness": "car.fStiffnessBack",
    "Back Damping": "car.fDampingBack",
    "Tire Pressure": "vehicle.fSurfaceEdgeResponseFactor",
    "Maximum Forward Tilt Angle": "car.dMaximumForwardTiltAngle",
    "Maximum Side Tilt Angle": "car.dMaximumSideTiltAngle",
    "Booster Stiffness Multiplier": "car.dBoosterStiffnessMult",
    "Mass Multiplier": "car.fMassMult",
    "Fixate Wheel Center Nodes": "vehicle.bFixateWheelCenterNodes",
    "Move WheelCenterMesh to ground hit point": "vehicle.bMoveWheelCenterNodeToGroundHitPoint",
    "Align WheelCenterMesh to ground incline": "vehicle.bAlignWheelCenterToGroundNormal",
    "Use Reverse As ABS Brake": "car.bUseReverseAsAbsBrake",
    "Skidding Offset Value": "car.dSkiddingOffset",
    "Skidding Release Value (Lateral Vel Rel)": "car.dSkiddingReleaseThresh",
    "Skidding Release Response Factor": "car.dSkiddingReleaseResponseFactor",
    "Gravel Shake Offset Value": "car.dGravelShakeOffset",
    "Gravel Roughness": "car.dGravelRoughness",
    "External Force Offset Value": "car.dForceOffset",
    "Skid Brake Stop Factor": "car.dSkidBrakeStopFactor",
    "Skid Brake Rot Brake Mult": "car.dSkidBrakeRotBrakeMult",
    "Burnout Shake": "car.dBurnoutShake",
    "Burnout Tilting Force": "car.dBurnoutTiltForce",
    "Burnout Fadeout Factor": "car.dBurnoutFadeoutFactor",
    "Random Seed Adder": "car.iRandomSeedAdder",
    "World Avoidance Sphere (scale relative)": "car.dWorldAvoidanceSphereRadius",
    "Wheel Radius Multiplier": "car.dWheelRadiusMult",
    "Gravity": "car.fGravity",
    "Ray Multiplier": "vehicle.iRayMultiplier",
    "Cast Rays at Wheel Edges": "vehicle.bAddRaysAtWheelEdges",
    "Degrees Per Ray": "vehicle.dDegsPerRay",
    "Use Fast Ray Cast": "vehicle.bUseStaticMesh",
    "Store Ground Mesh Data": "vehicle.bStoreGroundMeshData",
    "Acceleration (scale relative)": "car.dGasPedalMaxRateOfChange",
    **{f"{name} Response Factor": f"car.pcInput[{i}].response" for i, name in enumerate(CHANNELS)},
    **{f"{name} Maximum": f"car.pcInput[{i}].maximum" for i, name in enumerate(CHANNELS)},
}
# Of the saved state, those that have no row.
STATE = {
    "cCarCambGravityOn": "car.bGravityOn",
    "fRelMaxBumperLen": "car.fRelMaxBumperLen",
    "dMaximumSpringChangeVelocityRel": "vehicle.dMaximumSpringChangeVelocityRel",
    "dHorizontalRestoringFactor": "car.dHorizontalRestoringFactor",
    "dMinGroundDistance": "vehicle.dMinGroundDistance",
}
STORE_GROUND = "Store Ground Mesh Data"
GAUGES = {
    "World Space Maximum Velocity Gauge": "dMaxVelocityGauge",
    "Current Velocity": "dCurrentVelocity",
    "Current Velocity (% of max)": "dCurrentVelocityPercent",
    "World Space Acceleration Gauge (seconds from 0 to 100)": "dAccelerationGauge100",
    "World Space Acceleration Gauge (seconds from 0 to 60)": "dAccelerationGauge60",
}
OUTPUTS = ("Velocity", "Velocity (Percent of Max)", "Steering Angle", "WheelMesh_FL", "WheelMesh_FR", "WheelMesh_BL",
           "WheelMesh_BR")


def put(vehicle, where, value):
    owner, _, path = where.partition(".")
    assign({"vehicle": vehicle, "car": vehicle.car, "follow": vehicle.follow}[owner], path, value)


def edit(vehicle, label, value):
    """As the user does; the vehicle is told where that matters."""
    row = next(row for row in ROWS if row.lower() == label.lower())
    put(vehicle, ROWS[row], value)
    if row == "Use Fast Ray Cast" and not value:
        vehicle.bStoreGroundMeshData = False
    if row == STORE_GROUND:
        vehicle.store_ground_changed()
