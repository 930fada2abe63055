// The standard part of a take, read back as any glTF tool reads it.
#include <map>
#include <nlohmann/json.hpp>

#include "ond/util/Quat.h"
#include "stage/Glb.h"
#include "stage/PoseParts.h"
#include "stage/TakeTests.h"

namespace ond::test {

using namespace stage;
using nlohmann::json;
using util::Matrix4;
using util::Quat;
using util::Vector3;

namespace {

/// A glTF document with its numbers.
class Document {
  public:
    explicit Document(Bytes bytes) : m_bytes(std::move(bytes)), m_chunks(splitGlb(m_bytes)) {
        all = json::parse(m_chunks.json);
    }

    [[nodiscard]] const std::vector<float>& floats(int accessor) const {
        const auto known = m_floats.find(accessor);
        return known != m_floats.end() ? known->second : m_floats.emplace(accessor, read(accessor)).first->second;
    }

    [[nodiscard]] std::vector<float> read(int accessor) const {
        const json& described = all["accessors"][static_cast<std::size_t>(accessor)];
        EXPECT_EQ(described["componentType"], 5126);
        const std::string type = described["type"];
        const std::size_t width = type == "SCALAR" ? 1 : type == "VEC3" ? 3 : 4;
        std::vector<float> numbers(width * described["count"].get<std::size_t>());
        const json& view = all["bufferViews"][described["bufferView"].get<std::size_t>()];
        EXPECT_EQ(view["byteLength"].get<std::size_t>(), numbers.size() * sizeof(float));
        std::memcpy(numbers.data(), m_chunks.binary + view["byteOffset"].get<std::size_t>(),
                    numbers.size() * sizeof(float));
        return numbers;
    }

    [[nodiscard]] const json& node(const std::string& name) const {
        for (const json& node : all["nodes"])
            if (node["name"] == name) return node;
        throw std::runtime_error("no node " + name);
    }
    [[nodiscard]] int nodeIndex(const std::string& name) const {
        for (std::size_t i = 0; i < all["nodes"].size(); ++i)
            if (all["nodes"][i]["name"] == name) return static_cast<int>(i);
        return -1;
    }

    /// The sampler of a node, or null.
    [[nodiscard]] const json* sampler(const std::string& name, const std::string& path) const {
        if (!all.contains("animations")) return nullptr;
        const json& animation = all["animations"][0];
        for (const json& channel : animation["channels"])
            if (channel["target"]["node"] == nodeIndex(name) && channel["target"]["path"] == path)
                return &animation["samplers"][channel["sampler"].get<std::size_t>()];
        return nullptr;
    }
    [[nodiscard]] std::vector<float> keyTimes(const std::string& name, const std::string& path) const {
        const json* found = sampler(name, path);
        return found == nullptr ? std::vector<float>() : floats((*found)["input"]);
    }

    /// A channel of a node at a time, as the format says: linear, rotations along the shorter arc.
    [[nodiscard]] std::vector<double> value(const std::string& name, const std::string& path, double time) const {
        const json* found = sampler(name, path);
        if (found == nullptr) {
            const json& described = node(name);
            if (described.contains(path)) return described[path].get<std::vector<double>>();
            if (path == "rotation") return {0, 0, 0, 1};
            return path == "scale" ? std::vector<double>{1, 1, 1} : std::vector<double>{0, 0, 0};
        }
        EXPECT_EQ((*found)["interpolation"], "LINEAR");
        const std::vector<float>& times = floats((*found)["input"]);
        const std::vector<float>& numbers = floats((*found)["output"]);
        const std::size_t width = numbers.size() / times.size();
        const auto next = std::upper_bound(times.begin(), times.end(), time);
        if (next == times.begin()) return {numbers.begin(), numbers.begin() + static_cast<std::ptrdiff_t>(width)};
        if (next == times.end()) return {numbers.end() - static_cast<std::ptrdiff_t>(width), numbers.end()};
        const auto place = static_cast<std::size_t>(next - times.begin());
        const double part = (time - times[place - 1]) / (double(times[place]) - times[place - 1]);
        std::vector<double> a(width);
        std::vector<double> b(width);
        for (std::size_t i = 0; i < width; ++i) {
            a[i] = numbers[(place - 1) * width + i];
            b[i] = numbers[place * width + i];
        }
        if (path == "rotation") {
            const Quat<double> turn = util::Slerp(util::Normalized(Quat<double>(a[0], a[1], a[2], a[3])),
                                                  util::Normalized(Quat<double>(b[0], b[1], b[2], b[3])), part);
            return {turn.x, turn.y, turn.z, turn.w};
        }
        for (std::size_t i = 0; i < width; ++i) a[i] += (b[i] - a[i]) * part;
        return a;
    }

