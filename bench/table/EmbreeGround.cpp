#include "table/EmbreeGround.h"

#include <embree3/rtcore.h>

#include <algorithm>
#include <limits>
#include <stdexcept>

#include "table/Timing.h"

namespace ond::bench::table {

namespace {

constexpr float kEndless = std::numeric_limits<float>::infinity();

RTCDevice device() {
    struct Device {
        RTCDevice handle = rtcNewDevice("threads=1");
        ~Device() { rtcReleaseDevice(handle); }
    };
    static const Device shared;
    if (shared.handle == nullptr) throw std::runtime_error("the ray library (Embree) does not start on this machine");
    return shared.handle;
}

RTCRayHit toEmbree(const Ray& from) {
    RTCRayHit ray{};
    ray.ray.org_x = static_cast<float>(from.origin.x);
    ray.ray.org_y = static_cast<float>(from.origin.y);
    ray.ray.org_z = static_cast<float>(from.origin.z);
    ray.ray.dir_x = static_cast<float>(from.direction.x);
    ray.ray.dir_y = static_cast<float>(from.direction.y);
    ray.ray.dir_z = static_cast<float>(from.direction.z);
    ray.ray.tfar = kEndless;
    ray.ray.mask = ~0U;
    ray.hit.geomID = RTC_INVALID_GEOMETRY_ID;
    return ray;
}

}  // namespace

struct EmbreeGround::Scene {
    std::vector<float> corners;
    std::vector<unsigned> indices;
    RTCScene handle = nullptr;
    double top = 0.0;
    double seconds = 0.0;

    Scene() = default;
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;
    ~Scene() {
        if (handle != nullptr) rtcReleaseScene(handle);
    }
    void take(const util::CMesh& mesh);
    void build();
};

class EmbreeGround::Rays {
  public:
    std::vector<RTCRayHit> all;
};

void EmbreeGround::Scene::take(const util::CMesh& mesh) {
    // One number more than are used: the library reads vertices four numbers at a time.
    corners.reserve(3 * mesh.vertices.size() + 1);
    top = -std::numeric_limits<double>::max();
    for (const util::Vector3<double>& v : mesh.vertices) {
        for (const double number : {v.x, v.y, v.z}) corners.push_back(static_cast<float>(number));
        top = std::max(top, v.y);
    }
    corners.push_back(0.0F);
    for (int face = 0; face < mesh.getNumFaces(); ++face)
        for (int corner = 0; corner < 3; ++corner)
            indices.push_back(static_cast<unsigned>(mesh.getFaceVertex(face, corner)));
}

void EmbreeGround::Scene::build() {
    const RTCDevice library = device();
    const double start = processSeconds();
    RTCGeometry geometry = rtcNewGeometry(library, RTC_GEOMETRY_TYPE_TRIANGLE);
    rtcSetSharedGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3, corners.data(), 0,
                               3 * sizeof(float), corners.size() / 3);
    rtcSetSharedGeometryBuffer(geometry, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3, indices.data(), 0,
                               3 * sizeof(unsigned), indices.size() / 3);
    rtcCommitGeometry(geometry);
    handle = rtcNewScene(library);
    rtcSetSceneFlags(handle, RTC_SCENE_FLAG_ROBUST);
    rtcAttachGeometry(handle, geometry);
    rtcReleaseGeometry(geometry);
    rtcCommitScene(handle);
    seconds = processSeconds() - start;
    if (rtcGetDeviceError(library) != RTC_ERROR_NONE) throw std::runtime_error("Embree cannot take the mesh");
}

EmbreeGround::EmbreeGround(const util::CMesh& mesh) : m_scene(std::make_unique<Scene>()) {
    m_scene->take(mesh);
    m_scene->build();
}

EmbreeGround::~EmbreeGround() = default;

double EmbreeGround::buildSeconds() const { return m_scene->seconds; }

std::optional<double> EmbreeGround::heightAt(double x, double z) const {
    const double from = m_scene->top + 1.0;
    RTCIntersectContext context;
    rtcInitIntersectContext(&context);
    RTCRayHit ray = toEmbree({{x, from, z}, {0.0, -1.0, 0.0}});
    rtcIntersect1(m_scene->handle, &context, &ray);
    if (ray.hit.geomID == RTC_INVALID_GEOMETRY_ID) return std::nullopt;
    return from - double{ray.ray.tfar};
}

std::shared_ptr<const EmbreeGround::Rays> EmbreeGround::prepare(const std::vector<Ray>& rays) const {
    auto prepared = std::make_shared<Rays>();
    for (const Ray& ray : rays) prepared->all.push_back(toEmbree(ray));
    return prepared;
}

std::size_t EmbreeGround::cast(const Rays& rays) const {
    RTCIntersectContext context;
    rtcInitIntersectContext(&context);
    std::size_t hits = 0;
    for (const RTCRayHit& prepared : rays.all) {
        RTCRayHit ray = prepared;
        rtcIntersect1(m_scene->handle, &context, &ray);
        keep(ray);
        hits += ray.hit.geomID != RTC_INVALID_GEOMETRY_ID ? 1 : 0;
    }
    return hits;
}

std::string embreeVersion() { return RTC_VERSION_STRING; }

}  // namespace ond::bench::table
