// What a host gives out: handles, transforms, appearances, surfaces and cameras of elements.
#pragma once

#include <string>

#include "ond/ovs/AppearanceObject.h"
#include "ond/ovs/CameraObject.h"
#include "ond/ovs/MeshHandle.h"
#include "ond/ovs/SurfaceObject.h"
#include "ond/ovs/TransformObject.h"
#include "stage/Vehicle.h"

namespace ond::stage {

class HostHandle final : public ovs::MeshHandle {
  public:
    HostHandle(Vehicle& host, Element& shown) : m_host(host), element(shown) {}

    void* callExtension(std::uint32_t id, void* argument) override;
    [[nodiscard]] bool hasExtension(std::uint32_t id) override;
    void show() override;
    void hide() override;
    [[nodiscard]] bool isShown() override;
    void rigBuilt() override;
    [[nodiscard]] ovs::MeshHandle* getParent() override;
    [[nodiscard]] std::int32_t getNumChildren() override;
    [[nodiscard]] ovs::MeshHandle* getChild(std::int32_t index) override;
    void releaseHandle(ovs::MeshHandle* handle) override;
    [[nodiscard]] std::string getName() override;

  private:
    Vehicle& m_host;

  public:
    Element& element;
};

/// What the four kinds of objects have in common: whose they are, of what, and whether they are out.
struct Lent {
    Vehicle* host = nullptr;
    Element* element = nullptr;
    double time = 0.0;
    bool out = false;

    /// Complains when the object is used after its release or that of the vehicle.
    /// @return whether it may be used
    bool use(const char* operation) const;
};

/// Of an element that is deleted while the object is out, the matrices can still be read; writing them does nothing.
class HostTransform final : public ovs::TransformObject {
  public:
    void readLocalMatrix(util::Matrix4& out) override;
    void setLocalMatrix(const util::Matrix4& matrix) override;
    void readWorldMatrix(util::Matrix4& out) override;
    void setWorldMatrix(const util::Matrix4& matrix) override;
    Lent lent;

  private:
    /// Complains of what is not finite, and of writing in a run what the user places.
    void checkWrite(const char* operation, const util::Matrix4& matrix) const;
};

/// Takes nothing for a deleted element.
class HostAppearance final : public ovs::AppearanceObject {
  public:
    void useOwnColour(bool on) override;
    void setWireframe(bool on) override;
    void setColour(float red, float green, float blue) override;
    Lent lent;
};

class HostSurface final : public ovs::SurfaceObject {
  public:
    void getMesh(util::CMesh& out) override;
    bool intersect(const util::Vector3<double>& origin, const util::Vector3<double>& direction, double* t,
                   util::Vector3<double>* normal) override;
    Lent lent;
};

/// Takes nothing for a deleted element.
class HostCamera final : public ovs::CameraObject {
  public:
    void setFieldOfView(double degrees) override;
    Lent lent;
};

}  // namespace ond::stage
