// glTF files as a ground: what comes through, what is refused.
#include "stage/GroundGltf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

#include "GroundFiles.h"
#include "ond/util/Base64Data.h"
#include "stage/GroundCheck.h"
#include "stage/GroundMotion.h"
#include "util/PinnedRandom.h"

namespace {

using namespace ond::test;
using nlohmann::json;
using ond::stage::GltfKind;
using ond::stage::GroundError;
using ond::stage::GroundNode;
using ond::stage::GroundScene;
using ond::util::Matrix4;
using ond::util::Quat;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using V = ond::util::Vector3<double>;

GroundScene readGlb(const std::string& bytes) {
    GroundScene scene = ond::stage::readGltf(bytes, GltfKind::binary, std::nullopt);
    checkGround(scene);
    return scene;
}

/// A file with one node, whose mesh has the given primitives.
std::string glbOfPrimitives(GltfMaker file, const json& primitives) {
    file.json["meshes"] = {{{"primitives", primitives}}};
    file.json["nodes"] = {{{"mesh", 0}}};
    file.json["scenes"] = {{{"nodes", {0}}}};
    return file.glb();
}

const std::vector<float> kSix{0, 0, 0, 0, 0, 1, 1, 0, 0, 1, 0, 1, 2, 0, 0, 2, 0, 1};

// --- What comes through ---------------------------------------------------------------------------------------------

TEST(GroundGltf, KeepsNodesMeshAndMotion) {
    const GroundScene scene = readGlb(plateOnCarrier().glb());
    expectSound(scene);
    ASSERT_EQ(scene.nodes.size(), 2U);
    const GroundNode& carrier = scene.nodes[0];
    EXPECT_EQ(carrier.name, "carrier");
    EXPECT_EQ(carrier.parent, -1);
    EXPECT_EQ(carrier.local, ond::util::Translation({1, 2, 3}));
    EXPECT_EQ(carrier.mesh, nullptr);
    ASSERT_EQ(carrier.keys.size(), 2U);
    EXPECT_EQ(carrier.keys[0].time, 0.0);
    EXPECT_EQ(carrier.keys[1].time, 0.5);
    EXPECT_EQ(carrier.keys[1].local, ond::util::Translation({5, 2, 3}));
    const GroundNode& plate = scene.nodes[1];
    EXPECT_EQ(plate.name, "plate");
    EXPECT_EQ(plate.parent, 0);
    EXPECT_EQ(plate.local, Matrix4());
    EXPECT_THAT(plate.keys, IsEmpty());
    ASSERT_NE(plate.mesh, nullptr);
    EXPECT_THAT(plate.mesh->vertices, ElementsAre(V(0, 0, 0), V(1, 0, 0), V(1, 0, 1), V(0, 0, 1)));
    EXPECT_THAT(plate.mesh->faces, ElementsAre(0, 2, 1, 0, 3, 2));
    EXPECT_FALSE(plate.hasColour);
    EXPECT_EQ(scene.triangles, 2);
    EXPECT_THAT(scene.warnings, IsEmpty());
}

TEST(GroundGltf, NumbersComeThroughToTheBit) {
    GltfMaker file;
    const std::vector<float> numbers{0.1F, 1e-38F, -3.4e38F, 1e-45F, 1.0F / 3.0F, 12345.678F, 2.5F, -0.0F, 7e5F};
    const int positions = file.add<float>("VEC3", numbers);
    file.json["meshes"] = {{{"primitives", {{{"attributes", {{"POSITION", positions}}}}}}}};
    std::vector<double> matrix{0.1, 0.2, -1.0 / 3.0, 0, 4, 5.5, 6, 0, 7e-300, 8, 9, 0, 1e15 + 0.125, 11, 12, 1};
    file.json["nodes"] = {{{"mesh", 0}, {"matrix", matrix}},
                          {{"scale", {2, 0.1, -1}}, {"translation", {0.1, 0.2, 0.3}}}};
    file.json["scenes"] = {{{"nodes", {0, 1}}}};
    const GroundScene scene = readGlb(file.glb());
    for (std::size_t i = 0; i < 9; ++i) {
        const V& v = scene.nodes[0].mesh->vertices[i / 3];
        EXPECT_EQ(i % 3 == 0 ? v.x : i % 3 == 1 ? v.y : v.z, static_cast<double>(numbers[i]));
    }
    EXPECT_TRUE(std::signbit(scene.nodes[0].mesh->vertices[2].y));
    for (int i = 0; i < 16; ++i) EXPECT_EQ(scene.nodes[0].local[i], matrix[static_cast<std::size_t>(i)]) << i;
    EXPECT_EQ(scene.nodes[1].local.row(0), V(2, 0, 0));
    EXPECT_EQ(scene.nodes[1].local.row(1), V(0, 0.1, 0));
    EXPECT_EQ(scene.nodes[1].local.row(2), V(0, 0, -1));
    EXPECT_EQ(scene.nodes[1].local.row(3), V(0.1, 0.2, 0.3));
}

TEST(GroundGltf, ATransformScalesThenTurnsThenMoves) {
    GltfMaker file = plateOnCarrier();
    file.json["animations"] = json::array();
    // A quarter turn about Y that takes Z to X, written with a length of its own.
    file.json["nodes"][0] = {
        {"children", {1}}, {"translation", {10, 0, 0}}, {"rotation", {0, 3, 0, 3}}, {"scale", {1, 1, 5}}};
    const Matrix4 m = readGlb(file.glb()).nodes[0].local;
    const V end = Transform(m, V(0, 0, 1));
    EXPECT_NEAR(end.x, 15.0, 1e-12);
    EXPECT_NEAR(end.y, 0.0, 1e-12);
    EXPECT_NEAR(end.z, 0.0, 1e-12);
}

TEST(GroundGltf, ReadsAllModes) {
    GltfMaker file;
    const int positions = file.add<float>("VEC3", kSix);
    const int fiveBytes = file.add<std::uint8_t>("SCALAR", {0, 1, 2, 3, 4});
    const json attributes = {{"POSITION", positions}};
    const auto facesOf = [&](json primitive) {
        primitive["attributes"] = attributes;
        return readGlb(glbOfPrimitives(file, json::array({primitive}))).nodes[0].mesh->faces;
    };
    EXPECT_THAT(facesOf(json::object()), ElementsAre(0, 1, 2, 3, 4, 5));
    EXPECT_THAT(facesOf({{"mode", 4}}), ElementsAre(0, 1, 2, 3, 4, 5));
    EXPECT_THAT(facesOf({{"mode", 5}, {"indices", fiveBytes}}), ElementsAre(0, 1, 2, 1, 3, 2, 2, 3, 4));
    EXPECT_THAT(facesOf({{"mode", 6}, {"indices", fiveBytes}}), ElementsAre(1, 2, 0, 2, 3, 0, 3, 4, 0));
    EXPECT_THAT(facesOf({{"mode", 5}}), ElementsAre(0, 1, 2, 1, 3, 2, 2, 3, 4, 3, 5, 4));
}

TEST(GroundGltf, ReadsAllIndexTypes) {
    GltfMaker file;
    const int positions = file.add<float>("VEC3", kSix);
    for (const int indices : {file.add<std::uint8_t>("SCALAR", {5, 3, 1}), file.add<std::uint16_t>("SCALAR", {5, 3, 1}),
                              file.add<std::uint32_t>("SCALAR", {5, 3, 1})}) {
        const json primitive = {{"attributes", {{"POSITION", positions}}}, {"indices", indices}};
        const GroundScene scene = readGlb(glbOfPrimitives(file, json::array({primitive})));
        EXPECT_THAT(scene.nodes[0].mesh->faces, ElementsAre(5, 3, 1));
    }
    const int wrong = file.add<float>("SCALAR", {0, 1, 2});
    const json primitive = {{"attributes", {{"POSITION", positions}}}, {"indices", wrong}};
    EXPECT_THROW((void)readGlb(glbOfPrimitives(file, json::array({primitive}))), GroundError);
}

TEST(GroundGltf, SeveralPrimitivesBecomeOneMesh) {
    GltfMaker file;
    const int first = file.add<float>("VEC3", kSix);
    const int second = file.add<float>("VEC3", {0, 5, 0, 0, 5, 1, 1, 5, 0});
    const int indices = file.add<std::uint8_t>("SCALAR", {2, 1, 3});
    file.json["materials"] = {{{"name", "plain"}},
                              {{"pbrMetallicRoughness", {{"baseColorFactor", {0.5, 0.25, 1.5, 1.0}}}}},
                              {{"pbrMetallicRoughness", {{"baseColorFactor", {0, 0, 0, 1}}}}}};
    const json primitives = {{{"attributes", {{"POSITION", first}}}, {"material", 0}},
                             {{"attributes", {{"POSITION", second}}}, {"material", 1}},
                             {{"attributes", {{"POSITION", first}}}, {"indices", indices}, {"material", 2}},
                             {{"attributes", {{"NORMAL", first}}}},
                             {{"attributes", {{"POSITION", first}}}, {"mode", 0}},
                             {{"attributes", {{"POSITION", first}}}, {"mode", 1}}};
    const GroundScene scene = readGlb(glbOfPrimitives(file, primitives));
    ASSERT_EQ(scene.nodes.size(), 1U);
    EXPECT_EQ(scene.nodes[0].mesh->getNumVertices(), 9);
    EXPECT_THAT(scene.nodes[0].mesh->faces, ElementsAre(0, 1, 2, 3, 4, 5, 6, 7, 8, 2, 1, 3));
    EXPECT_EQ(scene.nodes[0].mesh->vertices[6], V(0, 5, 0));
    EXPECT_TRUE(scene.nodes[0].hasColour);
    EXPECT_THAT(scene.nodes[0].colour, ElementsAre(0.5F, 0.25F, 1.0F));
    EXPECT_THAT(scene.warnings, ElementsAre("9 points and lines were left out."));
}

TEST(GroundGltf, NodesShareTheirMesh) {
    GltfMaker file = plateOnCarrier();
    file.json["nodes"].push_back({{"name", "again"}, {"mesh", 0}});
    file.json["scenes"][0]["nodes"] = {2, 0};
    const GroundScene scene = readGlb(file.glb());
    ASSERT_EQ(scene.nodes.size(), 3U);
    EXPECT_EQ(scene.nodes[0].name, "again");
    EXPECT_EQ(scene.nodes[2].parent, 1);
    EXPECT_EQ(scene.nodes[0].mesh, scene.nodes[2].mesh);
    EXPECT_EQ(scene.triangles, 4);
}

TEST(GroundGltf, ReadsTheShownSceneOnly) {
    GltfMaker file = plateOnCarrier();
    file.json["nodes"].push_back({{"name", "elsewhere"}, {"mesh", 0}});
    file.json["scenes"] = {{{"nodes", {2}}}, {{"nodes", {0}}}};
    file.json["scene"] = 1;
    GroundScene scene = readGlb(file.glb());
    EXPECT_EQ(scene.nodes.size(), 2U);
    EXPECT_EQ(scene.nodes[0].name, "carrier");
    EXPECT_THAT(scene.warnings, ElementsAre("1 node is not in the scene that the file shows; left out."));
    file.json.erase("scene");
    EXPECT_EQ(readGlb(file.glb()).nodes[0].name, "elsewhere");
    file.json.erase("scenes");
    EXPECT_EQ(readGlb(file.glb()).nodes.size(), 3U);
}

TEST(GroundGltf, NamesWhatHasNoName) {
    GltfMaker file = plateOnCarrier();
    file.json["nodes"][0].erase("name");
    file.json["nodes"][1].erase("name");
    EXPECT_EQ(readGlb(file.glb()).nodes[0].name, "node 0");
    EXPECT_EQ(readGlb(file.glb()).nodes[1].name, "node 1");
    file.json["meshes"][0]["name"] = "slab";
    EXPECT_EQ(readGlb(file.glb()).nodes[1].name, "slab");
}

TEST(GroundGltf, ReadsViewsWithStridesAndOffsets) {
    GltfMaker file = plateOnCarrier();
    // The plate again, each vertex with a number before it and one behind.
    const std::vector<float> spread{9, 0, 0, 0, 9, 9, 1, 0, 0, 9, 9, 1, 0, 1, 9, 9, 0, 0, 1};
    const int accessor = file.add<float>("SCALAR", spread);
    file.json["bufferViews"].back()["byteStride"] = 20;
    file.json["accessors"][static_cast<std::size_t>(accessor)].update(
        {{"byteOffset", 4}, {"count", 4}, {"type", "VEC3"}});
    const GroundScene plain = readGlb(file.glb());
    file.json["meshes"][0]["primitives"][0]["attributes"]["POSITION"] = accessor;
    EXPECT_EQ(readGlb(file.glb()).nodes[1].mesh->vertices, plain.nodes[1].mesh->vertices);
    // The last entry needs no room behind it, but its own bytes.
    file.json["bufferViews"].back()["byteLength"] = 75;
    EXPECT_THROW((void)readGlb(file.glb()), GroundError);
}

TEST(GroundGltf, ReadsSparseAccessors) {
    GltfMaker file = plateOnCarrier();
    const int places = file.addView(packed<std::uint16_t>({1, 3}));
    const int values = file.addView(packed<float>({7, 8, 9, -1, -2, -3}));
    const json sparse = {{"count", 2},
                         {"indices", {{"bufferView", places}, {"componentType", 5123}}},
                         {"values", {{"bufferView", values}}}};
    file.json["accessors"][0]["sparse"] = sparse;
    EXPECT_THAT(readGlb(file.glb()).nodes[1].mesh->vertices,
                ElementsAre(V(0, 0, 0), V(7, 8, 9), V(1, 0, 1), V(-1, -2, -3)));
    file.json["accessors"][0].erase("bufferView");
    EXPECT_THAT(readGlb(file.glb()).nodes[1].mesh->vertices, ElementsAre(V(), V(7, 8, 9), V(), V(-1, -2, -3)));
    file.json["accessors"][0]["count"] = 3;
    EXPECT_THROW((void)readGlb(file.glb()), GroundError);
    file.json["accessors"][0]["count"] = 4000000000U;
    EXPECT_THROW((void)readGlb(file.glb()), GroundError);
}

TEST(GroundGltf, ReadsQuantisedPositions) {
    GltfMaker file = plateOnCarrier();
    file.json["extensionsRequired"] = {"KHR_mesh_quantization"};
    const auto verticesOf = [&file](int accessor, bool normalised) {
        file.json["accessors"][static_cast<std::size_t>(accessor)]["normalized"] = normalised;
        file.json["meshes"][0]["primitives"][0]["attributes"]["POSITION"] = accessor;
        return readGlb(file.glb()).nodes[1].mesh->vertices;
    };
    const int shorts = file.add<std::int16_t>("VEC3", {32767, -32768, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9});
    EXPECT_EQ(verticesOf(shorts, true)[0], V(1, -1, 0));
    EXPECT_EQ(verticesOf(shorts, false)[0], V(32767, -32768, 0));
    const int bytes = file.add<std::uint8_t>("VEC3", {255, 51, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9});
    EXPECT_EQ(verticesOf(bytes, true)[0], V(1, 0.2, 0));
    EXPECT_EQ(verticesOf(bytes, false)[0], V(255, 51, 0));
    const int signedBytes = file.add<std::int8_t>("VEC3", {127, -128, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9});
    EXPECT_EQ(verticesOf(signedBytes, true)[0], V(1, -1, 0));
    const int unsignedShorts = file.add<std::uint16_t>("VEC3", {65535, 13107, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9});
    EXPECT_EQ(verticesOf(unsignedShorts, true)[0], V(1, 0.2, 0));
}

TEST(GroundGltf, ReadsATakeAsAnyFile) {
    GltfMaker file = plateOnCarrier();
    file.json["extensionsUsed"] = {"OND_vehicle_take"};
    file.json["extensions"] = {{"OND_vehicle_take", {{"anything", {1, "two", nullptr}}}}};
    file.json["nodes"][0]["extensions"] = {{"OND_vehicle_take", {{"more", true}}}};
    const GroundScene scene = readGlb(file.glb());
    EXPECT_EQ(scene.triangles, 2);
    EXPECT_EQ(scene.nodes.size(), 2U);
}

TEST(GroundGltf, WarnsOfRestShapes) {
    GltfMaker file = plateOnCarrier();
    file.json["nodes"][1]["skin"] = 0;
    file.json["meshes"][0]["primitives"][0]["targets"] = {{{"POSITION", 0}}};
    EXPECT_THAT(readGlb(file.glb()).warnings, ElementsAre("1 mesh part with morph targets was taken in the rest shape.",
                                                          "1 skinned mesh was taken in the rest shape."));
}

// --- Buffers outside ------------------------------------------------------------------------------------------------

TEST(GroundGltf, ReadsTextWithDataUris) {
    const GroundFolder folder;
    GltfMaker file = plateOnCarrier();
    const ond::util::Base64Data data(file.binary.data(), static_cast<int>(file.binary.size()));
    std::string base64 = data.toString();
    for (const char* kind : {"application/octet-stream", "application/gltf-buffer"}) {
        file.json["buffers"][0]["uri"] = std::string("data:") + kind + ";base64," + base64;
        EXPECT_EQ(folder.read("a.gltf", file.json.dump()).triangles, 2);
    }
    file.json["buffers"][0]["uri"] = "data:application/octet-stream," + base64;
    EXPECT_THAT(folder.errorOf("b.gltf", file.json.dump()), HasSubstr("not base64"));
    base64[5] = '!';
    file.json["buffers"][0]["uri"] = "data:application/octet-stream;base64," + base64;
    EXPECT_THAT(folder.errorOf("c.gltf", file.json.dump()), HasSubstr("not base64"));
    base64.resize(40);
    base64[5] = 'A';
    file.json["buffers"][0]["uri"] = "data:application/octet-stream;base64," + base64;
    EXPECT_THAT(folder.errorOf("d.gltf", file.json.dump()), HasSubstr("longer than the 30 bytes"));
}

TEST(GroundGltf, ReadsTextWithFilesNextToIt) {
    const GroundFolder folder;
    GltfMaker file = plateOnCarrier();
    std::filesystem::create_directories(folder.path("sub dir"));
    (void)folder.write("sub dir/plate.bin", file.binary);
    file.json["buffers"][0]["uri"] = "sub%20dir/plate.bin";
    EXPECT_EQ(folder.read("a.gltf", file.json.dump()).triangles, 2);
    (void)folder.write("sub dir/plate.bin", file.binary.substr(1));
    EXPECT_THAT(folder.errorOf("b.gltf", file.json.dump()), HasSubstr("longer than"));
    file.json["buffers"][0]["uri"] = "none.bin";
    EXPECT_THAT(folder.errorOf("c.gltf", file.json.dump()), HasSubstr("buffer file \"none.bin\" cannot be read"));
    for (const char* uri : {"https://example.org/plate.bin", "/etc/passwd", "none%00.bin"}) {
        file.json["buffers"][0]["uri"] = uri;
        EXPECT_THAT(folder.errorOf("d.gltf", file.json.dump()), HasSubstr("not in a file next to it")) << uri;
    }
    file.json["buffers"][0].erase("uri");
    EXPECT_THAT(folder.errorOf("e.gltf", file.json.dump()), HasSubstr("no bytes of its own"));
}

// --- Motion ---------------------------------------------------------------------------------------------------------

/// A plate whose carrier has one channel per given path.
GltfMaker movingFile(
    const std::vector<std::tuple<std::string, std::vector<float>, std::vector<float>, std::string>>& tracks) {
    GltfMaker file = plateOnCarrier();
    json samplers = json::array();
    json channels = json::array();
    for (const auto& [path, times, values, interpolation] : tracks) {
        const int input = file.add<float>("SCALAR", times);
        const int output = file.add<float>(path == "rotation" ? "VEC4" : "VEC3", values);
        channels.push_back({{"sampler", samplers.size()}, {"target", {{"node", 0}, {"path", path}}}});
        samplers.push_back({{"input", input}, {"output", output}, {"interpolation", interpolation}});
    }
    file.json["animations"] = {{{"samplers", samplers}, {"channels", channels}}};
    return file;
}

TEST(GroundGltf, MergesChannelsAtAllTheirTimes) {
    // Half a turn about Y by way of a quaternion of the other sign; scale rests at what the node has.
    GltfMaker file = movingFile({{"translation", {0.0F, 2.0F}, {0, 0, 0, 8, 0, 0}, "LINEAR"},
                                 {"rotation", {0.5F, 1.5F}, {0, 0, 0, 1, 0, -0.70710678F, 0, -0.70710678F}, "LINEAR"}});
    file.json["nodes"][0]["scale"] = {3, 3, 3};
    const GroundScene scene = readGlb(file.glb());
    const auto& keys = scene.nodes[0].keys;
    ASSERT_EQ(keys.size(), 4U);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(keys[i].time, (std::vector<double>{0.0, 0.5, 1.5, 2.0})[i]);
        EXPECT_NEAR(keys[i].local.row(3).x, 4.0 * keys[i].time, 1e-12);
        const double angle = i < 2 ? 0.0 : std::acos(-1.0) / 2.0;
        EXPECT_NEAR(keys[i].local[0], 3.0 * std::cos(angle), 1e-7);
        EXPECT_NEAR(keys[i].local[2], -3.0 * std::sin(angle), 1e-7);
        EXPECT_NEAR(keys[i].local[5], 3.0, 1e-7);
    }
}

