#include "validate/CarRules.h"

#include <string>

namespace ond::validate {

bool isCarGauge(std::string_view label) {
    return label == "Current Velocity" || label == "Current Velocity (% of max)" ||
           label.substr(0, std::string_view("World Space ").size()) == "World Space ";
}

bool isCarRowWithoutMemory(std::string_view label) {
    return label == "Random Seed Adder" || label == "Keyframe only essential objects";
}

const std::vector<CarElement>& carElements() {
    static const std::vector<CarElement> all = {
        {"CarBodyMesh", nullptr, false},
        {"ChassisRelocatorMesh", "CarBodyMesh", false},
        {"TargetMesh", nullptr, false},
        {"WheelRelocatorMesh_FL", "ChassisRelocatorMesh", false},
        {"WheelRelocatorMesh_FR", "ChassisRelocatorMesh", false},
        {"WheelRelocatorMesh_BL", "ChassisRelocatorMesh", false},
        {"WheelRelocatorMesh_BR", "ChassisRelocatorMesh", false},
        {"WheelMesh_FL", "WheelRelocatorMesh_FL", false},
        {"WheelMesh_FR", "WheelRelocatorMesh_FR", false},
        {"WheelMesh_BL", "WheelRelocatorMesh_BL", false},
        {"WheelMesh_BR", "WheelRelocatorMesh_BR", false},
        {"WheelCenterSuspensionMesh_FL", "WheelRelocatorMesh_FL", false},
        {"WheelCenterSuspensionMesh_FR", "WheelRelocatorMesh_FR", false},
        {"WheelCenterSuspensionMesh_BL", "WheelRelocatorMesh_BL", false},
        {"WheelCenterSuspensionMesh_BR", "WheelRelocatorMesh_BR", false},
        {"WheelCenterMesh_FL", "WheelRelocatorMesh_FL", false},
        {"WheelCenterMesh_FR", "WheelRelocatorMesh_FR", false},
        {"WheelCenterMesh_BL", "WheelRelocatorMesh_BL", false},
        {"WheelCenterMesh_BR", "WheelRelocatorMesh_BR", false},
        {"TurnBaseMesh", "CarBodyMesh", false},
        {"SteeringWheelMesh", "CarBodyMesh", false},
        {"GravityDirectionMesh", nullptr, false},
        {"CarBodyBaseMesh", "CarBodyMesh", false},
        {"ExternalForceMesh", "CarBodyMesh", false},
        {"TopViewCam", "CarBodyMesh", true},
        {"DriverCam", "ChassisRelocatorMesh", true},
        {"FollowCam", "ChassisRelocatorMesh", true},
    };
    return all;
}

const std::vector<CarChannel>& carInputs() {
    static const std::vector<CarChannel> all = {
        {"Gas Pedal (Forw/Backw)", 14},
        {"Steering Wheel (Right/Left)", 14},
        {"Booster", 15},
        {"ABS Brake", 15},
        {"Skidding", 15},
        {"Skid Brake", 15},
        {"Gravel Shake Amplitude", 15},
        {"Burnout", 15},
        {"External Force", 15},
    };
    return all;
}

const std::vector<const char*>& carOutputs() {
    static const std::vector<const char*> all = {
        "Velocity",    "Velocity (Percent of Max)", "Steering Angle", "WheelMesh_FL", "WheelMesh_FR", "WheelMesh_BL",
        "WheelMesh_BR"};
    return all;
}

const std::vector<CarGroup>& carGroups() {
    static const std::vector<CarGroup> all = {
        {"Gauges", 7},
        {"General Modes", 8},
        {"Autonomous Mode", 6},
        {"Steering Parameters", 5},
        {"Suspension Parameters", 9},
        {"General Parameters", 19},
        {"Ray Cast Parameters", 5},
        {"Input Property Parameters", 19},
    };
    return all;
}

}  // namespace ond::validate
