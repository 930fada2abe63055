// The whole dialog, row by row: labels, texts, defaults, ranges and which rows tell the vehicle of a change.
#include "whole/WholeRun.h"

namespace ond::test {
namespace {

using Parameters = WholeRun;
using Kind = DialogItem::Kind;

struct Group {
    const char* title;
    const char* description;
};

constexpr Group kGroups[] = {
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

struct Row {
    const char* group;
    Kind kind;
    const char* label;
    double value;  ///< of a new vehicle
    double min;
    double max;
    double step;
    bool tells;  ///< the vehicle is told of a change
    const char* description;
};

constexpr Row kRows[] = {
    {"Gauges", Kind::number, "Initital Velocity (% of max)", 0, 0, 1000, 1, true,
     "This is the first of three ways to have an initial velocity. It is specified as a percentage of the maximum "
     "velocity. If this parameter is zero it will be ignored. (The second way is to use a keyframed initial velocity. "
     "The third way is to use a non-zero input value - moving your joystick forward slightly - and then pressing "
     "record."},
    {"Gauges", Kind::number, "Multiplier", 3.6, 0.001, 10000000, 0.001, true,
     "Use this function to create a read-out in mph or km/h. Meters per second will be multiplied by this value, so to "
     "convert from m/s to km/h use multiplier value 3.6, from m/s to mph use multiplier value 2.2369."},
    {"Gauges", Kind::number, "World Space Maximum Velocity Gauge", 0, 0, 100000, 1, true,
     "This is a gauge outputting the maximum velocity the quadrig can have (except when using booster). The value is "
     "in ((units per second)*multiplier)*(maximum gas pedal value)*(the scale of the quadrig)."},
    {"Gauges", Kind::number, "Current Velocity", 0, -10000000, 10000000, 0.01, true,
     "The measured current velocity of the vehicle in meters per second times the [Multiplier value] (the maximum "
     "velocity is Gas pedal max times the CarBodyMesh scale)."},
    {"Gauges", Kind::number, "Current Velocity (% of max)", 0, -10000000, 10000000, 0.01, true,
     "The current velocity of the vehicle in percent of the maximum velocity."},
    {"Gauges", Kind::number, "World Space Acceleration Gauge (seconds from 0 to 100)", 0, 0, 1000000, 0.01, true,
     "This is a gauge outputting the number of seconds it would take to acceleration the quadrig from 0-100 (except "
     "when using booster). The value is in seconds = ((100/multiplier)/Acceleration)/scale"},
    {"Gauges", Kind::number, "World Space Acceleration Gauge (seconds from 0 to 60)", 0, 0, 1000000, 0.01, true,
     "This is a gauge outputting the number of seconds it would take to acceleration the quadrig from 0-100 (except "
     "when using booster). The value is in seconds = ((60/multiplier)/Acceleration)/scale"},
    {"General Modes", Kind::button, "Re-Initialize Car Attributes", 0, 0, 0, 0, true,
     "Press to enable re-initialization of the car's physical attributes"},
    {"General Modes", Kind::checkBox, "Hide Helpers", 0, 0, 0, 0, true, "Hide Helpers"},
    {"General Modes", Kind::checkBox, "Hide Helpers During Recording", 0, 0, 0, 0, false,
     "Hide Helpers During Recording"},
    {"General Modes", Kind::checkBox, "Hide Follow Camera", 1, 0, 0, 0, true, "Hide Follow Camera"},
    {"General Modes", Kind::checkBox, "Hide Driver Camera", 1, 0, 0, 0, true, "Hide Driver Camera"},
    {"General Modes", Kind::checkBox, "Hide TopView Camera", 1, 0, 0, 0, true, "Hide TopView Camera"},
    {"General Modes", Kind::checkBox, "Enable Seamless Transitions", 1, 0, 0, 0, true,
     "Enable Seamless Transitions requires more memory usage."},
    {"General Modes", Kind::checkBox, "Keyframe only essential objects", 0, 0, 0, 0, true,
     "Only the the body, the wheels and the gravityDirectionMesh will be keyframed."},
    {"Autonomous Mode", Kind::checkBox, "Autonomous Mode", 0, 0, 0, 0, false,
     "In this mode the vehicle automatically follows the TargetMesh.nThe TargetMesh should be attached to the object "
     "the vehicle is to follow."},
    {"Autonomous Mode", Kind::number, "Autonomous mode follow strength", 0.5, 0.01, 30, 0.01, true,
     "This factor decides how tightly the car follows the target."},
    {"Autonomous Mode", Kind::number, "Follow Strength Response Factor", 0.02, 0.0001, 1, 0.001, true,
     "The smaller the value is the slower the quadrig auto functions respond to the target movements."},
    {"Autonomous Mode", Kind::number, "Auto-Steering Response Factor", 0.2, 0.0001, 1, 0.001, true,
     "The smaller the value is the slower the quadrig auto functions respond to the target movements."},
    {"Autonomous Mode", Kind::number, "Reverse Max Vel Mult", 0.5, 0, 1000, 0.001, true,
     "When the Quadrig applies a reverse force in autonomous mode this value will be applied to the maximum velocity "
     "parameter."},
    {"Autonomous Mode", Kind::number, "Ignore Sphere Radius (length relative)", 0.5, 0.001, 100, 0.001, true,
     "This sets a virtual sphere about front of the quadrig which is the distance at which the car will begin to react "
     "to the TargetMesh.\nI.e. the TargetMesh must be outside this sphere to move the car.\nThe radius is multiplied "
     "by the length of the car to be relative."},
    {"Steering Parameters", Kind::number, "Maximum Steering Change Velocity", 2, 0.001, 100, 0.001, true,
     "How fast the wheels can turn in rads per sec."},
    {"Steering Parameters", Kind::number, "Speed Dependent Turn Radius Reduction Factor", 0.2, 0, 10, 0.001, true,
     "By this factor the turn radius will be decreased linearly with the car velocity."},
    {"Steering Parameters", Kind::number, "Steering Noise", 0, 0, 1000, 0.001, true, "Adds noise to the steering."},
    {"Steering Parameters", Kind::number, "Steering Wheel Rot Mult", 1, 0, 1000, 0.001, true,
     "Multiplies the steering wheel mesh rotation with this value."},
    {"Steering Parameters", Kind::number, "Turn Base (Back Wheel Relative)", 0, -2, 2, 0.001, true,
     "If larger than zero the car will turn with all four wheels."},
    {"Suspension Parameters", Kind::number, "Front Stiffness", 2000, 0, 10000, 1, true,
     "Stiffness determines how much force the springs have."},
    {"Suspension Parameters", Kind::number, "Front Damping", 200, 0, 10000, 0.1, true,
     "Damping determines how dull the shock absorbers are."},
    {"Suspension Parameters", Kind::number, "Back Stiffness", 2000, 0, 10000, 1, true,
     "Stiffness determines how much force the springs have."},
    {"Suspension Parameters", Kind::number, "Back Damping", 200, 0, 10000, 0.1, true,
     "Damping determines how dull the shock absorbers are."},
    {"Suspension Parameters", Kind::number, "Tire Pressure", 0.8, 0, 1000, 0.001, true,
     "Can be used as a wheel air pressure parameter. The parameter may cause instability when too low. For wheel "
     "deformations a lattice/FFD is required as well as raytracing for the boundaries."},
    {"Suspension Parameters", Kind::number, "Maximum Forward Tilt Angle", 0.06, 0, 1.5, 0.0001, true,
     "The maximum angle the car body can have in the forward direction."},
    {"Suspension Parameters", Kind::number, "Maximum Side Tilt Angle", 0.07, 0, 1.5, 0.0001, true,
     "The maximum angle the car body can have sideways."},
    {"Suspension Parameters", Kind::number, "Booster Stiffness Multiplier", 0.3, 0, 10, 0.001, true,
     "Increases the Stiffness by this factor times the booster value."},
    {"Suspension Parameters", Kind::number, "Mass Multiplier", 2, 0, 1000, 0.001, true, "Mass Multiplier."},
    {"General Parameters", Kind::checkBox, "Fixate Wheel Center Nodes", 0, 0, 0, 0, true,
     "When checked the WheelCenterMesh will not turn with the wheel yaw."},
    {"General Parameters", Kind::checkBox, "Move WheelCenterMesh to ground hit point", 0, 0, 0, 0, true,
     "If checked the WheelCenterMesh will be moved to the point where the wheel meets the ground. If in the air it "
     "will be moved to the bottom of the wheel."},
    {"General Parameters", Kind::checkBox, "Align WheelCenterMesh to ground incline", 0, 0, 0, 0, false,
     "If this box is checked the WheelCenterMesh will point down - ie stand at a perpendicular angle to the ground's "
     "incline at the point where the wheel touches ground. (Hint: this can be used for snowmobiles and similar "
     "vehicles by making the wheels small and attaching the skis to the WheelCenterMesh. Otherwise the "
     "WheelCenterMeshes is useful for particle effects and suspension)."},
    {"General Parameters", Kind::checkBox, "Use Reverse As ABS Brake", 1, 0, 0, 0, false,
     "When this box is checked the applying a negative gas pedal value yields in an ABS brake action."},
    {"General Parameters", Kind::number, "Skidding Offset Value", 0, 0, 100, 0.001, true,
     "This value is added to the input device value for 'Skidding' as an offset."},
    {"General Parameters", Kind::number, "Skidding Release Value (Lateral Vel Rel)", 0.04, 0, 100, 0.001, true,
     "When the car reaches this sideway velocity during a turn the car will automatically generate a 'Skidding' input "
     "device signal."},
    {"General Parameters", Kind::number, "Skidding Release Response Factor", 1, 1e-08, 1, 0.001, true,
     "Determines how fast the car will stop skidding after either skidding or skid brake."},
    {"General Parameters", Kind::number, "Gravel Shake Offset Value", 0.5, 0, 100, 0.001, true,
     "This value is added to the input device value for 'Gravel Shake Amplitude' as an offset."},
    {"General Parameters", Kind::number, "Gravel Roughness", 0.9, 0, 1, 0.001, true, "How rough the gravel shake is"},
    {"General Parameters", Kind::number, "External Force Offset Value", 0, 0, 10000, 0.001, true,
     "This value is added to the input device value for 'External Force' as an offset."},
    {"General Parameters", Kind::number, "Skid Brake Stop Factor", 1, 1e-08, 100, 0.001, true,
     "If larger than 1.0 it will brake harder after the button is released yielding a harder ending of the skid brake. "
     "If smaller than 1.0 the skid brake will continue further which might be good if in a curving situation."},
    {"General Parameters", Kind::number, "Skid Brake Rot Brake Mult", 1, 0, 1000, 0.001, true,
     "If larger than 1.0 the rotations brake harder than the translations and vice versa if smaller than 1.0."},
    {"General Parameters", Kind::number, "Burnout Shake", 0.2, 0, 100, 0.01, true,
     "How much the car should shake during a burnout."},
    {"General Parameters", Kind::number, "Burnout Tilting Force", 1, 0, 100, 0.01, true,
     "How much the car should be tilted during a burnout."},
    {"General Parameters", Kind::number, "Burnout Fadeout Factor", 0.99, 0, 1, 0.001, true,
     "How fast the burnout dies out."},
    {"General Parameters", Kind::integer, "Random Seed Adder", 0, 0, 10000, 1, true,
     "Adds this number to the initial random seeds to generate unique numbers"},
    {"General Parameters", Kind::number, "World Avoidance Sphere (scale relative)", 0, 0, 100000000000, 1, true,
     "This value times the scale of the car is the radius of the sphere of outside of which the car will try to get "
     "back inside."},
    {"General Parameters", Kind::number, "Wheel Radius Multiplier", 0.95, 0.01, 10, 0.01, true,
     "This factor is multiplied internally to change the wheel radius. When smaller than 1.0 the effective radius is "
     "decreased making the tire penetrate the surface to give possibility for tire pressure buldging"},
    {"General Parameters", Kind::number, "Gravity", 1, 0, 10000, 0.001, true, "Gravity"},
    {"Ray Cast Parameters", Kind::integer, "Ray Multiplier", 10, 1, 100, 1, true,
     "This function enables wheels to detect collision with ground. Value should be given in whole numbers. A value of "
     "one causes wheels only to detect ground at their bottom point. A value larger than one will enable wheels to "
     "detect ground at additional points on the wheel's surface, slightly forward and slightly backward of the bottom "
     "point. For each step two extra points of collision are detectable. The 'Degrees Per Ground Detection Point' "
     "(below) determines the distance between these points of detection. Increasing the Ground Detection Points will "
     "increase accuracy for wheels detecting uneven terrain but will increase the computation time. Therefore, when "
     "using a high poly mesh and a large number of Ground Detection Points, it is preferable to use autonomous mode or "
     "drive with a large 'slow motion factor'."},
    {"Ray Cast Parameters", Kind::checkBox, "Cast Rays at Wheel Edges", 1, 0, 0, 0, false,
     "When this box is checked the wheel's collision with the ground is detected at the sides of the wheels as well as "
     "in the middle. This means the number of detection points are trippled. The Ground Detectio Pionts value must be "
     "larger than one for this to have any effect."},
    {"Ray Cast Parameters", Kind::number, "Degrees Per Ray", 2, 0.1, 89, 0.01, true,
     "Determines the distance on the surface of the wheel between points of ground detection. The bottom of the wheel "
     "is 0 degrees. The forward-most and backward-most points on the wheels are 90 degrees. However, the maximum "
     "degree for ground detection is 89 degrees."},
    {"Ray Cast Parameters", Kind::checkBox, "Use Fast Ray Cast", 1, 0, 0, 0, true,
     "If checked and interal ray caster is used yielding considerably faster calculations, but only non-animated "
     "surfaces may be used.\nThe method also requires much more memory."},
    {"Ray Cast Parameters", Kind::checkBox, "Store Ground Mesh Data", 0, 0, 0, 0, true,
     "Stores the mesh data. Once checked the data will be stored, if the mesh is rebuilt you need to do a "
     "re-checking."},
    {"Input Property Parameters", Kind::number, "Acceleration (scale relative)", 2, 0.001, 1000000, 0.01, true,
     "How fast the quadrig can accelerate (Acceleration*((units per second per second)*multiplier)*(the scale of the "
     "car)."},
    {"Input Property Parameters", Kind::number, "Gas Pedal (Forw/Backw) Response Factor", 0.01, 0, 1e16, 0.001, true,
     "How strong and fast the engine is. 0.0 gives an instant velocity.: Response Factor"},
    {"Input Property Parameters", Kind::number, "Gas Pedal (Forw/Backw) Maximum", 3.0, 0, 1e16, 0.001, true,
     "How strong and fast the engine is. 0.0 gives an instant velocity.: Maximum"},
    {"Input Property Parameters", Kind::number, "Steering Wheel (Right/Left) Response Factor", 0.1, 0, 1e16, 0.001,
     true, "How much and how smoothly the wheels turn: Response Factor"},
    {"Input Property Parameters", Kind::number, "Steering Wheel (Right/Left) Maximum", 0.7, 0, 1.57, 0.001, true,
     "How much and how smoothly the wheels turn: Maximum"},
    {"Input Property Parameters", Kind::number, "Booster Response Factor", 0.02, 0, 1e16, 0.001, true,
     "How much and how fast the velocity will multiply: Response Factor"},
    {"Input Property Parameters", Kind::number, "Booster Maximum", 6.0, 0, 1e16, 0.001, true,
     "How much and how fast the velocity will multiply: Maximum"},
    {"Input Property Parameters", Kind::number, "ABS Brake Response Factor", 1.0, 0, 1e16, 0.001, true,
     "Brakes as strong as possible until a full stop: Response Factor"},
    {"Input Property Parameters", Kind::number, "ABS Brake Maximum", 0.03, 0, 1e16, 0.001, true,
     "Brakes as strong as possible until a full stop: Maximum"},
    {"Input Property Parameters", Kind::number, "Skidding Response Factor", 0.1, 0, 1e16, 0.001, true,
     "How much skidding and how fast it applies: Response Factor"},
    {"Input Property Parameters", Kind::number, "Skidding Maximum", 0.9, 0, 1e16, 0.001, true,
     "How much skidding and how fast it applies: Maximum"},
    {"Input Property Parameters", Kind::number, "Skid Brake Response Factor", 0.1, 0, 1e16, 0.001, true,
     "Locks the wheels: Response Factor"},
    {"Input Property Parameters", Kind::number, "Skid Brake Maximum", 1.0, 0, 1e16, 0.001, true,
     "Locks the wheels: Maximum"},
    {"Input Property Parameters", Kind::number, "Gravel Shake Amplitude Response Factor", 1.0, 0, 1e16, 0.001, true,
     "Gravel Shake Amplitude: Response Factor"},
    {"Input Property Parameters", Kind::number, "Gravel Shake Amplitude Maximum", 0.05, 0, 1e16, 0.001, true,
     "Gravel Shake Amplitude: Maximum"},
    {"Input Property Parameters", Kind::number, "Burnout Response Factor", 0.03, 0, 1e16, 0.001, true,
     "Creates a burnout where the back wheel(s) spinn: Response Factor"},
    {"Input Property Parameters", Kind::number, "Burnout Maximum", 3.0, 0, 1e16, 0.001, true,
     "Creates a burnout where the back wheel(s) spinn: Maximum"},
    {"Input Property Parameters", Kind::number, "External Force Response Factor", 1.0, 0, 1e16, 0.001, true,
     "This input will apply a force in the direction of the 'ExternalForceMesh' direction: Response Factor"},
    {"Input Property Parameters", Kind::number, "External Force Maximum", 100.0, 0, 1e16, 0.001, true,
     "This input will apply a force in the direction of the 'ExternalForceMesh' direction: Maximum"},
};

TEST_F(Parameters, GroupsComeInOrder) {
    Vehicle& car = addCar();
    ASSERT_EQ(car.dialog.groups.size(), std::size(kGroups));
    for (std::size_t i = 0; i < std::size(kGroups); ++i) {
        EXPECT_EQ(car.dialog.groups[i].title, kGroups[i].title);
        EXPECT_EQ(car.dialog.groups[i].description, kGroups[i].description);
        EXPECT_TRUE(car.dialog.groups[i].closed);
    }
    EXPECT_TRUE(car.dialog.whole);
}

TEST_F(Parameters, RowsComeInOrderWithTheirTextsAndRanges) {
    Vehicle& car = host.create("Car");
    car.declare();
    ASSERT_EQ(car.dialog.items.size(), std::size(kRows));
    ASSERT_EQ(std::size(kRows), 78u);
    for (std::size_t i = 0; i < std::size(kRows); ++i) {
        const Row& row = kRows[i];
        const DialogItem& item = car.dialog.items[i];
        SCOPED_TRACE(row.label);
        EXPECT_EQ(item.label, row.label);
        EXPECT_EQ(item.group, row.group);
        EXPECT_EQ(item.description, row.description);
        EXPECT_EQ(item.kind, row.kind);
        EXPECT_EQ(item.value(), row.value);
        EXPECT_EQ(item.callback != nullptr, row.tells);
        if (row.kind != Kind::number && row.kind != Kind::integer) continue;
        EXPECT_EQ(item.min, row.min);
        EXPECT_EQ(item.max, row.max);
        EXPECT_EQ(item.step, row.step);
        EXPECT_EQ(item.hint, row.kind == Kind::integer ? 10 : 1);
        EXPECT_TRUE(item.flag);
        EXPECT_EQ(item.converter, nullptr);
    }
}

TEST_F(Parameters, EveryRowHasAFieldOfItsOwn) {
    Vehicle& car = addCar();
    std::vector<const void*> fields;
    for (const DialogItem& item : car.dialog.items) {
        if (item.kind == Kind::button) continue;
        const void* field = item.kind == Kind::integer  ? static_cast<const void*>(item.integer)
                            : item.kind == Kind::number ? static_cast<const void*>(item.number)
                                                        : static_cast<const void*>(item.checkBox);
        ASSERT_NE(field, nullptr) << item.label;
        EXPECT_EQ(std::count(fields.begin(), fields.end(), field), 0) << item.label;
        fields.push_back(field);
    }
    EXPECT_EQ(fields.size(), 77u);
}

TEST_F(Parameters, RowsThatDoNotTellChangeNothingAtOnce) {
    Vehicle& car = addCar();
    car.log.clear();
    for (const Row& row : kRows)
        if (!row.tells) car.edit(row.label, 1.0 - car.value(row.label));
    EXPECT_EQ(car.log.lines(), Lines());
}

TEST_F(Parameters, InputChannelsHaveTheirTypesAndBend) {
    Vehicle& car = host.create("Car");
    car.declare();
    ASSERT_EQ(car.properties.size(), 9u);
    for (std::size_t i = 0; i < 9; ++i) {
        EXPECT_EQ(car.properties[i]->type, i < 2 ? 14 : 15) << i;
        EXPECT_EQ(car.properties[i]->exponent, 1.3) << i;
        EXPECT_EQ(car.properties[i]->deadZone, 0.1) << i;
        EXPECT_EQ(car.properties[i]->multiplier, 1.0) << i;
        EXPECT_EQ(car.properties[i]->offset, 0.0) << i;
    }
}

// With a device axis as it comes: a tenth of the travel is rest, the remainder is bent.
TEST_F(Parameters, DeviceTravelIsShapedOnItsWayToTheCar) {
    Vehicle& car = host.addVehicle("Car");
    car.put("Use Fast Ray Cast", 0.0);
    car.put("Gas Pedal (Forw/Backw) Response Factor", 0.0);
    car.axis("Gas Pedal").position = 0.1;
    host.run(0, 5);
    EXPECT_EQ(car.value("Current Velocity (% of max)"), 0.0);
    car.axis("Gas Pedal").position = 0.55;
    host.run(0, 5);
    EXPECT_NEAR(car.value("Current Velocity (% of max)"), 100.0 * std::pow(0.5, 1.3), 1e-9);
    car.axis("Gas Pedal").position = -1.0;
    car.property("Gas Pedal").multiplier = 0.5;
    host.run(0, 5);
    EXPECT_NEAR(car.value("Current Velocity (% of max)"), -50.0, 1e-9);
}

TEST_F(Parameters, GaugesOfANewVehicleAreThoseOfItsRig) {
    Vehicle& car = addCar();
    EXPECT_NEAR(car.value("World Space Maximum Velocity Gauge"), kLength * 3.6 * 3.0, 1e-12);
    EXPECT_NEAR(car.value("World Space Acceleration Gauge (seconds from 0 to 100)"), 3.94, 0.005);
    EXPECT_NEAR(car.value("World Space Acceleration Gauge (seconds from 0 to 60)"), 60 / 3.6 / 2.0 / kLength, 1e-12);
    EXPECT_EQ(car.value("Current Velocity"), 0.0);
    EXPECT_EQ(car.dialog.refreshes, 1);
}

}  // namespace
}  // namespace ond::test
