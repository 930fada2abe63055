// What a vehicle saves, byte for byte, and what saving does to it.
#include "state/SaveState.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>

#include "ond/util/DataChunk.h"
#include "ond/util/LittleEndian.h"
#include "state/FakeHost.h"
#include "state/SavedKeys.h"
#include "state/VehicleFields.h"
#include "util/PinnedRandom.h"

namespace {

using namespace ond;
using namespace ond::test;
using namespace ond::ovs::addon;
using util::DataChunk;

Bytes fileBytes(const std::string& name) {
    std::ifstream in(std::filesystem::path(__FILE__).parent_path() / "../golden/blocks" / name, std::ios::binary);
    return Bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

/// The tree that a host has after a save.
DataChunk saved(Car& car) {
    EXPECT_EQ(car->saveState(), 0u);
    DataChunk tree;
    EXPECT_EQ(tree.deserialize(car.host.block.data(), car.host.block.size()),
              car.host.block.data() + car.host.block.size())
        << "the block is whole and nothing follows it";
    return tree;
}

Bytes payload(const DataChunk& chunk) {
    const auto* bytes = static_cast<const unsigned char*>(chunk.getData());
    return {bytes, bytes + chunk.getSize()};
}

void storeGround(Car& car, int faces) {
    car->bStoreGroundMeshData = true;
    util::CMesh& mesh = car->cMesh_storedGroundMesh.whole();
    mesh.setNumVertices(3);
    mesh.setVertex(1, 1.0, 0.1, 0.0);
    mesh.setVertex(2, 0.0, 0.2, 1.0 / 3.0);
    mesh.setNumFaces(faces);
    if (faces > 0) mesh.setFace(0, 0, 2, 1);
    car->mBulletGroundMesh.setRow(3, {1.0, 2.0, 3.0});
}

/// Gives every field and history values of its own.
void randomize(Car& car, PinnedRandom& random) {
    for (const auto& [name, field] : numberFields(*car)) *field = random.in(-100.0, 100.0);
    for (const auto& [name, field] : flagFields(*car)) *field = random.chance(0.5);
    for (const auto& [name, field] : wholeFields(*car)) *field = static_cast<std::int32_t>(random.bits());
    for (const auto& [name, field] : matrixFields(*car))
        for (double& element : field->m) element = random.in(-9.0, 9.0);
    car->bStoreGroundMeshData = false;
    forEachHistory(*car, [&](const std::string&, auto& variable) {
        variable.keys.resize(random.bits() % 5);
        double time = random.in(0.0, 1.0);
        for (auto& key : variable.keys) {
            key.time = time += random.in(0.01, 0.1);
            if constexpr (std::is_same_v<decltype(key.value), double>) key.value = random.in(-9.0, 9.0);
            if constexpr (std::is_same_v<decltype(key.value), bool>) key.value = random.chance(0.5);
            if constexpr (std::is_same_v<decltype(key.value), int>) key.value = static_cast<int>(random.bits());
            if constexpr (std::is_same_v<decltype(key.value), util::Vector3<double>>) key.value = random.vector(5.0);
            if constexpr (std::is_same_v<decltype(key.value), util::Quat<double>>) key.value = random.rotation();
            if constexpr (std::is_same_v<decltype(key.value), util::QTransform<double>>)
                key.value = {random.vector(5.0), random.rotation()};
        }
    });
}

TEST(SaveState, OfANewVehicleIsTheFrozenBlock) {
    Car car;
    saved(car);
    const Bytes expected = fileBytes("saved/new.bin");
    ASSERT_GT(expected.size(), 4000u);
    EXPECT_EQ(car.host.block, expected);
}

TEST(SaveState, BehindALoadIsTheFrozenBlock) {
    for (const std::string version : {"100", "110", "8107", "8118", "8143", "8148", "9201"}) {
        SCOPED_TRACE(version);
        Car car;
        const bool numbered = version == "100" || version == "110";
        putRig(car.host, numbered ? RigAge::numbered : RigAge::current);
        car.host.block = fileBytes(version + ".bin");
        car.host.hasBlock = true;
        ASSERT_EQ(car->loadState(), 0u);
        saved(car);
        const Bytes expected = fileBytes("saved/" + version + ".bin");
        ASSERT_GT(expected.size(), 4000u);
        EXPECT_EQ(car.host.block, expected);
    }
}

TEST(SaveState, OfAVehicleThatNeverRanHasNinetyOneChildrenAndNoKeys) {
    Car car;
    const DataChunk tree = saved(car);
    EXPECT_EQ(tree.getNumChildren(), 91);
    EXPECT_EQ(tree.getSize(), 0);
    EXPECT_EQ(tree.getChild("sDataChunkSaveStruct").getSize(), 368);
    const Bytes noKeys = {16, 0, 0, 0, 0, 0, 0, 0, 100, 0, 0, 0, 0, 0, 0, 0};
    int histories = 0;
    for (int i = 0; i < tree.getNumChildren(); ++i) {
        const DataChunk& child = tree.getChild(i);
        if (child.getSize() != 16) continue;
        EXPECT_EQ(payload(child), noKeys) << child.getName();
        ++histories;
    }
    EXPECT_EQ(histories, 35);
    const DataChunk& store = tree.getChild("wheelstore");
    EXPECT_EQ(store.getSize(), 0);
    ASSERT_EQ(store.getNumChildren(), 24);
    for (int i = 0; i < 24; ++i) {
        EXPECT_EQ(store.getChild(i).getName(), kWheelStoreKeys[static_cast<std::size_t>(i) % 6]);
        EXPECT_EQ(payload(store.getChild(i)), noKeys);
    }
}

TEST(SaveState, EndsInTheLastTwoParametersInAnyCase) {
    for (const bool withGround : {false, true}) {
        Car car;
        if (withGround) storeGround(car, 1);
        car->cCarCam.dWheelRadiusMult = 0.6180339887;
        const DataChunk tree = saved(car);
        EXPECT_EQ(tree.getChild(tree.getNumChildren() - 2).getName(), "cCarCam.dWorldAvoidanceSphereRadius");
        EXPECT_EQ(tree.getChild(tree.getNumChildren() - 1).getName(), "cCarCam.dWheelRadiusMult");
        EXPECT_EQ(util::loadLittleEndian<double>(car.host.block.data() + car.host.block.size() - 8), 0.6180339887);
    }
}

TEST(SaveState, NamesTheRootAfterTheStamp) {
    Car car;
    EXPECT_EQ(saved(car).getName(), "CarCamDataChunk9201");
    car.host.plugin.stamp = 8148;
    EXPECT_EQ(saved(car).getName(), "CarCamDataChunk8148");
    car.host.appLink.descriptor = nullptr;
    EXPECT_EQ(saved(car).getName(), "CarCamDataChunk0");
    car.host.link = nullptr;
    EXPECT_EQ(saved(car).getName(), "CarCamDataChunk0");
}

TEST(SaveState, IsTheSameWhenNothingChangedInBetween) {
    SCOPED_TRACE("seed 71");
    PinnedRandom random(71);
    for (int round = 0; round < 20; ++round) {
        Car car;
        randomize(car, random);
        if (round % 2 == 1) storeGround(car, 1);
        saved(car);
        const Bytes first = car.host.block;
        saved(car);
        EXPECT_EQ(car.host.block, first);
        EXPECT_EQ(car.host.stores, 2);
    }
}

TEST(SaveState, IsTheFlatFormOfATreeOfChunks) {
    // Built a second time through the tree that knows the flat form, from histories and fields as they stand.
    SCOPED_TRACE("seed 72");
    PinnedRandom random(72);
    for (int round = 0; round < 20; ++round) {
        Car car;
        randomize(car, random);
        DataChunk tree = saved(car);
        int size = 0;
        const auto* flat = static_cast<const unsigned char*>(tree.serialize(&size));
        EXPECT_EQ(car.host.block, Bytes(flat, flat + size));

        std::size_t compared = 0;
        forEachHistory(*car, [&](const std::string& name, const auto& variable) {
            Bytes expected(static_cast<std::size_t>(variable.getSerialSize()));
            variable.write(expected.data(), variable.getSerialSize());
            const std::size_t bracket = name.find('[');
            const DataChunk* chunk = &tree.getChild(name);
            if (bracket != std::string::npos) {
                const auto at = std::find(kWheelStoreKeys.begin(), kWheelStoreKeys.end(), name.substr(0, bracket));
                chunk = &tree.getChild("wheelstore")
                             .getChild(6 * (name[bracket + 1] - '0') + static_cast<int>(at - kWheelStoreKeys.begin()));
            }
            EXPECT_EQ(payload(*chunk), expected) << name;
            ++compared;
        });
        EXPECT_EQ(compared, 59u);
    }
}

TEST(SaveState, WithAStoredMeshOfOneFaceHasItsTextAndMatrix) {
    Car car;
    storeGround(car, 1);
    const DataChunk tree = saved(car);
    EXPECT_EQ(tree.getNumChildren(), 93);
    const Bytes text = payload(tree.getChild("cMesh_storedGroundMesh"));
    ASSERT_GT(text.size(), 16u);
    EXPECT_EQ(text.back(), 0u);
    EXPECT_EQ(std::strlen(reinterpret_cast<const char*>(text.data())) + 1, text.size()) << "one NUL, at the end";
    EXPECT_EQ(std::string(text.begin(), text.begin() + 7), "<CMesh>");
    EXPECT_EQ(std::string(text.end() - 9, text.end() - 1), "</CMesh>");
    const Bytes matrix = payload(tree.getChild("mBulletGroundMesh"));
    ASSERT_EQ(matrix.size(), 128u);
    EXPECT_EQ(util::loadLittleEndian<double>(matrix.data() + 8 * 13), 2.0);
    EXPECT_EQ(payload(tree.getChild("bStoreGroundMeshData")), Bytes{1});

    util::CMesh mesh;
    mesh.fromXml(util::xml::Element(std::string(text.begin(), text.end() - 1)));
    EXPECT_EQ(mesh.getNumFaces(), 1);
    EXPECT_EQ(mesh.vertices[2].z, 1.0 / 3.0);
}

TEST(SaveState, WithAStoredMeshOfNoFaceSwitchesTheStoringOff) {
    Car car;
    storeGround(car, 0);
    const DataChunk tree = saved(car);
    EXPECT_EQ(tree.getNumChildren(), 91);
    EXPECT_EQ(payload(tree.getChild("bStoreGroundMeshData")), Bytes{0});
    EXPECT_FALSE(car->bStoreGroundMeshData);
    EXPECT_EQ(car->mBulletGroundMesh, util::Matrix4());
    EXPECT_EQ(car->cMesh_storedGroundMesh.getNumVertices(), 3) << "the mesh itself is left alone";
}

TEST(SaveState, WithoutStoringLeavesAMeshOutAndItsMatrixAlone) {
    Car car;
    storeGround(car, 1);
    car->bStoreGroundMeshData = false;
    EXPECT_EQ(saved(car).getNumChildren(), 91);
    EXPECT_EQ(car->mBulletGroundMesh.row(3).y, 2.0);
}

TEST(SaveState, RefreshesTheRecordAndKeepsAllHistories) {
    Car car;
    car->bWireframeMode = true;
    car->cCarCam.pcInput[8].maximum = 55.0;
    car->cCarCam.wheelGeom[3].x = 0.7;
    car->ancCarCampcInput_GAS_PEDAL.setKey(1.0, 2.0);
    const DataChunk tree = saved(car);
    EXPECT_TRUE(car->sDataChunkSaveStruct.bWireframeMode);
    EXPECT_EQ(car->sDataChunkSaveStruct.maximum[8], 55.0);
    EXPECT_EQ(car->sDataChunkSaveStruct.wheelGeom[3].x, 0.7);
    EXPECT_EQ(car->ancCarCampcInput_GAS_PEDAL.getNumKeys(), 1);
    const Bytes record = payload(tree.getChild("sDataChunkSaveStruct"));
    EXPECT_EQ(record[7], 1u);
    EXPECT_EQ(util::loadLittleEndian<double>(record.data() + 80 + 8 * 8), 55.0);
    EXPECT_EQ(util::loadLittleEndian<double>(record.data() + 216 + 3 * 24 + 16), 0.7);
}

TEST(SaveState, WritesTheKeysThatThePageOfTheLayoutLists) {
    std::ifstream in(std::filesystem::path(__FILE__).parent_path() / "../../docs/saved-state.md");
    std::vector<std::string> listed;
    for (std::string line; std::getline(in, line);) {
        const std::string begin = "| " + std::to_string(listed.size() + 1) + " | `";
        if (line.rfind(begin, 0) == 0) listed.push_back(line.substr(begin.size(), line.find("` |") - begin.size()));
    }
    std::vector<std::string> saved;
    for (const SavedRow& row : kSavedRows) saved.emplace_back(row.key);
    EXPECT_EQ(listed, saved);
}

TEST(SaveState, WritesEveryVariableOfTheAnimatedStateOnce) {
    std::map<std::string_view, int> written;
    for (const SavedRow& row : kSavedRows) {
        EXPECT_EQ(++written[row.key], 1) << row.key;
        if (std::holds_alternative<HistoryLeaf>(row.binding)) {
            const AnimatedRow* animated = findAnimatedRow(row.key);
            ASSERT_NE(animated, nullptr) << row.key;
            EXPECT_FALSE(std::holds_alternative<CornerBinding>(animated->binding)) << row.key;
        }
    }
    for (const AnimatedRow& row : kAnimatedState) {
        const bool corner = std::holds_alternative<CornerBinding>(row.binding);
        const auto inStore = std::count(kWheelStoreKeys.begin(), kWheelStoreKeys.end(), row.key);
        EXPECT_EQ(corner ? inStore : written[row.key], 1) << row.key;
    }
}

}  // namespace
