// The input channels of a vehicle, and the short names that users give them.
#pragma once

#include <array>
#include <string>
#include <vector>

namespace ond::command {

struct ChannelName {
    const char* name;       ///< as the vehicle declares it
    const char* shortName;  ///< on the command line and in the header of a log
    bool oneSided;          ///< axis from 0 to 1 instead of from -1 to 1
};

constexpr int kNumChannels = 9;

/// In the order in which vehicles declare them.
constexpr std::array<ChannelName, kNumChannels> kChannels = {{
    {"Gas Pedal (Forw/Backw)", "gas", false},
    {"Steering Wheel (Right/Left)", "steering", false},
    {"Booster", "booster", true},
    {"ABS Brake", "brake", true},
    {"Skidding", "skidding", true},
    {"Skid Brake", "skidbrake", true},
    {"Gravel Shake Amplitude", "gravel", true},
    {"Burnout", "burnout", true},
    {"External Force", "force", true},
}};

/// The place in kChannels of the channel that `text` names: its whole name, its short name, one of the names that logs
/// often use ("steer", "throttle", "abs"), or the beginning of exactly one of these. Capitals, blanks, hyphens and
/// underscores do not count. -1 for none.
[[nodiscard]] int findChannel(const std::string& text);
/// The same by the whole word alone.
[[nodiscard]] int findWholeChannel(const std::string& text);
/// @throws CommandError if there is none, naming the nearest
[[nodiscard]] int channelOf(const std::string& text, const std::string& what);
/// "gas, steering, booster, ..."
[[nodiscard]] std::string channelList();

}  // namespace ond::command
