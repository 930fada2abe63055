#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "ond/util/Base64Data.h"
#include "ond/util/CMesh.h"
#include "ond/util/CMesh_Box.h"
#include "ond/util/DataChunk.h"
#include "util/PinnedRandom.h"

namespace {

using ond::test::PinnedRandom;
using ond::util::Base64Data;
using ond::util::CMesh;
using ond::util::CMesh_Box;
using ond::util::DataChunk;
using ond::util::xml::Element;
using ond::util::xml::Tag;
using ond::util::xml::Text;
using V = ond::util::Vector3<double>;

// Packed by a program of another language from the layout of the format.
constexpr const char* kEmptyMeshText =
    "AAAAAAgAAAAFAAAAQ01lc2gEAAAAAAAAAAsAAABudW1WZXJ0ZXhlcwAAAAAEAAAAAAAAAAwAAABudW1UZXhDb29yZHMAAAAABAAAAAAAAAAIAAAA"
    "bnVtRmFjZXMAAAAABAAAAAAAAAAJAAAAbnVtVEZhY2VzAAAAAAAAAAAAAAAABgAAAHZlcnRleAAAAAAAAAAACAAAAHRleGNvb3JkAAAAAAAAAAAE"
    "AAAAZmFjZQAAAAAAAAAABQAAAHRmYWNl";
constexpr const char* kSmallMeshText =
    "AAAAAAgAAAAFAAAAQ01lc2gEAAAAAAAAAAsAAABudW1WZXJ0ZXhlcwEAAAAEAAAAAAAAAAwAAABudW1UZXhDb29yZHMBAAAABAAAAAAAAAAIAAAA"
    "bnVtRmFjZXMDAAAABAAAAAAAAAAJAAAAbnVtVEZhY2VzAQAAABgAAAAAAAAABgAAAHZlcnRleAAAAAAAAPA/AAAAAAAABMB2gw309SGUPhgAAAAA"
    "AAAACAAAAHRleGNvb3JkAAAAAAAA0D8AAAAAAADgPwAAAAAAAAAADAAAAAAAAAAEAAAAZmFjZQAAAAABAAAA/v///wQAAAAAAAAABQAAAHRmYWNl"
    "BwAAAA==";

CMesh smallMesh() {
    CMesh mesh;
    mesh.vertices = {V(1, -2.5, 3e-7)};
    mesh.texCoords = {V(0.25, 0.5, 0)};
    mesh.faces = {0, 1, -2};
    mesh.tFaces = {7};
    return mesh;
}

/// A mesh in which no array is empty, as what a failed reading must not leave behind.
CMesh oldMesh() {
    CMesh mesh;
    mesh.vertices.assign(9, V(7, 8, 9));
    mesh.texCoords.assign(8, V(4, 5, 6));
    mesh.faces.assign(7, 3);
    mesh.tFaces.assign(6, 2);
    return mesh;
}

bool isEmpty(const CMesh& mesh) {
    return mesh.vertices.empty() && mesh.texCoords.empty() && mesh.faces.empty() && mesh.tFaces.empty();
}

bool sameBits(const std::vector<V>& a, const std::vector<V>& b) {
    return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(V)) == 0);
}

bool sameBits(const CMesh& a, const CMesh& b) {
    return sameBits(a.vertices, b.vertices) && sameBits(a.texCoords, b.texCoords) && a.faces == b.faces &&
           a.tFaces == b.tFaces;
}

CMesh throughText(const CMesh& mesh, bool verbose) {
    CMesh back = oldMesh();
    back.fromXml(Element(mesh.toXml(verbose).toString("\n", "\t", "")));
    return back;
}

DataChunk number(const std::string& name, std::int32_t value) {
    const auto bits = static_cast<std::uint32_t>(value);
    unsigned char bytes[4];
    for (int i = 0; i < 4; ++i) bytes[i] = static_cast<unsigned char>(bits >> (8 * i));
    return {name, bytes, 4};
}

/// The chunks of smallMesh(), for tests to leave one out or to change one.
std::vector<DataChunk> smallMeshChunks() {
    const CMesh mesh = smallMesh();
    return {number("numVertexes", 1),
            number("numTexCoords", 1),
            number("numFaces", 3),
            number("numTFaces", 1),
            {"vertex", mesh.vertices.data(), 24},
            {"texcoord", mesh.texCoords.data(), 24},
            {"face", mesh.faces.data(), 12},
            {"tface", mesh.tFaces.data(), 4}};
}

