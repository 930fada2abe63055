#include "stage/Picture.h"

#include <embree3/rtcore.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <memory>

#include "stage/Finite.h"
#include "stage/PngFile.h"
#include "stage/StageError.h"

namespace ond::stage {

using util::Matrix4;
using util::Vector3;

namespace {

constexpr double kRadians = 0.017453292519943295;
constexpr int kLargest = 16384;
constexpr int kSamples = 2;  // to each side of a pixel
/// Neighbouring faces that meet at less than this look round: cosine.
constexpr double kCrease = 0.75;
constexpr double kGamma = 1.0 / 2.2;
constexpr float kNoShadowWithin = 0.08F;
/// What a vehicle looks like to others than its user.
constexpr const char* kBodywork[] = {"CarBodyMesh",  "SteeringWheelMesh", "WheelMesh_FL",
                                     "WheelMesh_FR", "WheelMesh_BL",      "WheelMesh_BR"};

using Colour = Vector3<double>;

const Colour kGroundColour{0.34, 0.37, 0.28};
const Colour kHorizon{0.80, 0.86, 0.92};
const Colour kZenith{0.30, 0.48, 0.74};
const Colour kSunlight{0.86, 0.80, 0.70};
const Colour kSkylight{0.26, 0.31, 0.38};
const Colour kBounce{0.14, 0.13, 0.11};

Colour times(const Colour& a, const Colour& b) { return {a.x * b.x, a.y * b.y, a.z * b.z}; }
Colour mixed(const Colour& a, const Colour& b, double part) { return a + (b - a) * part; }

/// One mesh in the world, relative to the picture's middle.
struct Drawn {
    std::vector<Vector3<double>> points;
    std::vector<std::array<unsigned, 3>> faces;
    std::vector<Vector3<double>> faceNormals;
    std::vector<Vector3<double>> pointNormals;
    Colour colour{0, 0, 0};
    bool isGround = false;  ///< content of the user, which gets a pattern to show its size
};

struct View {
    Vector3<double> eye;
    Vector3<double> right, up, back;
    double widthAtOne = 1.0;  ///< of the picture at a distance of 1
};

bool isDrawn(const Element& element, bool helpers) {
    if (element.deleted || !element.shown || element.isCamera || element.surface != SurfaceKind::mesh) return false;
    if (element.vehicle.empty() || helpers) return true;
    return std::any_of(std::begin(kBodywork), std::end(kBodywork),
                       [&](const char* name) { return element.identifier == name; });
}

void addNormals(Drawn& mesh) {
    mesh.pointNormals.assign(mesh.points.size(), {0, 0, 0});
    for (const auto& face : mesh.faces) {
        const Vector3<double> area =
            util::Cross(mesh.points[face[1]] - mesh.points[face[0]], mesh.points[face[2]] - mesh.points[face[0]]);
        mesh.faceNormals.push_back(util::Normalized(area));
        for (const unsigned corner : face) mesh.pointNormals[corner] = mesh.pointNormals[corner] + area;
    }
    for (Vector3<double>& normal : mesh.pointNormals) util::Normalize(normal);
}

Drawn drawn(const Element& element, const Matrix4& world, const Vector3<double>& middle) {
    Drawn mesh;
    mesh.isGround = element.vehicle.empty();
    mesh.colour = element.ownColour ? Colour(element.colour[0], element.colour[1], element.colour[2]) : kGroundColour;
    // Colours of files are amounts of light, those that a vehicle gives are as a screen shows them.
    if (!mesh.isGround)
        mesh.colour = {std::pow(mesh.colour.x, 1.0 / kGamma), std::pow(mesh.colour.y, 1.0 / kGamma),
                       std::pow(mesh.colour.z, 1.0 / kGamma)};
    for (const Vector3<double>& vertex : element.shape.vertices)
        mesh.points.push_back(util::Transform(world, vertex) - middle);
    const int count = element.shape.getNumVertices();
    for (int face = 0; face < element.shape.getNumFaces(); ++face) {
        std::array<unsigned, 3> corners{};
        bool usable = true;
        for (int k = 0; k < 3; ++k) {
            const int index = element.shape.getFaceVertex(face, k);
            usable = usable && index >= 0 && index < count && isFinite(mesh.points[static_cast<std::size_t>(index)]);
            corners[static_cast<std::size_t>(k)] = static_cast<unsigned>(index);
        }
        if (usable) mesh.faces.push_back(corners);
    }
    addNormals(mesh);
    return mesh;
}

/// Owner of the ray library's things.
class RayScene {
  public:
    explicit RayScene(const std::vector<Drawn>& meshes) : m_device(rtcNewDevice("threads=1")) {
        if (m_device == nullptr) throw StageError("the ray library (Embree) does not start on this machine");
        m_scene = rtcNewScene(m_device);
        for (const Drawn& mesh : meshes) add(mesh);
        rtcCommitScene(m_scene);
    }
    RayScene(const RayScene&) = delete;
    RayScene& operator=(const RayScene&) = delete;
    ~RayScene() {
        rtcReleaseScene(m_scene);
        rtcReleaseDevice(m_device);
    }

