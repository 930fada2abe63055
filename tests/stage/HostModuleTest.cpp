// Files that are no module, or none that this host can use: one sentence each, and nothing is called that is not known.
#include <dlfcn.h>

#include "stage/FakeVehicle.h"
#include "stage/TakeTests.h"

namespace ond::test {
namespace {

/// What making a stage of the module says.
std::string errorOfStage(const std::string& path) {
    return errorOf([&] {
        const Module module(path);
        const Stage stage(module);
    });
}

TEST(HostModule, OfAnotherVersionIsRefusedBeforeADescriptorIsAskedFor) {
    EXPECT_EQ(errorOfStage(TEST_MODULES "/WrongVersion.so"),
              "the vehicle module speaks version 251 of the contract, this host speaks 250");
    void* library = dlopen(TEST_MODULES "/WrongVersion.so", RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr);
    auto* asked = reinterpret_cast<int (*)()>(dlsym(library, "timesAsked"));
    ASSERT_NE(asked, nullptr);
    EXPECT_EQ(asked(), 0);
    dlclose(library);
}

TEST(HostModule, WithoutAPluginIsRefused) {
    EXPECT_EQ(errorOfStage(TEST_MODULES "/WithoutPlugin.so"), "the module offers no vehicle");
}

TEST(HostModule, WithoutAnExportIsRefusedByItsName) {
    EXPECT_EQ(errorOfStage(TEST_MODULES "/WithoutExport.so"), "the module exports no getPlugin");
    EXPECT_EQ(errorOfStage(TEST_MODULES "/NoModule.so"), "the module exports no getVersion");
}

TEST(HostModule, MissingFileIsNamed) {
    const std::string text = errorOfStage(TEST_MODULES "/Nothing.so");
    EXPECT_EQ(text.find("the vehicle module cannot be loaded: "), 0U) << text;
    EXPECT_NE(text.find("Nothing.so"), std::string::npos) << text;
}

TEST(HostModule, HasOneDescriptor) {
    ovs::CCameraPlugin* first = vehicleModule().plugin(0);
    ASSERT_NE(first, nullptr);
    first->release();
    EXPECT_EQ(vehicleModule().version(), 250U);
    EXPECT_EQ(vehicleModule().plugin(1), nullptr);
}

}  // namespace
}  // namespace ond::test
