#include "module/CCarCamPlugin.h"

#include "CCarCamObject.h"

namespace ond::ovs::addon {

namespace {

constexpr std::uint32_t kListTypes = 16;

/// What `make` returns, or an empty one where memory ran out: nothing may be thrown into the host.
template <typename Make>
auto orEmpty(Make make) noexcept -> decltype(make()) {
    try {
        return make();
    } catch (...) {
        return {};
    }
}

std::string text(const char* characters) noexcept {
    return orEmpty([characters] { return std::string(characters); });
}

}  // namespace

std::uint64_t CCarCamPlugin::callExtension(std::uint32_t id, void* argument) {
    if (id != kListTypes || argument == nullptr) return 0;
    auto& types = *static_cast<std::vector<std::string>*>(argument);
    types = orEmpty([] { return std::vector<std::string>{"QuadrigCar"}; });
    return 0;
}

std::vector<std::uint32_t> CCarCamPlugin::getExtensionIds() const {
    return orEmpty([] { return std::vector<std::uint32_t>{kListTypes}; });
}

CCamera* CCarCamPlugin::createCamera(const CameraCreationRecord& record) {
    return orEmpty([&record]() -> CCamera* { return new CCarCamObject(record); });
}

std::string CCarCamPlugin::getPluginName() const { return text("QuadrigExt"); }

std::string CCarCamPlugin::getTypeName() const { return text("quadrigcar"); }

std::string CCarCamPlugin::getDisplayName() const { return text("Ondra Quadrig Extended"); }

std::string CCarCamPlugin::getCategory() const { return text("Vehicle"); }

std::string CCarCamPlugin::getDescription() const {
    return text(
        "Ondra Quadrig Extended is a real-time four wheeler simulator. Parent/link the GravityDirectionMesh to a "
        "surface to use it as ground. For multiple surfaces parent/link the surfaces to the GravityDirectionMesh. For "
        "automatic following of objects attach the TargetMesh to an animated object and check the 'autonomous mode' in "
        "the Configure dialog.");
}

std::string CCarCamPlugin::getAuthor() const { return text("Ondra Quadrig"); }

std::string CCarCamPlugin::getAccessToken() const { return text("QuadrigExtAccess"); }

}  // namespace ond::ovs::addon
