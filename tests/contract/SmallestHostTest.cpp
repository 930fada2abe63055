// A host that knows the contract and nothing else drives modules that know the contract and nothing else.
#include "contract/SmallestHost.h"

#include <gtest/gtest.h>

namespace smallest {
namespace {

TEST(SmallestHost, RunsTheSmallestPluginThroughItsWholeLife) {
    const Module module(SMALLEST_PLUGIN_PATH);
    ASSERT_TRUE(module.isLoaded()) << dlerror();
    EXPECT_EQ(module.version(), 250u);
    CCameraPlugin* plugin = module.plugin(0);
    ASSERT_NE(plugin, nullptr);
    EXPECT_EQ(module.plugin(1), nullptr);
    EXPECT_EQ(plugin->getTypeName(), "SlidingBox");
    {
        Host host(plugin);
        CCamera* object = host.create("Car");
        ASSERT_NE(object, nullptr);
        EXPECT_EQ(object->hostObject, 77u);
        EXPECT_EQ(object->name, "Car");
        EXPECT_EQ(object->declareParameters(), 0u);
        EXPECT_TRUE(host.dialogIsWhole);
        EXPECT_EQ(object->createRig(), 0u);
        ASSERT_EQ(host.elements.count("Box"), 1u);
        EXPECT_EQ(host.elements.at("Box").getName(), "Car_Box");

        *host.dialog.at("Speed").field = 5.0;
        host.dialog.at("Speed").callback->onParameterChanged("Speed");
        ASSERT_EQ(host.undoStack.size(), 1u);
        host.undoStack.back()->undo(true);
        host.undoStack.back()->redo();
        EXPECT_EQ(host.messages,
                  (std::vector<std::string>{"Warning: Speed", "Warning: REALUNDOSpeed", "Warning: REALREDOSpeed"}));

        object->startRun(0.0);
        for (int frame = 1; frame <= 25; ++frame) {
            host.now = frame * 0.04;
            object->updateFrame(host.now);
        }
        object->stopRun(host.now);
        EXPECT_NEAR(host.elements.at("Box").world.row(3).z, -5.0, 1e-12);
        EXPECT_EQ(host.transformsOut, 0);

        EXPECT_EQ(object->saveState(), 0u);
        for (CUndo* record : host.undoStack) record->release();
        host.undoStack.clear();
        object->release();

        CCamera* again = host.create("Car");
        ASSERT_NE(again, nullptr);
        again->declareParameters();
        EXPECT_EQ(*host.dialog.at("Speed").field, 1.0);
        EXPECT_EQ(again->loadState(), 0u);
        EXPECT_EQ(*host.dialog.at("Speed").field, 5.0);
        again->release();
    }
    plugin->release();
}

TEST(SmallestHost, FailedLoadIsAnsweredAndReleased) {
    const Module module(SMALLEST_PLUGIN_PATH);
    ASSERT_TRUE(module.isLoaded()) << dlerror();
    CCameraPlugin* plugin = module.plugin(0);
    ASSERT_NE(plugin, nullptr);
    Host host(plugin);
    CCamera* object = host.create("Car");
    ASSERT_NE(object, nullptr);
    object->declareParameters();
    EXPECT_EQ(object->loadState(), 1u);
    object->release();
    plugin->release();
}

TEST(SmallestHost, ReadsTheDescriptorOfTheVehicleModule) {
    const Module module(VEHICLE_MODULE_PATH);
    ASSERT_TRUE(module.isLoaded()) << dlerror();
    EXPECT_EQ(module.version(), 250u);
    CCameraPlugin* plugin = module.plugin(0);
    ASSERT_NE(plugin, nullptr);
    EXPECT_EQ(plugin->getPluginName(), "QuadrigExt");
    EXPECT_EQ(plugin->getTypeName(), "quadrigcar");
    ASSERT_TRUE(plugin->hasExtension(16));
    std::vector<std::string> types;
    plugin->callExtension(16, &types);
    EXPECT_EQ(types, std::vector<std::string>{"QuadrigCar"});
    plugin->release();
}

}  // namespace
}  // namespace smallest
