// The rows of the four-wheeled vehicle's dialog, as users have known them for many years: labels, texts, ranges and
// defaults, spelling included.
#include "validate/CarDialog.h"

namespace ond::validate {

namespace {

constexpr Item::Kind kNumber = Item::Kind::number;
constexpr Item::Kind kWhole = Item::Kind::integer;
constexpr Item::Kind kFlag = Item::Kind::checkBox;
constexpr Item::Kind kButton = Item::Kind::button;

}  // namespace

const std::vector<CarGroup>& carGroups() {
    static const std::vector<CarGroup> all = {
        {"Gauges", ""},
        {"General Modes", ""},
        {"Autonomous Mode",
         "In Autonomous mode the quadrig will automatically follow the TargetMesh.\nConstrain the TargetMesh to a "
         "path/spline.\nUse an input device to apply features and to deviate from the follow path in real-time."},
        {"Steering Parameters", ""},
        {"Suspension Parameters", ""},
        {"General Parameters", ""},
        {"Ray Cast Parameters", ""},
        {"Input Property Parameters", ""},
    };
    return all;
}

const std::vector<CarRow>& carRows() {
    static const std::vector<CarRow> all = {
        // Gauges
        {"Gauges", "Initital Velocity (% of max)", kNumber, 0, 0, 1000, 1, true,
         "This is the first of three ways to have an initial velocity. It is specified as a percentage of the maximum "
         "velocity. If this parameter is zero it will be ignored. (The second way is to use a keyframed initial "
         "velocity. The third way is to use a non-zero input value - moving your joystick forward slightly - and then "
         "pressing record."},
        {"Gauges", "Multiplier", kNumber, 3.6, 0.001, 10000000, 0.001, true,
         "Use this function to create a read-out in mph or km/h. Meters per second will be multiplied by this value, "
         "so to convert from m/s to km/h use multiplier value 3.6, from m/s to mph use multiplier value 2.2369."},
        {"Gauges", "World Space Maximum Velocity Gauge", kNumber, 0, 0, 100000, 1, true,
         "This is a gauge outputting the maximum velocity the quadrig can have (except when using booster). The value "
         "is in ((units per second)*multiplier)*(maximum gas pedal value)*(the scale of the quadrig)."},
        {"Gauges", "Current Velocity", kNumber, 0, -10000000, 10000000, 0.01, true,
         "The measured current velocity of the vehicle in meters per second times the [Multiplier value] (the maximum "
         "velocity is Gas pedal max times the CarBodyMesh scale)."},
        {"Gauges", "Current Velocity (% of max)", kNumber, 0, -10000000, 10000000, 0.01, true,
         "The current velocity of the vehicle in percent of the maximum velocity."},
        {"Gauges", "World Space Acceleration Gauge (seconds from 0 to 100)", kNumber, 0, 0, 1000000, 0.01, true,
         "This is a gauge outputting the number of seconds it would take to acceleration the quadrig from 0-100 "
         "(except when using booster). The value is in seconds = ((100/multiplier)/Acceleration)/scale"},
        {"Gauges", "World Space Acceleration Gauge (seconds from 0 to 60)", kNumber, 0, 0, 1000000, 0.01, true,
         "This is a gauge outputting the number of seconds it would take to acceleration the quadrig from 0-100 "
         "(except when using booster). The value is in seconds = ((60/multiplier)/Acceleration)/scale"},
        // General Modes
        {"General Modes", "Re-Initialize Car Attributes", kButton, 0, 0, 1, 0, true,
         "Press to enable re-initialization of the car's physical attributes"},
        {"General Modes", "Hide Helpers", kFlag, 0, 0, 1, 0, true, "Hide Helpers"},
        {"General Modes", "Hide Helpers During Recording", kFlag, 0, 0, 1, 0, false, "Hide Helpers During Recording"},
        {"General Modes", "Hide Follow Camera", kFlag, 1, 0, 1, 0, true, "Hide Follow Camera"},
        {"General Modes", "Hide Driver Camera", kFlag, 1, 0, 1, 0, true, "Hide Driver Camera"},
        {"General Modes", "Hide TopView Camera", kFlag, 1, 0, 1, 0, true, "Hide TopView Camera"},
        {"General Modes", "Enable Seamless Transitions", kFlag, 1, 0, 1, 0, true,
         "Enable Seamless Transitions requires more memory usage."},
        {"General Modes", "Keyframe only essential objects", kFlag, 0, 0, 1, 0, true,
         "Only the the body, the wheels and the gravityDirectionMesh will be keyframed."},
        // Autonomous Mode
        {"Autonomous Mode", "Autonomous Mode", kFlag, 0, 0, 1, 0, false,
         "In this mode the vehicle automatically follows the TargetMesh.nThe TargetMesh should be attached to the "
         "object the vehicle is to follow."},
        {"Autonomous Mode", "Autonomous mode follow strength", kNumber, 0.5, 0.01, 30, 0.01, true,
         "This factor decides how tightly the car follows the target."},
        {"Autonomous Mode", "Follow Strength Response Factor", kNumber, 0.02, 0.0001, 1, 0.001, true,
         "The smaller the value is the slower the quadrig auto functions respond to the target movements."},
        {"Autonomous Mode", "Auto-Steering Response Factor", kNumber, 0.2, 0.0001, 1, 0.001, true,
         "The smaller the value is the slower the quadrig auto functions respond to the target movements."},
        {"Autonomous Mode", "Reverse Max Vel Mult", kNumber, 0.5, 0, 1000, 0.001, true,
         "When the Quadrig applies a reverse force in autonomous mode this value will be applied to the maximum "
         "velocity parameter."},
        {"Autonomous Mode", "Ignore Sphere Radius (length relative)", kNumber, 0.5, 0.001, 100, 0.001, true,
         "This sets a virtual sphere about front of the quadrig which is the distance at which the car will begin to "
         "react to the TargetMesh.\nI.e. the TargetMesh must be outside this sphere to move the car.\nThe radius is "
         "multiplied by the length of the car to be relative."},
        // Steering Parameters
        {"Steering Parameters", "Maximum Steering Change Velocity", kNumber, 2, 0.001, 100, 0.001, true,
         "How fast the wheels can turn in rads per sec."},
        {"Steering Parameters", "Speed Dependent Turn Radius Reduction Factor", kNumber, 0.2, 0, 10, 0.001, true,
         "By this factor the turn radius will be decreased linearly with the car velocity."},
        {"Steering Parameters", "Steering Noise", kNumber, 0, 0, 1000, 0.001, true, "Adds noise to the steering."},
        {"Steering Parameters", "Steering Wheel Rot Mult", kNumber, 1, 0, 1000, 0.001, true,
         "Multiplies the steering wheel mesh rotation with this value."},
        {"Steering Parameters", "Turn Base (Back Wheel Relative)", kNumber, 0, -2, 2, 0.001, true,
         "If larger than zero the car will turn with all four wheels."},
        // Suspension Parameters
        {"Suspension Parameters", "Front Stiffness", kNumber, 2000, 0, 10000, 1, true,
         "Stiffness determines how much force the springs have."},
        {"Suspension Parameters", "Front Damping", kNumber, 200, 0, 10000, 0.1, true,
         "Damping determines how dull the shock absorbers are."},
        {"Suspension Parameters", "Back Stiffness", kNumber, 2000, 0, 10000, 1, true,
         "Stiffness determines how much force the springs have."},
        {"Suspension Parameters", "Back Damping", kNumber, 200, 0, 10000, 0.1, true,
         "Damping determines how dull the shock absorbers are."},
        {"Suspension Parameters", "Tire Pressure", kNumber, 0.8, 0, 1000, 0.001, true,
         "Can be used as a wheel air pressure parameter. The parameter may cause instability when too low. For wheel "
         "deformations a lattice/FFD is required as well as raytracing for the boundaries."},
        {"Suspension Parameters", "Maximum Forward Tilt Angle", kNumber, 0.06, 0, 1.5, 0.0001, true,
         "The maximum angle the car body can have in the forward direction."},
        {"Suspension Parameters", "Maximum Side Tilt Angle", kNumber, 0.07, 0, 1.5, 0.0001, true,
         "The maximum angle the car body can have sideways."},
        {"Suspension Parameters", "Booster Stiffness Multiplier", kNumber, 0.3, 0, 10, 0.001, true,
         "Increases the Stiffness by this factor times the booster value."},
        {"Suspension Parameters", "Mass Multiplier", kNumber, 2, 0, 1000, 0.001, true, "Mass Multiplier."},
        // General Parameters
        {"General Parameters", "Fixate Wheel Center Nodes", kFlag, 0, 0, 1, 0, true,
         "When checked the WheelCenterMesh will not turn with the wheel yaw."},
        {"General Parameters", "Move WheelCenterMesh to ground hit point", kFlag, 0, 0, 1, 0, true,
         "If checked the WheelCenterMesh will be moved to the point where the wheel meets the ground. If in the air it "
         "will be moved to the bottom of the wheel."},
        {"General Parameters", "Align WheelCenterMesh to ground incline", kFlag, 0, 0, 1, 0, false,
         "If this box is checked the WheelCenterMesh will point down - ie stand at a perpendicular angle to the "
         "ground's incline at the point where the wheel touches ground. (Hint: this can be used for snowmobiles and "
         "similar vehicles by making the wheels small and attaching the skis to the WheelCenterMesh. Otherwise the "
         "WheelCenterMeshes is useful for particle effects and suspension)."},
        {"General Parameters", "Use Reverse As ABS Brake", kFlag, 1, 0, 1, 0, false,
         "When this box is checked the applying a negative gas pedal value yields in an ABS brake action."},
        {"General Parameters", "Skidding Offset Value", kNumber, 0, 0, 100, 0.001, true,
         "This value is added to the input device value for 'Skidding' as an offset."},
        {"General Parameters", "Skidding Release Value (Lateral Vel Rel)", kNumber, 0.04, 0, 100, 0.001, true,
         "When the car reaches this sideway velocity during a turn the car will automatically generate a 'Skidding' "
         "input device signal."},
        {"General Parameters", "Skidding Release Response Factor", kNumber, 1, 1e-08, 1, 0.001, true,
         "Determines how fast the car will stop skidding after either skidding or skid brake."},
        {"General Parameters", "Gravel Shake Offset Value", kNumber, 0.5, 0, 100, 0.001, true,
         "This value is added to the input device value for 'Gravel Shake Amplitude' as an offset."},
        {"General Parameters", "Gravel Roughness", kNumber, 0.9, 0, 1, 0.001, true, "How rough the gravel shake is"},
        {"General Parameters", "External Force Offset Value", kNumber, 0, 0, 10000, 0.001, true,
         "This value is added to the input device value for 'External Force' as an offset."},
        {"General Parameters", "Skid Brake Stop Factor", kNumber, 1, 1e-08, 100, 0.001, true,
         "If larger than 1.0 it will brake harder after the button is released yielding a harder ending of the skid "
         "brake. If smaller than 1.0 the skid brake will continue further which might be good if in a curving "
         "situation."},
        {"General Parameters", "Skid Brake Rot Brake Mult", kNumber, 1, 0, 1000, 0.001, true,
         "If larger than 1.0 the rotations brake harder than the translations and vice versa if smaller than 1.0."},
        {"General Parameters", "Burnout Shake", kNumber, 0.2, 0, 100, 0.01, true,
         "How much the car should shake during a burnout."},
        {"General Parameters", "Burnout Tilting Force", kNumber, 1, 0, 100, 0.01, true,
         "How much the car should be tilted during a burnout."},
        {"General Parameters", "Burnout Fadeout Factor", kNumber, 0.99, 0, 1, 0.001, true,
         "How fast the burnout dies out."},
        {"General Parameters", "Random Seed Adder", kWhole, 0, 0, 10000, 1, true,
         "Adds this number to the initial random seeds to generate unique numbers"},
        {"General Parameters", "World Avoidance Sphere (scale relative)", kNumber, 0, 0, 100000000000, 1, true,
         "This value times the scale of the car is the radius of the sphere of outside of which the car will try to "
         "get back inside."},
        {"General Parameters", "Wheel Radius Multiplier", kNumber, 0.95, 0.01, 10, 0.01, true,
         "This factor is multiplied internally to change the wheel radius. When smaller than 1.0 the effective radius "
         "is decreased making the tire penetrate the surface to give possibility for tire pressure buldging"},
        {"General Parameters", "Gravity", kNumber, 1, 0, 10000, 0.001, true, "Gravity"},
        // Ray Cast Parameters
        {"Ray Cast Parameters", "Ray Multiplier", kWhole, 10, 1, 100, 1, true,
         "This function enables wheels to detect collision with ground. Value should be given in whole numbers. A "
         "value of one causes wheels only to detect ground at their bottom point. A value larger than one will enable "
         "wheels to detect ground at additional points on the wheel's surface, slightly forward and slightly backward "
         "of the bottom point. For each step two extra points of collision are detectable. The 'Degrees Per Ground "
         "Detection Point' (below) determines the distance between these points of detection. Increasing the Ground "
         "Detection Points will increase accuracy for wheels detecting uneven terrain but will increase the "
         "computation time. Therefore, when using a high poly mesh and a large number of Ground Detection Points, it "
         "is preferable to use autonomous mode or drive with a large 'slow motion factor'."},
        {"Ray Cast Parameters", "Cast Rays at Wheel Edges", kFlag, 1, 0, 1, 0, false,
         "When this box is checked the wheel's collision with the ground is detected at the sides of the wheels as "
         "well as in the middle. This means the number of detection points are trippled. The Ground Detectio Pionts "
         "value must be larger than one for this to have any effect."},
        {"Ray Cast Parameters", "Degrees Per Ray", kNumber, 2, 0.1, 89, 0.01, true,
         "Determines the distance on the surface of the wheel between points of ground detection. The bottom of the "
         "wheel is 0 degrees. The forward-most and backward-most points on the wheels are 90 degrees. However, the "
         "maximum degree for ground detection is 89 degrees."},
        {"Ray Cast Parameters", "Use Fast Ray Cast", kFlag, 1, 0, 1, 0, true,
         "If checked and interal ray caster is used yielding considerably faster calculations, but only non-animated "
         "surfaces may be used.\nThe method also requires much more memory."},
        {"Ray Cast Parameters", "Store Ground Mesh Data", kFlag, 0, 0, 1, 0, true,
         "Stores the mesh data. Once checked the data will be stored, if the mesh is rebuilt you need to do a "
         "re-checking."},
        // Input Property Parameters
        {"Input Property Parameters", "Acceleration (scale relative)", kNumber, 2, 0.001, 1000000, 0.01, true,
         "How fast the quadrig can accelerate (Acceleration*((units per second per second)*multiplier)*(the scale of "
         "the car)."},
        {"Input Property Parameters", "Gas Pedal (Forw/Backw) Response Factor", kNumber, 0.01, 0, 1e16, 0.001, true,
         "How strong and fast the engine is. 0.0 gives an instant velocity.: Response Factor"},
        {"Input Property Parameters", "Gas Pedal (Forw/Backw) Maximum", kNumber, 3.0, 0, 1e16, 0.001, true,
         "How strong and fast the engine is. 0.0 gives an instant velocity.: Maximum"},
        {"Input Property Parameters", "Steering Wheel (Right/Left) Response Factor", kNumber, 0.1, 0, 1e16, 0.001, true,
         "How much and how smoothly the wheels turn: Response Factor"},
        {"Input Property Parameters", "Steering Wheel (Right/Left) Maximum", kNumber, 0.7, 0, 1.57, 0.001, true,
         "How much and how smoothly the wheels turn: Maximum"},
        {"Input Property Parameters", "Booster Response Factor", kNumber, 0.02, 0, 1e16, 0.001, true,
         "How much and how fast the velocity will multiply: Response Factor"},
        {"Input Property Parameters", "Booster Maximum", kNumber, 6.0, 0, 1e16, 0.001, true,
         "How much and how fast the velocity will multiply: Maximum"},
        {"Input Property Parameters", "ABS Brake Response Factor", kNumber, 1.0, 0, 1e16, 0.001, true,
         "Brakes as strong as possible until a full stop: Response Factor"},
        {"Input Property Parameters", "ABS Brake Maximum", kNumber, 0.03, 0, 1e16, 0.001, true,
         "Brakes as strong as possible until a full stop: Maximum"},
        {"Input Property Parameters", "Skidding Response Factor", kNumber, 0.1, 0, 1e16, 0.001, true,
         "How much skidding and how fast it applies: Response Factor"},
        {"Input Property Parameters", "Skidding Maximum", kNumber, 0.9, 0, 1e16, 0.001, true,
         "How much skidding and how fast it applies: Maximum"},
        {"Input Property Parameters", "Skid Brake Response Factor", kNumber, 0.1, 0, 1e16, 0.001, true,
         "Locks the wheels: Response Factor"},
        {"Input Property Parameters", "Skid Brake Maximum", kNumber, 1.0, 0, 1e16, 0.001, true,
         "Locks the wheels: Maximum"},
        {"Input Property Parameters", "Gravel Shake Amplitude Response Factor", kNumber, 1.0, 0, 1e16, 0.001, true,
         "Gravel Shake Amplitude: Response Factor"},
        {"Input Property Parameters", "Gravel Shake Amplitude Maximum", kNumber, 0.05, 0, 1e16, 0.001, true,
         "Gravel Shake Amplitude: Maximum"},
        {"Input Property Parameters", "Burnout Response Factor", kNumber, 0.03, 0, 1e16, 0.001, true,
         "Creates a burnout where the back wheel(s) spinn: Response Factor"},
        {"Input Property Parameters", "Burnout Maximum", kNumber, 3.0, 0, 1e16, 0.001, true,
         "Creates a burnout where the back wheel(s) spinn: Maximum"},
        {"Input Property Parameters", "External Force Response Factor", kNumber, 1.0, 0, 1e16, 0.001, true,
         "This input will apply a force in the direction of the 'ExternalForceMesh' direction: Response Factor"},
        {"Input Property Parameters", "External Force Maximum", kNumber, 100.0, 0, 1e16, 0.001, true,
         "This input will apply a force in the direction of the 'ExternalForceMesh' direction: Maximum"},
    };
    return all;
}

}  // namespace ond::validate
