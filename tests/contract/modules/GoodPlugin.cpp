// The exports and the descriptor of the sledge.
#include <cstdint>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "GoodVehicle.h"
#include "Misbehaviour.h"
#include "ond/ovs/CCameraPlugin.h"

namespace ond::test {

namespace {

constexpr std::uint32_t kListTypes = 16;
/// How often a module that changes its answers later gives the first one.
constexpr std::uint32_t kLater = 6;

/// A text as no constructor makes one: without characters, and five of them long.
std::string brokenText() {
    struct Words {
        const char* characters = nullptr;
        std::size_t length = 5;
    } words;
    std::string text;
    std::memcpy(static_cast<void*>(&text), &words, sizeof words);
    return text;
}

int g_descriptors = 0;
int g_descriptorsGone = 0;

class GoodPlugin final : public ovs::CCameraPlugin {
  public:
    std::uint64_t callExtension(std::uint32_t id, void* argument) override {
        if (am("descriptor-answers-unknown-extension") && id != kListTypes) return 1;
        if (am("descriptor-answers-a-far-extension") && id == 1000) return 1;
        if (am("descriptor-takes-any-extension") && argument != nullptr) {
            fill(argument);
            return 0;
        }
        if (id != kListTypes) return 0;
        if (argument == nullptr) return 0;
        fill(argument);
        return am("answers-types-with-1") ? 1 : 0;
    }
    std::vector<std::uint32_t> getExtensionIds() const override {
        if (am("descriptor-lists-extension-twice")) return {kListTypes, kListTypes};
        if (am("descriptor-lists-other-extensions-each-time")) return {kListTypes, 100 + m_asked++};
        if (am("descriptor-lists-other-extensions-later") && m_asked++ > kLater) return {kListTypes, 100};
        return {kListTypes};
    }
    bool hasExtension(std::uint32_t id) const override {
        if (am("descriptor-denies-extension")) return false;
        if (am("descriptor-has-every-extension")) return true;
        return CCameraPlugin::hasExtension(id);
    }

    ovs::CCamera* createCamera(const ovs::CameraCreationRecord& record) override {
        passBy("creation");
        if (am("makes-64-vehicles-at-most") && numberOfVehicles() >= 64) return nullptr;
        if (am("goes-with-the-first-descriptor") && g_descriptorsGone > 0) return nullptr;
        if (am("makes-vehicles-of-the-first-descriptor-only") && m_number > 1) return nullptr;
        if (am("makes-no-vehicle")) return nullptr;
        if (am("makes-one-vehicle-only") && m_vehicles > 0) return nullptr;
        if (am("makes-ten-vehicles-at-most") && m_vehicles >= 10) return nullptr;
        ++m_vehicles;
        if (am("makes-the-same-vehicle") && m_only != nullptr) return m_only;
        return m_only = new (std::nothrow) GoodVehicle(record);
    }

    std::string getPluginName() const override {
        passBy("description");
        if (am("name-empty")) return "";
        if (am("descriptor-is-busy-in-runs") && GoodVehicle::s_running > 0) return "busy";
        if (am("name-broken-string")) return brokenText();
        if (am("name-changes-later") && m_asked++ > kLater) return "Sledge";
        if (am("name-changes")) return "Good" + std::to_string(m_asked++);
        if (am("name-with-control-characters")) return "Good\x01\nVehicle";
        if (am("name-of-wrong-encoding")) return "Good\xff\xfeVehicle";
        return "GoodVehicle";
    }
    std::string getTypeName() const override { return am("type-name-empty") ? "" : "goodvehicle"; }
    std::string getDisplayName() const override { return am("display-name-empty") ? "" : "Good Vehicle"; }
    std::string getCategory() const override { return am("category-empty") ? "" : "Vehicle"; }
    std::string getDescription() const override {
        if (am("describes-its-runs") && GoodVehicle::s_running > 0) return "A sledge that is being pushed.";
        return "A sledge that is pushed along the ground.";
    }
    std::string getAuthor() const override { return "its tests"; }
    std::string getAccessToken() const override {
        if (am("token-too-short")) return "GoodVehicleToke";
        if (am("token-changes")) return "GoodVehicle0000" + std::to_string(m_asked++ % 10);
        return "GoodVehicleToken";
    }
    std::vector<std::string> getDependencyList() const override {
        if (am("dependency-without-name")) return {""};
        if (am("depends-on-itself")) return {"GoodVehicle"};
        return {};
    }
    bool queryStatus(ovs::PluginStatus* status) const override {
        if (am("status-without-null-test")) {
            status->code = 0;
            return true;
        }
        if (am("status-refuses")) return false;
        if (am("status-is-left-alone")) return true;
        const bool fine = CCameraPlugin::queryStatus(status);
        if (am("status-has-a-code") && status != nullptr) status->code = 3;
        if (am("status-has-a-message") && status != nullptr) status->message = "not quite ready";
        return fine;
    }
    std::uint64_t getInterfaceStamp() const override {
        if (am("stamp-of-no-edition")) return 0;
        if (am("stamp-changes")) return 9201 + m_asked++;
        if (am("stamp-changes-later") && m_asked++ > kLater) return 9202;
        if (am("stamp-counts-vehicles")) return numberOfVehicles() > 1 ? 9202 : 9201;
        return 9201;
    }
    void release() override {
        passBy("descriptor-release");
        ++g_descriptorsGone;
        delete this;
    }

  private:
    static void fill(void* argument) {
        auto& types = *static_cast<std::vector<std::string>*>(argument);
        if (!am("lists-types-behind-others")) types.clear();
        types.push_back(am("type-without-name") ? "" : "Sledge");
    }

    const int m_number = ++g_descriptors;
    mutable std::uint32_t m_asked = 0;
    int m_vehicles = 0;
    ovs::CCamera* m_only = nullptr;
};

std::uint32_t g_versionAsked = 0;
ovs::CCameraPlugin* g_shared = nullptr;

}  // namespace

}  // namespace ond::test

extern "C" {

__attribute__((visibility("default"))) std::uint32_t getVersion() {
    using ond::test::am;
    ond::test::passBy("version");
    if (am("version-249")) return 249;
    if (am("version-251")) return 251;
    if (am("version-changes-later") && ond::test::g_versionAsked++ > ond::test::kLater) return 251;
    if (am("version-changes")) return ond::test::g_versionAsked++ == 0 ? 250 : 251;
    return 250;
}

__attribute__((visibility("default"))) ond::ovs::CCameraPlugin* getPlugin(std::uint32_t index) {
    using ond::test::am;
    using ond::test::g_shared;
    ond::test::passBy("enumeration");
    if (am("plugins-without-end")) return new (std::nothrow) ond::test::GoodPlugin;
    if (am("two-plugins-of-one-name")) return index < 2 ? new (std::nothrow) ond::test::GoodPlugin : nullptr;
    if (am("plugin-at-every-high-index") && index > 1000) return new (std::nothrow) ond::test::GoodPlugin;
    if (am("no-plugin")) return nullptr;
    if (am("plugin-at-index-seven") && index == 7) return new (std::nothrow) ond::test::GoodPlugin;
    if (index != 0) ond::test::passBy("refused-enumeration");
    if (index != 0) return nullptr;
    if (am("shares-its-descriptor")) {
        if (g_shared == nullptr) g_shared = new (std::nothrow) ond::test::GoodPlugin;
        return g_shared;
    }
    return new (std::nothrow) ond::test::GoodPlugin;
}

/// Leaves the module under one of the export maps only.
__attribute__((visibility("default"))) int thirdExport() { return 7; }

}  // extern "C"
