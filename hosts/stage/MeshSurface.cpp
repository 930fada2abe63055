#include "stage/MeshSurface.h"

#include <embree3/rtcore.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <vector>

#include "stage/Finite.h"

namespace ond::stage {

using util::CMesh;
using util::Vector3;

namespace {

constexpr float kEndless = std::numeric_limits<float>::infinity();

struct Triangle {
    Vector3<double> a, b, c;
};

/// The library's context: one for the whole program, for trees on one thread.
RTCDevice device() {
    struct Device {
        RTCDevice handle = rtcNewDevice("threads=1");
        ~Device() { rtcReleaseDevice(handle); }
    };
    static const Device shared;
    if (shared.handle == nullptr) throw std::runtime_error("the ray library (Embree) does not start on this machine");
    return shared.handle;
}

double component(const Vector3<double>& v, int axis) { return axis == 0 ? v.x : axis == 1 ? v.y : v.z; }

float below(double value) { return std::nextafter(static_cast<float>(value), -kEndless); }
float above(double value) { return std::nextafter(static_cast<float>(value), kEndless); }

/// A ray in the coordinates in which triangles are met: its longest axis becomes z, and the others are sheared so that
/// the ray runs along z. After S. Woop, C. Benthin and I. Wald, "Watertight Ray/Triangle Intersection" (2013).
struct ShearedRay {
    Vector3<double> origin;
    int x, y, z;
    double shearX, shearY, shearZ;

    ShearedRay(const Vector3<double>& from, const Vector3<double>& direction) : origin(from) {
        const double size[3] = {std::abs(direction.x), std::abs(direction.y), std::abs(direction.z)};
        z = static_cast<int>(std::max_element(size, size + 3) - size);
        x = (z + 1) % 3;
        y = (x + 1) % 3;
        if (component(direction, z) < 0.0) std::swap(x, y);
        shearX = component(direction, x) / component(direction, z);
        shearY = component(direction, y) / component(direction, z);
        shearZ = 1.0 / component(direction, z);
    }

    /// @return t, or a negative number for a miss
    [[nodiscard]] double meet(const Triangle& triangle) const {
        const Vector3<double> a = triangle.a - origin;
        const Vector3<double> b = triangle.b - origin;
        const Vector3<double> c = triangle.c - origin;
        const double ax = component(a, x) - shearX * component(a, z);
        const double ay = component(a, y) - shearY * component(a, z);
        const double bx = component(b, x) - shearX * component(b, z);
        const double by = component(b, y) - shearY * component(b, z);
        const double cx = component(c, x) - shearX * component(c, z);
        const double cy = component(c, y) - shearY * component(c, z);
        const double u = cx * by - cy * bx;
        const double v = ax * cy - ay * cx;
        const double w = bx * ay - by * ax;
        if ((u < 0.0 || v < 0.0 || w < 0.0) && (u > 0.0 || v > 0.0 || w > 0.0)) return -1.0;
        const double determinant = u + v + w;
        if (determinant == 0.0) return -1.0;
        const double distance = u * component(a, z) + v * component(b, z) + w * component(c, z);
        const double t = distance * shearZ / determinant;
        return t >= 0.0 ? t : -1.0;
    }
};

/// What one ray is looking for, and what it has found so far.
struct Search {
    RTCIntersectContext context;  ///< first, so that the library's callback gets to the rest
    const std::vector<Triangle>* triangles;
    ShearedRay ray;
    double start;   ///< where the library's ray begins, as a multiple of the direction
    double length;  ///< of the direction
    double best = std::numeric_limits<double>::max();
    unsigned winner = RTC_INVALID_GEOMETRY_ID;
};

void boundsOf(const RTCBoundsFunctionArguments* arguments);
void meetTriangle(const RTCIntersectFunctionNArguments* arguments);

}  // namespace

struct MeshSurface::Tree {
    std::vector<Triangle> triangles;
    Vector3<double> low{0, 0, 0}, high{0, 0, 0};
    double margin = 0.0;  ///< by which boxes are widened: more than a ray in floats strays on its way through the mesh
    RTCScene scene = nullptr;