TEST(GroundGltf, RotatesAlongTheShorterArc) {
    const GltfMaker file =
        movingFile({{"translation", {0.5F}, {0, 0, 0}, "LINEAR"},
                    {"rotation", {0.0F, 1.0F}, {0, 0, 0, 1, 0, -0.70710678F, 0, -0.70710678F}, "LINEAR"}});
    const auto keys = readGlb(file.glb()).nodes[0].keys;
    ASSERT_EQ(keys.size(), 3U);
    EXPECT_NEAR(keys[1].local[0], std::sqrt(0.5), 1e-7);
    EXPECT_NEAR(keys[1].local[2], -std::sqrt(0.5), 1e-7);
}

TEST(GroundGltf, FollowsStepsAndSplines) {
    const GltfMaker file =
        movingFile({{"translation", {0.0F, 2.0F}, {1, 1, 1, 5, 5, 5}, "STEP"},
                    // Flat at both ends; with tangents of 1 per second it would overshoot.
                    {"scale", {0.0F, 2.0F}, {0, 9, 0, 1, 1, 1, 0, 1, 0, 0, -1, 0, 3, 3, 3, 9, 9, 9}, "CUBICSPLINE"},
                    {"rotation", {0.5F, 1.0F}, {0, 0, 0, 1, 0, 0, 0, 1}, "LINEAR"}});
    const GroundScene scene = readGlb(file.glb());
    const auto& keys = scene.nodes[0].keys;
    ASSERT_EQ(keys.size(), 4U);
    EXPECT_EQ(keys[2].time, 1.0);
    EXPECT_EQ(keys[2].local.row(3), V(1, 1, 1));
    EXPECT_EQ(keys[3].local.row(3), V(5, 5, 5));
    EXPECT_NEAR(keys[2].local[0], 2.0, 1e-12);
    // In the middle a tangent counts an eighth of the span, with opposite signs at both ends.
    EXPECT_NEAR(keys[2].local[5], 2.0 + 2.0 / 8.0 * (1.0 - -1.0), 1e-12);
    EXPECT_NEAR(keys[1].local[0], 1.0 + 2.0 * (3.0 / 16.0 - 2.0 / 64.0), 1e-12);
    EXPECT_THAT(scene.warnings,
                ElementsAre("2 animation channel(s) with steps or splines are followed at the key times only."));
}

