// The rules of a load that the frozen blocks do not show: which of two keys wins, what is missing and may be, what is
// missing and may not, and the oddities of single versions.
#include "state/LoadState.h"

#include <gtest/gtest.h>

#include <limits>

#include "state/BlockEditor.h"
#include "state/VehicleFields.h"

namespace {

using namespace ond;
using namespace ond::test;
using namespace ond::ovs::addon;

class LoadState : public testing::Test {
  protected:
    void SetUp() override { putRig(car.host); }
    /// A second vehicle with a current rig that has loaded `block`.
    void expectFails(const BlockEditor& block) {
        Car other;
        putRig(other.host);
        EXPECT_EQ(load(other, block), 1u);
    }
    Car car;
};

// ---- names ----

TEST_F(LoadState, FailsWithoutABlock) {
    EXPECT_EQ(car->loadState(), 1u);
    EXPECT_EQ(car.host.log.back(), "chunk 0");
}

TEST_F(LoadState, FailsForNamesBelowAHundred) {
    for (const char* name : {"CarCamDataChunk0", "CarCamDataChunk", "CarCamDataChun", "Block", ""}) {
        BlockEditor block("100");
        block.name = name;
        expectFails(block);
    }
}

TEST_F(LoadState, ReadsNamesThatSortBehindAllNumbersAsTheNewestForm) {
    // "99", "90" and any word behind "CarCamDataChunk" in the alphabet.
    for (const char* name : {"CarCamDataChunk99", "CarCamDataChunk90", "Vehicle"}) {
        BlockEditor block("9201");
        block.name = name;
        Car other;
        putRig(other.host);
        ASSERT_EQ(load(other, block), 0u) << name;
        EXPECT_EQ(other->cCarCam.dWheelRadiusMult,
                  util::loadLittleEndian<double>(block.payload("cCarCam.dWheelRadiusMult").data()));
        block.remove("cCarCam.dWheelRadiusMult");
        expectFails(block);
    }
}

TEST_F(LoadState, ReadsANameOfFourDigitsThatBeginsLikeAHundredAsTheOldestForm) {
    BlockEditor block("100");
    block.name = "CarCamDataChunk1000";
    EXPECT_EQ(load(car, block), 0u);
    EXPECT_EQ(car->iChunkVersion, 101);
}

TEST_F(LoadState, LeavesTheWheelRadiusOfABlockJustTooOldAtOne) {
    BlockEditor block("9201");
    block.name = "CarCamDataChunk8147";
    ASSERT_EQ(load(car, block), 0u);
    EXPECT_EQ(car->cCarCam.dWheelRadiusMult, 1.0);
}

// ---- what comes before the block ----

TEST_F(LoadState, NoLongerStartsAfreshEvenIfItFails) {
    EXPECT_TRUE(car->bFreshStart);
    EXPECT_EQ(car->loadState(), 1u);
    EXPECT_FALSE(car->bFreshStart);

    Car withoutRig;
    EXPECT_EQ(withoutRig->loadState(), 1u);
    EXPECT_FALSE(withoutRig->bFreshStart);
    EXPECT_EQ(withoutRig.host.count("chunk 0"), 0) << "the block is not asked for without a rig";
}

TEST_F(LoadState, TakesTheFreshStartFromTheBlock) {
    for (const bool fresh : {false, true}) {
        BlockEditor block("9201");
        Bytes record = block.payload("sDataChunkSaveStruct");
        record[0] = fresh ? 1 : 0;
        block.set("sDataChunkSaveStruct", record);
        Car other;
        putRig(other.host);
        ASSERT_EQ(load(other, block), 0u);
        EXPECT_EQ(other->bFreshStart, fresh);
    }
}

TEST_F(LoadState, ResetsTheDynamicStateOfTheCar) {
    car->cCarCam.pcInput[0].value = 2.0;
    car->cCarCam.cCarBody.fRelYPos = 0.5;
    car->cCarCam.pcWheel[3].pfTotalPitch = 1.0;
    ASSERT_EQ(load(car, readGoldenBlock("9201")), 0u);
    EXPECT_EQ(car->cCarCam.pcInput[0].value, 0.0);
    EXPECT_EQ(car->cCarCam.cCarBody.fRelYPos, 0.0);
    EXPECT_EQ(car->cCarCam.pcWheel[3].pfTotalPitch, 0.0);
}

// ---- the record ----

TEST_F(LoadState, FailsUnlessTheRecordHasExactlyItsSize) {
    for (const std::size_t size : {std::size_t{0}, std::size_t{367}, std::size_t{369}}) {
        BlockEditor block("9201");
        Bytes record = block.payload("sDataChunkSaveStruct");
        record.resize(size);
        block.set("sDataChunkSaveStruct", record);
        expectFails(block);
    }
}

TEST_F(LoadState, SetsTheChunkVersionBeforeItLooksAtTheRecord) {
    EXPECT_EQ(car->iChunkVersion, 100);
    EXPECT_EQ(load(car, BlockEditor("9201").remove("sDataChunkSaveStruct")), 1u);
    EXPECT_EQ(car->iChunkVersion, 101);
}

// ---- the turn base of old blocks ----

struct TurnBaseCase {
    const char* version;
    int chunkVersion;
    bool shifted;
    bool rescaled;
};

class TurnBase : public testing::TestWithParam<TurnBaseCase> {};

TEST_P(TurnBase, IsConvertedByTheAgeOfTheBlock) {
    BlockEditor block(GetParam().version);
    Bytes record = block.payload("sDataChunkSaveStruct");
    util::storeLittleEndian(record.data() + 168, 0.75);              // turn base
    util::storeLittleEndian(record.data() + 208, 5.0);               // length
    util::storeLittleEndian(record.data() + 216 + 2 * 24 + 8, 1.5);  // z of the third wheel
    block.set("sDataChunkSaveStruct", record);
    Car car;
    putRig(car.host, RigAge::numbered);
    ASSERT_EQ(load(car, block), 0u);

    double expected = 0.75;
    // The first conversion knows only the dimensions of a new car, the second those of the block.
    if (GetParam().shifted) expected = expected - 1.044 / (3.522 / 2);
    if (GetParam().rescaled) expected = ((expected / 2) * (5.0 / 2) + 1.5) / (5.0 / 2);
    EXPECT_EQ(car->cCarCam.dTurnBase, expected);
    EXPECT_EQ(car->iChunkVersion, GetParam().chunkVersion);
}

INSTANTIATE_TEST_SUITE_P(Versions, TurnBase,
                         testing::Values(TurnBaseCase{"100", 101, true, true}, TurnBaseCase{"104", 104, true, true},
                                         TurnBaseCase{"106", 106, true, true}, TurnBaseCase{"107", 106, true, true},
                                         TurnBaseCase{"108", 108, true, true}, TurnBaseCase{"110", 110, true, true},
                                         TurnBaseCase{"113", 113, true, true}, TurnBaseCase{"114", 113, true, true},
                                         TurnBaseCase{"115", 115, false, true}, TurnBaseCase{"116", 116, false, false},
                                         TurnBaseCase{"9201", 116, false, false}),
                         [](const auto& param) { return "V" + std::string(param.param.version); });

// ---- tyre pressure ----

TEST_F(LoadState, SetsTheTyrePressureOfBlocksBelow8135) {
    for (const auto& [version, kept] : std::initializer_list<std::pair<const char*, bool>>{
             {"8113", false}, {"8133", false}, {"8134", false}, {"8135", true}, {"8136", true}}) {
        BlockEditor block(version);
        block.set("fSurfaceEdgeResponseFactor", bytesOf(0.625));
        Car other;
        putRig(other.host);
        ASSERT_EQ(load(other, block), 0u) << version;
        EXPECT_EQ(other->fSurfaceEdgeResponseFactor, kept ? 0.625 : 99.0) << version;
    }
}

// ---- two keys for one thing ----

TEST_F(LoadState, PrefersTheOldSpellingOfTheSkidBrake) {
    BlockEditor block("8148");
    ASSERT_FALSE(block.has("ancCarCampcInput_SKID_BREAK"));
    block.set("ancCarCampcInput_SKID_BRAKE", numberHistory({{1.0, 10.0}}));
    block.set("ancCarCampcInput_SKID_BREAK", numberHistory({{2.0, 20.0}, {3.0, 30.0}}));
    ASSERT_EQ(load(car, block), 0u);
    ASSERT_EQ(car->ancCarCampcInput_SKID_BRAKE.getNumKeys(), 2);
    EXPECT_EQ(car->ancCarCampcInput_SKID_BRAKE.valueAt(2.0), 20.0);
}

TEST_F(LoadState, TakesTheNewSpellingOfTheSkidBrakeWhereTheOldOneIsNotWhole) {
    BlockEditor block("8148");
    block.set("ancCarCampcInput_SKID_BRAKE", numberHistory({{1.0, 10.0}}));
    block.set("ancCarCampcInput_SKID_BREAK", Bytes{16, 0, 0, 0});
    ASSERT_EQ(load(car, block), 0u);
    EXPECT_EQ(car->ancCarCampcInput_SKID_BRAKE.valueAt(1.0), 10.0);
}

TEST_F(LoadState, NeedsOneSpellingOfTheSkidBrake) {
    expectFails(BlockEditor("8148").remove("ancCarCampcInput_SKID_BRAKE"));
}

TEST_F(LoadState, PrefersTheNewerKeyOfTheFixedCenters) {
    BlockEditor both("8148");
    both.set("bFixateWheelBottomNodes", Bytes{1});
    both.set("bFixateWheelCenterNodes", Bytes{0});
    ASSERT_EQ(load(car, both), 0u);
    EXPECT_TRUE(car->bFixateWheelCenterNodes);

    Car onlyOld;
    putRig(onlyOld.host);
    BlockEditor old("8148");
    old.remove("bFixateWheelBottomNodes").set("bFixateWheelCenterNodes", Bytes{1});
    ASSERT_EQ(load(onlyOld, old), 0u);
    EXPECT_TRUE(onlyOld->bFixateWheelCenterNodes);

    Car neither;
    putRig(neither.host);
    neither->bFixateWheelCenterNodes = true;
    ASSERT_EQ(load(neither, BlockEditor("8148").remove("bFixateWheelBottomNodes")), 0u);
    EXPECT_TRUE(neither->bFixateWheelCenterNodes) << "the field keeps its value";
}

TEST_F(LoadState, TakesTheFirstOfTwoLeavesOfOneName) {
    BlockEditor block("9201");
    block.prepend("dDegsPerRay", bytesOf(7.5));
    ASSERT_EQ(load(car, block), 0u);
    EXPECT_EQ(car->dDegsPerRay, 7.5);
}

// ---- histories that came later than others ----

TEST_F(LoadState, ReadsOneHistoryIntoThreeVariablesAndInvertsTheThird) {
    BlockEditor block("8118");
    block.set("ancCarCambSkidBreakingOn", flagHistory({{1.0, true}, {2.0, false}}));
    ASSERT_EQ(load(car, block), 0u);
    for (const auto* variable : {&car->ancCarCambSkidBreakingOn, &car->ancCarCambSkidBreakingOnDisableFeatures}) {
        ASSERT_EQ(variable->getNumKeys(), 2);
        EXPECT_EQ(variable->valueAt(1.0), true);
        EXPECT_EQ(variable->valueAt(2.0), false);
    }
    ASSERT_EQ(car->ancCarCambSkidFirstTime.getNumKeys(), 2);
    EXPECT_EQ(car->ancCarCambSkidFirstTime.valueAt(1.0), false);
    EXPECT_EQ(car->ancCarCambSkidFirstTime.valueAt(2.0), true);
}

TEST_F(LoadState, InvertsADamagedHistoryWithoutAddingKeys) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    BlockEditor block("8118");
    block.set("ancCarCambSkidBreakingOn",
              flagHistory({{3.0, true}, {nan, true}, {1.0, false}, {nan, false}, {3.0, true}}));
    ASSERT_EQ(load(car, block), 0u);
    EXPECT_EQ(car->ancCarCambSkidFirstTime.getNumKeys(), 5);
}

