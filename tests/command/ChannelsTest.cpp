#include "command/Channels.h"

#include <gtest/gtest.h>

#include "command/CommandError.h"
#include "stage/Stage.h"

namespace ond::test {

using namespace command;
namespace {

TEST(Channels, AreThoseThatAVehicleDeclares) {
    const stage::Module module(VEHICLE_MODULE_PATH);
    stage::Stage host(module);
    const stage::Vehicle& vehicle = host.addVehicle("car");
    ASSERT_EQ(vehicle.properties.size(), static_cast<std::size_t>(kNumChannels));
    for (std::size_t i = 0; i < vehicle.properties.size(); ++i) {
        EXPECT_EQ(vehicle.properties[i]->name, kChannels[i].name);
        EXPECT_EQ(vehicle.properties[i]->type == 15, kChannels[i].oneSided) << kChannels[i].name;
    }
}

TEST(Channels, AreFoundByWholeShortAndUsualNames) {
    for (int i = 0; i < kNumChannels; ++i) {
        EXPECT_EQ(findChannel(kChannels[static_cast<std::size_t>(i)].name), i);
        EXPECT_EQ(findChannel(kChannels[static_cast<std::size_t>(i)].shortName), i);
    }
    EXPECT_EQ(findChannel("STEER"), 1);
    EXPECT_EQ(findChannel("throttle"), 0);
    EXPECT_EQ(findChannel("skid_brake"), 5);
    EXPECT_EQ(findChannel("handbrake"), 5);
    EXPECT_EQ(findChannel("abs brake"), 3);
}

TEST(Channels, AreFoundByABeginningThatOnlyOneHas) {
    EXPECT_EQ(findChannel("boo"), 2);
    EXPECT_EQ(findChannel("grav"), 6);
    EXPECT_EQ(findChannel("steering wheel"), 1);
    EXPECT_EQ(findChannel("ski"), -1);
    EXPECT_EQ(findChannel("b"), -1);
    EXPECT_EQ(findChannel(""), -1);
    EXPECT_EQ(findWholeChannel("boo"), -1);
}

TEST(Channels, NamesTheNearestWhereThereIsNone) {
    EXPECT_EQ(channelOf("gas", "--hold"), 0);
    try {
        (void)channelOf("bostr", "--hold");
        FAIL();
    } catch (const CommandError& error) {
        EXPECT_STREQ(error.what(), "--hold: there is no channel 'bostr'; did you mean 'booster'?");
    }
}

}  // namespace
}  // namespace ond::test