TEST(GroundGltf, TheFirstOfTwoAnimationsCounts) {
    GltfMaker file = plateOnCarrier();
    json second = file.json["animations"][0];
    second["channels"].push_back({{"sampler", 0}, {"target", {{"node", 1}, {"path", "scale"}}}});
    second["channels"].push_back({{"sampler", 0}, {"target", {{"node", 1}, {"path", "weights"}}}});
    second["channels"].push_back({{"sampler", 0}, {"target", {{"path", "translation"}}}});
    file.json["animations"].push_back(second);
    const GroundScene scene = readGlb(file.glb());
    EXPECT_EQ(scene.nodes[0].keys.size(), 2U);
    EXPECT_EQ(scene.nodes[1].keys.size(), 2U);
    EXPECT_THAT(scene.warnings,
                ElementsAre("1 animation channel(s) move what an earlier one moves; the earlier one counts."));
}

// --- Damage ---------------------------------------------------------------------------------------------------------

struct Damage {
    const char* part;
    std::function<void(json&)> change;
};

TEST(GroundGltf, RefusesDamagedJson) {
    const GroundFolder folder;
    const std::vector<Damage> cases{
        {"what version", [](json& j) { j.erase("asset"); }},
        {"version \"1.0\"", [](json& j) { j["asset"]["version"] = "1.0"; }},
        {"version \"2.1\"",
         [](json& j) {
             j["asset"] = {{"version", "2.1"}, {"minVersion", "2.1"}};
         }},
        {"no object", [](json& j) { j["asset"] = 2.0; }},
        {"no list", [](json& j) { j["nodes"] = json::object(); }},
        {"should be an object", [](json& j) { j["nodes"][1] = 7; }},
        {"no text", [](json& j) { j["nodes"][0]["name"] = 7; }},
        {"no triangle", [](json& j) { j.erase("nodes"), j.erase("scenes"), j.erase("scene"), j.erase("animations"); }},
        {"no triangle", [](json& j) { j["nodes"][1].erase("mesh"); }},
        {"no triangle", [](json& j) { j["meshes"][0]["primitives"] = json::array(); }},
        {"2 where there are 2", [](json& j) { j["nodes"][0]["children"] = {2}; }},
        {"no whole number", [](json& j) { j["nodes"][0]["children"] = {-1}; }},
        {"no whole number", [](json& j) { j["nodes"][0]["children"] = {0.5}; }},
        {"no number", [](json& j) { j["nodes"][0]["children"] = {"1"}; }},
        {"in a circle", [](json& j) { j["nodes"][1]["children"] = {0}; }},
        {"in a circle",
         [](json& j) {
             j["nodes"][0]["children"] = {0, 1};
         }},
        {"is a child twice",
         [](json& j) {
             j["nodes"][0]["children"] = {1, 1};
         }},
        {"is a child twice",
         [](json& j) {
             j["nodes"].push_back({{"children", {1}}});
         }},
        {"of another one",
         [](json& j) {
             j["scenes"][0]["nodes"] = {0, 1};
         }},
        {"is in its scene twice",
         [](json& j) {
             j["scenes"][0]["nodes"] = {0, 0};
         }},
        {"9 where there are 2", [](json& j) { j["scenes"][0]["nodes"] = {9}; }},
        {"3 where there are 1", [](json& j) { j["scene"] = 3; }},
        {"1 where there are 1", [](json& j) { j["nodes"][1]["mesh"] = 1; }},
        {"list of 3 numbers",
         [](json& j) {
             j["nodes"][0]["translation"] = {1, 2};
         }},
        {"is none",
         [](json& j) {
             j["nodes"][0]["translation"] = {1, 2, "3"};
         }},
        {"no direction",
         [](json& j) {
             j["nodes"][0]["rotation"] = {0, 0, 0, 0};
         }},
        {"not finite",
         [](json& j) {
             j["nodes"][1]["scale"] = {1e300, 1, 1}, j["nodes"][0]["scale"] = {1e300, 1, 1};
         }},
        {"0, 0, 0, 1", [](json& j) { j["nodes"][1]["matrix"] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 2}; }},
        {"list of 16 numbers",
         [](json& j) {
             j["nodes"][1]["matrix"] = {1, 0, 0};
         }},
        {"with a matrix is moved",
         [](json& j) { j["nodes"][0]["matrix"] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}; }},
        {"no attributes", [](json& j) { j["meshes"][0]["primitives"][0].erase("attributes"); }},
        {"unknown mode 7", [](json& j) { j["meshes"][0]["primitives"][0]["mode"] = 7; }},
        {"99 where there are 4", [](json& j) { j["meshes"][0]["primitives"][0]["attributes"]["POSITION"] = 99; }},
        {"99 where there are 4", [](json& j) { j["meshes"][0]["primitives"][0]["indices"] = 99; }},
        {"unsigned integers", [](json& j) { j["meshes"][0]["primitives"][0]["indices"] = 0; }},
        {"0 where there are 0", [](json& j) { j["meshes"][0]["primitives"][0]["material"] = 0; }},
        {"3 numbers per entry", [](json& j) { j["accessors"][0]["type"] = "VEC2"; }},
        {"3 numbers per entry", [](json& j) { j["accessors"][0].erase("type"); }},
        {"unknown number type", [](json& j) { j["accessors"][0]["componentType"] = 5124; }},
        {"unknown number type", [](json& j) { j["accessors"][0].erase("componentType"); }},
        {"how many entries", [](json& j) { j["accessors"][0].erase("count"); }},
        {"reaches behind", [](json& j) { j["accessors"][0]["count"] = 5; }},
        {"reaches behind", [](json& j) { j["accessors"][0]["count"] = 9007199254740992; }},
        {"reaches behind", [](json& j) { j["accessors"][0]["byteOffset"] = 4; }},
        {"reaches behind", [](json& j) { j["accessors"][0]["byteOffset"] = 9007199254740992; }},
        {"neither true nor false", [](json& j) { j["accessors"][0]["normalized"] = 1; }},
        {"only 3 vertices", [](json& j) { j["accessors"][0]["count"] = 3; }},
        {"no whole triangles", [](json& j) { j["accessors"][1]["count"] = 5; }},
        {"where there are 4", [](json& j) { j["accessors"][0]["bufferView"] = 4; }},
        {"no bytes of its own", [](json& j) { j["accessors"][0].erase("bufferView"); }},
        {"reaches behind", [](json& j) { j["bufferViews"][0]["byteLength"] = 47; }},
        {"reaches behind", [](json& j) { j["bufferViews"][0]["byteLength"] = 4800; }},
        {"reaches behind", [](json& j) { j["bufferViews"][0]["byteOffset"] = 9007199254740991; }},
        {"reaches behind", [](json& j) { j["bufferViews"][0].erase("byteLength"); }},
        {"overlap", [](json& j) { j["bufferViews"][0]["byteStride"] = 4; }},
        {"overlap", [](json& j) { j["bufferViews"][0]["byteStride"] = 0; }},
        {"reaches behind", [](json& j) { j["bufferViews"][0]["byteStride"] = 9007199254740992; }},
        {"1 where there are 1", [](json& j) { j["bufferViews"][0]["buffer"] = 1; }},
        {"\"buffer\" is missing", [](json& j) { j["bufferViews"][0].erase("buffer"); }},
        {"longer than", [](json& j) { j["buffers"][0]["byteLength"] = 100000; }},
        {"longer than", [](json& j) { j["buffers"][0].erase("byteLength"); }},
        {"replaces an entry",
         [](json& j) {
             j["accessors"][0]["sparse"] = {
                 {"count", 1},
                 {"indices", {{"bufferView", 1}, {"byteOffset", 2}, {"componentType", 5125}}},
                 {"values", {{"bufferView", 0}}}};
         }},
        {"no indices or no values",
         [](json& j) {
             j["accessors"][0]["sparse"] = {{"count", 1}};
         }},
        {"no proper indices",
         [](json& j) {
             j["accessors"][0]["sparse"] = {{"count", 1},
                                            {"indices", {{"bufferView", 1}, {"componentType", 5126}}},
                                            {"values", {{"bufferView", 0}}}};
         }},
        {"has no target", [](json& j) { j["animations"][0]["channels"][0].erase("target"); }},
        {"1 where there are 1", [](json& j) { j["animations"][0]["channels"][0]["sampler"] = 1; }},
        {"5 where there are 2", [](json& j) { j["animations"][0]["channels"][0]["target"]["node"] = 5; }},
        {"unknown interpolation", [](json& j) { j["animations"][0]["samplers"][0]["interpolation"] = "WILD"; }},
        {"another number of keys", [](json& j) { j["accessors"][2]["count"] = 1; }},
        {"another number of keys", [](json& j) { j["animations"][0]["samplers"][0]["interpolation"] = "CUBICSPLINE"; }},
        {"do not ascend", [](json& j) { j["accessors"][2]["componentType"] = 5121; }},
        {"4 numbers per entry", [](json& j) { j["animations"][0]["channels"][0]["target"]["path"] = "rotation"; }},
        {"compressed (KHR_draco_mesh_compression)",
         [](json& j) { j["extensionsRequired"] = {"KHR_draco_mesh_compression"}; }},
        {"compressed (EXT_meshopt_compression)",
         [](json& j) { j["extensionsRequired"] = {"EXT_meshopt_compression"}; }},
        {"extension \"EXT_mesh_gpu_instancing\"",
         [](json& j) {
             j["extensionsRequired"] = {"KHR_materials_unlit", "EXT_mesh_gpu_instancing"};
         }},
        {"is no text", [](json& j) { j["extensionsRequired"] = {3}; }},
    };
    EXPECT_EQ(folder.errorOf("good.glb", plateOnCarrier().glb()), "");
    for (const Damage& damage : cases) {
        GltfMaker file = plateOnCarrier();
        damage.change(file.json);
        EXPECT_THAT(folder.errorOf("a.glb", file.glb()), HasSubstr(damage.part)) << file.json.dump();
    }
}

