// What an implementation gets when it overrides only what has no default.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "ond/ovs/CCamera.h"
#include "ond/ovs/CCameraPlugin.h"
#include "ond/ovs/MeshHandle.h"

namespace ond::ovs {
namespace {

class PlainCamera : public CCamera {
  public:
    PlainCamera(const CameraCreationRecord& record, int& count) : CCamera(record), alive(count) { ++alive; }
    ~PlainCamera() override { --alive; }

  private:
    int& alive;
};

class PlainPlugin : public CCameraPlugin {
  public:
    explicit PlainPlugin(int& count) : alive(count) { ++alive; }
    ~PlainPlugin() override { --alive; }
    CCamera* createCamera(const CameraCreationRecord&) override { return nullptr; }
    std::string getPluginName() const override { return "plain"; }
    std::string getDisplayName() const override { return "Plain"; }
    std::string getCategory() const override { return "Tests"; }
    std::string getAccessToken() const override { return "0123456789abcdef"; }

  private:
    int& alive;
};

class ListingPlugin : public PlainPlugin {
  public:
    using PlainPlugin::PlainPlugin;
    std::vector<std::uint32_t> getExtensionIds() const override { return {5, 16, 0xFFFFFFFFu}; }
};

class PlainHandle : public MeshHandle {
  public:
    void show() override {}
    void hide() override {}
    bool isShown() override { return true; }
    MeshHandle* getParent() override { return nullptr; }
    std::int32_t getNumChildren() override { return 0; }
    MeshHandle* getChild(std::int32_t) override { return nullptr; }
    std::string getName() override { return {}; }
};

TEST(CCameraPlugin, TypeNameIsThePluginNameUnlessToldOtherwise) {
    int alive = 0;
    PlainPlugin plugin(alive);
    EXPECT_EQ(plugin.getTypeName(), "plain");
}

TEST(CCameraPlugin, DefaultsSayNothingAndReady) {
    int alive = 0;
    PlainPlugin plugin(alive);
    EXPECT_EQ(plugin.getDescription(), "");
    EXPECT_EQ(plugin.getAuthor(), "");
    EXPECT_TRUE(plugin.getDependencyList().empty());
    PluginStatus status{7, "left over"};
    EXPECT_TRUE(plugin.queryStatus(&status));
    EXPECT_EQ(status.code, 0u);
    EXPECT_EQ(status.message, "");
    EXPECT_TRUE(plugin.queryStatus(nullptr));
    EXPECT_EQ(plugin.getInterfaceStamp(), 9201u);
}

TEST(CCameraPlugin, ReleaseDestroysTheDerivedObject) {
    int alive = 0;
    CCameraPlugin* plugin = new PlainPlugin(alive);
    EXPECT_EQ(alive, 1);
    plugin->release();
    EXPECT_EQ(alive, 0);
}

TEST(CExtendable, KnowsNoExtensionByDefault) {
    int alive = 0;
    PlainPlugin plugin(alive);
    EXPECT_TRUE(plugin.getExtensionIds().empty());
    EXPECT_FALSE(plugin.hasExtension(16));
    std::vector<std::string> list = {"kept"};
    EXPECT_EQ(plugin.callExtension(16, &list), 0u);
    EXPECT_EQ(list, std::vector<std::string>{"kept"});
}

TEST(CExtendable, SearchesTheListOfTheDerivedClass) {
    int alive = 0;
    ListingPlugin plugin(alive);
    EXPECT_TRUE(plugin.hasExtension(5));
    EXPECT_TRUE(plugin.hasExtension(16));
    EXPECT_TRUE(plugin.hasExtension(0xFFFFFFFFu));
    EXPECT_FALSE(plugin.hasExtension(6));
    EXPECT_FALSE(plugin.hasExtension(0));
}

TEST(CCamera, CopiesTheCreationRecordAndWaitsForItsInterface) {
    int alive = 0;
    CameraCreationRecord record{{11, 12}, 0x1234567890ABCDEFu, "Car"};
    PlainCamera camera(record, alive);
    record.name = "renamed";
    EXPECT_EQ(camera.hostObject, 0x1234567890ABCDEFu);
    EXPECT_EQ(camera.name, "Car");
    EXPECT_EQ(camera.hostInterface, nullptr);
}

TEST(CCamera, DefaultsDoNothingAndAnswer0) {
    int alive = 0;
    PlainCamera camera({{0, 0}, 0, "Car"}, alive);
    int argument = 9;
    EXPECT_EQ(camera.callExtension(40, &argument), 0u);
    EXPECT_EQ(argument, 9);
    EXPECT_FALSE(camera.hasExtension(40));
    camera.startRun(1.0);
    camera.updateFrame(1.04);
    camera.stopRun(1.04);
    camera.showFrame(0.0);
    EXPECT_EQ(camera.declareParameters(), 0u);
    EXPECT_EQ(camera.createRig(), 0u);
    EXPECT_EQ(camera.loadState(), 0u);
    EXPECT_EQ(camera.saveState(), 0u);
    EXPECT_EQ(camera.hostInterface, nullptr);
}

TEST(CCamera, ReleaseDestroysTheDerivedObject) {
    int alive = 0;
    CCamera* camera = new PlainCamera({{0, 0}, 0, "Car"}, alive);
    EXPECT_EQ(alive, 1);
    camera->release();
    EXPECT_EQ(alive, 0);
}

TEST(MeshHandle, KnowsNoExtensionByDefaultAndIgnoresTheRest) {
    PlainHandle handle;
    EXPECT_FALSE(handle.hasExtension(31));
    EXPECT_EQ(handle.callExtension(31, &handle), nullptr);
    EXPECT_EQ(handle.callExtension(17, nullptr), nullptr);
    handle.rigBuilt();
    handle.releaseHandle(nullptr);
    handle.releaseHandle(&handle);
    EXPECT_TRUE(handle.isShown());
}

}  // namespace
}  // namespace ond::ovs