TEST_F(LoadState, MayLackTheMemoriesOfGravity) {
    BlockEditor block("9201");
    block.remove("anQGravityFilterMem").remove("anbCarInTheAir");
    EXPECT_EQ(load(car, block), 0u);
    EXPECT_EQ(car->anQGravityFilterMem.getNumKeys(), 0);
}

TEST_F(LoadState, LooksAtNoMemoryOfGravityBefore8115) {
    BlockEditor block("8114");
    block.set("anbCarInTheAir", flagHistory({{1.0, true}}));
    ASSERT_EQ(load(car, block), 0u);
    EXPECT_EQ(car->anbCarInTheAir.getNumKeys(), 0);
}

// ---- wheel store ----

TEST_F(LoadState, NeedsAsManyChildrenOfTheWheelStoreAsItsFormReads) {
    struct Case {
        const char* version;
        int needed;
    };
    for (const auto& [version, needed] : std::initializer_list<Case>{
             {"9201", 24}, {"8120", 24}, {"8119", 17}, {"8114", 17}, {"8113", 16}, {"139", 16}}) {
        SCOPED_TRACE(version);
        Car other;
        putRig(other.host);
        EXPECT_EQ(load(other, BlockEditor(version).shorten("wheelstore", needed)), 0u);
        expectFails(BlockEditor(version).shorten("wheelstore", needed - 1));
        expectFails(BlockEditor(version).remove("wheelstore"));
    }
}