TEST(GroundGltf, HarmlessRequiredExtensionsAreNoHindrance) {
    GltfMaker file = plateOnCarrier();
    file.json["extensionsRequired"] = {"KHR_materials_unlit", "KHR_texture_transform", "KHR_lights_punctual"};
    EXPECT_EQ(readGlb(file.glb()).triangles, 2);
}

TEST(GroundGltf, RefusesNumbersThatAreNotFinite) {
    const GroundFolder folder;
    for (const float bad : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()}) {
        GltfMaker file = plateOnCarrier();
        file.binary.replace(12, 4, packed<float>({bad}));
        EXPECT_THAT(folder.errorOf("a.glb", file.glb()), HasSubstr("vertex 1 of \"plate\""));
        GltfMaker moving = movingFile({{"translation", {0.0F, 1.0F}, {0, 0, 0, bad, 0, 0}, "LINEAR"}});
        EXPECT_THAT(folder.errorOf("b.glb", moving.glb()), HasSubstr("not finite"));
        moving = movingFile({{"translation", {0.0F, bad}, {0, 0, 0, 1, 0, 0}, "LINEAR"}});
        EXPECT_THAT(folder.errorOf("c.glb", moving.glb()), HasSubstr("do not ascend"));
    }
    std::string text = plateOnCarrier().json.dump();
    text.replace(text.find("[1,2,3]"), 7, "[1,2,1e999]");
    EXPECT_THAT(folder.errorOf("d.glb", glbOf(text, plateOnCarrier().binary)), HasSubstr("JSON cannot be read"));
}