Element compactElement(const std::vector<DataChunk>& chunks) {
    DataChunk root("CMesh");
    for (const DataChunk& chunk : chunks) root.addChild(chunk);
    int size = 0;
    const void* block = root.serialize(&size);
    Element element{Tag("CMesh")};
    element.addChild(Text(Base64Data(block, size).toString()));
    return element;
}

CMesh readOverOldMesh(const Element& element) {
    CMesh mesh = oldMesh();
    mesh.fromXml(element);
    return mesh;
}

// ---- compact form ----

TEST(CMeshXml, EmptyMeshWritesFourZeroCountsAndFourEmptyChunks) {
    const Element element = CMesh().toXml(false);
    EXPECT_EQ(element.toString(), std::string("<CMesh>") + kEmptyMeshText + "</CMesh>");
    CMesh back = oldMesh();
    back.fromXml(element);
    EXPECT_TRUE(isEmpty(back));
}

TEST(CMeshXml, CompactFormHasItsFixedBytes) {
    const Element element = smallMesh().toXml(false);
    EXPECT_EQ(element.type, 1);
    ASSERT_EQ(element.getNumChildren(), 1);
    EXPECT_EQ(element.toString("\n", "\t", ""), std::string("<CMesh>") + kSmallMeshText + "</CMesh>");
}

TEST(CMeshXml, CompactFormOfAnotherProgramIsRead) {
    const CMesh mesh = readOverOldMesh(Element(std::string("<CMesh>") + kSmallMeshText + "</CMesh>"));
    EXPECT_TRUE(sameBits(mesh, smallMesh()));
}

TEST(CMeshXml, CompactFormKeepsEveryBitOfSpecialNumbers) {
    CMesh mesh = smallMesh();
    const double inf = std::numeric_limits<double>::infinity();
    mesh.vertices = {V(inf, -inf, -0.0),
                     V(std::bit_cast<double>(0x7ff8000000000123ULL), std::bit_cast<double>(0xfff0000000000001ULL),
                       std::bit_cast<double>(0x0000000000000001ULL)),
                     V(std::bit_cast<double>(0x7ff7ffffffffffffULL), std::numeric_limits<double>::max(), 0.1)};
    mesh.texCoords = {V(std::bit_cast<double>(0xffffffffffffffffULL), 1.0 / 3, -0.0)};
    mesh.faces = {std::numeric_limits<int>::min(), std::numeric_limits<int>::max(), -1, 0};
    EXPECT_TRUE(sameBits(throughText(mesh, false), mesh));
}

TEST(CMeshXml, CompactFormKeepsEveryBitOfRandomMeshes) {
    constexpr std::uint64_t kSeed = 57101;
    SCOPED_TRACE(kSeed);
    PinnedRandom random(kSeed);
    const auto anyDouble = [&] { return std::bit_cast<double>(std::uint64_t{random.bits()} << 32 | random.bits()); };
    const auto anyVectors = [&] {
        std::vector<V> list(random.bits() % 20);
        for (V& v : list) v = V(anyDouble(), anyDouble(), anyDouble());
        return list;
    };
    const auto anyIndices = [&] {
        std::vector<int> list(random.bits() % 40);
        for (int& i : list) i = static_cast<int>(random.bits());
        return list;
    };
    std::size_t entries = 0;
    for (int run = 0; run < 500; ++run) {
        CMesh mesh;
        mesh.vertices = anyVectors();
        mesh.texCoords = anyVectors();
        mesh.faces = anyIndices();
        mesh.tFaces = anyIndices();
        ASSERT_TRUE(sameBits(throughText(mesh, false), mesh)) << run;
        entries += mesh.vertices.size() + mesh.texCoords.size() + mesh.faces.size() + mesh.tFaces.size();
    }
    EXPECT_GT(entries, 10000u);
}

TEST(CMeshXml, EachMissingChunkEndsAsAnEmptyMesh) {
    ASSERT_TRUE(sameBits(readOverOldMesh(compactElement(smallMeshChunks())), smallMesh()));
    for (std::size_t missing = 0; missing < 8; ++missing) {
        auto chunks = smallMeshChunks();
        chunks.erase(chunks.begin() + static_cast<std::ptrdiff_t>(missing));
        EXPECT_TRUE(isEmpty(readOverOldMesh(compactElement(chunks)))) << missing;
    }
}

