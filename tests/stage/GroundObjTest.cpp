// .obj files as grounds: numbers to the bit, objects and groups, faces, colours, and what is refused.
#include "stage/GroundObj.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "GroundFiles.h"
#include "stage/GroundObjColours.h"
#include "stage/GroundObjFile.h"
#include "stage/GroundWord.h"
#include "util/PinnedRandom.h"

namespace {

using namespace ond::test;
namespace obj = ond::stage::obj;
using ond::stage::GroundNode;
using ond::stage::GroundScene;
using ond::stage::readObjGround;
using ond::stage::toDouble;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using V = ond::util::Vector3<double>;

const std::string kThreeVertices = "v 0 0 0\nv 0 0 1\nv 1 0 0\n";
const std::string kOneTriangle = kThreeVertices + "f 1 2 3\n";

GroundScene objOf(const std::string& text) { return readObjGround(text, "file", std::nullopt); }

std::vector<std::string> namesOfObj(const GroundScene& scene) {
    std::vector<std::string> names;
    for (const GroundNode& node : scene.nodes) names.push_back(node.name);
    return names;
}

// --- Numbers --------------------------------------------------------------------------------------------------------

std::uint64_t bitsOfWord(const std::string& word) {
    const std::optional<double> number = toDouble(word);
    EXPECT_TRUE(number.has_value()) << word;
    return std::bit_cast<std::uint64_t>(number.value_or(-12345.0));
}

TEST(GroundObjNumbers, AreTheNearestDoubles) {
    EXPECT_EQ(bitsOfWord("0.1"), 0x3FB999999999999AU);
    EXPECT_EQ(bitsOfWord("-60.300"), std::bit_cast<std::uint64_t>(-60.3));
    EXPECT_EQ(bitsOfWord("+2.5"), std::bit_cast<std::uint64_t>(2.5));
    EXPECT_EQ(bitsOfWord("-0"), std::bit_cast<std::uint64_t>(-0.0));
    EXPECT_EQ(bitsOfWord("1e23"), std::bit_cast<std::uint64_t>(1e23));
    // Half-way between 1 and the next double, then a little farther: readers that round twice take the wrong one.
    EXPECT_EQ(bitsOfWord("1.00000000000000011102230246251565404236316680908203125"), std::bit_cast<std::uint64_t>(1.0));
    EXPECT_EQ(bitsOfWord("1.00000000000000011102230246251565404236316680908203126"), 0x3FF0000000000001U);
    EXPECT_EQ(bitsOfWord("9007199254740993"), std::bit_cast<std::uint64_t>(9007199254740992.0));
    EXPECT_EQ(bitsOfWord("5e-324"), 1U);
    EXPECT_EQ(bitsOfWord(".5"), std::bit_cast<std::uint64_t>(0.5));
    EXPECT_EQ(bitsOfWord("5."), std::bit_cast<std::uint64_t>(5.0));
}

TEST(GroundObjNumbers, BeyondDoublesAreInfiniteOrZero) {
    const auto infinite = std::bit_cast<std::uint64_t>(std::numeric_limits<double>::infinity());
    const std::string zeros(400, '0');
    const std::vector<std::string> large{"1e309",   "1e+99999999999999999999", "1" + zeros,
                                         "0.1e400", "1" + zeros + "e-50",      "0.00001e330"};
    for (const std::string& word : large) {
        EXPECT_EQ(bitsOfWord(word), infinite) << word;
        EXPECT_EQ(toDouble("-" + word), -std::numeric_limits<double>::infinity()) << word;
    }
    const std::vector<std::string> small{"1e-400", "1e-99999999999999999999", "0." + zeros + "1", "0." + zeros + "1e50",
                                         "1000e-400"};
    for (const std::string& word : small) {
        EXPECT_EQ(bitsOfWord(word), 0U) << word;
        EXPECT_EQ(bitsOfWord("-" + word), std::bit_cast<std::uint64_t>(-0.0)) << word;
    }
}

TEST(GroundObjNumbers, AreWholeWords) {
    for (const char* word : {"", "-", "+", "+-1", "1x", "1,5", "0x10", "1e", "e5", "1 ", " 1", "--1", "1.#QNAN", "x"}) {
        EXPECT_FALSE(toDouble(word).has_value()) << word;
    }
}

TEST(GroundObjNumbers, AnyDoubleComesBackInAnyNotation) {
    PinnedRandom random(7);
    const char* const repeat = std::getenv("QUADRIG_REPEAT");
    const int count = 2000 * (repeat == nullptr ? 1 : std::atoi(repeat));
    for (int i = 0; i < count; ++i) {
        const std::uint64_t high = random.bits();
        const auto number = std::bit_cast<double>((high << 32) ^ random.bits());
        if (!std::isfinite(number)) continue;
        for (const std::chars_format format :
             {std::chars_format::general, std::chars_format::scientific, std::chars_format::fixed}) {
            char text[1100];
            const char* const end = std::to_chars(text, text + sizeof(text), number, format).ptr;
            EXPECT_EQ(bitsOfWord(std::string(text, static_cast<std::size_t>(end - text))),
                      std::bit_cast<std::uint64_t>(number));
        }
        // More digits than are needed, as the C library rounds them.
        char text[64];
        EXPECT_GT(std::snprintf(text, sizeof(text), "%.30e", number), 0);
        EXPECT_EQ(bitsOfWord(text), std::bit_cast<std::uint64_t>(number));
    }
}

TEST(GroundObj, KeepsDoublePrecision) {
    const GroundScene scene = objOf("v -60.300 -0.183 123456.789\nv 0.1 0.2 0.3\nv 1e-300 1e300 7\nf 1 2 3\n");
    EXPECT_EQ(cornersOf(scene.nodes.at(0)),
              (std::vector<V>{V(-60.300, -0.183, 123456.789), V(0.1, 0.2, 0.3), V(1e-300, 1e300, 7)}));
}

// --- Objects and groups ---------------------------------------------------------------------------------------------

TEST(GroundObj, ReadsObjectsFacesAndNegativeIndices) {
    const GroundFolder folder;
    const GroundScene scene = folder.read("two.obj",
                                          "# a comment\no first\nv 0 0 0\nv 0 0 1\nv 1 0 0\nf 1 2 3\n"
                                          "o second\nv 5 0 0\nv 5 0 1\nv 6 0 0\nf -3 -2 -1\n");
    expectSound(scene);
    ASSERT_EQ(scene.nodes.size(), 2U);
    EXPECT_EQ(scene.nodes[0].name, "first");
    EXPECT_EQ(scene.nodes[1].name, "second");
    EXPECT_EQ(scene.nodes[0].parent, -1);
    EXPECT_EQ(scene.nodes[1].parent, -1);
    EXPECT_EQ(scene.nodes[1].local, ond::util::Matrix4());
    EXPECT_EQ(cornersOf(scene.nodes[0]), (std::vector<V>{V(0, 0, 0), V(0, 0, 1), V(1, 0, 0)}));
    EXPECT_EQ(cornersOf(scene.nodes[1]), (std::vector<V>{V(5, 0, 0), V(5, 0, 1), V(6, 0, 0)}));
    EXPECT_FALSE(scene.nodes[0].hasColour);
    EXPECT_THAT(scene.warnings, IsEmpty());
}

TEST(GroundObj, HasAMeshForEachObjectAndGroupWithFaces) {
    const std::string face = "f 1 2 3\n";
    EXPECT_THAT(namesOfObj(objOf(kOneTriangle)), ElementsAre("file"));
    EXPECT_THAT(namesOfObj(objOf(kOneTriangle + "o late one\n" + face)), ElementsAre("file", "late one"));
    EXPECT_THAT(namesOfObj(objOf("o house\n" + kThreeVertices + "g wall\n" + face + "g roof  \n" + face)),
                ElementsAre("wall", "roof"));
    EXPECT_THAT(namesOfObj(objOf("o\n" + kOneTriangle + "g\n" + face)), ElementsAre("file"));
    EXPECT_THAT(namesOfObj(objOf("g a\n" + kOneTriangle + "g\n" + face)), ElementsAre("a", "file"));
    EXPECT_THAT(namesOfObj(objOf("o a\ng wall\n" + kOneTriangle + "o b\ng wall\n" + face)),
                ElementsAre("wall", "wall"));
    // An exporter that names the group before each face; and a group that comes again later is another one.
    EXPECT_THAT(namesOfObj(objOf("g a\n" + kOneTriangle + "g a\n" + face + "g b\n" + face + "g a\n" + face)),
                ElementsAre("a", "b", "a"));
}

TEST(GroundObj, RefusesMorePartsThanFitIntoMemory) {
    const std::string text = "v 0 0 0\ng\nf 1 1 1\ng a\nf 1 1 1\ng\nf 1 1 1\nf 1 1 1\n";
    EXPECT_EQ(obj::readObj(text, 3).parts.size(), 3U);
    try {
        (void)obj::readObj(text + "g b\nf 1 1 1\n", 3);
        ADD_FAILURE();
    } catch (const ond::stage::GroundError& error) {
        EXPECT_THAT(error.what(), HasSubstr("more than 3 objects and groups; join them"));
    }
}

TEST(GroundObj, GoesOnWithAnObjectThatComesAgain) {
    const GroundScene scene = objOf("o a\n" + kThreeVertices + "v 1 0 1\nf 1 2 3\no b\nf 1 2 4\no a\nf 2 4 3\n");
    EXPECT_THAT(namesOfObj(scene), ElementsAre("a", "b"));
    EXPECT_EQ(cornersOf(scene.nodes[0]),
              (std::vector<V>{V(0, 0, 0), V(0, 0, 1), V(1, 0, 0), V(0, 0, 1), V(1, 0, 1), V(1, 0, 0)}));
    EXPECT_EQ(cornersOf(scene.nodes[1]), (std::vector<V>{V(0, 0, 0), V(0, 0, 1), V(1, 0, 1)}));
}

TEST(GroundObj, HasTheVerticesOfItsFacesInTheOrderOfTheFile) {
    const GroundScene scene = objOf("v 9 9 9\nv 0 0 0\nv 0 0 1\nv 8 8 8\nv 1 0 0\nv 1 0 1\nf 6 5 3\nf 2 3 5\n");
    const ond::util::CMesh& mesh = *scene.nodes.at(0).mesh;
    EXPECT_EQ(mesh.vertices, (std::vector<V>{V(0, 0, 0), V(0, 0, 1), V(1, 0, 0), V(1, 0, 1)}));
    EXPECT_THAT(mesh.faces, ElementsAre(3, 2, 1, 0, 1, 2));
}

// --- Lines and faces ------------------------------------------------------------------------------------------------

TEST(GroundObj, ReadsEveryWayOfWritingALine) {
    const std::vector<V> expected = cornersOf(objOf(kOneTriangle).nodes.at(0));
    const std::string vertices = "v 0 0 0\nv 0 0 1\nv 1 0 0";
    for (const std::string& text : {
             "\xEF\xBB\xBF" + kOneTriangle,
             vertices + "\nf 1 2 3",
             std::string("v 0 0 0\r\nv 0 0 1\r\nv 1 0 0\r\nf 1 2 3\r\n"),
             std::string("v 0 0 0\rv 0 0 1\rv 1 0 0\rf 1 2 3\r"),
             std::string("  v 0 0 0 \n\tv\t0  0\t1\nv 1 0 0\n\n \n\tf 1\t2  3\t\n"),
             std::string("v 0 0 0 # the first\nv 0 0 1 #\nv 1 0 0\n#f 3 2 1\nf 1 2 3 # 1\n# ends in a backslash \\\n"),
             std::string("v 0 \\\n0 0\nv \\\r\n0 0 1\nv 1 0\\\n 0\nf 1 2 \\\n\\\n3\nv\\\r 5 5 5 \\"),
             std::string("vn 0 1 0 # up\\\nv 0 0 0 #\\\nv 0 0 1\nvt 0 \\\n# here \\\nv 1 0 0\nf 1 2 3 # 1 \\\n"),
             std::string("v 0 0 0 1\nv 0 0 3 3.0\nv -2 0 0 -2\nf 1 2 3\n"),
             std::string("v 0 0 0 1 0.5 0\nv 0 0 1 255 0 0 1\nv 1 0 0 0 0\nf 1 2 3\n"),
             vertices + "\nf 1/1 2/1 3/1\n",
             vertices + "\nf 1//1 2//1 3//1\n",
             vertices + "\nf 1/7/1 2/8/1 -1/-9/1\n",
             "f 1 2 3\n" + vertices + "\n",
             vertices + "\nfo 1 2 3\n",
             "mtllib none.mtl\nusemtl x\ns off\nvn nan 0 1\nvt 0\nvp x\nfrog 1 2 3\nvx\ncurv2 1 2 \\\n f\n" + vertices +
                 "\nf 1 2 3\nend\n",
         }) {
        const GroundScene scene = objOf(text);
        ASSERT_EQ(scene.nodes.size(), 1U) << text;
        EXPECT_EQ(cornersOf(scene.nodes[0]), expected) << text;
        EXPECT_THAT(scene.warnings, IsEmpty()) << text;
    }
}

TEST(GroundObj, CutsConcaveFacesAlongTheirOutline) {
    // A square from which a wedge is cut that reaches nearly through it.
    const GroundScene scene = objOf("v 0 0 0\nv 0 0 4\nv 4 0 4\nv 4 0 0\nv 2 0 3\nf 1 2 3 4 5\n");
    const std::vector<V> c = cornersOf(scene.nodes.at(0));
    ASSERT_EQ(c.size(), 9U);
    double area = 0.0;
    for (std::size_t i = 0; i < 9; i += 3) {
        const double upwards = 0.5 * Cross(c[i + 1] - c[i], c[i + 2] - c[i]).y;
        EXPECT_GT(upwards, 0.0);
        area += upwards;
    }
    EXPECT_DOUBLE_EQ(area, 16.0 - 6.0);
}

TEST(GroundObj, ReadsALargeFace) {
    std::string text;
    std::string face = "f";
    for (int i = 0; i < 5000; ++i) {
        text += "v " + std::to_string(i) + " 0 " + std::to_string(i * i) + "\n";
        face += " " + std::to_string(i - 5000) + (i % 7 == 0 ? " \\\n" : "");
    }
    EXPECT_EQ(objOf(text + face).nodes.at(0).mesh->getNumFaces(), 4998);
}

TEST(GroundObj, LeavesPointsAndLinesOut) {
    const GroundFolder folder;
    const GroundScene scene = folder.read("mixed.obj", kOneTriangle + "l 1 2\np 3\n");
    EXPECT_EQ(scene.triangles, 1);
    EXPECT_THAT(scene.warnings, ElementsAre("2 points and lines were left out."));
    EXPECT_THAT(
        objOf(kOneTriangle + "l 1 2 3/3\np 1 2 3\nf 1 2\nf 7\nf\nv 0 0 0\nv 0 0 0\nv 0 0 0\nv 0 0 0\n").warnings,
        ElementsAre("8 points and lines were left out."));
    EXPECT_THAT(folder.errorOf("lines.obj", "v 0 0 0\nv 0 0 1\nl 1 2\n"), HasSubstr("no triangle"));
    EXPECT_THAT(folder.errorOf("few.obj", "v 0 0 0\nv 0 0 1\nf 1 2\n"), HasSubstr("no triangle"));
}

TEST(GroundObj, KeepsRepeatedAndFlatTriangles) {
    const GroundFolder folder;
    const GroundScene scene = folder.read("odd.obj", kOneTriangle + "f 1 2 3\nf 1 2 2\n");
    EXPECT_EQ(scene.triangles, 3);
    EXPECT_THAT(scene.warnings, ElementsAre("1 triangle has no area; kept as in the file.",
                                            "1 triangle lies on the corners of another one; kept as in the file."));
}

// --- Colours --------------------------------------------------------------------------------------------------------

TEST(GroundObj, ReadsTheColourOfItsMaterial) {
    const GroundFolder folder;
    (void)folder.write(
        "paint.mtl",
        "newmtl asphalt\n\tKd 0.25 0.5 0.75\nKs 1 1 1\nnewmtl light grey\nKd 0.5\nnewmtl asphalt\nKd 1 1 1\n"
        "newmtl far\nKd 2 -1 1e999\nnewmtl file\nKd spectral x.rfl\nnewmtl none\nKa 1 1 1\n");
    const auto colourOfNode = [&folder](const std::string& material) -> std::vector<float> {
        const GroundScene scene =
            folder.read("paint.obj", "mtllib paint.mtl\nusemtl " + material + "\n" + kOneTriangle);
        EXPECT_THAT(scene.warnings, IsEmpty());
        const GroundNode& node = scene.nodes.at(0);
        if (!node.hasColour) return {};
        return {node.colour[0], node.colour[1], node.colour[2]};
    };
    EXPECT_THAT(colourOfNode("asphalt"), ElementsAre(0.25F, 0.5F, 0.75F));
    EXPECT_THAT(colourOfNode("light grey"), ElementsAre(0.5F, 0.5F, 0.5F));
    for (const char* none : {"far", "file", "none", "unknown"}) EXPECT_THAT(colourOfNode(none), IsEmpty()) << none;
}

TEST(GroundObj, ABackslashAtTheEndOfAFolderEndsItsLine) {
    obj::Colours colours;
    obj::addColours("newmtl a\nKd 1 0 \\\n0\nmap_Kd C:\\tex\\\nnewmtl b\nKd 0 0 1\n", colours);
    EXPECT_THAT(colours["a"], ElementsAre(1.0F, 0.0F, 0.0F));
    EXPECT_THAT(colours["b"], ElementsAre(0.0F, 0.0F, 1.0F));
}

TEST(GroundObj, FindsEachMaterialFileOnce) {
    const GroundFolder folder;
    (void)folder.write("a.mtl", "");
    (void)folder.write("b c.mtl", "");
    std::vector<std::string> missing;
    std::vector<std::string> names;
    for (const obj::ColourFile& file : obj::findColourFiles(
             {"a.mtl ./a.mtl a.mtl", "gone\\a.mtl", "b c.mtl", "a.mtl", "gone.mtl"}, folder.path("."), missing)) {
        names.push_back(file.name);
    }
    EXPECT_THAT(names, ElementsAre("a.mtl", "b c.mtl"));
    EXPECT_THAT(missing, ElementsAre("gone.mtl"));
}

TEST(GroundObj, HasTheFirstColourOfEachPart) {
    const GroundFolder folder;
    (void)folder.write("a.mtl", "newmtl red\nKd 1 0 0\n");
    (void)folder.write("two words.mtl", "newmtl green\nKd 0 7 0\n");
    const GroundScene scene = folder.read(
        "many.obj", "mtllib a.mtl gone\\b\\three words.mtl\nmtllib C:\\models\\two words.mtl\n" + kOneTriangle +
                        "o a\nusemtl plain\nf 1 2 3\nusemtl green\nf 1 2 3\nusemtl red\nf 1 2 3\n"
                        "o b\nf 1 2 3\no c\nusemtl plain\nf 1 2 3\n");
    ASSERT_EQ(scene.nodes.size(), 4U);
    EXPECT_FALSE(scene.nodes[0].hasColour);
    EXPECT_THAT(scene.nodes[1].colour, ElementsAre(0.0F, 1.0F, 0.0F));
    EXPECT_THAT(scene.nodes[2].colour, ElementsAre(1.0F, 0.0F, 0.0F)) << "the material goes on in the next object";
    EXPECT_FALSE(scene.nodes[3].hasColour);
    EXPECT_THAT(scene.warnings.at(0), HasSubstr("\"gone\\b\\three\" and 1 more could not be read"));
}

TEST(GroundObj, SaysThatAMaterialFileIsMissing) {
    const GroundFolder folder;
    const std::string text = "mtllib ../gone.mtl\nusemtl a\n" + kOneTriangle;
    const GroundScene without = folder.read("a.obj", text);
    EXPECT_FALSE(without.nodes.at(0).hasColour);
    EXPECT_THAT(without.warnings, ElementsAre("The material file \"../gone.mtl\" could not be read, so there are no "
                                              "colours from there."));
    EXPECT_THAT(folder.read("a.obj", "mtllib gone.mtl\n" + kOneTriangle).warnings, IsEmpty())
        << "nothing has a material";
    (void)folder.write("a.mtl", "newmtl a\nKd 0 0 1\n");
    const GroundScene renamed = folder.read("a.obj", text);
    EXPECT_THAT(renamed.nodes.at(0).colour, ElementsAre(0.0F, 0.0F, 1.0F));
    EXPECT_THAT(renamed.warnings, IsEmpty());
}

// --- Damage ---------------------------------------------------------------------------------------------------------

TEST(GroundObj, RefusesDamage) {
    const GroundFolder folder;
    const auto expectError = [&folder](const std::string& text, const std::string& part) {
        EXPECT_THAT(folder.errorOf("bad.obj", text), HasSubstr(part)) << text;
    };
    const std::string& v = kThreeVertices;
    expectError(v + "f 1 2 4\n", "line 4 has the corner \"4\", but the file has only 3 vertices");
    expectError(v + "f 1 2 5\nf 1 2 9\nv 0 0 0\nf 1 8 2\n", "line 5 has the corner \"9\", but the file has only 4");
    expectError(v + "f 1 2 -4/1\n" + v, "line 4 has the corner \"-4/1\", but only 3 vertices stand before it");
    expectError(v + "f 1 2 0\n", "line 4 has the corner \"0\", but vertices are counted from 1");
    for (const char* far : {"2147483648", "4294967297", "99999999999999999999"}) {
        expectError(v + "f 1 2 " + far + "\n", std::string("the corner \"") + far + "\", but no file has");
    }
    expectError(v + "f 1 2 -99999999999999999999\n", "only 3 vertices stand before it");
    for (const char* word : {"x", "1.5", "1e0", "+1", "/1", "-", "1x/2"}) {
        expectError(v + "f 1 2 " + word + "\n", "\"" + std::string(word) + "\" stands in line 4 where the number of a");
    }
    expectError("v 0 1,5 0\n" + v, "\"1,5\" stands in line 1 where a number should");
    expectError("v 0 0 0 abc\n" + v, "\"abc\" stands in line 1 where a number should");
    expectError("v 0 \x1b\xc3\xa4" + std::string(30, 'x') + " 0\n", "\"???" + std::string(17, 'x') + "\" stands");
    expectError("v nan 0 0\n" + v + "f 1 2 3\n", "line 1 has a coordinate that is not finite");
    expectError(v + "v 0 inf 0\nf 1 2 3\n", "line 4 has a coordinate that is not finite");
    expectError(v + "v 0 0 -1e309\nf 1 2 3\n", "not finite");
    expectError("v 1 0 0 0\n" + v + "f 1 2 3\n", "line 1 gives a vertex the weight \"0\"");
    expectError("v 1e300 0 0 1e-300\n" + v + "f 1 2 3\n", "the weight \"1e-300\", by which it is not finite");
    expectError(v + "v 1 2 # 3\nf 1 2 3\n", "line 4 gives a vertex fewer than three coordinates");
    expectError(v, "holds no triangle");
    expectError("only some words without any mesh\n", "does not read as a .obj file");
    expectError("\n", "does not read as a .obj file");
    expectError(std::string("v\0 \0000\0", 7), "does not read as a .obj file");
}

TEST(GroundObj, CountsLinesOfEveryEnding) {
    const GroundFolder folder;
    for (const char* end : {"\n", "\r\n", "\r"}) {
        std::string text;
        for (const char* line : {"v 0 0 0", "", "# note", "v 0 \\", "0 1", "v 1 0 x"}) text += line + std::string(end);
        EXPECT_THAT(folder.errorOf("bad.obj", text), HasSubstr("\"x\" stands in line 6"));
    }
}

}  // namespace
