// What holds for every ground file, and the files that the importer library reads.
#include "stage/GroundFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "GroundFiles.h"
#include "stage/GroundCheck.h"
#include "stage/GroundFbxDepth.h"

// The importer library does not free all that it has read when a file turns out to be damaged.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:libassimp"; }

namespace {

using namespace ond::test;
using ond::stage::GroundError;
using ond::stage::GroundNode;
using ond::stage::GroundScene;
using ond::stage::readGround;
using ond::util::CMesh;
using ond::util::Matrix4;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using V = ond::util::Vector3<double>;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

const std::string kTriangleObj = "v 0 0 0\nv 0 0 1\nv 1 0 0\nf 1 2 3\n";

// --- Paths and kinds ------------------------------------------------------------------------------------------------

TEST(GroundFile, SaysWhatIsWrongWithThePath) {
    const GroundFolder folder;
    EXPECT_THAT(GroundFolder::errorOfPath(folder.path("none.glb")), HasSubstr("there is no such file"));
    EXPECT_THAT(GroundFolder::errorOfPath(folder.path("")), HasSubstr("it is a folder"));
    EXPECT_THAT(GroundFolder::errorOfPath("/dev/null"), HasSubstr("not a plain file"));
    EXPECT_THAT(GroundFolder::errorOfPath(""), HasSubstr("there is no such file"));
    EXPECT_THAT(folder.errorOf("table.csv", "1;2"), HasSubstr("ends in none of .glb"));
    EXPECT_THAT(folder.errorOf("noending", "1;2"), HasSubstr("ends in none of .glb"));
    for (const char* name : {"a.glb", "a.gltf", "a.obj", "a.ply", "a.fbx", "a.stl"}) {
        EXPECT_THAT(folder.errorOf(name, ""), HasSubstr("it is empty")) << name;
    }
}

TEST(GroundFile, RefusesAFileThatIsTooLarge) {
    const GroundFolder folder;
    for (const char* name : {"a.glb", "a.obj"}) {
        const std::string path = folder.write(name, "x");
        // A hole: it takes no room on the disk.
        std::filesystem::resize_file(path, (std::uintmax_t{1} << 30) + 1);
        EXPECT_THAT(GroundFolder::errorOfPath(path), HasSubstr("more than the 1073741824")) << name;
    }
}

TEST(GroundFile, TheEndingCountsInEitherCase) {
    const GroundFolder folder;
    EXPECT_EQ(folder.read("a.GLB", plateOnCarrier().glb()).triangles, 2);
    EXPECT_EQ(folder.read("a.Obj", kTriangleObj).triangles, 1);
}

TEST(GroundFile, RefusesWhatItsEndingDoesNotSay) {
    const GroundFolder folder;
    const std::string glb = plateOnCarrier().glb();
    const std::string ply = "ply\nformat ascii 1.0\nelement vertex 0\nend_header\n";
    const std::string stl =
        "solid a\nfacet normal 0 1 0\nouter loop\nvertex 0 0 0\nvertex 0 0 1\nvertex 1 0 0\n"
        "endloop\nendfacet\nendsolid a\n";
    for (const char* name : {"a.gltf", "a.obj", "a.ply", "a.fbx", "a.stl"}) {
        EXPECT_NE(folder.errorOf(name, glb), "") << name;
    }
    for (const char* name : {"b.glb", "b.gltf", "b.ply", "b.fbx", "b.stl"}) {
        EXPECT_NE(folder.errorOf(name, kTriangleObj), "") << name;
    }
    for (const char* name : {"c.glb", "c.gltf", "c.obj", "c.ply", "c.fbx"}) {
        EXPECT_NE(folder.errorOf(name, stl), "") << name;
    }
    for (const char* name : {"d.glb", "d.gltf", "d.obj", "d.fbx", "d.stl"}) {
        EXPECT_NE(folder.errorOf(name, ply), "") << name;
    }
    EXPECT_THAT(folder.errorOf("e.gltf", glb), HasSubstr("give it the ending .glb"));
}

// --- What every scene is checked for --------------------------------------------------------------------------------

std::shared_ptr<CMesh> meshOf(const std::vector<V>& vertices, const std::vector<int>& faces) {
    auto mesh = std::make_shared<CMesh>();
    mesh->vertices = vertices;
    mesh->faces = faces;
    return mesh;
}

GroundScene sceneOf(const std::shared_ptr<CMesh>& mesh) {
    GroundScene scene;
    scene.nodes.emplace_back().mesh = mesh;
    return scene;
}

const std::vector<V> kSquare{V(0, 0, 0), V(1, 0, 0), V(1, 0, 1), V(0, 0, 1)};

TEST(GroundCheck, CountsEveryPlacedTriangle) {
    GroundScene scene = sceneOf(meshOf(kSquare, {0, 2, 1, 0, 3, 2}));
    scene.nodes.push_back(scene.nodes[0]);
    scene.nodes.emplace_back();
    checkGround(scene);
    EXPECT_EQ(scene.triangles, 4);
    EXPECT_THAT(scene.warnings, IsEmpty());
}

TEST(GroundCheck, KeepsAndCountsTrianglesWithoutAnArea) {
    // A point, a line with three corners at different places, a line with two at one place; and a thin one that counts.
    const std::vector<V> vertices{V(0, 0, 0), V(1, 0, 1), V(2, 0, 2), V(2, 1e-6, 2), V(0, 0, 1)};
    const std::vector<int> faces{0, 0, 0, 0, 1, 2, 0, 1, 1, 0, 1, 3, 0, 1, 4};
    GroundScene scene = sceneOf(meshOf(vertices, faces));
    checkGround(scene);
    EXPECT_EQ(scene.triangles, 5);
    EXPECT_EQ(scene.nodes[0].mesh->faces, faces);
    EXPECT_THAT(scene.warnings, ElementsAre("3 triangles have no area; kept as in the file."));
}

TEST(GroundCheck, KeepsAndCountsRepeatedTriangles) {
    // The same corners by other vertices, turned over, and a third time; the zeros of either sign are one place.
    std::vector<V> vertices = kSquare;
    vertices.insert(vertices.end(), {V(-0.0, 0, 0), V(1, 0, 0), V(1, 0, 1)});
    GroundScene scene = sceneOf(meshOf(vertices, {0, 2, 1, 0, 3, 2, 4, 6, 5, 5, 6, 4}));
    checkGround(scene);
    EXPECT_EQ(scene.triangles, 4);
    EXPECT_THAT(scene.warnings, ElementsAre("2 triangles lie on the corners of another one; kept as in the file."));
}

TEST(GroundCheck, RefusesWhatCannotBeWalkedOn) {
    const auto expectRefused = [](GroundScene scene, const char* part) {
        try {
            checkGround(scene);
            ADD_FAILURE() << part;
        } catch (const GroundError& error) {
            EXPECT_THAT(error.what(), HasSubstr(part));
        }
    };
    const std::vector<int> face{0, 1, 2};
    expectRefused(GroundScene(), "no triangle");
    expectRefused(sceneOf(meshOf(kSquare, {})), "no triangle");
    expectRefused(sceneOf(meshOf(kSquare, {0, 1, 4})), "not in the file");
    expectRefused(sceneOf(meshOf(kSquare, {0, 1, -1})), "not in the file");
    expectRefused(sceneOf(meshOf(kSquare, {0, 1, 2, 3})), "not in the file");
    for (const V& bad : {V(kNan, 0, 0), V(0, HUGE_VAL, 0), V(0, 0, -HUGE_VAL)}) {
        expectRefused(sceneOf(meshOf({V(), V(1, 0, 0), V(0, 0, 1), bad}, face)), "vertex 3");
    }
    GroundScene scene = sceneOf(meshOf(kSquare, face));
    scene.nodes[0].parent = 0;
    expectRefused(scene, "before its parent");
    scene.nodes[0].parent = -2;
    expectRefused(scene, "before its parent");
    scene.nodes[0].parent = -1;
    scene.nodes[0].local[15] = kNan;
    expectRefused(scene, "not finite");
    scene.nodes[0].local = Matrix4();
    scene.nodes[0].keys = {{0.0, Matrix4()}, {0.0, Matrix4()}};
    expectRefused(scene, "order of their times");
    scene.nodes[0].keys = {{HUGE_VAL, Matrix4()}};
    expectRefused(scene, "not finite");
    scene.nodes[0].keys = {{0.0, ond::util::Scaling(kNan)}};
    expectRefused(scene, "not finite");
    scene.nodes[0].keys.clear();
    scene.nodes[0].local = ond::util::Scaling(1e200);
    scene.nodes.push_back(scene.nodes[0]);
    scene.nodes[1].parent = 0;
    expectRefused(scene, "multiply to numbers");
}

// --- Files of the importer library ----------------------------------------------------------------------------------

TEST(GroundStl, ReadsTextAndBinary) {
    const GroundFolder folder;
    std::string binary(80, ' ');
    append(binary, std::uint32_t{1});
    for (const float number : {0.0F, 1.0F, 0.0F, 0.0F, 0.0F, 0.0F, 0.0F, 0.0F, 1.0F, 1.0F, 0.0F, 0.5F}) {
        append(binary, number);
    }
    append(binary, std::uint16_t{0});
    const std::string text =
        "solid tile\nfacet normal 0 1 0\nouter loop\nvertex 0 0 0\nvertex 0 0 1\nvertex 1 0 0.5\nendloop\nendfacet\n"
        "endsolid tile\n";
    for (const std::string& bytes : {binary, text}) {
        const GroundScene scene = folder.read("tile.stl", bytes);
        expectSound(scene);
        ASSERT_EQ(scene.nodes.size(), 1U);
        EXPECT_EQ(scene.nodes[0].name, "tile");
        EXPECT_EQ(cornersOf(scene.nodes[0]), (std::vector<V>{V(0, 0, 0), V(0, 0, 1), V(1, 0, 0.5)}));
    }
    EXPECT_NE(folder.errorOf("cut.stl", binary.substr(0, 100)), "");
}

// --- FBX ------------------------------------------------------------------------------------------------------------

struct FbxSettings {
    int up = 1;
    int upSign = 1;
    int front = 2;
    int frontSign = 1;
    int right = 0;
    int rightSign = 1;
    double centimetres = 1.0;
};

std::string fbxSetting(const std::string& name, double value, bool whole) {
    return "\t\tP: \"" + name + "\", " + (whole ? "\"int\", \"Integer\"" : "\"double\", \"Number\"") + ", \"\"," +
           (whole ? std::to_string(static_cast<int>(value)) : std::to_string(value)) + "\n";
}

/// A node "carrier" at (10, 20, 30) and below it "plate" at (1, 0, 0) with a concave face of five corners, x and y from
/// 0 to 400, in the axes and the unit of the file. `animation` comes before the connections, `links` into them.
std::string fbxOf(const FbxSettings& s, const std::string& animation = "", const std::string& links = "") {
    return "; FBX 7.4.0 project file\nFBXHeaderExtension:  {\n\tFBXHeaderVersion: 1003\n\tFBXVersion: 7400\n}\n"
           "GlobalSettings:  {\n\tVersion: 1000\n\tProperties70:  {\n" +
           fbxSetting("UpAxis", s.up, true) + fbxSetting("UpAxisSign", s.upSign, true) +
           fbxSetting("FrontAxis", s.front, true) + fbxSetting("FrontAxisSign", s.frontSign, true) +
           fbxSetting("CoordAxis", s.right, true) + fbxSetting("CoordAxisSign", s.rightSign, true) +
           fbxSetting("UnitScaleFactor", s.centimetres, false) +
           "\t}\n}\nObjects:  {\n"
           "\tGeometry: 1000, \"Geometry::shape\", \"Mesh\" {\n"
           "\t\tVertices: *15 {\n\t\t\ta: 0,0,0,400,0,0,400,400,0,200,100,0,0,400,0\n\t\t}\n"
           "\t\tPolygonVertexIndex: *5 {\n\t\t\ta: 0,1,2,3,-5\n\t\t}\n\t\tGeometryVersion: 124\n\t}\n"
           "\tModel: 2000, \"Model::plate\", \"Mesh\" {\n\t\tVersion: 232\n\t\tProperties70:  {\n"
           "\t\t\tP: \"Lcl Translation\", \"Lcl Translation\", \"\", \"A\",1,0,0\n\t\t}\n\t}\n"
           "\tModel: 3000, \"Model::carrier\", \"Null\" {\n\t\tVersion: 232\n\t\tProperties70:  {\n"
           "\t\t\tP: \"Lcl Translation\", \"Lcl Translation\", \"\", \"A\",10,20,30\n\t\t}\n\t}\n" +
           animation + "}\nConnections:  {\n\tC: \"OO\",3000,0\n\tC: \"OO\",2000,3000\n\tC: \"OO\",1000,2000\n" +
           links + "}\n";
}

TEST(GroundFbx, KeepsNodesAndCutsFaces) {
    const GroundFolder folder;
    FbxSettings metres;
    metres.centimetres = 100.0;
    const GroundScene scene = folder.read("a.fbx", fbxOf(metres));
    expectSound(scene);
    ASSERT_EQ(scene.nodes.size(), 2U);
    EXPECT_EQ(scene.nodes[0].name, "carrier");
    EXPECT_EQ(scene.nodes[0].parent, -1);
    EXPECT_EQ(scene.nodes[0].local, ond::util::Translation({10, 20, 30}));
    EXPECT_EQ(scene.nodes[0].mesh, nullptr);
    EXPECT_EQ(scene.nodes[1].name, "plate");
    EXPECT_EQ(scene.nodes[1].parent, 0);
    EXPECT_EQ(scene.nodes[1].local, ond::util::Translation({1, 0, 0}));
    EXPECT_EQ(scene.triangles, 3);
    const std::vector<V> c = cornersOf(scene.nodes[1]);
    double area = 0.0;
    for (std::size_t i = 0; i < c.size(); i += 3) {
        const double part = 0.5 * Cross(c[i + 1] - c[i], c[i + 2] - c[i]).z;
        EXPECT_GT(part, 0.0);
        area += part;
    }
    EXPECT_DOUBLE_EQ(area, 400.0 * 400.0 - 0.5 * 400.0 * 300.0);
}

/// Where a point of the plate's mesh is in the world.
V placed(const GroundScene& scene, const V& point) {
    return Transform(scene.nodes[0].local * scene.nodes[1].local, point);
}

void expectNear(const V& a, const V& b) {
    EXPECT_NEAR(a.x, b.x, 1e-9);
    EXPECT_NEAR(a.y, b.y, 1e-9);
    EXPECT_NEAR(a.z, b.z, 1e-9);
}

TEST(GroundFbx, EndsUpInMetres) {
    const GroundFolder folder;
    FbxSettings settings;
    expectNear(placed(folder.read("cm.fbx", fbxOf(settings)), V(400, 0, 7)), V(4.11, 0.2, 0.37));
    settings.centimetres = 2.5;
    expectNear(placed(folder.read("inch.fbx", fbxOf(settings)), V(400, 0, 7)), V(4.11, 0.2, 0.37) * 2.5);
}

TEST(GroundFbx, EndsUpWithYUp) {
    const GroundFolder folder;
    FbxSettings zUp{2, 1, 1, -1, 0, 1, 100.0};
    expectNear(placed(folder.read("z.fbx", fbxOf(zUp)), V(400, 50, 7)), V(411, 37, -70));
    // Z up with the front along +X, so that right is +Y.
    FbxSettings alongX{2, 1, 0, 1, 1, 1, 100.0};
    expectNear(placed(folder.read("x.fbx", fbxOf(alongX)), V(400, 50, 7)), V(70, 37, 411));
    FbxSettings upsideDown{1, -1, 2, 1, 0, -1, 100.0};
    expectNear(placed(folder.read("u.fbx", fbxOf(upsideDown)), V(400, 50, 7)), V(-411, -70, 37));
}

TEST(GroundFbx, RefusesContradictingSettings) {
    const GroundFolder folder;
    FbxSettings settings;
    settings.front = 1;
    EXPECT_THAT(folder.errorOf("a.fbx", fbxOf(settings)), HasSubstr("the same axis"));
    settings.front = 5;
    EXPECT_THAT(folder.errorOf("b.fbx", fbxOf(settings)), HasSubstr("an axis that there is not"));
    settings.front = 2;
    settings.upSign = 0;
    EXPECT_THAT(folder.errorOf("c.fbx", fbxOf(settings)), HasSubstr("an axis that there is not"));
    settings.upSign = 1;
    settings.centimetres = 0.0;
    EXPECT_THAT(folder.errorOf("d.fbx", fbxOf(settings)), HasSubstr("UnitScaleFactor"));
    settings.centimetres = -1.0;
    EXPECT_THAT(folder.errorOf("e.fbx", fbxOf(settings)), HasSubstr("length of its unit"));
}

TEST(GroundFbx, RefusesDamage) {
    const GroundFolder folder;
    const std::string good = fbxOf(FbxSettings());
    EXPECT_NE(folder.errorOf("half.fbx", good.substr(0, good.size() / 2)), "");
    EXPECT_NE(folder.errorOf("words.fbx", "only some words"), "");
    EXPECT_NE(folder.errorOf("binary.fbx", std::string("Kaydara FBX Binary  \0\x1a\0", 23) + "rubbish"), "");
}

/// Records of a binary file in each other, `depth` of them; `width` is the size of a length in that version.
std::string nestedFbx(std::uint32_t version, std::size_t width, int depth) {
    const auto number = [width](std::uint64_t value) {
        std::string bytes;
        append(bytes, value);
        return bytes.substr(0, width);
    };
    const std::string nothing(3 * width + 1, '\0');
    std::string bytes("Kaydara FBX Binary  \0\x1a\0", 23);
    append(bytes, version);
    const std::size_t end = bytes.size() + static_cast<std::size_t>(depth) * (2 * nothing.size() + 1);
    for (int i = 0; i < depth; ++i) {
        bytes += number(end - static_cast<std::size_t>(i) * nothing.size()) + number(0) + number(0) + "\1" + "A";
    }
    for (int i = 0; i < depth; ++i) bytes += nothing;
    return bytes;
}

TEST(GroundFbx, RefusesRecordsThatLieTooDeepInEachOther) {
    const GroundFolder folder;
    const auto textOf = [](int depth) {
        std::string text = "; FBX 7.4.0 project file\n";
        for (int i = 0; i < depth; ++i) text += "A: {\n";
        return text + std::string(static_cast<std::size_t>(depth), '}') + "\n";
    };
    const std::string tooDeep = "records lie more than 200 deep in each other";
    EXPECT_THAT(folder.errorOf("a.fbx", textOf(200000)), HasSubstr(tooDeep));
    EXPECT_THAT(folder.errorOf("a.fbx", textOf(201)), HasSubstr(tooDeep));
    EXPECT_THAT(folder.errorOf("a.fbx", textOf(200)), Not(HasSubstr(tooDeep)));
    // Comments end at each of these.
    for (const char end : {'\n', '\r', '\f'}) {
        std::string text = std::string(";") + end;
        for (int i = 0; i < 201; ++i) text += std::string("A: {") + end;
        EXPECT_THAT(folder.errorOf("a.fbx", text), HasSubstr(tooDeep));
    }
    const std::string braces(300, '{');
    EXPECT_THAT(folder.errorOf("a.fbx", ";" + braces + "\nA: \"" + braces + "\" {\n}\n"), Not(HasSubstr(tooDeep)));
    for (const std::uint32_t version : {7400U, 7500U}) {
        const std::size_t width = version == 7400 ? 4 : 8;
        EXPECT_THAT(folder.errorOf("b.fbx", nestedFbx(version, width, 20000)), HasSubstr(tooDeep));
        EXPECT_THAT(folder.errorOf("b.fbx", nestedFbx(version, width, 201)), HasSubstr(tooDeep));
        EXPECT_THAT(folder.errorOf("b.fbx", nestedFbx(version, width, 200)), Not(HasSubstr(tooDeep)));
    }
}

TEST(GroundFbx, RefusesRecordsAmongWhichOneIsZero) {
    // An end of zero takes up a whole head, or only its own width: where the next record begins cannot be told.
    const GroundFolder folder;
    std::string bytes = nestedFbx(7400, 4, 2);
    const std::size_t inner = 27 + 14;
    bytes.replace(inner, 4, 4, '\0');
    EXPECT_THAT(folder.errorOf("a.fbx", bytes), HasSubstr("records are damaged"));
    for (const char end : {'\x01', '\x7f'}) {
        bytes[inner] = end;
        EXPECT_THAT(folder.errorOf("a.fbx", bytes), HasSubstr("records are damaged"));
    }
}

/// A record of a binary file of 32 bit with values and, if it has any, inner records.
std::string fbxRecord(std::size_t at, const std::string& name, const std::string& values, const std::string& inner) {
    const std::string records = inner.empty() ? "" : inner + std::string(13, '\0');
    std::string bytes;
    append(bytes, static_cast<std::uint32_t>(at + 13 + name.size() + values.size() + records.size()));
    append(bytes, std::uint32_t{3});
    append(bytes, static_cast<std::uint32_t>(values.size()));
    return bytes + static_cast<char>(name.size()) + name + values + records;
}

/// What checking a file with models 1 to `models` and these connections fails with; a text file and a binary one fail
/// alike.
std::string errorOfModels(int models, const std::vector<std::pair<int, int>>& links, const std::string& kind = "OO") {
    std::string text = "Objects: {\n";
    std::string binary("Kaydara FBX Binary  \0\x1a\0", 23);
    append(binary, std::uint32_t{7400});
    const auto number = [](int value) {
        std::string bytes = "L";
        append(bytes, static_cast<std::uint64_t>(value));
        return bytes;
    };
    for (int i = 1; i <= models; ++i) {
        text += "Model: " + std::to_string(i) + ", \"Model::m\", \"Null\" {\n}\n";
        binary += fbxRecord(binary.size(), "Model", number(i), "");
    }
    text += "}\nConnections: {\n";
    std::string inner;
    const std::size_t innerAt = binary.size() + 13 + 11;
    for (const auto& [child, parent] : links) {
        text += "C: \"" + kind + "\"," + std::to_string(child) + "," + std::to_string(parent) + ", \"Look\"\n";
        std::string values = "S";
        append(values, std::uint32_t{2});
        values += kind + number(child) + number(parent) + std::string("S\4\0\0\0Look", 9);
        inner += fbxRecord(innerAt + inner.size(), "C", values, "");
    }
    text += "}\n";
    binary += fbxRecord(binary.size(), "Connections", "", inner);
    std::vector<std::string> errors;
    for (const std::string& bytes : {text, binary}) {
        try {
            ond::stage::checkFbxDepth(bytes);
            errors.emplace_back();
        } catch (const GroundError& error) {
            errors.emplace_back(error.what());
        }
    }
    EXPECT_EQ(errors[0], errors[1]);
    return errors[0];
}

TEST(GroundFbx, RefusesModelsThatLieInEachOtherWithoutEnd) {
    EXPECT_EQ(errorOfModels(2, {{1, 0}, {2, 1}}), "");
    EXPECT_THAT(errorOfModels(2, {{1, 0}, {2, 1}, {1, 2}}), HasSubstr("in a circle"));
    EXPECT_THAT(errorOfModels(1, {{1, 0}, {1, 1}}), HasSubstr("in a circle"));
    // One looks at the other; and a bone is a part of what moves a mesh that is below it.
    EXPECT_EQ(errorOfModels(2, {{1, 2}, {2, 1}}, "OP"), "");
    EXPECT_EQ(errorOfModels(2, {{1, 2}, {2, 1}}, "PP"), "");
    EXPECT_EQ(errorOfModels(2, {{1, 0}, {2, 1}, {1, 50}, {50, 51}, {51, 2}}), "");

    std::vector<std::pair<int, int>> chain;
    for (int i = 1; i <= 1001; ++i) chain.emplace_back(i, i - 1);
    EXPECT_THAT(errorOfModels(1001, chain), HasSubstr("models lie more than 1000 deep"));
    chain.pop_back();
    EXPECT_EQ(errorOfModels(1000, chain), "");
    // Two connections each double what is below.
    chain.resize(100);
    chain.insert(chain.end(), chain.begin(), chain.end());
    EXPECT_THAT(errorOfModels(100, chain), HasSubstr("in more than 1000000 places"));
}

TEST(GroundFbx, RefusesACircleInAFileAndReadsADeepOne) {
    const GroundFolder folder;
    EXPECT_THAT(folder.errorOf("a.fbx", fbxOf(FbxSettings(), "", "\tC: \"OO\",3000,2000\n")), HasSubstr("in a circle"));
    std::string models;
    std::string links;
    for (int i = 1; i <= 990; ++i) {
        models += "\tModel: " + std::to_string(5000 + i) + ", \"Model::m" + std::to_string(i) + "\", \"Null\" {\n\t}\n";
        links += "\tC: \"OO\"," + std::to_string(5000 + i) + "," + std::to_string(i == 1 ? 2000 : 4999 + i) + "\n";
    }
    EXPECT_EQ(folder.read("b.fbx", fbxOf(FbxSettings(), models, links)).nodes.size(), 992U);
}

TEST(GroundFbx, TellsTheMotionOfItsNodes) {
    const GroundFolder folder;
    // A second has 46186158000 ticks of the format.
    const std::string curves =
        "\tAnimationStack: 4000, \"AnimStack::take\", \"\" {\n\t}\n"
        "\tAnimationLayer: 4001, \"AnimLayer::base\", \"\" {\n\t}\n"
        "\tAnimationCurveNode: 4002, \"AnimCurveNode::T\", \"\" {\n\t\tProperties70:  {\n"
        "\t\t\tP: \"d|X\", \"Number\", \"\", \"A\",10\n\t\t\tP: \"d|Y\", \"Number\", \"\", \"A\",20\n"
        "\t\t\tP: \"d|Z\", \"Number\", \"\", \"A\",30\n\t\t}\n\t}\n"
        "\tAnimationCurve: 4003, \"AnimCurve::\", \"\" {\n\t\tDefault: 10\n\t\tKeyVer: 4008\n"
        "\t\tKeyTime: *2 {\n\t\t\ta: 0,46186158000\n\t\t}\n\t\tKeyValueFloat: *2 {\n\t\t\ta: 10,110\n\t\t}\n"
        "\t\tKeyAttrFlags: *1 {\n\t\t\ta: 260\n\t\t}\n\t\tKeyAttrDataFloat: *4 {\n\t\t\ta: 0,0,0,0\n\t\t}\n"
        "\t\tKeyAttrRefCount: *1 {\n\t\t\ta: 2\n\t\t}\n\t}\n";
    const std::string links =
        "\tC: \"OO\",4001,4000\n\tC: \"OO\",4002,4001\n\tC: \"OP\",4002,3000, \"Lcl Translation\"\n"
        "\tC: \"OP\",4003,4002, \"d|X\"\n";
    const GroundScene scene = folder.read("moving.fbx", fbxOf(FbxSettings(), curves, links));
    expectSound(scene);
    ASSERT_EQ(scene.nodes.size(), 2U);
    const auto& keys = scene.nodes[0].keys;
    ASSERT_GE(keys.size(), 2U);
    EXPECT_DOUBLE_EQ(keys.front().time, 0.0);
    EXPECT_NEAR(keys.back().time, 1.0, 1e-9);
    expectNear(keys.front().local.row(3), V(0.1, 0.2, 0.3));
    expectNear(keys.back().local.row(3), V(1.1, 0.2, 0.3));
    EXPECT_NEAR(Length(keys.back().local.row(0)), 0.01, 1e-9);
    EXPECT_THAT(scene.nodes[1].keys, IsEmpty());
}

// --- Files of the project's data ------------------------------------------------------------------------------------

TEST(GroundData, ReadsTerrainRoadAndCar) {
#ifdef QUADRIG_DATA_FOLDER
    const std::filesystem::path folder(QUADRIG_DATA_FOLDER);
    if (!std::filesystem::exists(folder)) GTEST_SKIP() << "The folder of the project data is not there.";
    const GroundScene terrain = readGround((folder / "terrain_lizard_crop.glb").string());
    expectSound(terrain);
    ASSERT_EQ(terrain.nodes.size(), 1U);
    EXPECT_EQ(terrain.nodes[0].name, "terrain");
    EXPECT_EQ(terrain.nodes[0].mesh->getNumVertices(), 63001);
    EXPECT_EQ(terrain.triangles, 125000);
    EXPECT_THAT(terrain.warnings, IsEmpty());

    const GroundScene road = readGround((folder / "road_spielberg.glb").string());
    expectSound(road);
    ASSERT_EQ(road.nodes.size(), 4U);
    EXPECT_EQ(road.nodes[0].name, "road");
    EXPECT_EQ(road.nodes[3].name, "ground");
    EXPECT_EQ(road.nodes[0].mesh->getNumFaces(), 34528);
    EXPECT_EQ(road.triangles, 55936);
    EXPECT_TRUE(road.nodes[0].hasColour);
    EXPECT_THAT(road.nodes[0].colour, ElementsAre(0.18F, 0.18F, 0.19F));

    const GroundScene car = readGround((folder / "car_hatchback.glb").string());
    expectSound(car);
    ASSERT_EQ(car.nodes.size(), 5U);
    EXPECT_EQ(car.triangles, 10101);
    EXPECT_EQ(car.nodes[1].mesh, car.nodes[3].mesh);
    EXPECT_EQ(car.nodes[4].local.row(3), V(0.66, 0.325, 1.19));
#else
    GTEST_SKIP() << "The build does not name a folder of project data.";
#endif
}

}  // namespace