TEST(GroundGltf, RefusesADamagedContainer) {
    const GroundFolder folder;
    const std::string good = plateOnCarrier().glb();
    const auto with = [&good](std::size_t at, std::uint32_t number) {
        return std::string(good).replace(at, 4, packed<std::uint32_t>({number}));
    };
    const auto size = static_cast<std::uint32_t>(good.size());
    const std::uint32_t jsonLength =
        ond::util::loadLittleEndian<std::uint32_t>(reinterpret_cast<const unsigned char*>(good.data()) + 12);
    const std::vector<std::pair<std::string, const char*>> cases{
        {with(0, 0), "does not begin"},
        {with(4, 1), "version 1"},
        {with(4, 3), "version 3"},
        {with(8, size - 4), "and says"},
        {with(8, size + 4), "and says"},
        {with(12, 0xFFFFFFFFU), "longer than the file"},
        {with(12, size), "longer than the file"},
        {with(12, jsonLength - 8), "JSON cannot be read"},
        {with(12, 0), "JSON cannot be read"},
        {with(16, 0x004E4942), "first part is not JSON"},
        {with(20 + jsonLength, 0x7FFFFFFF), "longer than the file"},
        {with(20 + jsonLength + 4, 0), "no bytes of its own"},
        {good + "xxxx", "and says"},
        {"glTF", "within its header"},
        {"g", "does not begin"},
        {glbOf("[]", ""), "JSON is no object"},
        {glbOf("", ""), "JSON cannot be read"},
        {glbOf("{\"asset\":{\"version\":\"2.0\"}}", ""), "no triangle"},
        {glbOf("{\"asset\":{\"version\":\"\xff\"}}", ""), "JSON cannot be read"},
        {glbOf(std::string(200000, '['), ""), "JSON cannot be read"},
    };
    for (const auto& [bytes, part] : cases) EXPECT_THAT(folder.errorOf("a.glb", bytes), HasSubstr(part));
    // Cut anywhere, and with its length put right as well.
    for (std::size_t length = 0; length < good.size(); length += 3) {
        std::string cut = good.substr(0, length);
        EXPECT_THROW((void)readGlb(cut), GroundError) << length;
        if (length < 12) continue;
        cut.replace(8, 4, packed<std::uint32_t>({static_cast<std::uint32_t>(length)}));
        EXPECT_THROW((void)readGlb(cut), GroundError) << length;
    }
}

