#include "command/Channels.h"

#include <utility>

#include "command/CommandError.h"
#include "command/Nearest.h"

namespace ond::command {

namespace {

constexpr std::array<std::pair<const char*, int>, 6> kFurtherNames = {{
    {"steer", 1},
    {"throttle", 0},
    {"boost", 2},
    {"abs", 3},
    {"skid", 4},
    {"handbrake", 5},
}};

/// Small letters and digits alone.
std::string plain(const std::string& text) {
    std::string kept;
    for (const char c : lower(text))
        if (c != ' ' && c != '_' && c != '-') kept += c;
    return kept;
}

std::vector<std::pair<std::string, int>> allNames() {
    std::vector<std::pair<std::string, int>> names;
    names.reserve(2 * kChannels.size() + kFurtherNames.size());
    for (int i = 0; i < kNumChannels; ++i) {
        names.emplace_back(kChannels[static_cast<std::size_t>(i)].shortName, i);
        names.emplace_back(kChannels[static_cast<std::size_t>(i)].name, i);
    }
    for (const auto& [name, index] : kFurtherNames) names.emplace_back(name, index);
    return names;
}

}  // namespace

int findWholeChannel(const std::string& text) {
    const std::string word = plain(text);
    for (const auto& [name, index] : allNames())
        if (plain(name) == word) return index;
    return -1;
}

int findChannel(const std::string& text) {
    const int whole = findWholeChannel(text);
    const std::string word = plain(text);
    if (whole >= 0 || word.size() < 2) return whole;
    int found = -1;
    for (const auto& [name, index] : allNames()) {
        if (plain(name).compare(0, word.size(), word) != 0) continue;
        if (found >= 0 && found != index) return -1;
        found = index;
    }
    return found;
}

int channelOf(const std::string& text, const std::string& what) {
    const int channel = findChannel(text);
    if (channel >= 0) return channel;
    const std::vector<std::pair<std::string, int>> all = allNames();
    std::vector<std::string> names;
    names.reserve(all.size());
    for (const auto& [name, index] : all) names.push_back(name);
    const std::string hint = didYouMean(text, names);
    throw CommandError(what + ": there is no channel '" + text + "'" +
                       (hint.empty() ? "; channels are " + channelList() : hint));
}

std::string channelList() {
    std::vector<std::string> names;
    names.reserve(kChannels.size());
    for (const ChannelName& channel : kChannels) names.emplace_back(channel.shortName);
    return enumerated(names);
}

}  // namespace ond::command
