// Descriptor of the vehicle plug-in.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "ond/ovs/CCameraPlugin.h"

namespace ond::ovs::addon {

/// The one descriptor of this module: fixed answers, no data. The contract of each operation is in CCameraPlugin.
///
/// Knows extension 16: the argument is a std::vector<std::string> of the caller, into which go the names of the
/// concrete types that createCamera() makes, and nothing else.
class CCarCamPlugin : public CCameraPlugin {
  public:
    std::uint64_t callExtension(std::uint32_t id, void* argument) override;
    [[nodiscard]] std::vector<std::uint32_t> getExtensionIds() const override;

    /// A new vehicle, for the host to keep and to end with release(). Null only where memory ran out.
    [[nodiscard]] CCamera* createCamera(const CameraCreationRecord& record) override;

    [[nodiscard]] std::string getPluginName() const override;
    [[nodiscard]] std::string getTypeName() const override;
    [[nodiscard]] std::string getDisplayName() const override;
    [[nodiscard]] std::string getCategory() const override;
    [[nodiscard]] std::string getDescription() const override;
    [[nodiscard]] std::string getAuthor() const override;
    [[nodiscard]] std::string getAccessToken() const override;
};

}  // namespace ond::ovs::addon
