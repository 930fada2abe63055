#include "car/CarState.h"

namespace ond::ovs::addon {

namespace {

struct ChannelDefaults {
    std::string_view name;
    std::string_view description;
    bool oneSided;
    double response;
    double maximum;
};

constexpr ChannelDefaults kChannels[kNumInputs] = {
    {"Gas Pedal (Forw/Backw)", "How strong and fast the engine is. 0.0 gives an instant velocity.", false, 0.01, 3.0},
    {"Steering Wheel (Right/Left)", "How much and how smoothly the wheels turn", false, 0.1, 0.7},
    {"Booster", "How much and how fast the velocity will multiply", true, 0.02, 6.0},
    {"ABS Brake", "Brakes as strong as possible until a full stop", true, 1.0, 0.03},
    {"Skidding", "How much skidding and how fast it applies", true, 0.1, 0.9},
    {"Skid Brake", "Locks the wheels", true, 0.1, 1.0},
    {"Gravel Shake Amplitude", "Gravel Shake Amplitude", true, 1.0, 0.05},
    {"Burnout", "Creates a burnout where the back wheel(s) spinn", true, 0.03, 3.0},
    {"External Force", "This input will apply a force in the direction of the 'ExternalForceMesh' direction", true, 1.0,
     100.0},
};

std::int32_t seeded(std::int32_t seed, std::int32_t adder) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(seed) + static_cast<std::uint32_t>(adder));
}

}  // namespace

cCarCam::cCarCam(std::int32_t seedAdder) : iRandomSeedAdder(seedAdder) {
    randomValue_gravelShake = seeded(kSeedGravelShake, seedAdder);
    randomValue_burnout = seeded(kSeedBurnout, seedAdder);
    randomValue_steeringNoise = seeded(kSeedSteeringNoise, seedAdder);
    for (int i = 0; i < kNumInputs; ++i) {
        const ChannelDefaults& d = kChannels[i];
        InputChannel& c = pcInput[i];
        c.sName = d.name;
        c.sDescription = d.description;
        c.bOneSided = d.oneSided;
        c.response = d.response;
        c.maximum = d.maximum;
    }
}

}  // namespace ond::ovs::addon