TEST_F(LoadState, NeedsFourChildrenOfTheOldWheelStoreWhereThereIsOne) {
    EXPECT_EQ(load(car, BlockEditor("8119").remove("wheelstore2")), 0u);
    expectFails(BlockEditor("8119").shorten("wheelstore2", 3));
    Car old;
    putRig(old.host, RigAge::numbered);
    EXPECT_EQ(load(old, BlockEditor("110").shorten("wheelstore2", 3)), 0u) << "not looked at before 8107";
}

// ---- stored ground ----

class StoredGround : public LoadState {
  protected:
    BlockEditor block{"9201"};
    void setText(const std::string& text, bool closed = true) {
        Bytes bytes(text.begin(), text.end());
        if (closed) bytes.push_back(0);
        block.set("cMesh_storedGroundMesh", bytes);
    }
};

TEST_F(StoredGround, IsSwitchedOffWithoutAMesh) {
    block.remove("cMesh_storedGroundMesh");
    ASSERT_EQ(load(car, block), 0u);
    EXPECT_FALSE(car->bStoreGroundMeshData);
}

TEST_F(StoredGround, StaysOnWithAMeshOfNoFacesUntilTheNextSave) {
    setText("<CMesh></CMesh>");
    ASSERT_EQ(load(car, block), 0u);
    EXPECT_TRUE(car->bStoreGroundMeshData);
    EXPECT_EQ(car->cMesh_storedGroundMesh.getNumVertices(), 0);
    car->saveState();
    EXPECT_FALSE(car->bStoreGroundMeshData);
}