    Tree() = default;
    Tree(const Tree&) = delete;
    Tree& operator=(const Tree&) = delete;
    ~Tree() {
        if (scene != nullptr) rtcReleaseScene(scene);
    }

    void take(const CMesh& mesh);
    void measure();
    void build();
    [[nodiscard]] bool enters(const Vector3<double>& origin, const Vector3<double>& direction, double* t) const;
};

namespace {

void boundsOf(const RTCBoundsFunctionArguments* arguments) {
    struct View {
        const std::vector<Triangle>* triangles;
        double margin;
    };
    const auto& view = *static_cast<const View*>(arguments->geometryUserPtr);
    const Triangle& t = (*view.triangles)[arguments->primID];
    RTCBounds& out = *arguments->bounds_o;
    out.lower_x = below(std::min({t.a.x, t.b.x, t.c.x}) - view.margin);
    out.lower_y = below(std::min({t.a.y, t.b.y, t.c.y}) - view.margin);
    out.lower_z = below(std::min({t.a.z, t.b.z, t.c.z}) - view.margin);
    out.upper_x = above(std::max({t.a.x, t.b.x, t.c.x}) + view.margin);
    out.upper_y = above(std::max({t.a.y, t.b.y, t.c.y}) + view.margin);
    out.upper_z = above(std::max({t.a.z, t.b.z, t.c.z}) + view.margin);
}

void meetTriangle(const RTCIntersectFunctionNArguments* arguments) {
    if (arguments->valid[0] == 0) return;
    Search& search = *reinterpret_cast<Search*>(arguments->context);
    const double t = search.ray.meet((*search.triangles)[arguments->primID]);
    if (t < 0.0 || t > search.best || (t == search.best && arguments->primID > search.winner)) return;
    search.best = t;
    search.winner = arguments->primID;
    auto* hit = reinterpret_cast<RTCRayHit*>(arguments->rayhit);
    // Boxes at the same distance are still to be looked into.
    hit->ray.tfar = std::max(0.0F, above((t - search.start) * search.length * (1.0 + 1e-6)));
    hit->hit.geomID = arguments->geomID;
    hit->hit.primID = arguments->primID;
}

}  // namespace

void MeshSurface::Tree::take(const CMesh& mesh) {
    const int vertices = mesh.getNumVertices();
    const auto usable = [&](int i) {
        return i >= 0 && i < vertices && isFinite(mesh.vertices[static_cast<std::size_t>(i)]);
    };
    triangles.reserve(static_cast<std::size_t>(mesh.getNumFaces()));
    for (int face = 0; face < mesh.getNumFaces(); ++face) {
        const int a = mesh.getFaceVertex(face, 0);
        const int b = mesh.getFaceVertex(face, 1);
        const int c = mesh.getFaceVertex(face, 2);
        if (!usable(a) || !usable(b) || !usable(c)) continue;
        const auto vertex = [&](int i) { return mesh.vertices[static_cast<std::size_t>(i)]; };
        const Triangle triangle{vertex(a), vertex(b), vertex(c)};
        const double area = util::Length(util::Cross(triangle.b - triangle.a, triangle.c - triangle.a));
        if (area > 0.0 && std::isfinite(area)) triangles.push_back(triangle);
    }
}

void MeshSurface::Tree::measure() {
    low = high = triangles.front().a;
    for (const Triangle& triangle : triangles)
        for (const Vector3<double>& p : {triangle.a, triangle.b, triangle.c}) {
            low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
            high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
        }
    const double reach = std::max({std::abs(low.x), std::abs(low.y), std::abs(low.z), std::abs(high.x),
                                   std::abs(high.y), std::abs(high.z), util::Length(high - low)});
    // A float has 24 bits; origin, direction and the library's own steps each cost some of them.
    margin = 1e-6 * reach;
}

void MeshSurface::Tree::build() {
    struct View {
        const std::vector<Triangle>* triangles;
        double margin;
    };
    View view{&triangles, margin};
    RTCGeometry geometry = rtcNewGeometry(device(), RTC_GEOMETRY_TYPE_USER);
    rtcSetGeometryUserPrimitiveCount(geometry, static_cast<unsigned>(triangles.size()));
    rtcSetGeometryUserData(geometry, &view);
    rtcSetGeometryBoundsFunction(
        geometry, [](const RTCBoundsFunctionArguments* arguments) { boundsOf(arguments); }, nullptr);
    rtcSetGeometryIntersectFunction(geometry,
                                    [](const RTCIntersectFunctionNArguments* arguments) { meetTriangle(arguments); });
    rtcCommitGeometry(geometry);
    scene = rtcNewScene(device());
    rtcSetSceneFlags(scene, RTC_SCENE_FLAG_ROBUST);
    rtcAttachGeometry(scene, geometry);
    rtcReleaseGeometry(geometry);
    rtcCommitScene(scene);
}

/// Where the ray comes into the box of the mesh, not before t = 0; false if it passes by.
bool MeshSurface::Tree::enters(const Vector3<double>& origin, const Vector3<double>& direction, double* t) const {
    double from = 0.0;
    double to = std::numeric_limits<double>::max();
    for (int axis = 0; axis < 3; ++axis) {
        const double o = component(origin, axis);
        const double d = component(direction, axis);
        const double l = component(low, axis) - 2.0 * margin - o;
        const double h = component(high, axis) + 2.0 * margin - o;
        if (d == 0.0) {
            if (l > 0.0 || h < 0.0) return false;
            continue;
        }
        from = std::max(from, std::min(l / d, h / d));
        to = std::min(to, std::max(l / d, h / d));
    }
    // The widened box forgives the rounding here.
    if (!(from <= to * (1.0 + 1e-12))) return false;
    *t = from;
    return true;
}

MeshSurface::MeshSurface(const CMesh& mesh) : m_tree(std::make_unique<Tree>()) {
    m_tree->take(mesh);
    if (m_tree->triangles.empty()) return;
    m_tree->measure();
    m_tree->build();
}

MeshSurface::~MeshSurface() = default;

bool MeshSurface::intersect(const Vector3<double>& origin, const Vector3<double>& direction, double* t,
                            Vector3<double>* normal) const {
    const double length = util::Length(direction);
    if (m_tree->scene == nullptr || !isFinite(origin) || !std::isfinite(length) || length == 0.0) return false;
    double start = 0.0;
    if (!m_tree->enters(origin, direction, &start)) return false;

    Search search{{}, &m_tree->triangles, ShearedRay(origin, direction), start, length};
    rtcInitIntersectContext(&search.context);
    const Vector3<double> from = origin + direction * start;
    RTCRayHit ray{};
    ray.ray.org_x = static_cast<float>(from.x);
    ray.ray.org_y = static_cast<float>(from.y);
    ray.ray.org_z = static_cast<float>(from.z);
    ray.ray.dir_x = static_cast<float>(direction.x / length);
    ray.ray.dir_y = static_cast<float>(direction.y / length);
    ray.ray.dir_z = static_cast<float>(direction.z / length);
    ray.ray.tfar = kEndless;
    ray.ray.mask = ~0U;
    ray.hit.geomID = RTC_INVALID_GEOMETRY_ID;
    rtcIntersect1(m_tree->scene, &search.context, &ray);
    if (search.winner == RTC_INVALID_GEOMETRY_ID) return false;

    const Triangle& hit = m_tree->triangles[search.winner];
    *t = search.best;
    *normal = util::Normalized(util::Cross(hit.b - hit.a, hit.c - hit.a));
    return true;
}

}  // namespace ond::stage
