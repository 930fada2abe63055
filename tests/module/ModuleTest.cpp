// The built vehicle module as a host meets it: a file, two names, and a table behind a pointer.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <string>
#include <vector>

#include "contract/RawTable.h"
#include "module/DynamicSymbols.h"
#include "ond/ovs/CCamera.h"
#include "ond/ovs/CCameraPlugin.h"

namespace {

/// While true, every request for memory in this process fails.
bool memoryIsOut = false;
/// Requests that failed for it.
int refusals = 0;

void* allocate(std::size_t size) {
    if (memoryIsOut) ++refusals;
    return memoryIsOut ? nullptr : std::malloc(size == 0 ? 1 : size);
}

}  // namespace

void* operator new(std::size_t size) {
    if (void* memory = allocate(size)) return memory;
    throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    const auto unit = static_cast<std::size_t>(alignment);
    if (memoryIsOut) ++refusals;
    return memoryIsOut ? nullptr : std::aligned_alloc(unit, (size + unit - 1) / unit * unit);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    if (void* memory = ::operator new(size, alignment, std::nothrow)) return memory;
    throw std::bad_alloc();
}
// Not inlined: next to a `new` of the same function, free() looks like the wrong partner to the compiler.
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::align_val_t) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }

namespace module {
namespace {

using contract::callSlot;
using ond::ovs::CameraCreationRecord;
using ond::ovs::CCamera;
using ond::ovs::CCameraPlugin;
using ond::ovs::PluginStatus;
using Ids = std::vector<std::uint32_t>;
using Strings = std::vector<std::string>;

const char* const kDescription =
    "Ondra Quadrig Extended is a real-time four wheeler simulator. Parent/link the GravityDirectionMesh to a surface "
    "to use it as ground. For multiple surfaces parent/link the surfaces to the GravityDirectionMesh. For automatic "
    "following of objects attach the TargetMesh to an animated object and check the 'autonomous mode' in the Configure "
    "dialog.";

TEST(ModuleFile, ExportsExactlyTwoNames) {
    const DynamicSymbols symbols = ElfFile(VEHICLE_MODULE_PATH).dynamicSymbols();
    EXPECT_EQ(symbols.exported, (std::set<std::string>{"getPlugin", "getVersion"}));
}

TEST(ModuleFile, BaseNameHasNoPrefix) {
    EXPECT_EQ(std::filesystem::path(VEHICLE_MODULE_PATH).stem(), "quadrigextended");
    EXPECT_EQ(std::filesystem::path(VEHICLE_MODULE_PATH).extension(), ".so");
}

const std::vector<std::string> kSystemLibraries = {"libc.so.6", "libm.so.6", "libstdc++.so.6", "libgcc_s.so.1"};

/// Libraries that the module may load: the system's and the double-precision build of the ray caster's.
bool isKnownLibrary(const std::string& name) {
    if (std::find(kSystemLibraries.begin(), kSystemLibraries.end(), name) != kSystemLibraries.end()) return true;
    if (name.rfind("ld-linux", 0) == 0) return true;
    for (const char* prefix :
         {"libBulletDynamics-float64.so.", "libBulletCollision-float64.so.", "libLinearMath-float64.so."})
        if (name.rfind(prefix, 0) == 0) return true;
    return false;
}

bool belongsToSanitizer(const std::string& symbol) {
    if (!MODULE_IS_SANITIZED) return false;
    for (const char* prefix : {"__asan_", "__ubsan_", "__sanitizer_"})
        if (symbol.rfind(prefix, 0) == 0) return true;
    return false;
}

TEST(ModuleFile, NeedsNothingOfAHost) {
    const DynamicSymbols symbols = ElfFile(VEHICLE_MODULE_PATH).dynamicSymbols();
    std::vector<void*> system;
    std::vector<std::string> names = kSystemLibraries;
    for (const std::string& name : symbols.neededLibraries)
        if (isKnownLibrary(name)) names.push_back(name);
    for (const std::string& name : names) {
        system.push_back(dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL));
        ASSERT_NE(system.back(), nullptr) << dlerror();
    }
    ASSERT_FALSE(symbols.needed.empty());
    for (const std::string& symbol : symbols.needed) {
        if (belongsToSanitizer(symbol)) continue;
        bool found = false;
        for (void* library : system) found = found || dlsym(library, symbol.c_str()) != nullptr;
        EXPECT_TRUE(found) << symbol << " is in no library of the system";
    }
    for (void* library : system) dlclose(library);
}

TEST(ModuleFile, LoadsOnlyLibrariesOfTheSystem) {
    const DynamicSymbols symbols = ElfFile(VEHICLE_MODULE_PATH).dynamicSymbols();
    EXPECT_FALSE(symbols.neededLibraries.empty());
    for (const std::string& name : symbols.neededLibraries) EXPECT_TRUE(isKnownLibrary(name)) << name;
}

/// The module loaded as a host does it, without a link to it.
class LoadedModule : public testing::Test {
  protected:
    void SetUp() override {
        library = dlopen(VEHICLE_MODULE_PATH, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(library, nullptr) << dlerror();
        getVersion = reinterpret_cast<std::uint32_t (*)()>(dlsym(library, "getVersion"));
        getPlugin = reinterpret_cast<CCameraPlugin* (*)(std::uint32_t)>(dlsym(library, "getPlugin"));
        ASSERT_NE(getVersion, nullptr);
        ASSERT_NE(getPlugin, nullptr);
    }
    void TearDown() override {
        memoryIsOut = false;
        if (library != nullptr) dlclose(library);
    }

    void* library = nullptr;
    std::uint32_t (*getVersion)() = nullptr;
    CCameraPlugin* (*getPlugin)(std::uint32_t) = nullptr;
};

TEST_F(LoadedModule, TellsTheVersionOfTheContract) { EXPECT_EQ(getVersion(), 250u); }

TEST_F(LoadedModule, HasOnePlugin) {
    CCameraPlugin* first = getPlugin(0);
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(getPlugin(1), nullptr);
    EXPECT_EQ(getPlugin(2), nullptr);
    EXPECT_EQ(getPlugin(0xFFFFFFFFu), nullptr);
    first->release();
}

TEST_F(LoadedModule, HigherIndicesAllocateNothing) {
    refusals = 0;
    memoryIsOut = true;
    const bool isNull = getPlugin(1) == nullptr && getPlugin(7) == nullptr;
    memoryIsOut = false;
    EXPECT_TRUE(isNull);
    EXPECT_EQ(refusals, 0);
}

TEST_F(LoadedModule, EachCallMakesANewDescriptor) {
    CCameraPlugin* first = getPlugin(0);
    CCameraPlugin* second = getPlugin(0);
    EXPECT_NE(first, second);
    first->release();
    EXPECT_EQ(second->getPluginName(), "QuadrigExt");
    second->release();
}

TEST_F(LoadedModule, WithoutMemoryThereIsNoDescriptor) {
    refusals = 0;
    memoryIsOut = true;
    const bool isNull = getPlugin(0) == nullptr;
    memoryIsOut = false;
    EXPECT_TRUE(isNull);
    EXPECT_EQ(refusals, 1);
}

class Descriptor : public LoadedModule {
  protected:
    void SetUp() override {
        LoadedModule::SetUp();
        if (HasFatalFailure()) return;
        plugin = getPlugin(0);
        ASSERT_NE(plugin, nullptr);
    }
    void TearDown() override {
        memoryIsOut = false;
        if (plugin != nullptr) plugin->release();
        LoadedModule::TearDown();
    }
    CCameraPlugin* plugin = nullptr;
};

TEST_F(Descriptor, TellsItsTexts) {
    EXPECT_EQ(plugin->getPluginName(), "QuadrigExt");
    EXPECT_EQ(plugin->getDisplayName(), "Ondra Quadrig Extended");
    EXPECT_EQ(plugin->getCategory(), "Vehicle");
    EXPECT_EQ(plugin->getDescription(), kDescription);
    EXPECT_EQ(plugin->getAuthor(), "Ondra Quadrig");
    EXPECT_EQ(plugin->getAccessToken().size(), 16u);
    EXPECT_EQ(plugin->getAccessToken(), "QuadrigExtAccess");
}

TEST_F(Descriptor, TypeNameIsNotThePluginName) { EXPECT_EQ(plugin->getTypeName(), "quadrigcar"); }

TEST_F(Descriptor, KnowsExtension16Only) {
    EXPECT_EQ(plugin->getExtensionIds(), Ids{16});
    EXPECT_TRUE(plugin->hasExtension(16));
    EXPECT_FALSE(plugin->hasExtension(40));
    EXPECT_FALSE(plugin->hasExtension(0));
}

TEST_F(Descriptor, Extension16ReplacesTheList) {
    Strings types = {"one", "two", "three"};
    EXPECT_EQ(plugin->callExtension(16, &types), 0u);
    EXPECT_EQ(types, Strings{"QuadrigCar"});
    Strings none;
    EXPECT_EQ(plugin->callExtension(16, &none), 0u);
    EXPECT_EQ(none, Strings{"QuadrigCar"});
    EXPECT_EQ(plugin->callExtension(16, nullptr), 0u);
}

TEST_F(Descriptor, OtherExtensionsLeaveTheListAlone) {
    for (const std::uint32_t id : {0u, 15u, 17u, 40u, 41u, 0x10010u}) {
        Strings types = {"one", "two"};
        EXPECT_EQ(plugin->callExtension(id, &types), 0u);
        EXPECT_EQ(types, (Strings{"one", "two"}));
    }
}

TEST_F(Descriptor, IsReadyAndDependsOnNothing) {
    EXPECT_TRUE(plugin->getDependencyList().empty());
    PluginStatus status{99, "old text"};
    EXPECT_TRUE(plugin->queryStatus(&status));
    EXPECT_EQ(status.code, 0u);
    EXPECT_TRUE(status.message.empty());
    EXPECT_EQ(plugin->getInterfaceStamp(), 9201u);
}

TEST_F(Descriptor, AnswersThroughTheRawTable) {
    void* p = plugin;
    Strings types = {"one"};
    EXPECT_EQ(callSlot<std::uint64_t>(p, 0, std::uint32_t{16}, static_cast<void*>(&types)), 0u);
    EXPECT_EQ(types, Strings{"QuadrigCar"});
    EXPECT_EQ(callSlot<Ids>(p, 1), Ids{16});
    EXPECT_TRUE((callSlot<bool>(p, 2, std::uint32_t{16})));
    EXPECT_FALSE((callSlot<bool>(p, 2, std::uint32_t{40})));
    const Strings texts = {"QuadrigExt", "quadrigcar",    "Ondra Quadrig Extended", "Vehicle",
                           kDescription, "Ondra Quadrig", "QuadrigExtAccess"};
    for (std::size_t i = 0; i < texts.size(); ++i) EXPECT_EQ(callSlot<std::string>(p, 4 + i), texts[i]);
    EXPECT_TRUE(callSlot<Strings>(p, 11).empty());
    PluginStatus status{99, "old text"};
    EXPECT_TRUE((callSlot<bool>(p, 12, &status)));
    EXPECT_EQ(status.code, 0u);
    EXPECT_TRUE(status.message.empty());
    EXPECT_EQ(callSlot<std::uint64_t>(p, 13), 9201u);
}

TEST_F(Descriptor, EndsThroughReleaseOrItsDestructorSlot) {
    callSlot<void>(getPlugin(0), 14);
    callSlot<void>(getPlugin(0), 16);
}

TEST_F(Descriptor, MakesVehiclesThatHaveExtension40AndAreIndependent) {
    const CameraCreationRecord record{{0, 0}, 77, "Car"};
    CCamera* first = plugin->createCamera(record);
    CCamera* second = plugin->createCamera(record);
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    EXPECT_NE(first, second);
    EXPECT_TRUE(first->hasExtension(40));
    EXPECT_FALSE(first->hasExtension(16));
    EXPECT_EQ(first->getExtensionIds(), Ids{40});
    EXPECT_EQ(first->hostObject, 77u);
    EXPECT_EQ(first->name, "Car");
    EXPECT_EQ(first->hostInterface, nullptr);
    first->release();
    EXPECT_TRUE(second->hasExtension(40));
    second->release();
}

TEST_F(Descriptor, NothingIsThrownWithoutMemory) {
    Strings types = {"one"};
    const CameraCreationRecord record{{0, 0}, 0, "Car"};
    memoryIsOut = true;
    const bool sawExtension = plugin->hasExtension(16);
    const std::string description = plugin->getDescription();
    const std::string display = plugin->getDisplayName();
    const Ids ids = plugin->getExtensionIds();
    const std::uint64_t answer = plugin->callExtension(16, &types);
    CCamera* vehicle = plugin->createCamera(record);
    memoryIsOut = false;
    EXPECT_FALSE(sawExtension);
    EXPECT_EQ(description, "");
    EXPECT_EQ(display, "");
    EXPECT_TRUE(ids.empty());
    EXPECT_EQ(answer, 0u);
    EXPECT_TRUE(types.empty());
    EXPECT_EQ(vehicle, nullptr);
}

}  // namespace
}  // namespace module