TEST_F(StoredGround, IsReadFromTheVerboseFormToo) {
    util::CMesh mesh;
    mesh.setNumVertices(3);
    mesh.setVertex(1, 2.0, 0.0, 0.0);
    mesh.setNumFaces(1);
    mesh.setFace(0, 0, 1, 2);
    setText(mesh.toXml(true).toString("\n", "\t", ""));
    ASSERT_EQ(load(car, block), 0u);
    EXPECT_EQ(car->cMesh_storedGroundMesh.getNumFaces(), 1);
    EXPECT_EQ(car->cMesh_storedGroundMesh.whole().vertices.at(1).x, 2.0);
}

TEST_F(StoredGround, EndsAtTheFirstNulOrWithItsLeaf) {
    Bytes text = block.payload("cMesh_storedGroundMesh");
    ASSERT_EQ(text.back(), 0u);
    text.pop_back();
    block.set("cMesh_storedGroundMesh", text);
    ASSERT_EQ(load(car, block), 0u);
    EXPECT_EQ(car->cMesh_storedGroundMesh.getNumFaces(), 2);

    Car other;
    putRig(other.host);
    text.push_back(0);
    for (const char c : std::string("<CMesh>behind</CMesh>")) text.push_back(static_cast<unsigned char>(c));
    block.set("cMesh_storedGroundMesh", text);
    ASSERT_EQ(load(other, block), 0u);
    EXPECT_EQ(other->cMesh_storedGroundMesh.getNumFaces(), 2);
}