TEST(GroundGltf, DeepFilesTakeNoStack) {
    // Nested lists, and a chain of nodes.
    const std::string nested =
        "{\"asset\":{\"version\":\"2.0\"},\"extras\":" + std::string(100000, '[') + std::string(100000, ']') + "}";
    EXPECT_THROW((void)readGlb(glbOf(nested, "")), GroundError);
    GltfMaker file = plateOnCarrier();
    const std::size_t depth = 20000;
    for (std::size_t i = 1; i < depth; ++i) {
        file.json["nodes"][i]["children"] = {i + 1};
    }
    file.json["nodes"].push_back({{"name", "last"}});
    const GroundScene scene = readGlb(file.glb());
    ASSERT_EQ(scene.nodes.size(), depth + 1);
    EXPECT_EQ(scene.nodes.back().name, "last");
    EXPECT_EQ(scene.nodes.back().parent, static_cast<int>(depth) - 1);
}

TEST(GroundGltf, SmallFilesTakeNoMuchMemory) {
    GltfMaker file;
    const int positions = file.add<float>("VEC3", std::vector<float>(3 * 400000));
    const int indices = file.add<std::uint8_t>("SCALAR", {0, 1, 2});
    file.json["meshes"] = json::array();
    for (int i = 0; i < 3; ++i) {
        file.json["meshes"].push_back(
            {{"primitives", {{{"attributes", {{"POSITION", positions}}}, {"indices", indices}}}}});
        file.json["nodes"].push_back({{"mesh", i}});
    }
    EXPECT_EQ(readGlb(file.glb()).triangles, 3);
    // Primitives of one mesh share the vertices, so that the number of primitives costs nothing.
    const json primitive = file.json["meshes"][0]["primitives"][0];
    file.json["meshes"].erase(1);
    file.json["meshes"].erase(1);
    file.json["nodes"] = {{{"mesh", 0}}};
    for (int i = 1; i < 1000; ++i) file.json["meshes"][0]["primitives"].push_back(primitive);
    const GroundScene scene = readGlb(file.glb());
    EXPECT_EQ(scene.triangles, 1000);
    EXPECT_EQ(scene.nodes[0].mesh->getNumVertices(), 400000);
}

