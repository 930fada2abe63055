#include "table/BulletGround.h"

#include "table/Timing.h"

namespace ond::bench::table {

namespace {

constexpr double kHalfWidth = 1000.0;
constexpr int kMostBodies = 16384;
constexpr int kFilterGroup = 2;
constexpr int kFilterMask = 3;
constexpr double kMargin = 0.01;

}  // namespace

void* RecordingCaster::castRay(const btVector3& from, const btVector3& to, btVehicleRaycasterResult& result) {
    rays.push_back({from, to});
    void* const hit = btDefaultVehicleRaycaster::castRay(from, to, result);
    hits += hit != nullptr ? 1 : 0;
    return hit;
}

BulletShape::BulletShape(const util::CMesh& mesh) : m_indices(mesh.faces) {
    m_corners.reserve(mesh.vertices.size());
    for (const util::Vector3<double>& v : mesh.vertices) m_corners.emplace_back(v.x, v.y, v.z);
    btIndexedMesh part;
    part.m_numTriangles = mesh.getNumFaces();
    part.m_triangleIndexBase = reinterpret_cast<const unsigned char*>(m_indices.data());
    part.m_triangleIndexStride = 3 * sizeof(int);
    part.m_numVertices = mesh.getNumVertices();
    part.m_vertexBase = reinterpret_cast<const unsigned char*>(m_corners.data());
    part.m_vertexStride = sizeof(btVector3);
    m_view.addIndexedMesh(part);
}

void BulletShape::build() {
    m_shape = std::make_unique<btBvhTriangleMeshShape>(&m_view, true, true);
    m_shape->setMargin(kMargin);
}

BulletWorld::BulletWorld(const util::CMesh& mesh)
    : m_shape(mesh),
      m_dispatcher(&m_configuration),
      m_broadphase(btVector3(-kHalfWidth, -kHalfWidth, -kHalfWidth), btVector3(kHalfWidth, kHalfWidth, kHalfWidth),
                   kMostBodies, nullptr),
      m_world(&m_dispatcher, &m_broadphase, &m_solver, &m_configuration),
      m_motion(btTransform::getIdentity()),
      m_body(0.0, &m_motion, (m_shape.build(), &m_shape.shape())) {
    m_world.addRigidBody(&m_body, kFilterGroup, kFilterMask);
    m_body.setActivationState(DISABLE_DEACTIVATION);
    m_body.setCollisionFlags(btCollisionObject::CF_KINEMATIC_OBJECT);
}

BulletWorld::~BulletWorld() { m_world.removeRigidBody(&m_body); }

std::size_t BulletWorld::cast(const std::vector<BulletRay>& rays) {
    btDefaultVehicleRaycaster caster(&m_world);
    std::size_t hits = 0;
    for (const BulletRay& ray : rays) {
        btVehicleRaycaster::btVehicleRaycasterResult result;
        hits += caster.castRay(ray.from, ray.to, result) != nullptr ? 1 : 0;
        keep(result);
    }
    return hits;
}

std::string bulletVersion() {
    const int version = btGetVersion();
    return std::to_string(version / 100) + "." + (version % 100 < 10 ? "0" : "") + std::to_string(version % 100);
}

}  // namespace ond::bench::table
