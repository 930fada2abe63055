// What is known of the four-wheeled vehicle, beyond what the contract says of every module.
#pragma once

#include <string_view>
#include <vector>

namespace ond::validate {

/// A row that only shows a value: what the user types there is overwritten.
[[nodiscard]] bool isCarGauge(std::string_view label);

/// Rows that are not in the saved block and return to their defaults.
[[nodiscard]] bool isCarRowWithoutMemory(std::string_view label);

/// Bare names of the elements of a new rig, each behind the one that it hangs below.
struct CarElement {
    const char* name;
    const char* parent;  ///< bare name; null at the root of the scene
    bool isCamera;
    int colour[3];  ///< of 255
    int vertices, triangles;
    double fieldOfView;  ///< degrees; 0 of a mesh
    double place[7];     ///< in the scene: where it is, how large in x, y and z, and how much its z axis rises
};
[[nodiscard]] const std::vector<CarElement>& carElements();

struct CarChannel {
    const char* name;
    int type;
};
[[nodiscard]] const std::vector<CarChannel>& carInputs();
[[nodiscard]] const std::vector<const char*>& carOutputs();

}  // namespace ond::validate