TEST(CMeshXml, ChunkWithoutNumTFacesEndsAsAnEmptyMesh) {
    auto chunks = smallMeshChunks();
    chunks.erase(chunks.begin() + 3);
    EXPECT_TRUE(isEmpty(readOverOldMesh(compactElement(chunks))));
}

TEST(CMeshXml, OrderOfTheChunksDoesNotMatterAndTheFirstOfANameCounts) {
    auto chunks = smallMeshChunks();
    std::reverse(chunks.begin(), chunks.end());
    chunks.push_back(number("numFaces", 99));
    EXPECT_TRUE(sameBits(readOverOldMesh(compactElement(chunks)), smallMesh()));
}

TEST(CMeshXml, NegativeCountIsAFailure) {
    for (std::size_t i = 0; i < 4; ++i) {
        auto chunks = smallMeshChunks();
        chunks[i] = number(chunks[i].getName(), -1);
        EXPECT_TRUE(isEmpty(readOverOldMesh(compactElement(chunks)))) << i;
    }
}

TEST(CMeshXml, ShortCountIsAFailure) {
    for (std::size_t i = 0; i < 4; ++i) {
        for (int size = 0; size < 4; ++size) {
            auto chunks = smallMeshChunks();
            chunks[i].setData(nullptr, size);
            EXPECT_TRUE(isEmpty(readOverOldMesh(compactElement(chunks)))) << i << " " << size;
        }
    }
}

TEST(CMeshXml, LongCountIsReadFromItsFirstFourBytes) {
    auto chunks = smallMeshChunks();
    chunks[2].setData("\3\0\0\0\xff\xff", 6);
    EXPECT_TRUE(sameBits(readOverOldMesh(compactElement(chunks)), smallMesh()));
}

TEST(CMeshXml, MoreBytesThanTheArrayHoldsIsAFailure) {
    for (std::size_t i = 0; i < 4; ++i) {
        auto chunks = smallMeshChunks();
        chunks[4 + i].setData(nullptr, chunks[4 + i].getSize() + 1);
        EXPECT_TRUE(isEmpty(readOverOldMesh(compactElement(chunks)))) << i;
    }
}

TEST(CMeshXml, FewerBytesThanTheArrayHoldsFillItsStart) {
    auto chunks = smallMeshChunks();
    chunks[0] = number("numVertexes", 3);
    chunks[4].setData(std::vector<V>{V(1, 2, 3), V(4, 5, 6)}.data(), 24 + 8 + 3);
    chunks[6].setData("\1\0\0\0\2\0", 6);
    CMesh mesh;
    mesh.fromXml(compactElement(chunks));
    ASSERT_EQ(mesh.vertices.size(), 3u);
    EXPECT_EQ(mesh.vertices[0], V(1, 2, 3));
    EXPECT_EQ(mesh.vertices[1].x, 4);
    EXPECT_EQ(mesh.vertices[1].y, 0);  // the three low bytes of 5.0 are zero
    EXPECT_EQ(mesh.vertices[2], V());
    EXPECT_EQ(mesh.faces, (std::vector<int>{1, 2, 0}));
}

TEST(CMeshXml, EntriesWithoutBytesKeepWhatTheMeshHad) {
    auto chunks = smallMeshChunks();
    chunks[0] = number("numVertexes", 3);
    chunks[7].setData("\x11", 1);
    CMesh mesh = oldMesh();
    mesh.tFaces[0] = 0x55667788;
    mesh.fromXml(compactElement(chunks));
    EXPECT_EQ(mesh.vertices, (std::vector<V>{smallMesh().vertices[0], V(7, 8, 9), V(7, 8, 9)}));
    EXPECT_EQ(mesh.tFaces, std::vector<int>{0x55667711});
}

TEST(CMeshXml, CountFarBeyondItsBytesIsAFailureAndNoAllocation) {
    for (const std::int32_t count : {65537, 0x10000000, 0x7fffffff}) {
        auto chunks = smallMeshChunks();
        chunks[0] = number("numVertexes", count);
        EXPECT_TRUE(isEmpty(readOverOldMesh(compactElement(chunks)))) << count;
    }
    auto chunks = smallMeshChunks();
    chunks[0] = number("numVertexes", 65536);
    EXPECT_EQ(readOverOldMesh(compactElement(chunks)).vertices.size(), 65536u);
}

