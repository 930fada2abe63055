// What the watching host gives out: handles, transforms, appearances, surfaces and cameras of elements. Each knows
// whether it is out, and tells when it is used after it was given back, or destroyed by the module.
#pragma once

#include <set>
#include <string>

#include "ond/ovs/AppearanceObject.h"
#include "ond/ovs/CameraObject.h"
#include "ond/ovs/MeshHandle.h"
#include "ond/ovs/SurfaceObject.h"
#include "ond/ovs/TransformObject.h"
#include "validate/StrictHost.h"

namespace ond::validate {

/// Set while the host destroys objects of its own; a destructor that runs at another time was called by the module.
class HostFrees {
  public:
    HostFrees() : m_before(s_frees) { s_frees = true; }
    HostFrees(const HostFrees&) = delete;
    HostFrees& operator=(const HostFrees&) = delete;
    ~HostFrees() { s_frees = m_before; }
    [[nodiscard]] static bool now() { return s_frees; }
    /// Ends the test with a finding unless the host destroys objects now.
    static void require(Check& check, const std::string& what);

  private:
    bool m_before;
    static inline bool s_frees = false;
};

/// What the lent objects have in common.
struct Lent {
    StrictHost* host = nullptr;
    stage::Element* element = nullptr;
    double time = 0.0;
    bool out = false;
    bool kept = false;  ///< left out where the contract allows it

    /// Complains when the object is used after it was given back.
    /// @return whether it may be used
    bool use(const char* operation) const;
    /// The same for what changes the element.
    /// @return whether there is something to be changed
    bool change(const char* operation) const;
    /// "the transform object of 'Box'"
    [[nodiscard]] std::string shown(const char* kind) const;
};

class WatchedHandle final : public ovs::MeshHandle {
  public:
    /// @param from the element whose getParent() or getChild() gives it; null for what was created or found
    WatchedHandle(StrictHost& host, stage::Element& of, const stage::Element* from)
        : element(of), giver(from), m_host(host) {}
    ~WatchedHandle() override { HostFrees::require(m_host.check, "an element handle"); }

    void* callExtension(std::uint32_t id, void* argument) override;
    void reserved1() override { reserved(1); }
    [[nodiscard]] bool hasExtension(std::uint32_t id) override;
    void show() override;
    void hide() override;
    [[nodiscard]] bool isShown() override;
    void rigBuilt() override;
    void reserved7() override { reserved(7); }
    [[nodiscard]] ovs::MeshHandle* getParent() override;
    [[nodiscard]] std::int32_t getNumChildren() override;
    [[nodiscard]] ovs::MeshHandle* getChild(std::int32_t index) override;
    void releaseHandle(ovs::MeshHandle* handle) override;
    [[nodiscard]] std::string getName() override;

    stage::Element& element;
    const stage::Element* const giver;
    bool released = false;  ///< through releaseHandle()

  private:
    void reserved(int slot);
    /// @return whether the operation is to be done
    bool use(const char* operation);
    /// The same for what changes the element.
    bool change(const char* operation);

    StrictHost& m_host;
};

class WatchedTransform final : public ovs::TransformObject {
  public:
    static constexpr const char* kKind = "transform object";
    ~WatchedTransform() override { HostFrees::require(lent.host->check, "a transform object"); }
    void reserved0() override { reserved(); }
    void reserved1() override { reserved(); }
    void reserved2() override { reserved(); }
    void readLocalMatrix(util::Matrix4& out) override;
    void setLocalMatrix(const util::Matrix4& matrix) override;
    void readWorldMatrix(util::Matrix4& out) override;
    void setWorldMatrix(const util::Matrix4& matrix) override;
    Lent lent;

  private:
    void reserved();
    bool takes(const char* operation, const util::Matrix4& matrix) const;
    void requireFinite(const util::Matrix4& matrix) const;
};

/// Takes nothing for a deleted element.
class WatchedAppearance final : public ovs::AppearanceObject {
  public:
    static constexpr const char* kKind = "appearance object";
    ~WatchedAppearance() override { HostFrees::require(lent.host->check, "an appearance object"); }
    void reserved0() override { reserved(); }
    void reserved1() override { reserved(); }
    void reserved2() override { reserved(); }
    void reserved3() override { reserved(); }
    void useOwnColour(bool on) override;
    void setWireframe(bool on) override;
    void setColour(float red, float green, float blue) override;
    Lent lent;
    bool hasColour = false, hasWireframe = false;  ///< were set since it was lent

  private:
    void reserved();
    void requireOrder(bool holds, const char* operation) const;
};

class WatchedSurface final : public ovs::SurfaceObject {
  public:
    static constexpr const char* kKind = "surface object";
    ~WatchedSurface() override { HostFrees::require(lent.host->check, "a surface object"); }
    void reserved0() override { reserved(); }
    void reserved1() override { reserved(); }
    void reserved2() override { reserved(); }
    void reserved3() override { reserved(); }
    void getMesh(util::CMesh& out) override;
    bool intersect(const util::Vector3<double>& origin, const util::Vector3<double>& direction, double* t,
                   util::Vector3<double>* normal) override;
    Lent lent;

  private:
    void reserved();
};

class WatchedCamera final : public ovs::CameraObject {
  public:
    static constexpr const char* kKind = "camera object";
    ~WatchedCamera() override { HostFrees::require(lent.host->check, "a camera object"); }
    void reserved0() override { reserved(); }
    void reserved1() override { reserved(); }
    void reserved2() override { reserved(); }
    void reserved3() override { reserved(); }
    void setFieldOfView(double degrees) override;
    Lent lent;

  private:
    void reserved();
};

}  // namespace ond::validate