TEST_F(StoredGround, WithoutItsMatrixStandsInTheWorldsOwnCoordinates) {
    car->mBulletGroundMesh.setRow(3, {1.0, 2.0, 3.0});
    block.remove("mBulletGroundMesh");
    ASSERT_EQ(load(car, block), 0u);
    EXPECT_EQ(car->mBulletGroundMesh, util::Matrix4());
    EXPECT_TRUE(car->bStoreGroundMeshData);
}

TEST_F(StoredGround, GetsItsTreeOnlyWithoutFastRayCast) {
    for (const bool fast : {true, false}) {
        block.set("bUseStaticMesh", Bytes{static_cast<unsigned char>(fast ? 1 : 0)});
        Car other;
        putRig(other.host);
        ASSERT_EQ(load(other, block), 0u);
        EXPECT_EQ(other->cGroundMeshTree.aTriangleVertices.size(), fast ? 0u : 6u);
    }
}

TEST_F(StoredGround, WithFacesOutsideItsVerticesIsKeptAsItIs) {
    util::CMesh mesh;
    mesh.setNumVertices(3);
    mesh.setNumFaces(2);
    mesh.setFace(0, 0, 1, 2);
    for (const int wrong : {3, -1}) {
        mesh.setFace(1, 0, wrong, 2);
        setText(mesh.toXml(false).toString());
        Car other;
        putRig(other.host);
        ASSERT_EQ(load(other, block), 0u);
        EXPECT_EQ(other->cMesh_storedGroundMesh.copy().faces, mesh.faces) << wrong;
        EXPECT_TRUE(other->bStoreGroundMeshData) << wrong;
    }
}

TEST_F(StoredGround, OfAnOlderBlockIsForgotten) {
    block.name = "CarCamDataChunk8142";
    ASSERT_EQ(load(car, block), 0u);
    EXPECT_FALSE(car->bStoreGroundMeshData);
    EXPECT_EQ(car->cMesh_storedGroundMesh.getNumFaces(), 0);
}

// ---- what is not read ----

TEST_F(LoadState, LeavesWhatIsNotReadAtItsConstructionValue) {
    BlockEditor block("9201");
    block.set("bKeyframeOnlyEssential", Bytes{1});
    ASSERT_EQ(load(car, block), 0u);
    EXPECT_FALSE(car->bKeyframeOnlyEssential);
    EXPECT_EQ(car->cCarCam.iRandomSeedAdder, 0);
    EXPECT_EQ(car->dCurrentVelocity, 0.0);
}

TEST_F(LoadState, PassesOverUnknownKeysOfAnySize) {
    BlockEditor block("9201");
    const Bytes odd(1001, 0xee);
    block.prepend("dKeyOfTheFuture", odd);
    util::DataChunk branch("branch of the future");
    branch.addChild(util::DataChunk("one", odd.data(), 17)).addChild(util::DataChunk("two"));
    block.children.insert(block.children.begin() + 40, branch);
    block.children.push_back(util::DataChunk("last", odd.data(), 3));
    // Above 64 KiB a payload must tell its own size, as a variable or a text does.
    Bytes history = historyBytes(16, 2400000, 100, 100000, Bytes(2400000, 0x55));
    block.prepend("anLongHistoryOfTheFuture", history);
    Bytes text(1500000, 'x');
    text.push_back(0);
    block.prepend("longTextOfTheFuture", text);
    EXPECT_EQ(load(car, block), 0u);
    EXPECT_EQ(car->cCarCam.dWheelRadiusMult,
              util::loadLittleEndian<double>(block.payload("cCarCam.dWheelRadiusMult").data()));
}