    [[nodiscard]] Matrix4 local(const std::string& name, double time) const {
        const std::vector<double> t = value(name, "translation", time);
        const std::vector<double> r = value(name, "rotation", time);
        const std::vector<double> s = value(name, "scale", time);
        return matrixOf(
            {{t[0], t[1], t[2]}, util::Normalized(Quat<double>(r[0], r[1], r[2], r[3])), {s[0], s[1], s[2]}});
    }

    json all;

  private:
    Bytes m_bytes;
    GlbChunks m_chunks;
    mutable std::map<int, std::vector<float>> m_floats;
};

Document plain(Stage& host) {
    TakeOptions options;
    options.withExtension = false;
    return Document(takeBytes(host, options));
}

double difference(const Matrix4& a, const Matrix4& b) {
    double most = 0.0;
    for (int i = 0; i < 16; ++i) most = std::max(most, std::abs(a[i] - b[i]));
    return most;
}

/// Drives so fast that the wheels need keys between the frames.
std::unique_ptr<Stage> fastCar(FrameRate rate = {25, 1}) {
    auto host = carOn(false, rate);
    host->vehicles[0]->put("Gas Pedal (Forw/Backw) Maximum", 25.0);
    host->vehicles[0]->axis("Gas Pedal").script = [](double) { return 1.0; };
    host->run(0, 25);
    return host;
}

TEST(TakeScene, LocalsMatchTheTracksAtWholeAndHalfFrames) {
    for (const bool ground : {false, true}) {
        const auto host = carOn(ground);
        host->run(0, 30);
        const Document document = plain(*host);
        for (const auto& element : host->scene.elements)
            for (int half = 0; half <= 60; half += 3) {
                const double time = half * 0.5 * host->scene.clock.step();
                EXPECT_LT(difference(document.local(element->name, time), host->scene.local(*element, time)), 2e-5)
                    << element->name << " at " << half * 0.5;
            }
    }
}

TEST(TakeScene, FastWheelsMatchBetweenTheirKeysToo) {
    const auto host = fastCar();
    const Document document = plain(*host);
    const Track& wheel = host->vehicles[0]->element("WheelMesh_BL").track;
    ASSERT_GT(wheel.keys.size(), 40u) << "no keys between the frames";
    EXPECT_EQ(document.keyTimes("car_WheelMesh_BL", "rotation").size(), wheel.keys.size());
    EXPECT_EQ(document.keyTimes("car_CarBodyMesh", "translation").size(), 26u);
    for (int quarter = 0; quarter <= 100; ++quarter) {
        const double time = quarter * 0.25 * host->scene.clock.step();
        EXPECT_LT(difference(document.local("car_WheelMesh_BL", time), wheel.at(time, 1e-8)), 1e-4) << quarter;
    }
}

TEST(TakeScene, NeighbouringRotationsAreOnOneHemisphere) {
    const auto host = fastCar();
    const Document document = plain(*host);
    int channels = 0;
    for (const json& channel : document.all["animations"][0]["channels"]) {
        if (channel["target"]["path"] != "rotation") continue;
        ++channels;
        const json& sampler = document.all["animations"][0]["samplers"][channel["sampler"].get<std::size_t>()];
        const std::vector<float> q = document.floats(sampler["output"]);
        for (std::size_t i = 4; i < q.size(); i += 4) {
            double dot = 0.0;
            double length = 0.0;
            for (std::size_t k = 0; k < 4; ++k) {
                dot += double(q[i + k]) * q[i + k - 4];
                length += double(q[i + k]) * q[i + k];
            }
            EXPECT_GE(dot, 0.0);
            EXPECT_NEAR(length, 1.0, 1e-6);
        }
    }
    EXPECT_GT(channels, 5);
}

TEST(TakeScene, KeyTimesAreThoseOfTheFramesAtEveryRate) {
    for (const FrameRate rate :
         {FrameRate{24, 1}, FrameRate{25, 1}, FrameRate{30000, 1001}, FrameRate{30, 1}, FrameRate{60, 1}}) {
        SCOPED_TRACE(rate.text());
        const auto host = carOn(false, rate);
        host->run(7, 47);
        const std::vector<float> times = plain(*host).keyTimes("car_CarBodyMesh", "translation");
        ASSERT_EQ(times.size(), 41u);
        for (int frame = 7; frame <= 47; ++frame)
            EXPECT_EQ(times[static_cast<std::size_t>(frame - 7)],
                      static_cast<float>(static_cast<double>(frame) * rate.denominator / rate.numerator));
    }
}

TEST(TakeScene, TimesBelowZeroAreShiftedByWholeFrames) {
    const auto host = carOn(false);
    host->run(-10, 10);
    TakeOptions options;
    const Document document(takeBytes(*host, options));
    EXPECT_EQ(document.all["extensions"]["OND_vehicle_take"]["origin"], -10);
    const std::vector<float> times = document.keyTimes("car_CarBodyMesh", "translation");
    ASSERT_EQ(times.size(), 21u);
    for (int i = 0; i <= 20; ++i) EXPECT_EQ(times[static_cast<std::size_t>(i)], static_cast<float>(i / 25.0));
    EXPECT_LT(difference(document.local("car_CarBodyMesh", 0.4),
                         host->scene.local(host->vehicles[0]->element("CarBodyMesh"), 0.0)),
              2e-5);
}

TEST(TakeScene, ChannelsThatNeverChangeAreLeftOut) {
    const auto host = carOn(false);
    host->run(0, 20);
    const Document document = plain(*host);
    EXPECT_NE(document.sampler("car_CarBodyMesh", "translation"), nullptr);
    EXPECT_NE(document.sampler("car_WheelMesh_FL", "rotation"), nullptr);
    EXPECT_EQ(document.sampler("car_CarBodyMesh", "scale"), nullptr);
    EXPECT_TRUE(document.node("car_CarBodyMesh").contains("scale"));
    EXPECT_EQ(document.sampler("car_WheelRelocatorMesh_FL", "translation"), nullptr);
    EXPECT_EQ(document.all["animations"].size(), 1u);
}

TEST(TakeScene, UsersAnimationComesThrough) {
    const auto host = carOn(true);
    Element& waves = *host->scene.find("waves");
    host->scene.setUserKey(waves, 2, util::Translation({0, 1, 0}));
    host->scene.setUserKey(waves, 12, util::RotationZ(0.2) * util::Scaling({1.0, 1.0, 2.5}));
    const Document document = plain(*host);
    const std::vector<float> times = document.keyTimes("waves", "translation");
    ASSERT_EQ(times.size(), 11u) << "one key per frame";
    EXPECT_EQ(times.front(), 0.08F);
    EXPECT_EQ(times.back(), 0.48F);
    EXPECT_EQ(document.keyTimes("waves", "scale"), times);
    for (const double time : {0.0, 0.08, 0.1, 0.28, 0.3, 0.9})
        EXPECT_LT(difference(document.local("waves", time), host->scene.local(waves, time)), 1e-6) << time;
}

TEST(TakeScene, MirroredElementHasOneNegativeAxis) {
    const auto host = carOn(true);
    const Matrix4 mirrored = util::RotationY(0.7) * util::Scaling({2.0, 3.0, -4.0});
    host->scene.find("waves")->track.pose = mirrored;
    const Document document = plain(*host);
    const auto scale = document.node("waves")["scale"].get<std::vector<double>>();
    EXPECT_EQ(std::count_if(scale.begin(), scale.end(), [](double s) { return s < 0.0; }), 1);
    EXPECT_LT(difference(document.local("waves", 0.0), mirrored), 1e-5);
}

TEST(TakeScene, HiddenElementsHaveNodesWithoutMeshAndCamerasStayUsable) {
    const auto host = carOn(true);
    Element& target = host->vehicles[0]->element("TargetMesh");
    target.shown = false;
    host->vehicles[0]->element("CarBodyMesh").shown = true;
    const Document whole(takeBytes(*host));
    EXPECT_FALSE(whole.node("car_TargetMesh").contains("mesh"));
    EXPECT_TRUE(whole.node("car_CarBodyMesh").contains("mesh"));
    bool told = false;
    for (const json& element : whole.all["extensions"]["OND_vehicle_take"]["elements"])
        if (element["node"] == whole.nodeIndex("car_TargetMesh")) {
            told = true;
            EXPECT_EQ(element["shown"], false);
            EXPECT_EQ(whole.all["meshes"][element["mesh"].get<std::size_t>()]["name"], "car_TargetMesh");
        }
    EXPECT_TRUE(told);
    const Document bare = plain(*host);
    for (const json& mesh : bare.all["meshes"]) EXPECT_NE(mesh["name"], "car_TargetMesh");
    EXPECT_FALSE(host->vehicles[0]->element("DriverCam").shown);
    EXPECT_TRUE(whole.node("car_DriverCam").contains("camera"));
}

TEST(TakeScene, CamerasHaveTheVerticalAngleOfSixteenToNine) {
    const auto host = carOn(false);
    const double wide = host->vehicles[0]->element("DriverCam").fieldOfView;
    ASSERT_GT(wide, 1.0);
    const Document document = plain(*host);
    const json& camera = document.all["cameras"][document.node("car_DriverCam")["camera"].get<std::size_t>()];
    EXPECT_EQ(camera["type"], "perspective");
    const double high = camera["perspective"]["yfov"];
    EXPECT_NEAR(2.0 * std::atan(std::tan(high / 2.0) * 16.0 / 9.0) * 57.29577951308232, wide, 1e-9);
    EXPECT_LT(camera["perspective"]["znear"].get<double>(), 0.2);
    EXPECT_GT(camera["perspective"]["zfar"].get<double>(), 1000.0);
}

TEST(TakeScene, MeshesHaveTheirTrianglesAndColours) {
    const auto host = carOn(true);
    Element& waves = *host->scene.find("waves");
    waves.ownColour = true;
    waves.colour[0] = 0.25F;
    waves.colour[1] = 0.5F;
    waves.colour[2] = 2.0F;
    waves.shape.faces.insert(waves.shape.faces.begin(), {0, 1, 99999999});
    const Document document = plain(*host);
    const json& mesh = document.all["meshes"][document.node("waves")["mesh"].get<std::size_t>()];
    const json& primitive = mesh["primitives"][0];
    const std::vector<float> positions = document.floats(primitive["attributes"]["POSITION"]);
    ASSERT_EQ(positions.size(), 3 * waves.shape.vertices.size());
    for (std::size_t i = 0; i < waves.shape.vertices.size(); ++i)
        ASSERT_EQ(positions[3 * i + 1], static_cast<float>(waves.shape.vertices[i].y));
    const json& indices = document.all["accessors"][primitive["indices"].get<std::size_t>()];
    EXPECT_EQ(indices["count"].get<std::size_t>(), waves.shape.faces.size() - 3) << "a corner that is not there";
    EXPECT_EQ(indices["componentType"], 5125);
    const json& material = document.all["materials"][primitive["material"].get<std::size_t>()];
    EXPECT_EQ(material["pbrMetallicRoughness"]["baseColorFactor"], json({0.25, 0.5, 1.0, 1.0}));
    EXPECT_EQ(material["doubleSided"], true);
}

TEST(TakeScene, EqualShapesShareTheirNumbers) {
    const auto host = carOn(false);
    host->scene.addMesh("one", wavyGround());
    host->scene.addMesh("two", wavyGround());
    const Document document = plain(*host);
    const auto primitive = [&](const char* name) {
        return document.all["meshes"][document.node(name)["mesh"].get<std::size_t>()]["primitives"][0];
    };
    EXPECT_NE(document.node("one")["mesh"], document.node("two")["mesh"]);
    EXPECT_EQ(primitive("one")["attributes"], primitive("two")["attributes"]);
    EXPECT_EQ(primitive("one")["indices"], primitive("two")["indices"]);
}

TEST(TakeScene, HierarchyIsThatOfTheScene) {
    const auto host = carOn(true);
    const Document document = plain(*host);
    for (const auto& element : host->scene.elements) {
        std::vector<int> children;
        for (const Element* child : element->children) children.push_back(document.nodeIndex(child->name));
        const json& node = document.node(element->name);
        EXPECT_EQ(node.contains("children") ? node["children"].get<std::vector<int>>() : std::vector<int>(), children);
        const auto roots = document.all["scenes"][0]["nodes"].get<std::vector<int>>();
        EXPECT_EQ(std::count(roots.begin(), roots.end(), document.nodeIndex(element->name)),
                  element->parent == nullptr ? 1 : 0);
    }
}

}  // namespace
}  // namespace ond::test
