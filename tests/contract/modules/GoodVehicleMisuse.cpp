// What the sledge does with its host against the contract, where one line in its place would not do.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "GoodVehicle.h"
#include "Misbehaviour.h"
#include "ond/ovs/CameraObject.h"
#include "ond/ovs/SurfaceObject.h"
#include "ond/unidevice/OutputProperty.h"

namespace ond::test {

namespace {

using ovs::MeshHandle;
using ovs::SurfaceObject;
using ovs::TransformObject;

constexpr double kNoTime = std::numeric_limits<double>::quiet_NaN();

// What vehicles have in common, where they must not.
std::vector<const GoodVehicle*> g_vehicles;

/// Goes down into a flat block as far as its own numbers say.
// The depth is the point. NOLINTNEXTLINE(misc-no-recursion)
const char* walk(const char* chunk) {
    std::int32_t head[3];
    std::memcpy(head, chunk, sizeof head);
    volatile char room[256] = {*chunk};
    const char* at = chunk + sizeof head + (head[2] + head[0] + 0 * room[0]);
    if (head[0] < 0 || head[2] < 0 || head[0] > 1 << 20 || head[2] > 1 << 20) return chunk;
    for (std::int32_t i = 0; i < std::min(head[1], 64); ++i) at = walk(at);
    return at;
}

}  // namespace

int numberOfVehicles() { return static_cast<int>(g_vehicles.size()); }

void GoodVehicle::enterList() { g_vehicles.push_back(this); }

void GoodVehicle::leaveList() {
    if (!am("lists-vehicles-that-are-gone")) std::erase(g_vehicles, this);
}

void GoodVehicle::minglesWithOthers() {
    if (am("lists-vehicles-that-are-gone"))
        for (const GoodVehicle* other : g_vehicles)
            if (other->m_body != nullptr && other->m_body->isShown()) m_speed += 1e-9 * other->m_speed;
    if (am("counts-on-who-was-there-at-the-start") && m_others != numberOfVehicles()) std::abort();
}

void GoodVehicle::misuseElementsInRig() {
    if (am("surface-at-no-time")) hostInterface->releaseSurfaceObject(hostInterface->getSurfaceObject(m_body, kNoTime));
    if (am("lens-at-no-time")) hostInterface->releaseCameraObject(hostInterface->getCameraObject(m_camera, kNoTime));
    if (am("two-roots-built")) m_arrow->rigBuilt();
    if (am("branch-built")) m_wheel->rigBuilt();
}

void GoodVehicle::misuseChannels() {
    if (m_gas == nullptr || m_output == nullptr) return;
    if (am("renames-its-channel")) m_gas->name = "Throttle";
    if (am("turns-its-channel-two-ways")) m_gas->type = 14;
    if (am("unplugs-its-channel")) m_gas->source = nullptr;
    if (am("writes-the-hosts-text")) m_gas->hostText = "sledge";
    if (am("drops-observers")) m_gas->registered.clear();
    if (am("renames-its-output")) m_output->name = "Pace";
    if (am("spoils-the-link") && hostInterface->link != nullptr) hostInterface->link->descriptor = nullptr;
}

void GoodVehicle::misuseGround(double time) {
    MeshHandle* ground = m_arrow->getParent();
    if (ground == nullptr) return;
    if (am("uses-handle-after-release")) {
        m_arrow->releaseHandle(ground);
        static_cast<void>(ground->isShown());
        return;
    }
    if (am("passes-handle-after-release")) {
        m_arrow->releaseHandle(ground);
        hostInterface->releaseElementData(ground);
        return;
    }
    if (am("releases-handle-twice")) m_arrow->releaseHandle(ground);
    if (am("hides-the-ground")) ground->hide();
    if (am("moves-the-ground"))
        if (TransformObject* transform = hostInterface->getTransformObject(ground, time)) {
            transform->setLocalMatrix(util::Translation({0.0, -0.5, 0.0}));
            hostInterface->releaseTransformObject(transform);
        }
    if (SurfaceObject* surface = hostInterface->getSurfaceObject(ground, time)) {
        if (am("ends-element-data-before-its-surface")) hostInterface->releaseElementData(ground);
        hostInterface->releaseSurfaceObject(surface);
        hostInterface->releaseElementData(ground);
    }
    (am("releases-handle-elsewhere") ? m_body : m_arrow)->releaseHandle(ground);
    if (am("releases-what-it-made")) m_arrow->releaseHandle(m_body);
}

/// What was there at the start of a run is taken to be there in each frame.
void GoodVehicle::trustGround(double time) {
    const bool starts = !m_bRunning;
    if (!am("trusts-the-place-of-the-ground") && !am("trusts-the-surface-of-the-start")) return;
    if (starts) m_ground = m_arrow->getParent();
    if (m_ground == nullptr) return;
    if (am("trusts-the-place-of-the-ground")) {
        TransformObject* transform = hostInterface->getTransformObject(m_ground, time);
        util::Matrix4 world;
        if (transform != nullptr || !starts) transform->readWorldMatrix(world);
        hostInterface->releaseTransformObject(transform);
        return;
    }
    SurfaceObject* surface = hostInterface->getSurfaceObject(m_ground, time);
    if (surface == nullptr && starts) {
        m_ground = nullptr;
        return;
    }
    util::Vector3<double> normal;
    double t = 0.0;
    if (!starts) static_cast<void>(surface->intersect({0, 10, 0}, {0, -1, 0}, &t, &normal));
    hostInterface->releaseSurfaceObject(surface);
    hostInterface->releaseElementData(m_ground);
}

void GoodVehicle::goTooFar(double gas, double time) {
    if (am("crashes-at-full-travel") && gas >= 1.0) std::abort();
    if (am("crashes-in-a-long-run") && ++m_framesOfRun > 100) std::abort();
    if (am("tires-of-runs") && m_runs > 20) std::abort();
    if (am("message-in-each-frame")) hostInterface->messageBox("Still going.", "Warning", 0);
    if (am("sets-the-frame-before"))
        if (TransformObject* transform =
                hostInterface->getTransformObject(m_wheel, time - hostInterface->getFrameStep())) {
            transform->setLocalMatrix(util::RotationX(m_turned));
            hostInterface->releaseTransformObject(transform);
        }
}

bool GoodVehicle::bearsBlock(const void* block) const {
    if (am("trusts-nesting")) walk(static_cast<const char*>(block));
    if (am("needs-its-hierarchy")) return m_wheel->getParent()->isShown() || m_arrow != nullptr;
    return true;
}

}  // namespace ond::test
