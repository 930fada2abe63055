// Members whose place in memory host and module rely on.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>

#include "contract/Recorders.h"
#include "module/CCarCamPlugin.h"
#include "ond/unidevice/OutputProperty.h"

namespace contract {
namespace {

constexpr std::size_t kWord = sizeof(void*);

static_assert(std::is_standard_layout_v<CameraCreationRecord>);
static_assert(offsetof(CameraCreationRecord, hostWords) == 0);
static_assert(offsetof(CameraCreationRecord, hostObject) == 16);
static_assert(offsetof(CameraCreationRecord, name) == 24);
static_assert(offsetof(AppLink, first) == 0);
static_assert(offsetof(AppLink, descriptor) == kWord);
static_assert(sizeof(AppLink) == 2 * kWord);
static_assert(sizeof(CInterface) == 2 * kWord);
static_assert(sizeof(CCameraPlugin) == kWord);
static_assert(sizeof(addon::CCarCamPlugin) == kWord);
static_assert(sizeof(CInterface::Callback) == kWord);
static_assert(sizeof(CUndo) == 2 * kWord);
static_assert(offsetof(PluginStatus, code) == 0);
static_assert(offsetof(PluginStatus, message) == 8);
static_assert(offsetof(ond::unidevice::OutputChannelRecord, name) == 0);
static_assert(offsetof(ond::unidevice::OutputChannelRecord, type) == sizeof(std::string));

/// Distance of a member from the beginning of its object.
template <typename Object, typename Member>
std::size_t offsetIn(const Object& object, const Member& member) {
    const void* whole = &object;
    const void* part = &member;
    return static_cast<std::size_t>(static_cast<const char*>(part) - static_cast<const char*>(whole));
}

TEST(Layout, SecondWordOfTheInterfaceIsItsLink) {
    CallLog log;
    RecordingInterface host(log);
    const CInterface& base = host;
    EXPECT_EQ(offsetIn(base, base.link), kWord);
}

TEST(Layout, DescriptorIsFoundThroughTheSecondWords) {
    CallLog log;
    RecordingInterface host(log);
    RecordingPlugin plugin(log);
    AppLink link{nullptr, &plugin};
    host.link = &link;
    void* words[2];
    const void* interface = static_cast<CInterface*>(&host);
    std::memcpy(words, interface, sizeof words);
    std::memcpy(words, words[1], sizeof words);
    EXPECT_EQ(callSlot<std::uint64_t>(words[1], 13), 0x8877665544332211u);
}

TEST(Layout, MembersOfTheSceneObjectFollowTheTablePointer) {
    CallLog log;
    RecordingCamera camera({{1, 2}, 3, "Car"}, log);
    const CCamera& base = camera;
    EXPECT_EQ(offsetIn(base, base.hostObject), 8u);
    EXPECT_EQ(offsetIn(base, base.name), 16u);
    EXPECT_EQ(offsetIn(base, base.hostInterface), 16u + sizeof(std::string));
    EXPECT_EQ(sizeof(CCamera), 16u + sizeof(std::string) + kWord);
}

TEST(Layout, ListenerFollowsTheSceneObject) {
    CallLog log;
    RecordingCamera camera({{1, 2}, 3, "Car"}, log);
    EXPECT_EQ(offsetIn(camera, *static_cast<CInterface::Callback*>(&camera)), sizeof(CCamera));
}

TEST(Layout, FieldsOfPropertiesKeepTheirOrder) {
    const ond::unidevice::Property p("channel", 14);
    EXPECT_EQ(offsetIn(p, p.registered), kWord);
    EXPECT_EQ(offsetIn(p, p.source), kWord + sizeof p.registered);
    EXPECT_LT(offsetIn(p, p.source), offsetIn(p, p.name));
    EXPECT_LT(offsetIn(p, p.name), offsetIn(p, p.hostText));
    EXPECT_LT(offsetIn(p, p.hostText), offsetIn(p, p.type));
    EXPECT_LT(offsetIn(p, p.type), offsetIn(p, p.multiplier));
    EXPECT_EQ(offsetIn(p, p.multiplier) + 8, offsetIn(p, p.exponent));
    EXPECT_EQ(offsetIn(p, p.multiplier) + 16, offsetIn(p, p.deadZone));
    EXPECT_EQ(offsetIn(p, p.multiplier) + 24, offsetIn(p, p.offset));
    EXPECT_EQ(offsetIn(p, p.multiplier) + 32, offsetIn(p, p.hostData));
}

}  // namespace
}  // namespace contract