    [[nodiscard]] RTCRayHit cast(const Vector3<double>& from, const Vector3<double>& along, float nearest) const {
        RTCRayHit ray{};
        fill(ray.ray, from, along, nearest);
        ray.hit.geomID = RTC_INVALID_GEOMETRY_ID;
        RTCIntersectContext context;
        rtcInitIntersectContext(&context);
        rtcIntersect1(m_scene, &context, &ray);
        return ray;
    }
    [[nodiscard]] bool isBlocked(const Vector3<double>& from, const Vector3<double>& along, float nearest) const {
        RTCRay ray{};
        fill(ray, from, along, nearest);
        RTCIntersectContext context;
        rtcInitIntersectContext(&context);
        rtcOccluded1(m_scene, &context, &ray);
        return ray.tfar < 0.0F;
    }

  private:
    static void fill(RTCRay& ray, const Vector3<double>& from, const Vector3<double>& along, float nearest) {
        ray.org_x = static_cast<float>(from.x);
        ray.org_y = static_cast<float>(from.y);
        ray.org_z = static_cast<float>(from.z);
        ray.dir_x = static_cast<float>(along.x);
        ray.dir_y = static_cast<float>(along.y);
        ray.dir_z = static_cast<float>(along.z);
        ray.tnear = nearest;
        ray.tfar = std::numeric_limits<float>::infinity();
        ray.mask = ~0U;
    }
    void add(const Drawn& mesh) {
        RTCGeometry geometry = rtcNewGeometry(m_device, RTC_GEOMETRY_TYPE_TRIANGLE);
        auto* points = static_cast<float*>(rtcSetNewGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, 0,
                                                                   RTC_FORMAT_FLOAT3, 3 * sizeof(float),
                                                                   std::max<std::size_t>(1, mesh.points.size())));
        for (const Vector3<double>& p : mesh.points)
            for (const double value : {p.x, p.y, p.z}) *points++ = static_cast<float>(value);
        auto* faces = static_cast<unsigned*>(rtcSetNewGeometryBuffer(geometry, RTC_BUFFER_TYPE_INDEX, 0,
                                                                     RTC_FORMAT_UINT3, 3 * sizeof(unsigned),
                                                                     std::max<std::size_t>(1, mesh.faces.size())));
        for (const auto& face : mesh.faces) faces = std::copy(face.begin(), face.end(), faces);
        rtcCommitGeometry(geometry);
        rtcAttachGeometry(m_scene, geometry);
        rtcReleaseGeometry(geometry);
    }

    RTCDevice m_device;
    RTCScene m_scene = nullptr;
};

/// Draws one picture.
class Painter {
  public:
    Painter(const Scene& scene, int frame, const PictureOptions& options);
    [[nodiscard]] std::vector<unsigned char> paint() const;

  private:
    [[nodiscard]] const Element& element(const std::string& identifier) const;
    void collect(bool helpers);
    [[nodiscard]] View viewOf(const Element& camera) const;
    [[nodiscard]] View viewOfVehicle() const;
    [[nodiscard]] View viewOfAll() const;
    [[nodiscard]] View lookingAt(const Vector3<double>& eye, const Vector3<double>& aim) const;
    [[nodiscard]] Colour colourAt(double x, double y) const;
    /// @param nearest what stands nearer than this casts no shadow
    [[nodiscard]] Colour shaded(const Vector3<double>& place, const Vector3<double>& normal, const Colour& colour,
                                float nearest) const;
    [[nodiscard]] Colour patterned(const Vector3<double>& place, const Vector3<double>& normal, const Colour& colour,
                                   double distance) const;
    [[nodiscard]] Vector3<double> normalOf(const RTCRayHit& hit, const Vector3<double>& along) const;