TEST(GroundGltf, AnyDamageIsAnErrorOrASoundScene) {
    PinnedRandom random(2024);
    GltfMaker maker = movingFile({{"translation", {0.0F, 2.0F}, {1, 1, 1, 5, 5, 5}, "STEP"},
                                  {"rotation", {0.5F, 1.0F}, {0, 0, 0, 1, 0, 1, 0, 0}, "LINEAR"}});
    const int places = maker.addView(packed<std::uint16_t>({1}));
    const int values = maker.addView(packed<float>({7, 8, 9}));
    maker.json["accessors"][0]["sparse"] = {{"count", 1},
                                            {"indices", {{"bufferView", places}, {"componentType", 5123}}},
                                            {"values", {{"bufferView", values}}}};
    const std::string good = maker.glb();
    int sound = 0;
    for (int round = 0; round < 2000; ++round) {
        std::string bytes = good;
        for (int i = 0; i < 1 + round % 4; ++i) {
            // In turn any byte, a digit of the JSON that becomes another one, or a byte of the numbers.
            auto at = static_cast<std::size_t>(random.in(0, static_cast<double>(bytes.size())));
            if (round % 3 == 1) at = bytes.find_first_of("0123456789", at);
            if (round % 3 == 2) at = bytes.size() - 1 - at % maker.binary.size();
            if (at == std::string::npos) continue;
            bytes[at] = round % 3 == 1 ? static_cast<char>('0' + random.bits() % 10) : static_cast<char>(random.bits());
        }
        try {
            expectSound(readGlb(bytes));
            ++sound;
        } catch (const GroundError&) {
        }
    }
    EXPECT_GT(sound, 200);
    EXPECT_LT(sound, 1800);
}

}  // namespace
