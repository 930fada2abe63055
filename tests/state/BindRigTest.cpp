// Which elements a load looks for, in which order, and what it makes where a rig lacks them.
#include "state/BindRig.h"

#include <gtest/gtest.h>

#include "state/BlockEditor.h"

namespace {

using namespace ond;
using namespace ond::test;
using namespace ond::ovs::addon;

/// The lines of a log that are neither looks at transforms nor the dialog's.
Log loadLog(RigAge age, const std::string& version, const std::vector<std::string>& without = {}) {
    Car car;
    putRig(car.host, age);
    for (const std::string& name : without) car.host.elements.erase(name);
    EXPECT_EQ(load(car, readGoldenBlock(version)), 0u);
    EXPECT_EQ(car.host.taken, 0);
    return car.host.log;
}

/// The look-ups of a corner loop that finds four elements.
void expectSuffixed(Log& log, const std::string& name, bool found = true) {
    if (!found) {
        log.push_back("find " + name + "_FL");
        return;
    }
    for (const char* suffix : {"_FL", "_FR", "_BL", "_BR", ""}) log.push_back("find " + name + suffix);
}

const Log kStart = {"find GravityDirectionMesh",
                    "extension 17 GravityDirectionMesh",
                    "find TopViewCam",
                    "extension 17 TopViewCam",
                    "find TurnBaseMesh",
                    "find CarBodyMesh",
                    "find SteeringWheelMesh",
                    "find DriverCam",
                    "extension 17 DriverCam",
                    "find FollowCam",
                    "find ExternalForceMesh",
                    "extension 17 ExternalForceMesh",
                    "chunk 0"};

TEST(BindRig, LooksForTheElementsOfACurrentRigInOrder) {
    Log expected = kStart;
    for (const char* line : {"find ChassisRelocatorMesh", "extension 57 ChassisRelocatorMesh", "find TargetMesh",
                             "extension 17 TargetMesh"})
        expected.emplace_back(line);
    expectSuffixed(expected, "WheelRelocatorMesh");
    for (const char* suffix : {"_FL", "_FR", "_BL", "_BR"})
        expected.push_back(std::string("extension 57 WheelRelocatorMesh") + suffix);
    expected.emplace_back("find WheelBottomMesh01");
    expected.emplace_back("find WheelBottomMesh_FR");
    expectSuffixed(expected, "WheelMesh");
    expectSuffixed(expected, "WheelCenterMesh");
    expected.emplace_back("find CarBodyBaseMesh");
    expectSuffixed(expected, "WheelCenterSuspensionMesh");
    EXPECT_EQ(loadLog(RigAge::current, "9201"), expected);
}

TEST(BindRig, BindsAllNodesToTheirElements) {
    Car car;
    putRig(car.host);
    ASSERT_EQ(load(car, readGoldenBlock("9201")), 0u);
    const auto element = [&](const std::string& name) { return car.host.elements.at(name).get(); };
    EXPECT_EQ(car->cGravityDirectionNode.pMesh, element("GravityDirectionMesh"));
    EXPECT_EQ(car->cTopViewCamNode.pMesh, element("TopViewCam"));
    EXPECT_EQ(car->cRelativeTurnBaseNode.pMesh, element("TurnBaseMesh"));
    EXPECT_EQ(car->cCarBodyNode.pMesh, element("CarBodyMesh"));
    EXPECT_EQ(car->cSteeringWheelNode.pMesh, element("SteeringWheelMesh"));
    EXPECT_EQ(car->cDriverCamNode.pMesh, element("DriverCam"));
    EXPECT_EQ(car->cFollowCamNode.pMesh, element("FollowCam"));
    EXPECT_EQ(car->cExternalForceNode.pMesh, element("ExternalForceMesh"));
    EXPECT_EQ(car->cChassisRelocatorNode.pMesh, element("ChassisRelocatorMesh"));
    EXPECT_EQ(car->cTargetNode.pMesh, element("TargetMesh"));
    EXPECT_EQ(car->cBaseMeshNode.pMesh, element("CarBodyBaseMesh"));
    static constexpr const char* kSuffixes[] = {"_FL", "_FR", "_BL", "_BR"};
    for (std::uint32_t i = 0; i < 4; ++i) {
        const std::string suffix = kSuffixes[i];
        EXPECT_EQ(car->aWheelRelocatorNodes[i].pMesh, element("WheelRelocatorMesh" + suffix));
        EXPECT_EQ(car->aWheelNodes[i].pMesh, element("WheelMesh" + suffix));
        EXPECT_EQ(car->aWheelCenterNodes[i].pMesh, element("WheelCenterMesh" + suffix));
        EXPECT_EQ(car->aWheelCenterSuspensionNodes[i].pMesh, element("WheelCenterSuspensionMesh" + suffix));
        EXPECT_EQ(car->aWheelNodes[i].iCorner, i);
        EXPECT_EQ(car->aWheelNodes[i].parent, car.object);
        EXPECT_EQ(car->aWheelCenterSuspensionNodes[i].iCorner, i);
    }
}

TEST(BindRig, FailsWithoutAnElementThatEveryRigHas) {
    for (const char* name :
         {"GravityDirectionMesh", "TopViewCam", "TurnBaseMesh", "CarBodyMesh", "DriverCam", "FollowCam"}) {
        Car car;
        putRig(car.host);
        car.host.elements.erase(name);
        EXPECT_EQ(load(car, readGoldenBlock("9201")), 1u);
        EXPECT_EQ(car.host.log.back(), std::string("find ") + name) << "ends at once";
    }
}

TEST(BindRig, NeedsRelocatorAndTargetOnlyFromTheVersionsThatHaveThem) {
    for (const auto& [version, name, age] : std::initializer_list<std::tuple<const char*, const char*, RigAge>>{
             {"119", "ChassisRelocatorMesh", RigAge::numbered}, {"124", "TargetMesh", RigAge::middle}}) {
        Car car;
        putRig(car.host, age);
        car.host.elements.erase(name);
        EXPECT_EQ(load(car, readGoldenBlock(version)), 1u) << version;
        EXPECT_EQ(car.host.log.back(), std::string("find ") + name);
    }
    const Log relocator = loadLog(RigAge::numbered, "118", {"ChassisRelocatorMesh"});
    const auto made = std::find(relocator.begin(), relocator.end(), "mesh ChassisRelocatorMesh");
    ASSERT_NE(made, relocator.end());
    EXPECT_EQ(std::count(relocator.begin(), relocator.end(), "find ChassisRelocatorMesh"), 0);
    EXPECT_NE(std::find(made, relocator.end(), "extension 17 ChassisRelocatorMesh"), relocator.end());

    const Log target = loadLog(RigAge::middle, "123", {"TargetMesh"});
    EXPECT_EQ(std::count(target.begin(), target.end(), "mesh TargetMesh"), 1);
    EXPECT_EQ(std::count(target.begin(), target.end(), "extension 17 TargetMesh"), 1) << "by its own making";
}

TEST(BindRig, MakesASteeringWheelAndAForceMeshThatAreMissing) {
    const Log log = loadLog(RigAge::current, "9201", {"SteeringWheelMesh", "ExternalForceMesh"});
    EXPECT_EQ(std::count(log.begin(), log.end(), "mesh SteeringWheelMesh"), 1);
    EXPECT_EQ(std::count(log.begin(), log.end(), "mesh ExternalForceMesh"), 1);
    EXPECT_EQ(std::count(log.begin(), log.end(), "extension 17 ExternalForceMesh"), 2) << "in its making and behind it";
    EXPECT_EQ(std::count(log.begin(), log.end(), "hide SteeringWheelMesh"), 0);
}

TEST(BindRig, HidesTheSteeringWheelOfAHiddenBodyWhetherItIsBoundOrMade) {
    for (const bool there : {true, false}) {
        Car car;
        putRig(car.host);
        car.host.elements.at("CarBodyMesh")->shown = false;
        if (!there) car.host.elements.erase("SteeringWheelMesh");
        ASSERT_EQ(load(car, readGoldenBlock("9201")), 0u);
        EXPECT_EQ(car.host.count("hide SteeringWheelMesh"), 1);
    }
}

TEST(BindRig, HidesTheGravityDirectionOfBlocksBelow127) {
    const Log old = loadLog(RigAge::middle, "126");
    const Log newer = loadLog(RigAge::middle, "127");
    EXPECT_EQ(std::count(old.begin(), old.end(), "hide GravityDirectionMesh"), 1);
    EXPECT_EQ(std::count(newer.begin(), newer.end(), "hide GravityDirectionMesh"), 0);
}

TEST(BindRig, MakesABaseMeshThatIsMissing) {
    Car car;
    putRig(car.host);
    car.host.elements.erase("CarBodyBaseMesh");
    car.host.elements.at("GravityDirectionMesh")->world.setRow(3, {7.0, 8.0, 9.0});
    BlockEditor block("9201");
    Bytes record = block.payload("sDataChunkSaveStruct");
    record[7] = 1;
    block.set("sDataChunkSaveStruct", record);
    ASSERT_EQ(load(car, block), 0u);
    const FakeElement& base = *car.host.elements.at("CarBodyBaseMesh");
    EXPECT_EQ(car->cBaseMeshNode.pMesh, &base);
    EXPECT_EQ(base.parent, car->cCarBodyNode.pMesh);
    EXPECT_EQ(base.world.row(3).y, 8.0);
    EXPECT_EQ(base.colour, (std::vector<float>{0.8784314f, 0.8784314f, 0.3372549f}));
    EXPECT_TRUE(base.wireframe);
    EXPECT_FALSE(base.shown);
    EXPECT_EQ(car.host.count("hide CarBodyBaseMesh"), 2);
    EXPECT_EQ(car.host.count("own colour CarBodyBaseMesh on"), 1);
    ASSERT_EQ(base.mesh.getNumVertices(), 8);
    EXPECT_EQ(base.mesh.getNumFaces(), 12);
    for (const auto& vertex : base.mesh.vertices) EXPECT_NEAR(std::abs(vertex.x), 0.5 * 0.12 / 2, 1e-15);
    const auto& times = car.host.transformTimes;
    for (const char* name : {"GravityDirectionMesh", "CarBodyBaseMesh"})
        EXPECT_NE(std::find(times.begin(), times.end(), std::pair<std::string, double>(name, 0.0)), times.end());
}

TEST(BindRig, TakesTheTurnBasesMatrixAnewFrom140On) {
    for (const auto& [version, taken] :
         std::initializer_list<std::pair<const char*, bool>>{{"139", false}, {"140", true}}) {
        Car car;
        putRig(car.host);
        car.host.elements.at("TurnBaseMesh")->world.setRow(3, {4.0, 5.0, 6.0});
        ASSERT_EQ(load(car, readGoldenBlock(version)), 0u);
        EXPECT_EQ(car->cRelativeTurnBaseNode.mCurr.row(3).y, taken ? 5.0 : 0.0) << version;
    }
}

// ---- corners ----

TEST(BindRig, BindsThreeCornersWhereTheSceneHasThree) {
    Car car;
    putRig(car.host, RigAge::current, 3);
    ASSERT_EQ(load(car, readGoldenBlock("9201")), 0u);
    EXPECT_EQ(car->aWheelRelocatorNodes.size(), 3u);
    EXPECT_EQ(car->aWheelNodes.size(), 3u);
    EXPECT_EQ(car->aWheelCenterNodes.size(), 3u);
    EXPECT_EQ(car->aWheelCenterSuspensionNodes.size(), 3u);
}

TEST(BindRig, EndsBehindTheBareNameWhereTheSceneHasIt) {
    Car car;
    putRig(car.host, RigAge::current, 5);
    ASSERT_EQ(load(car, readGoldenBlock("9201")), 0u);
    EXPECT_EQ(car->aWheelNodes.size(), 5u);
    EXPECT_EQ(car->aWheelNodes[4].pMesh, car.host.elements.at("WheelMesh").get());
    EXPECT_EQ(car.host.count("find WheelMesh"), 1);
    EXPECT_EQ(car->numCorners(), 4);
}

TEST(BindRig, FollowsTheOldestNamesInTheSceneWhateverTheAgeOfTheBlock) {
    Car car;
    putRig(car.host, RigAge::numbered);
    ASSERT_EQ(load(car, readGoldenBlock("9201")), 0u);
    EXPECT_EQ(car.host.count("find WheelMesh00"), 1);
    EXPECT_EQ(car.host.count("find WheelMesh04"), 1) << "the first that is missing";
    ASSERT_EQ(car->aWheelNodes.size(), 4u);
    EXPECT_EQ(car->aWheelNodes[3].pMesh, car.host.elements.at("WheelMesh03").get());
    EXPECT_EQ(car->aWheelCenterNodes[1].pMesh, car.host.elements.at("WheelBottomMesh01").get());
    EXPECT_EQ(car->dVelocityConversionMult, 3.6) << "not read for such a rig";
}

TEST(BindRig, FollowsTheMiddleNamesInTheSceneWhateverTheAgeOfTheBlock) {
    Car car;
    putRig(car.host, RigAge::middle);
    ASSERT_EQ(load(car, readGoldenBlock("9201")), 0u);
    EXPECT_EQ(car->aWheelCenterNodes.at(2).pMesh, car.host.elements.at("WheelBottomMesh_BL").get());
    EXPECT_EQ(car->dVelocityConversionMult, 3.6);
}

TEST(BindRig, LooksForBothOldNamesInAnyCase) {
    const Log log = loadLog(RigAge::numbered, "100");
    EXPECT_EQ(std::count(log.begin(), log.end(), "find WheelBottomMesh_FR"), 1);
    EXPECT_GE(std::count(log.begin(), log.end(), "find WheelBottomMesh01"), 1);
}

TEST(BindRig, CountsNumberedCornersUpToAHundred) {
    Car car;
    putRig(car.host);
    for (int i = 0; i < 120; ++i) {
        const std::string number = (i < 10 ? "0" : "") + std::to_string(i);
        car.host.put("WheelMesh" + number);
        if (i < 12) car.host.put("WheelBottomMesh" + number);
    }
    ASSERT_EQ(load(car, readGoldenBlock("9201")), 0u);
    EXPECT_EQ(car->aWheelNodes.size(), 100u);
    EXPECT_EQ(car->aWheelCenterNodes.size(), 12u);
    EXPECT_EQ(car->aWheelCenterNodes[11].iCorner, 11u);
}

TEST(BindRig, MakesCenterSuspensionsForBlocksBelow8138) {
    for (const bool shown : {true, false}) {
        Car car;
        putRig(car.host);
        for (const char* suffix : {"_FL", "_FR", "_BL", "_BR"})
            car.host.elements.erase(std::string("WheelCenterSuspensionMesh") + suffix);
        car.host.elements.at("CarBodyMesh")->shown = shown;
        ASSERT_EQ(load(car, readGoldenBlock("8137")), 0u);
        ASSERT_EQ(car->aWheelCenterSuspensionNodes.size(), 4u);
        EXPECT_EQ(car.host.count("find WheelCenterSuspensionMesh_FL"), 0);
        EXPECT_EQ(car.host.count("mesh WheelCenterSuspensionMesh_BR"), 1);
        EXPECT_EQ(car.host.count("hide WheelCenterSuspensionMesh_BR"), shown ? 0 : 1);
        EXPECT_EQ(car->aWheelCenterSuspensionNodes[3].parent, car.object);
        EXPECT_EQ(car->aWheelCenterSuspensionNodes[3].iCorner, 3u);
    }
}

TEST(BindRig, MakesCenterSuspensionsForCornersThatTheModelDoesNotHave) {
    // A broken scene of an old version: five wheels, and no relocators to stand on.
    Car car;
    putRig(car.host, RigAge::numbered, 5);
    ASSERT_EQ(load(car, readGoldenBlock("116")), 0u);
    EXPECT_EQ(car->aWheelRelocatorNodes.size(), 0u);
    EXPECT_EQ(car->aWheelCenterSuspensionNodes.size(), 5u);
}

}  // namespace