// ---- keys that must be there ----

/// Whether a block of the current version with both spellings of the skid brake may lack the key.
bool isDispensable(const std::string& key) {
    static const std::vector<std::string> keys = {"ancCarCampcInput_SKID_BREAK",
                                                  "ancCarCampcInput_SKID_BRAKE",
                                                  "bFixateWheelBottomNodes",
                                                  "anQGravityFilterMem",
                                                  "anbCarInTheAir",
                                                  "cMesh_storedGroundMesh",
                                                  "mBulletGroundMesh",
                                                  "bKeyframeOnlyEssential"};
    return std::find(keys.begin(), keys.end(), key) != keys.end();
}

TEST_F(LoadState, NeedsEveryKeyOfItsVersionButThoseThatItAsksForFirst) {
    const BlockEditor whole("9201");
    ASSERT_EQ(whole.children.size(), 94u);
    for (const util::DataChunk& child : whole.children) {
        SCOPED_TRACE(child.getName());
        Car other;
        putRig(other.host);
        EXPECT_EQ(load(other, BlockEditor(whole).remove(child.getName())), isDispensable(child.getName()) ? 0u : 1u);
    }
}

TEST_F(LoadState, TakesALeafThatIsTooShortForAMissingOne) {
    const BlockEditor whole("9201");
    for (const util::DataChunk& child : whole.children) {
        const std::string name = child.getName();
        if (child.getSize() == 0) continue;
        SCOPED_TRACE(name);
        Bytes shorter = whole.payload(name);
        shorter.pop_back();
        Car other;
        putRig(other.host);
        EXPECT_EQ(load(other, BlockEditor(whole).set(name, shorter)), isDispensable(name) ? 0u : 1u);
    }
}

TEST_F(LoadState, KeepsWhatWasReadBeforeItFailed) {
    BlockEditor block("9201");
    block.set("fRelMaxBumperLen", bytesOf(0.375)).remove("cCarCam.dWheelRadiusMult");
    EXPECT_EQ(load(car, block), 1u);
    EXPECT_EQ(car->cCarCam.fRelMaxBumperLen, 0.375);
    EXPECT_EQ(car->aWheelNodes.size(), 4u);
}

// ---- histories with a damaged header ----

TEST_F(LoadState, LeavesAVariableAloneWhoseHeaderIsNone) {
    car->ancCarCampcInput_BURNOUT.setKey(5.0, 1.0);
    for (const Bytes& damaged :
         {historyBytes(17, 16, 100, 1, Bytes(16, 1)), historyBytes(16, 16, 99, 1, Bytes(16, 1))}) {
        Car other;
        putRig(other.host);
        other->ancCarCampcInput_BURNOUT.setKey(5.0, 1.0);
        EXPECT_EQ(load(other, BlockEditor("9201").set("ancCarCampcInput_BURNOUT", damaged)), 0u);
        ASSERT_EQ(other->ancCarCampcInput_BURNOUT.getNumKeys(), 1);
        EXPECT_EQ(other->ancCarCampcInput_BURNOUT.valueAt(5.0), 1.0);
    }
}

TEST_F(LoadState, FillsAVariableWithEmptyKeysWhoseSizesContradictEachOther) {
    for (const std::uint32_t payload : {31u, 33u, 4000u}) {
        Car other;
        putRig(other.host);
        EXPECT_EQ(load(other, BlockEditor("9201").set("ancCarCampcInput_BURNOUT",
                                                      historyBytes(16, payload, 100, 2, Bytes(32, 1)))),
                  0u);
        ASSERT_EQ(other->ancCarCampcInput_BURNOUT.getNumKeys(), 2);
        EXPECT_EQ(other->ancCarCampcInput_BURNOUT.getKeyTime(1), -1.0);
    }
}

TEST_F(LoadState, FailsForAHistoryThatIsShorterThanItSays) {
    expectFails(BlockEditor("9201").set("ancCarCampcInput_BURNOUT", historyBytes(16, 32, 100, 2, Bytes(31, 1))));
}

}  // namespace
