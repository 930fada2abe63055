// Saving, loading, resuming and undoing whole runs.
#include "whole/Grounds.h"
#include "whole/SavedBlock.h"
#include "whole/WholeRun.h"

namespace ond::test {
namespace {

class SavedState : public WholeRun {
  protected:
    static SavedBlock saved(Vehicle& car) {
        car.save();
        return SavedBlock(car.chunk);
    }

    /// A drive with gas and steering that change slowly.
    static void script(Vehicle& car) {
        car.axis("Gas Pedal").script = [](double time) { return 0.4 + 0.1 * std::sin(0.5 * time); };
        car.axis("Steering").script = [](double time) { return 0.2 * std::sin(0.4 * time); };
    }
};

TEST_F(SavedState, VehicleThatNeverRanSavesNinetyOneChildren) {
    Vehicle& car = addCar();
    const SavedBlock block = saved(car);
    ASSERT_TRUE(block.isWhole());
    EXPECT_EQ(block.root().getName(), "CarCamDataChunk9201");
    EXPECT_EQ(block.root().getSize(), 0);
    ASSERT_EQ(block.root().getNumChildren(), 91);
    EXPECT_EQ(block.root().getChild("sDataChunkSaveStruct").getSize(), 368);
    EXPECT_EQ(block.root().getChild("wheelstore").getSize(), 0);
    ASSERT_EQ(block.root().getChild("wheelstore").getNumChildren(), 24);
    int variables = 0;
    const auto look = [&](const util::DataChunk& leaf) {
        if (leaf.getName().compare(0, 2, "an") != 0 && leaf.getName() != "cCarCamdWantedSkiddingValue" &&
            leaf.getName() != "cCarCamdInputFilterMem" && leaf.getName() != "cCarCamdGasPedalInputFilterMem")
            return;
        ++variables;
        EXPECT_EQ(leaf.getSize(), 16) << leaf.getName();
    };
    for (int i = 0; i < 91; ++i) look(block.root().getChild(i));
    for (int i = 0; i < 24; ++i) look(block.root().getChild("wheelstore").getChild(i));
    EXPECT_EQ(variables, 59);
}

TEST_F(SavedState, BlockEndsInTheWheelRadiusMultiplier) {
    Vehicle& car = addCar();
    car.put("Wheel Radius Multiplier", 0.8125);
    car.save();
    double last = 0.0;
    std::memcpy(&last, car.chunk.data() + car.chunk.size() - 8, 8);
    EXPECT_EQ(last, 0.8125);
}

TEST_F(SavedState, SavingTwiceGivesTheSameBytes) {
    Vehicle& car = addCar();
    linkGround(car, flatGround());
    car.edit("Store Ground Mesh Data", 1.0);
    host.run(0, 30);
    car.save();
    const std::vector<unsigned char> once = car.chunk;
    car.save();
    EXPECT_EQ(car.chunk, once);
    EXPECT_GT(once.size(), 20000u);
}

TEST_F(SavedState, SaveLoadSaveGivesTheSameBytes) {
    for (const bool stored : {false, true}) {
        Stage own(vehicleModule());
        Vehicle& car = straightAxes(own.addVehicle("Car"));
        script(car);
        car.axis("Skidding").script = [](double time) { return time > 1.0 && time < 1.5 ? 0.7 : 0.0; };
        car.axis("Booster").script = [](double time) { return time > 2.0 && time < 2.5 ? 1.0 : 0.0; };
        car.axis("Burnout").script = [](double time) { return time > 3.0 && time < 3.4 ? 1.0 : 0.0; };
        car.axis("Skid Brake").script = [](double time) { return time > 4.0 ? 1.0 : 0.0; };
        Element& ground = own.scene.addMesh("Ground", wavyGround());
        own.scene.reparent(car.element("GravityDirectionMesh"), &ground);
        if (stored) car.edit("Store Ground Mesh Data", 1.0);
        car.put("Tire Pressure", 0.5);
        car.put("Ray Multiplier", 4.0);
        car.put("Steering Noise", 0.1);
        car.put("Gravity", 2.0);
        own.run(0, 130);
        car.save();
        const std::vector<unsigned char> bytes = car.chunk;
        EXPECT_EQ(SavedBlock(bytes).root().getNumChildren(), stored ? 93 : 91);
        Vehicle& fresh = straightAxes(own.replace(car));
        ASSERT_EQ(fresh.load(), 0u);
        fresh.save();
        EXPECT_EQ(fresh.chunk, bytes);
        EXPECT_EQ(own.complaints(), Lines());
    }
}

TEST_F(SavedState, EveryRowOfTheDialogButTheNamedOnesComesBack) {
    Vehicle& car = addCar();
    std::vector<double> values;
    for (const DialogItem& item : car.dialog.items) {
        const double before = item.value();
        switch (item.kind) {
            case DialogItem::Kind::integer: item.write(before + 3); break;
            case DialogItem::Kind::number: item.write(before == 0.25 ? 0.3 : 0.25); break;
            case DialogItem::Kind::checkBox: item.write(1.0 - before); break;
            case DialogItem::Kind::button: break;
        }
        values.push_back(item.value());
        if (item.kind != DialogItem::Kind::button) {
            EXPECT_NE(item.value(), before) << item.label;
        }
    }
    car.put("Store Ground Mesh Data", 0.0);  // there is no mesh behind it
    car.save();
    Vehicle& fresh = reload(car);
    const std::vector<std::string> notSaved{"World Space Maximum Velocity Gauge",
                                            "Current Velocity",
                                            "Current Velocity (% of max)",
                                            "World Space Acceleration Gauge (seconds from 0 to 100)",
                                            "World Space Acceleration Gauge (seconds from 0 to 60)",
                                            "Keyframe only essential objects",
                                            "Random Seed Adder",
                                            "Store Ground Mesh Data"};
    for (std::size_t i = 0; i < fresh.dialog.items.size(); ++i) {
        const DialogItem& item = fresh.dialog.items[i];
        if (std::find(notSaved.begin(), notSaved.end(), item.label) != notSaved.end())
            EXPECT_EQ(item.value(), 0.0) << item.label;
        else
            EXPECT_EQ(item.value(), values[i]) << item.label;
    }
}

TEST_F(SavedState, StoreFlagWithoutFacesIsClearedBySaving) {
    Vehicle& car = addCar();
    car.put("Store Ground Mesh Data", 1.0);
    const SavedBlock block = saved(car);
    EXPECT_EQ(block.root().getNumChildren(), 91);
    EXPECT_FALSE(block.value<bool>("bStoreGroundMeshData"));
    EXPECT_EQ(car.value("Store Ground Mesh Data"), 0.0);
}

TEST_F(SavedState, StoredMeshTextEndsInANul) {
    Vehicle& car = addCar();
    CMesh triangle;
    triangle.setNumVertices(3);
    triangle.setVertex(1, 0, 0, 40);
    triangle.setVertex(2, 40, 0, 0);
    triangle.setNumFaces(1);
    triangle.setFace(0, 0, 1, 2);
    linkGround(car, triangle);
    car.edit("Store Ground Mesh Data", 1.0);
    const SavedBlock block = saved(car);
    EXPECT_EQ(block.root().getNumChildren(), 93);
    const util::DataChunk& leaf = block.root().getChild("cMesh_storedGroundMesh");
    const std::string text(static_cast<const char*>(leaf.getData()), static_cast<std::size_t>(leaf.getSize()));
    EXPECT_EQ(text.find('\0'), text.size() - 1);
    EXPECT_EQ(text.substr(0, 7), "<CMesh>");
    EXPECT_EQ(text.substr(text.size() - 9, 8), "</CMesh>");
}

TEST_F(SavedState, LoadedStoredGroundCarriesTheCarWithoutTheGround) {
    for (const bool fast : {true, false}) {
        Stage own(vehicleModule());
        Vehicle& car = straightAxes(own.addVehicle("Car"));
        Element& ground = own.scene.addMesh("Ground", flatGround());
        own.scene.setLocal(ground, 0.0, util::Translation({0, -0.8, 0}));
        own.scene.reparent(car.element("GravityDirectionMesh"), &ground);
        if (!fast) car.edit("Use Fast Ray Cast", 0.0);
        car.edit("Store Ground Mesh Data", 1.0);
        car.save();
        own.scene.remove(ground);
        Vehicle& fresh = straightAxes(own.replace(car));
        ASSERT_EQ(fresh.load(), 0u);
        fresh.axis("Skid Brake").position = 1.0;
        own.run(0, 60);
        EXPECT_NEAR(position(fresh.world("WheelMesh_BR", 60)).y, -0.8 + kWheelRadius * kRadiusMult, 2e-3);
        EXPECT_EQ(fresh.messages, std::vector<Message>());
    }
}

// Resuming. Inputs that leave no key (brakes, skids in the middle, burnouts) are left out.

/// The largest distance of an element's positions in two takes.
double furthestApart(const std::vector<Vector3<double>>& a, const std::vector<Vector3<double>>& b) {
    double furthest = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i) furthest = std::max(furthest, distance(a[i], b[i]));
    return furthest;
}

std::vector<Vector3<double>> path(const Vehicle& car, const char* element, int from, int to) {
    std::vector<Vector3<double>> positions;
    for (int frame = from; frame <= to; ++frame) positions.push_back(position(car.world(element, frame)));
    return positions;
}

TEST_F(SavedState, ResumedRunFollowsTheUninterruptedOne) {
    Vehicle& car = addCarOnPlane();
    script(car);
    host.run(0, 200);
    const char* const elements[] = {"CarBodyMesh", "WheelMesh_FL", "WheelCenterMesh_BR", "FollowCam",
                                    "CarBodyBaseMesh"};
    std::vector<std::vector<Vector3<double>>> whole;
    for (const char* element : elements) whole.push_back(path(car, element, 0, 200));
    EXPECT_GT(distance(whole[0].front(), whole[0].back()), 20.0);
    host.run(100, 200);
    for (std::size_t i = 0; i < std::size(elements); ++i) {
        SCOPED_TRACE(elements[i]);
        EXPECT_EQ(path(car, elements[i], 0, 100),
                  std::vector<Vector3<double>>(whole[i].begin(), whole[i].begin() + 101));
        EXPECT_LT(furthestApart(path(car, elements[i], 0, 200), whole[i]), 1e-3);
    }
    EXPECT_LT(furthestApart(path(car, "CarBodyMesh", 0, 200), whole[0]), 1e-9);
    EXPECT_LT(furthestApart(path(car, "FollowCam", 0, 200), whole[3]), 1e-9);
}

// A resumed run leaves no key of the inputs at the frame that it started from, so that a second one from there reads
// what lies around it: half a frame off in the gas, one frame in the camera's memory.
TEST_F(SavedState, SecondRunFromTheSameFrameIsHalfAFrameOff) {
    Vehicle& car = addCarOnPlane();
    script(car);
    host.run(0, 200);
    host.run(100, 200);
    const auto body = path(car, "CarBodyMesh", 0, 200);
    const auto camera = path(car, "FollowCam", 0, 200);
    host.run(100, 200);
    EXPECT_LT(furthestApart(path(car, "CarBodyMesh", 0, 200), body), 1e-2);
    EXPECT_LT(furthestApart(path(car, "FollowCam", 0, 200), camera), 0.1);
}

TEST_F(SavedState, ResumedRunOfALoadedVehicleFollowsToo) {
    Vehicle& car = addCarOnPlane();
    script(car);
    host.run(0, 200);
    const auto whole = path(car, "CarBodyMesh", 0, 200);
    car.save();
    Vehicle& fresh = reload(car);
    quiet(fresh);
    script(fresh);
    host.run(100, 200);
    EXPECT_LT(furthestApart(path(fresh, "CarBodyMesh", 0, 200), whole), 0.02);
}

TEST_F(SavedState, LoadedAndLivingVehicleResumeAlike) {
    // The living one was reloaded from nothing; both start from the same keys.
    std::vector<std::vector<Vector3<double>>> paths;
    for (const bool loaded : {false, true}) {
        Stage own(vehicleModule());
        Vehicle* car = &straightAxes(own.addVehicle("Car"));
        script(*car);
        own.run(0, 100);
        if (loaded) {
            car->save();
            car = &straightAxes(own.replace(*car));
            ASSERT_EQ(car->load(), 0u);
            script(*car);
        }
        own.run(50, 100);
        paths.push_back(path(*car, "CarBodyMesh", 0, 100));
    }
    EXPECT_LT(furthestApart(paths[0], paths[1]), 0.02);
}

TEST_F(SavedState, ResumedRunTwiceGivesTheSameBits) {
    Vehicle& car = addCarOnPlane();
    script(car);
    host.run(0, 100);
    const auto resume = [&] {
        car.save();
        Vehicle& fresh = reload(car);
        quiet(fresh);
        script(fresh);
        return &fresh;
    };
    Vehicle* fresh = resume();
    const std::vector<unsigned char> block = fresh->chunk;
    host.run(50, 100);
    const auto once = path(*fresh, "CarBodyMesh", 50, 100);
    host.undo.undo();
    fresh->chunk = block;
    Vehicle& again = straightAxes(host.replace(*fresh));
    ASSERT_EQ(again.load(), 0u);
    quiet(again);
    script(again);
    host.run(50, 100);
    EXPECT_EQ(path(again, "CarBodyMesh", 50, 100), once);
}

// A rerun from the start goes on from the first key of the take before it; the user's number is added on a fresh start.
TEST_F(SavedState, RerunSeedsItsNoiseFromTheFirstKey) {
    Vehicle& car = addCar();
    const auto firstSeeds = [&] {
        const SavedBlock block = saved(car);
        return block.variable<util::AVar_Latest<int>>("ancCarCamrandomValue_gravelShake").keys.front().value;
    };
    car.put("Random Seed Adder", 50.0);
    host.run(0, 10);
    const int perFrame = firstSeeds() - 1050;
    EXPECT_EQ(perFrame, 4) << "one number for each wheel";
    host.run(0, 10);
    EXPECT_EQ(firstSeeds(), 1050 + perFrame + 50 + perFrame);
    car.put("Random Seed Adder", 0.0);
    host.run(0, 10);
    EXPECT_EQ(firstSeeds(), 1050 + perFrame + 50 + perFrame + perFrame);
}

TEST_F(SavedState, UndoOfARunBringsBackHistoriesAndKeys) {
    Vehicle& car = addCarOnPlane();
    script(car);
    host.run(0, 40);
    car.save();
    const std::vector<unsigned char> first = car.chunk;
    const auto firstPath = path(car, "CarBodyMesh", 0, 40);
    car.axis("Gas Pedal").script = [](double) { return -0.3; };
    host.run(20, 60);
    car.save();
    const std::vector<unsigned char> second = car.chunk;
    const auto secondPath = path(car, "CarBodyMesh", 0, 60);
    EXPECT_NE(first, second);

    for (int round = 0; round < 2; ++round) {
        host.undo.undo();
        EXPECT_EQ(path(car, "CarBodyMesh", 0, 40), firstPath);
        car.save();
        // The gas memories of the record stand behind the second run; all histories stand behind the first.
        const SavedBlock undone(car.chunk);
        const SavedBlock before(first);
        for (int i = 0; i < before.root().getNumChildren(); ++i) {
            const util::DataChunk& a = before.root().getChild(i);
            const util::DataChunk& b = undone.root().getChild(i);
            if (a.getName().compare(0, 2, "an") != 0) continue;
            ASSERT_EQ(a.getSize(), b.getSize()) << a.getName();
            EXPECT_EQ(std::memcmp(a.getData(), b.getData(), static_cast<std::size_t>(a.getSize())), 0) << a.getName();
        }
        host.undo.redo();
        EXPECT_EQ(path(car, "CarBodyMesh", 0, 60), secondPath);
        car.save();
        EXPECT_EQ(car.chunk, second);
    }
}

TEST_F(SavedState, UndoOfTheFirstRunEmptiesTheHistories) {
    Vehicle& car = addCarOnPlane();
    host.run(0, 10);
    EXPECT_EQ(saved(car).linear("ancCarCampcInput_GAS_PEDAL").getNumKeys(), 10);
    host.undo.undo();
    const SavedBlock block = saved(car);
    EXPECT_EQ(block.linear("ancCarCampcInput_GAS_PEDAL").getNumKeys(), 0);
    EXPECT_EQ(block.wheel(3, kCurrDelta).getNumKeys(), 0);
    EXPECT_EQ(block.variable<util::AVar_Nearest<Quat<double>>>("anQGravityFilterMem").getNumKeys(), 0);
    EXPECT_TRUE(car.element("CarBodyMesh").track.keys.empty());
}

TEST_F(SavedState, ResumeWithBothKeyFlagsOffStartsFromFallbacks) {
    Vehicle& car = addCarOnPlane();
    car.edit("Enable Seamless Transitions", 0.0);
    car.axis("Gas Pedal").position = 0.5;
    host.run(0, 40);
    car.axis("Gas Pedal").position = 0.0;
    host.run(20, 21);
    const double z20 = position(car.world("TurnBaseMesh", 20)).z;
    EXPECT_LT(z20, -1.0);
    EXPECT_NEAR(position(car.world("TurnBaseMesh", 21)).z, z20, 0.01) << "the gas has no key, so the car stands";
}

TEST_F(SavedState, UnrecordedRunLeavesTheSceneButKeepsItsHistories) {
    Vehicle& car = addCarOnPlane();
    car.axis("Gas Pedal").position = 0.5;
    host.run(0, 20, false);
    EXPECT_TRUE(car.element("CarBodyMesh").track.keys.empty());
    EXPECT_EQ(saved(car).linear("ancCarCampcInput_GAS_PEDAL").getNumKeys(), 20);
}

}  // namespace
}  // namespace ond::test