    const Scene& m_scene;
    const PictureOptions& m_options;
    double m_time;
    Vector3<double> m_middle{0, 0, 0};  ///< of the picture's coordinates, so that they stay exact in floats
    std::vector<Drawn> m_meshes;
    bool m_hasGround = false;
    std::unique_ptr<RayScene> m_rays;
    View m_view;
    Vector3<double> m_sun = util::Normalized(Vector3<double>(0.45, 0.75, 0.35));
};

Painter::Painter(const Scene& scene, int frame, const PictureOptions& options)
    : m_scene(scene), m_options(options), m_time(scene.clock.time(frame)) {
    if (!options.vehicle.empty()) m_middle = scene.world(element("CarBodyMesh"), m_time).row(3);
    collect(options.helpers);
    m_rays = std::make_unique<RayScene>(m_meshes);
    if (!options.camera.empty())
        m_view = viewOf(element(options.camera));
    else
        m_view = options.vehicle.empty() ? viewOfAll() : viewOfVehicle();
}

const Element& Painter::element(const std::string& identifier) const {
    const Element* found = m_scene.find(m_options.vehicle, identifier);
    if (found == nullptr)
        throw StageError("the vehicle '" + m_options.vehicle + "' has no element '" + identifier + "' to look from");
    return *found;
}

void Painter::collect(bool helpers) {
    for (const auto& candidate : m_scene.elements) {
        if (!isDrawn(*candidate, helpers)) continue;
        m_meshes.push_back(drawn(*candidate, m_scene.world(*candidate, m_time), m_middle));
        m_hasGround = m_hasGround || m_meshes.back().isGround;
    }
}

View Painter::viewOf(const Element& camera) const {
    if (!camera.isCamera) throw StageError("the element '" + camera.identifier + "' is no camera");
    const Matrix4 world = m_scene.world(camera, m_time);
    return {world.row(3) - m_middle, util::Normalized(world.row(0)), util::Normalized(world.row(1)),
            util::Normalized(world.row(2)), 2.0 * std::tan(camera.fieldOfView * 0.5 * kRadians)};
}

View Painter::lookingAt(const Vector3<double>& eye, const Vector3<double>& aim) const {
    View view;
    view.eye = eye;
    view.back = util::Normalized(eye - aim);
    view.right = util::Normalized(util::Cross(Vector3<double>(0, 1, 0), view.back));
    view.up = util::Cross(view.back, view.right);
    view.widthAtOne = 2.0 * std::tan(22.5 * kRadians);
    return view;
}

View Painter::viewOfVehicle() const {
    const Matrix4 body = m_scene.world(element("CarBodyMesh"), m_time);
    const double length = util::Length(body.row(2));
    Vector3<double> back = body.row(2);
    back.y = 0.0;
    back = util::Normalized(back);
    const Vector3<double> right = util::Cross(Vector3<double>(0, 1, 0), back);
    const Vector3<double> aim{0.0, 0.12 * length, 0.0};
    Vector3<double> eye = aim + (back * -1.5 - right * 1.2) * length;
    eye.y = 0.6 * length;
    // A hill between the car and the eye, or above the eye, is climbed.
    for (int step = 0; step < 12; ++step) {
        const Vector3<double> way = eye - aim;
        const RTCRayHit hit = m_rays->cast(aim + way * 0.45, way * 0.55, 0.0F);
        const bool blocked = hit.hit.geomID != RTC_INVALID_GEOMETRY_ID && hit.ray.tfar < 1.05F;
        const RTCRayHit below = m_rays->cast(eye + Vector3<double>(0, length * 50.0, 0), {0, -1, 0}, 0.0F);
        const double ground = eye.y + length * 50.0 - static_cast<double>(below.ray.tfar);
        const bool under = below.hit.geomID != RTC_INVALID_GEOMETRY_ID && ground > eye.y - 0.15 * length;
        if (!blocked && !under) break;
        eye.y += 0.3 * length;
    }
    return lookingAt(eye, aim);
}

View Painter::viewOfAll() const {
    Vector3<double> low{-5, 0, -5};
    Vector3<double> high{5, 2, 5};
    bool first = true;
    for (const Drawn& mesh : m_meshes)
        for (const Vector3<double>& p : mesh.points) {
            if (!isFinite(p)) continue;
            if (first) low = high = p;
            first = false;
            low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
            high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
        }
    const Vector3<double> aim = (low + high) * 0.5;
    const double size = util::Length(high - low);
    return lookingAt(aim + Vector3<double>(-0.55, 0.6, 0.75) * size, aim);
}

/// Towards where the ray came from.
Vector3<double> Painter::normalOf(const RTCRayHit& hit, const Vector3<double>& along) const {
    const Drawn& mesh = m_meshes[hit.hit.geomID];
    const auto& face = mesh.faces[hit.hit.primID];
    const Vector3<double>& flat = mesh.faceNormals[hit.hit.primID];
    const double weights[3] = {1.0 - static_cast<double>(hit.hit.u) - static_cast<double>(hit.hit.v),
                               static_cast<double>(hit.hit.u), static_cast<double>(hit.hit.v)};
    Vector3<double> round{0, 0, 0};
    for (std::size_t k = 0; k < 3; ++k) {
        const Vector3<double>& corner = mesh.pointNormals[face[k]];
        round = round + (util::Dot(corner, flat) > kCrease ? corner : flat) * weights[k];
    }
    return util::Normalized(util::Dot(flat, along) > 0.0 ? -round : round);
}

/// Squares and lines that show how large the ground is; they fade where they would flicker.
Colour Painter::patterned(const Vector3<double>& place, const Vector3<double>& normal, const Colour& colour,
                          double distance) const {
    const Vector3<double> world = place + m_middle;
    const double fade = std::exp(-distance / 120.0) * std::abs(normal.y);
    const auto cell = [](double value, double size) { return static_cast<long>(std::floor(value / size)); };
    const bool odd = ((cell(world.x, 5.0) + cell(world.z, 5.0)) % 2) != 0;
    return colour * (1.0 + (odd ? 0.06 : -0.06) * fade);
}

Colour Painter::shaded(const Vector3<double>& place, const Vector3<double>& normal, const Colour& colour,
                       float nearest) const {
    const double lift = 1e-3 * (1.0 + util::Length(place) * 1e-2);
    const double facing = util::Dot(normal, m_sun);
    const bool lit = facing > 0.0 && !m_rays->isBlocked(place + normal * lift, m_sun, nearest);
    Colour light = mixed(kBounce, kSkylight, 0.5 + 0.5 * normal.y);
    if (lit) light = light + kSunlight * facing;
    return times(colour, light);
}

Colour Painter::colourAt(double x, double y) const {
    const Vector3<double> along = util::Normalized(m_view.right * x + m_view.up * y - m_view.back);
    const Colour sky = mixed(kHorizon, kZenith, std::sqrt(std::clamp(along.y, 0.0, 1.0)));
    const RTCRayHit hit = m_rays->cast(m_view.eye, along, 1e-3F);
    const bool hits = hit.hit.geomID != RTC_INVALID_GEOMETRY_ID;
    double distance = hits ? static_cast<double>(hit.ray.tfar) : std::numeric_limits<double>::infinity();
    Colour seen = sky;
    const double plane = -(m_view.eye.y + m_middle.y) / along.y;
    if (!m_hasGround && along.y < 0.0 && plane > 0.0 && plane < distance) {
        distance = plane;
        const Vector3<double> place = m_view.eye + along * plane;
        const Colour own = patterned(place, {0, 1, 0}, Colour(0.60, 0.61, 0.62), distance);
        const Vector3<double> world = place + m_middle;
        const auto line = [](double value) { return std::abs(value - std::round(value)) < 0.012; };
        const bool onLine = line(world.x) || line(world.z);
        seen = shaded(place, {0, 1, 0}, onLine ? own * (1.0 - 0.35 * std::exp(-distance / 25.0)) : own, 0.0F);
    } else if (hits) {
        const Vector3<double> place = m_view.eye + along * distance;
        const Vector3<double> normal = normalOf(hit, along);
        const Drawn& mesh = m_meshes[hit.hit.geomID];
        // The coarse faces of a round body would shade each other.
        seen = mesh.isGround ? shaded(place, normal, patterned(place, normal, mesh.colour, distance), 0.0F)
                             : shaded(place, normal, mesh.colour, kNoShadowWithin);
    } else {
        return sky;
    }
    // Air between here and there.
    return mixed(seen, kHorizon, 1.0 - std::exp(-distance / 1500.0));
}

std::vector<unsigned char> Painter::paint() const {
    std::vector<unsigned char> pixels;
    pixels.reserve(static_cast<std::size_t>(m_options.width) * static_cast<std::size_t>(m_options.height) * 3);
    const double size = m_view.widthAtOne / m_options.width;
    for (int row = 0; row < m_options.height; ++row)
        for (int column = 0; column < m_options.width; ++column) {
            Colour sum{0, 0, 0};
            for (int i = 0; i < kSamples * kSamples; ++i) {
                const int sampleRow = i / kSamples;
                const double dx = (i % kSamples + 0.5) / kSamples;
                const double dy = (sampleRow + 0.5) / kSamples;
                sum = sum + colourAt((column + dx - m_options.width * 0.5) * size,
                                     (m_options.height * 0.5 - row - dy) * size);
            }
            const Colour mean = sum / (1.0 * kSamples * kSamples);
            for (const double value : {mean.x, mean.y, mean.z})
                pixels.push_back(
                    static_cast<unsigned char>(std::lround(255.0 * std::pow(std::clamp(value, 0.0, 1.0), kGamma))));
        }
    return pixels;
}

}  // namespace

std::vector<unsigned char> renderPicture(const Scene& scene, int frame, const PictureOptions& options) {
    if (options.width < 1 || options.height < 1 || options.width > kLargest || options.height > kLargest)
        throw StageError("a picture is 1 to " + std::to_string(kLargest) + " pixels wide and high");
    return pngOf(Painter(scene, frame, options).paint(), options.width, options.height);
}

}  // namespace ond::stage