TEST(CMeshXml, TextThatIsNoBase64EndsAsAnEmptyMesh) {
    for (const char* text : {"AAA", "A@==", "not base64", "====", " AAAA"}) {
        Element element{Tag("CMesh")};
        element.addChild(Text(text));
        EXPECT_TRUE(isEmpty(readOverOldMesh(element))) << text;
    }
}

TEST(CMeshXml, EveryTruncationOfTheBlockEndsAsAnEmptyMesh) {
    const std::string whole = kSmallMeshText;
    for (std::size_t length = 4; length < whole.size(); length += 4) {
        Element element{Tag("CMesh")};
        element.addChild(Text(whole.substr(0, length)));
        EXPECT_TRUE(isEmpty(readOverOldMesh(element))) << length;
    }
}

TEST(CMeshXml, AnyChangedByteOfTheBlockReadsWithoutHarm) {
    const Base64Data decoded{std::string(kSmallMeshText)};
    std::vector<unsigned char> block(static_cast<std::size_t>(decoded.getSize()));
    ASSERT_TRUE(decoded.copyTo(block.data(), decoded.getSize()));
    int read = 0;
    for (std::size_t i = 0; i < block.size(); ++i) {
        for (const int flip : {0x01, 0x80, 0xff}) {
            auto damaged = block;
            damaged[i] = static_cast<unsigned char>(damaged[i] ^ flip);
            Element element{Tag("CMesh")};
            element.addChild(Text(Base64Data(damaged.data(), static_cast<int>(damaged.size())).toString()));
            CMesh mesh;
            mesh.fromXml(element);
            EXPECT_LE(mesh.vertices.size(), 65536u);
            EXPECT_LE(mesh.faces.size(), 65536u);
            read += isEmpty(mesh) ? 0 : 1;
        }
    }
    EXPECT_GT(read, 0);
    EXPECT_LT(read, static_cast<int>(3 * block.size()));
}

TEST(CMeshXml, FailedCompactFormFallsBackToTheVerboseOne) {
    Element element = smallMesh().toXml(true);
    element.addChild(Text("no base64"));
    CMesh mesh = oldMesh();
    mesh.fromXml(element);
    EXPECT_EQ(mesh.vertices, std::vector<V>{V(1, -2.5, 3e-7)});
    EXPECT_EQ(mesh.tFaces, std::vector<int>{7});
}

// ---- verbose form ----

TEST(CMeshXml, VerboseFormNamesEveryEntry) {
    EXPECT_EQ(smallMesh().toXml(true).toString(),
              "<CMesh><vertexdata><vertex>1,-2.5,3e-07</vertex></vertexdata>"
              "<texcoorddata><texcoord>0.25,0.5,0</texcoord></texcoorddata>"
              "<facedata><face>0</face><face>1</face><face>-2</face></facedata>"
              "<tfacedata><tface>7</tface></tfacedata></CMesh>");
}

TEST(CMeshXml, VerboseFormOfAnEmptyMeshHasItsFourTags) {
    EXPECT_EQ(CMesh().toXml(true).toString(), "<CMesh><vertexdata/><texcoorddata/><facedata/><tfacedata/></CMesh>");
    EXPECT_TRUE(isEmpty(throughText(CMesh(), true)));
}

TEST(CMeshXml, VerboseFormWritesSixDigits) {
    CMesh mesh;
    mesh.vertices = {V(1.23456789, 0, 0)};
    EXPECT_EQ(mesh.toXml(true).getChild("vertexdata").getChild("vertex").getTextContent(), "1.23457,0,0");
}

