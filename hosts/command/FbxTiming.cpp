#include "command/FbxTiming.h"

#include <cmath>
#include <cstdint>

namespace ond::command {

namespace {

struct KnownRate {
    int mode;
    stage::FrameRate rate;
};

/// Numbers of the format for rates that it names; those in between are drop-frame ways of writing time codes.
constexpr KnownRate kKnownRates[] = {{1, {120, 1}}, {2, {100, 1}},       {3, {60, 1}},        {4, {50, 1}},
                                     {5, {48, 1}},  {6, {30, 1}},        {9, {30000, 1001}},  {10, {25, 1}},
                                     {11, {24, 1}}, {12, {1000, 1}},     {13, {24000, 1001}}, {15, {96, 1}},
                                     {16, {72, 1}}, {17, {60000, 1001}}, {18, {120000, 1001}}};
constexpr int kCustom = 14;

int modeOf(const stage::FrameRate& rate) {
    for (const KnownRate& known : kKnownRates)
        if (known.rate == rate) return known.mode;
    return kCustom;
}

/// Half a tick may have been put on top, see FbxExport.cpp.
std::string ticks(double seconds) { return fbxLong(static_cast<std::int64_t>(std::floor(seconds * kFbxTicks))); }

}  // namespace

void setFbxTiming(FbxFile& file, const stage::FrameRate& rate, double first, double last) {
    FbxRecord& settings = file.at("GlobalSettings");
    const int mode = modeOf(rate);
    setFbxValue(settings, "TimeMode", {"enum", "", ""}, {fbxWhole(mode)});
    setFbxValue(settings, "CustomFrameRate", {"double", "Number", ""},
                {fbxNumber(mode == kCustom ? rate.perSecond() : -1.0)});
    setFbxValue(settings, "TimeSpanStart", {"KTime", "Time", ""}, {ticks(first)});
    setFbxValue(settings, "TimeSpanStop", {"KTime", "Time", ""}, {ticks(last)});
}

void completeFbxLayers(FbxFile& file) {
    constexpr double kFull = 100.0;  // percent
    for (FbxRecord& object : file.at("Objects").nested)
        if (object.name == "AnimationLayer") setFbxValue(object, "Weight", {"Number", "", "A"}, {fbxNumber(kFull)});
}

}  // namespace ond::command
