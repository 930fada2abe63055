// Names that writer and reader of takes share; docs/take-file.md tells the format.
#pragma once

namespace ond::stage {

constexpr const char* kTakeExtension = "OND_vehicle_take";
/// Of the format. A reader takes this one only.
constexpr int kTakeVersion = 1;
/// Of one input.
constexpr int kMostChannels = 10000;

}  // namespace ond::stage