TEST(CMeshXml, VerboseFormKeepsTheSixDigitsAndAllIndices) {
    constexpr std::uint64_t kSeed = 57102;
    SCOPED_TRACE(kSeed);
    PinnedRandom random(kSeed);
    for (int run = 0; run < 100; ++run) {
        CMesh mesh;
        mesh.vertices.resize(1 + random.bits() % 20);
        for (V& v : mesh.vertices) v = random.vector(1000.0);
        mesh.texCoords.resize(random.bits() % 5);
        for (V& v : mesh.texCoords) v = random.vector(1.0);
        mesh.faces.resize(random.bits() % 30);
        for (int& i : mesh.faces) i = static_cast<int>(random.bits());
        const CMesh back = throughText(mesh, true);
        ASSERT_EQ(back.faces, mesh.faces);
        ASSERT_EQ(back.vertices.size(), mesh.vertices.size());
        for (std::size_t i = 0; i < mesh.vertices.size(); ++i) {
            ASSERT_NEAR(back.vertices[i].x, mesh.vertices[i].x, 5.001e-6 * std::abs(mesh.vertices[i].x));
            ASSERT_NEAR(back.vertices[i].y, mesh.vertices[i].y, 5.001e-6 * std::abs(mesh.vertices[i].y));
            ASSERT_NEAR(back.vertices[i].z, mesh.vertices[i].z, 5.001e-6 * std::abs(mesh.vertices[i].z));
        }
        ASSERT_TRUE(back.toXml(true).equalsDeep(mesh.toXml(true)));
    }
}

TEST(CMeshXml, BoxReadsBackExactlyInBothForms) {
    const CMesh_Box box(0.5, 0.25, 2);
    EXPECT_TRUE(sameBits(throughText(box, true), box));
    EXPECT_TRUE(sameBits(throughText(box, false), box));
}

TEST(CMeshXml, ElementOfAnotherNameLeavesTheMeshUnchanged) {
    Element element = smallMesh().toXml(false);
    element.setText("Mesh");
    EXPECT_TRUE(sameBits(readOverOldMesh(element), oldMesh()));
    EXPECT_TRUE(sameBits(readOverOldMesh(Element()), oldMesh()));
}

TEST(CMeshXml, ElementWithoutChildrenEmptiesTheMesh) { EXPECT_TRUE(isEmpty(readOverOldMesh(Tag("CMesh")))); }

TEST(CMeshXml, VerboseReadingTakesOnlyChildrenOfTheRightName) {
    const CMesh mesh = readOverOldMesh(Element(
        "<CMesh><vertexdata><vertex>1 2 3</vertex><other>9,9,9</other><vertex>4,5,6</vertex></vertexdata>"
        "<facedata><face>5</face><tface>6</tface></facedata><vertexdata><vertex>8,8,8</vertex></vertexdata></CMesh>"));
    EXPECT_EQ(mesh.vertices, (std::vector<V>{V(1, 2, 3), V(4, 5, 6)}));
    EXPECT_EQ(mesh.faces, std::vector<int>{5});
    EXPECT_TRUE(mesh.tFaces.empty());
}

TEST(CMeshXml, VerboseReadingTakesTheFirstChildOfAnEntryWhateverItIs) {
    const CMesh mesh = readOverOldMesh(
        Element("<CMesh><facedata>face<face><x/>7</face><face/><face>abc</face><face>12abc</face></facedata></CMesh>"));
    // The text "face" counts as an entry too; it has no child.
    EXPECT_EQ(mesh.faces, (std::vector<int>{0, 0, 0, 0, 12}));
    const CMesh other = readOverOldMesh(Element("<CMesh><facedata><face><7/>8</face></facedata></CMesh>"));
    EXPECT_EQ(other.faces, std::vector<int>{7});
}

TEST(CMeshXml, EntriesThatAreNoNumbersReadAsZero) {
    const CMesh mesh = readOverOldMesh(
        Element("<CMesh><vertexdata><vertex>abc</vertex><vertex/><vertex>1</vertex></vertexdata></CMesh>"));
    EXPECT_EQ(mesh.vertices, (std::vector<V>{V(), V(), V(1, 0, 0)}));
}

TEST(CMeshXml, LargeMeshReadsBackInBothForms) {
    // With a search for each entry the verbose reading alone would take 10^10 comparisons.
    constexpr int kCount = 100000;
    CMesh mesh;
    mesh.setNumVertices(kCount);
    for (int i = 0; i < kCount; ++i) mesh.setVertex(i, i, 0.5 * i, -i);
    mesh.setNumFaces(kCount / 10);
    for (int i = 0; i < kCount / 10; ++i) mesh.setFace(i, i, i + 1, i + 2);
    EXPECT_TRUE(sameBits(throughText(mesh, false), mesh));
    const CMesh back = throughText(mesh, true);
    ASSERT_EQ(back.getNumVertices(), kCount);
    EXPECT_EQ(back.vertices[99998], V(99998, 49999, -99998));
    EXPECT_EQ(back.faces, mesh.faces);
}

}  // namespace
