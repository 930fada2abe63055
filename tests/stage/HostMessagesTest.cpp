// Messages of vehicles: recorded, collapsed, and never in the way.
#include "stage/FakeVehicle.h"

namespace ond::test {
namespace {

class HostMessages : public FakeStage {};

TEST_F(HostMessages, RepeatsAreOneWithACount) {
    add("car");
    plugin.onFrame = [](FakeVehicle& v, double) {
        for (int wheel = 0; wheel < 4; ++wheel) v.hostInterface->messageBox("no ground", "Error", 0);
    };
    stage->scene.clock.now = 0;
    stage->run(10, 30);
    ASSERT_EQ(stage->messages.size(), 1U);
    EXPECT_EQ(stage->messages[0].count, 80);
    EXPECT_EQ(stage->messages[0].frame, 11) << "of the first time";
    EXPECT_EQ(stage->messages[0].text, "no ground");
    EXPECT_EQ(stage->messages[0].caption, "Error");
    EXPECT_EQ(stage->messages[0].vehicle, 0);
}

TEST_F(HostMessages, OnlyEqualOnesAreRepeats) {
    add("a");
    add("b");
    plugin.onFrame = [](FakeVehicle& v, double) {
        v.hostInterface->messageBox("text", "Error", 0);
        v.hostInterface->messageBox("text", "Warning", 0);
        v.hostInterface->messageBox("other", "Error", 0);
        v.hostInterface->messageBox("text", "Error", 0);
    };
    stage->run(0, 5);
    ASSERT_EQ(stage->messages.size(), 6U);
    for (const StageMessage& message : stage->messages)
        EXPECT_EQ(message.count, message.text == "text" && message.caption == "Error" ? 10 : 5)
            << message.vehicle << message.caption << message.text;
}

TEST_F(HostMessages, FramesAreThoseOfTheirFirstTime) {
    add("car");
    plugin.onStart = [](FakeVehicle& v, double) { v.hostInterface->messageBox("start", "Warning", 0); };
    plugin.onFrame = [&](FakeVehicle& v, double) {
        if (stage->scene.clock.now >= 7) v.hostInterface->messageBox("late", "Error", 0);
    };
    plugin.onStop = [](FakeVehicle& v, double) { v.hostInterface->messageBox("stop", "Warning", 0); };
    stage->run(3, 9);
    ASSERT_EQ(stage->messages.size(), 3U);
    EXPECT_EQ(stage->messages[0].text, "start");
    EXPECT_EQ(stage->messages[0].frame, 3);
    EXPECT_EQ(stage->messages[1].text, "late");
    EXPECT_EQ(stage->messages[1].frame, 7);
    EXPECT_EQ(stage->messages[1].count, 3);
    EXPECT_EQ(stage->messages[2].frame, 9);
}

TEST_F(HostMessages, ComeFromAnyCallAndCallNobody) {
    const auto speak = [](FakeVehicle& v, const std::string& from) { v.hostInterface->messageBox(from, "Error", 0); };
    plugin.onRig = [&](FakeVehicle& v) { speak(v, "rig"); };
    plugin.onStart = [&](FakeVehicle& v, double) { speak(v, "start"); };
    plugin.onFrame = [&](FakeVehicle& v, double) { speak(v, "frame"); };
    plugin.onShow = [&](FakeVehicle& v, double) { speak(v, "show"); };
    plugin.onStop = [&](FakeVehicle& v, double) { speak(v, "stop"); };
    plugin.onChange = [&](FakeVehicle& v, const std::string&) { speak(v, "event"); };
    Vehicle& car = add("car");
    car.edit("Number", 1.0);
    stage->run(0, 1);
    EXPECT_EQ(plugin.nested, 0);
    Lines texts;
    for (const Message& message : car.messages) texts.push_back(message.text);
    EXPECT_EQ(texts, (Lines{"rig", "event", "start", "frame", "show", "stop"}));
    EXPECT_EQ(stage->messages.size(), 6U);
    EXPECT_EQ(stage->complaints(), Lines()) << "a message is no misuse";
}

TEST_F(HostMessages, AreCollectedOutsideOfRunsToo) {
    Vehicle& car = add("car");
    plugin.onChange = [](FakeVehicle& v, const std::string&) {
        v.hostInterface->messageBox("No ground mesh available", "Error", 0);
    };
    car.edit("Flag", 1.0);
    EXPECT_EQ(car.messages.size(), 1U) << "at once";
    stage->show(4);
    ASSERT_EQ(stage->messages.size(), 1U);
    EXPECT_EQ(stage->messages[0].text, "No ground mesh available");
}

}  // namespace
}  // namespace ond::test
