// The four-wheeled vehicle under test, and what it does while it is called.
#pragma once

#include <functional>

#include "validate/Scenarios.h"

namespace ond::validate {

/// The module with a world, if it is the vehicle; else the test is skipped.
struct Car {
    ModuleFile module;
    World world;
    explicit Car(Check& check, stage::FrameRate rate = {25, 1});
};

using Acts = std::vector<std::string>;

/// What the object did to its host while `work` ran, in order: "make CarBodyMesh", "send 17 to TargetMesh",
/// "set CarBodyMesh", "hide FollowCam", "wireframe on TargetMesh", "push", "redraw", "refresh", "message Error: text".
/// What it only asked is left out.
[[nodiscard]] Acts actsOf(StrictHost& host, const std::function<void()>& work);
/// Only the acts that begin so.
[[nodiscard]] Acts only(const Acts& acts, std::initializer_list<std::string_view> beginnings);
[[nodiscard]] Acts sorted(Acts acts);

/// Complains about the first act that is not as wanted.
/// @param when begins the sentence: "a change of 'Gravity'"
void expectActs(Check& check, const std::string& when, const Acts& got, const Acts& wanted);

/// The value of a row that the vehicle has; the test ends if it has not.
[[nodiscard]] const Item& rowOf(StrictHost& host, const std::string& label);

}  // namespace ond::validate
