// Takes through their files: what is opened goes on as if it had never been closed.
#include <sys/stat.h>

#include <algorithm>
#include <limits>

#include "stage/StageError.h"
#include "stage/TakeTests.h"

namespace ond::test {

using namespace stage;

namespace {

class TakeFile : public ::testing::TestWithParam<bool> {
  protected:
    OwnFolder folder;

    std::unique_ptr<Stage> reopened(Stage& host, const std::string& name = "take.glb") {
        saveTake(host, folder.file(name));
        return openTake(folder.file(name), takeModule());
    }
};

INSTANTIATE_TEST_SUITE_P(PlaneAndMesh, TakeFile, ::testing::Bool(),
                         [](const auto& which) { return which.param ? std::string("Mesh") : std::string("Plane"); });

TEST_P(TakeFile, ComesBackToTheBit) {
    const auto host = carOn(GetParam());
    host->run(0, 30);
    const auto opened = reopened(*host);
    EXPECT_TRUE(opened->keepsJournal);
    ASSERT_EQ(opened->journal.size(), 1u);
    EXPECT_EQ(opened->scene.clock.now, 30);
    ASSERT_EQ(opened->curves.size(), 1u);
    EXPECT_EQ(opened->curves[0].rows(), 31);
    expectSame(*host, *opened);
    EXPECT_EQ(opened->complaints(), std::vector<std::string>());
}

TEST_P(TakeFile, SavedAgainHasTheSameBytes) {
    const auto host = carOn(GetParam());
    host->run(0, 30);
    saveTake(*host, folder.file("first.glb"));
    const Bytes first = readFile(folder.file("first.glb"));
    EXPECT_EQ(takeBytes(*host), first);
    const auto opened = openTake(folder.file("first.glb"), takeModule());
    EXPECT_EQ(takeBytes(*opened), first);
}

TEST_P(TakeFile, GoesOnFromTheMiddleAsIfItHadNeverBeenClosed) {
    const auto host = carOn(GetParam());
    host->run(0, 30);
    const auto opened = reopened(*host);
    host->restore(host->snapshot());
    for (Stage* stage : {host.get(), opened.get()}) {
        scriptAll(*stage, -0.6);
        stage->run(15, 45);
    }
    EXPECT_EQ(host->journal.size(), 2u);
    EXPECT_EQ(host->scene.clock.now, 45);
    expectSame(*host, *opened);
}

TEST_P(TakeFile, GoesOnAsTheStageThatWasNeverRestoredEither) {
    const auto host = carOn(GetParam());
    host->run(0, 30);
    const auto opened = reopened(*host);
    for (Stage* stage : {host.get(), opened.get()}) {
        scriptAll(*stage, 0.4);
        stage->run(30, 50);
    }
    expectSame(*host, *opened);
    // The second run follows the first, so that it needs no state of its own.
    EXPECT_EQ(opened->journal.at(1).before, nullptr);
}

TEST_P(TakeFile, RetakenGivesTheSameBytes) {
    const auto host = carOn(GetParam());
    host->run(0, 20);
    scriptAll(*host, -0.5);
    host->run(12, 30);
    saveTake(*host, folder.file("take.glb"));
    const auto opened = openTake(folder.file("take.glb"), takeModule());
    ASSERT_TRUE(opened->retake(opened->journal, std::nullopt));
    EXPECT_EQ(takeBytes(*opened), readFile(folder.file("take.glb")));
}

TEST_P(TakeFile, RetakenWithOtherInputFromAFrameKeepsWhatLiesBefore) {
    const auto host = carOn(GetParam());
    host->run(0, 30);
    const auto opened = reopened(*host);
    const Journal journal = opened->journal;
    Stage::TakeOver other{20, 30, [](int, int, int) { return std::optional<double>(1.0); }};
    ASSERT_TRUE(opened->retake(journal, other));
    const Track& before = host->vehicles[0]->element("CarBodyMesh").track;
    const Track& after = opened->vehicles[0]->element("CarBodyMesh").track;
    for (int frame = 0; frame <= 30; ++frame) {
        const double time = host->scene.clock.time(frame);
        EXPECT_EQ(sameBits(before.at(time, 1e-8), after.at(time, 1e-8)), frame <= 20) << frame;
    }
}

TEST(TakeFileScene, KeepsSeveralVehiclesDeletedElementsAndWhatTheUserDid) {
    OwnFolder folder;
    const auto host = carOn(true, {30000, 1001});
    Vehicle& second = host->addVehicle("second car");
    second.armed = false;
    second.property("Steering").multiplier = 0.5;
    second.put("Random Seed Adder", 7.0);
    Element& box = host->scene.addMesh("box", flatGround(0.25, 1.0));
    host->scene.setUserKey(box, -4, util::Translation({1, 2, 3}));
    host->scene.setUserKey(box, 9, util::RotationX(0.4) * util::Scaling({-1.0, 2.0, 3.0}));
    box.ownColour = true;
    box.colour[1] = 0.3F;
    box.wireframe = true;
    box.surface = SurfaceKind::unsupported;
    box.shape.texCoords = {{0.5, 0.25, 0.0}};
    box.shape.tFaces.clear();
    Element& empty = host->scene.add("empty", &box);
    empty.shown = false;
    Element& gone = host->scene.addMesh("gone", flatGround());
    host->scene.setUserKey(gone, 3, util::Translation({1, 0, 0}));
    host->scene.add("child of gone", &gone);
    host->scene.remove(gone);
    host->scene.addMesh("later", flatGround(0.5, 2.0), &empty);
    Element& weird = host->scene.addMesh("weird", flatGround(1.5, 2.0));
    weird.shape.faces.push_back(77777);
    weird.shape.tFaces.push_back(3);
    host->run(-5, 20);
    // A deleted vehicle whose past the journal knows.
    host->removeVehicle(host->addVehicle("third"));
    host->show(8);
    saveTake(*host, folder.file("take.glb"));
    const auto opened = openTake(folder.file("take.glb"), takeModule());
    expectSame(*host, *opened);
    EXPECT_EQ(opened->scene.clock.now, 8);
    EXPECT_EQ(takeBytes(*opened), readFile(folder.file("take.glb")));
    EXPECT_EQ(opened->vehicles.at(1)->value("Random Seed Adder"), 7.0);
    for (Stage* stage : {host.get(), opened.get()}) {
        scriptAll(*stage, 0.2);
        stage->vehicles.at(1)->armed = true;
        stage->run(2, 25);
    }
    expectSame(*host, *opened);
}

TEST(TakeFileScene, KeepsMessages) {
    OwnFolder folder;
    const auto host = carOn(false);
    host->messages = {{3, 0, "Warning", "text with \"quotes\" and \xC3\xA9", 5}};
    saveTake(*host, folder.file("take.glb"));
    const auto opened = openTake(folder.file("take.glb"), takeModule());
    expectSame(*host, *opened);
    EXPECT_EQ(opened->messages.size(), 1u);
}

TEST(TakeFileScene, UndrivenSceneComesBack) {
    OwnFolder folder;
    const auto host = carOn(true);
    saveTake(*host, folder.file("take.glb"));
    const auto opened = openTake(folder.file("take.glb"), takeModule());
    expectSame(*host, *opened);
    EXPECT_TRUE(opened->journal.empty());
    EXPECT_EQ(takeBytes(*opened), readFile(folder.file("take.glb")));
}

/// The stage as a program would have saved it that knew no gauges, opened.
std::unique_ptr<Stage> openedWithoutGauges(Stage& host) {
    TakeContents contents = contentsOf(host);
    for (Curves& curves : contents.curves) {
        const Curves all = curves;
        std::erase_if(curves.columns, [](const CurveColumn& column) { return column.kind == CurveKind::gauge; });
        curves.values.clear();
        for (std::size_t i = 0; i < all.values.size(); ++i)
            if (all.columns[i % all.columns.size()].kind != CurveKind::gauge) curves.values.push_back(all.values[i]);
    }
    return stageOf(readTake(takeBytes(contents), "old.glb"), takeModule());
}

TEST(TakeFileGauges, AreKeptFrameByFrame) {
    const auto host = carOn(false);
    host->startRun(0);
    std::vector<double> velocities{host->vehicles[0]->value("Current Velocity")};
    for (int frame = 1; frame <= 20; ++frame) {
        host->advance(1);
        velocities.push_back(host->vehicles[0]->value("Current Velocity"));
    }
    host->stopRun();
    EXPECT_NE(velocities[10], velocities[20]);
    const TakeContents read = readTake(takeBytes(*host), "take.glb");
    const Curves& curves = read.curves.at(0);
    const int column = curves.column(CurveKind::gauge, "Current Velocity");
    ASSERT_GE(column, 0);
    for (int frame = 0; frame <= 20; ++frame)
        EXPECT_TRUE(sameBits(curves.row(frame)[column], velocities[static_cast<std::size_t>(frame)])) << frame;
    EXPECT_EQ(std::count_if(curves.columns.begin(), curves.columns.end(),
                            [](const CurveColumn& each) { return each.kind == CurveKind::gauge; }),
              5);
}

TEST(TakeFileGauges, OfFramesBeforeAResumeStay) {
    const auto host = carOn(false);
    host->run(0, 20);
    const Curves before = host->curves.at(0);
    host->vehicles[0]->put("Multiplier", 1.0);
    scriptAll(*host, -0.5);
    host->run(10, 15);
    const Curves& after = host->curves.at(0);
    const auto maximum = static_cast<std::size_t>(after.column(CurveKind::gauge, "World Space Maximum Velocity Gauge"));
    for (int frame = 0; frame <= 10; ++frame)
        EXPECT_TRUE(sameBits({before.row(frame), before.row(frame) + before.columns.size()},
                             {after.row(frame), after.row(frame) + after.columns.size()}))
            << frame;
    for (int frame = 11; frame <= 15; ++frame)
        EXPECT_NEAR(after.row(frame)[maximum], before.row(frame)[maximum] / 3.6, 1e-9) << frame;
}

TEST(TakeFileGauges, OfOlderTakesAreAbsentAndSoTheyAreSavedAgain) {
    const auto host = carOn(false);
    host->run(0, 20);
    const auto old = openedWithoutGauges(*host);
    EXPECT_FALSE(old->curves.at(0).has(CurveKind::gauge));
    EXPECT_EQ(old->curves[0].rows(), 21);
    const Bytes bytes = takeBytes(*old);
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()).find("\"gauges\""), std::string::npos);
    EXPECT_EQ(takeBytes(*stageOf(readTake(bytes, "old.glb"), takeModule())), bytes);
}

TEST(TakeFileGauges, OfOlderTakesStayAbsentWhereRowsLieBefore) {
    const auto host = carOn(false);
    host->run(0, 20);
    const auto old = openedWithoutGauges(*host);
    const Curves before = old->curves.at(0);
    scriptAll(*old, -0.5);
    old->run(10, 30);
    const Curves& after = old->curves.at(0);
    ASSERT_EQ(after.columns, before.columns);
    ASSERT_EQ(after.rows(), 31);
    for (int frame = 0; frame <= 10; ++frame)
        EXPECT_TRUE(sameBits({before.row(frame), before.row(frame) + before.columns.size()},
                             {after.row(frame), after.row(frame) + after.columns.size()}))
            << frame;
    EXPECT_EQ(after.row(30)[after.column(CurveKind::output, "Velocity")],
              old->vehicles[0]->output("Velocity")->current);
    old->vehicles[0]->armed = false;
    old->run(40, 45);
    EXPECT_EQ(old->curves.at(0).rows(), 31) << "a vehicle that is not driven keeps its rows";
    EXPECT_NO_THROW((void)takeBytes(*old));
}

TEST(TakeFileGauges, ComeToOlderTakesWithRunsThatLeaveNoRowsBefore) {
    const auto host = carOn(false);
    host->run(0, 20);
    const auto again = openedWithoutGauges(*host);
    ASSERT_TRUE(again->retake(again->journal, std::nullopt));
    EXPECT_EQ(takeBytes(*again), takeBytes(*host));
    const auto elsewhere = openedWithoutGauges(*host);
    scriptAll(*elsewhere);
    elsewhere->run(50, 55);
    EXPECT_TRUE(elsewhere->curves.at(0).has(CurveKind::gauge));
    EXPECT_EQ(elsewhere->curves[0].first, 50);
    EXPECT_EQ(elsewhere->curves[0].rows(), 6);
}

// Saving.

TEST(TakeFileSaving, ReplacesAnOlderFileAndLeavesNothingElse) {
    OwnFolder folder;
    writeWhole(folder.file("take.glb"), std::string("older"));
    const auto host = carOn(false);
    saveTake(*host, folder.file("take.glb"));
    EXPECT_GT(readFile(folder.file("take.glb")).size(), 1000u);
    EXPECT_EQ(folder.count(), 1u);
}

TEST(TakeFileSaving, NumbersThatAreNotFiniteAreNamedAndNothingIsWritten) {
    OwnFolder folder;
    const std::string path = folder.file("take.glb");
    writeWhole(path, std::string("older"));
    const double bad = std::numeric_limits<double>::quiet_NaN();
    const auto message = [&](Stage& host) { return errorOf([&] { saveTake(host, path); }); };
    {
        const auto host = carOn(false);
        host->run(0, 5);
        host->vehicles[0]->element("TargetMesh").track.setKey(0.12, util::Translation({0, bad, 0}), 1e-8);
        EXPECT_EQ(message(*host), "the transform of 'car_TargetMesh' at frame 3 is not finite; nothing was written");
    }
    {
        const auto host = carOn(true);
        host->scene.find("waves")->shape.vertices[7].z = std::numeric_limits<double>::infinity();
        EXPECT_NE(message(*host).find("the mesh of 'waves'"), std::string::npos) << message(*host);
    }
    {
        const auto host = carOn(true);
        host->scene.find("waves")->track.pose[12] = 1e300;
        EXPECT_NE(message(*host).find("'waves' is too large"), std::string::npos) << message(*host);
    }
    {
        const auto host = carOn(true);
        host->run(0, 3);
        host->curves[0].values[5] = bad;
        EXPECT_NE(message(*host).find("of 'car' is not finite at frame 0"), std::string::npos) << message(*host);
    }
    EXPECT_EQ(readFile(path), Bytes({'o', 'l', 'd', 'e', 'r'}));
    EXPECT_EQ(folder.count(), 1u);
}

TEST(TakeFileSaving, IsRefusedDuringARunAndWithoutAVehicle) {
    OwnFolder folder;
    const auto host = carOn(false);
    host->startRun(0);
    EXPECT_NE(errorOf([&] { saveTake(*host, folder.file("take.glb")); }).find("while a run is under way"),
              std::string::npos);
    host->stopRun();
    Stage bare(takeModule());
    EXPECT_NE(errorOf([&] { saveTake(bare, folder.file("take.glb")); }).find("no vehicle"), std::string::npos);
    EXPECT_EQ(folder.count(), 0u);
}

// Other bytes than the whole take.

TEST(TakeFileOptions, WithoutExactTracksItIsSmallAndSaysSoWhenOpened) {
    OwnFolder folder;
    const auto host = carOn(true);
    host->run(0, 30);
    host->scene.remove(host->scene.addMesh("gone", flatGround()));
    const Bytes whole = takeBytes(*host);
    TakeOptions options;
    options.exactTracks = false;
    const Bytes lean = takeBytes(*host, options);
    EXPECT_LT(lean.size() * 2, whole.size());
    EXPECT_NE(errorOf([&] { (void)readTake(lean, "lean.glb"); }).find("written for showing only"), std::string::npos);
    const std::string text(lean.begin(), lean.end());
    EXPECT_NE(text.find("OND_vehicle_take"), std::string::npos);
    EXPECT_NE(text.find("\"curves\""), std::string::npos);
    for (const char* left :
         {"\"pose\"", "\"block\"", "\"journal\"", "\"matrices\"", "\"vertices\"", "\"deleted\"", "\"gauges\""})
        EXPECT_EQ(text.find(left), std::string::npos) << left;
}

TEST(TakeFileOptions, WithoutExtensionItIsPlainGltf) {
    const auto host = carOn(true);
    host->run(0, 5);
    TakeOptions options;
    options.withExtension = false;
    const Bytes plain = takeBytes(*host, options);
    const std::string text(plain.begin(), plain.end());
    EXPECT_EQ(text.find("OND_vehicle_take"), std::string::npos);
    EXPECT_EQ(text.find("extension"), std::string::npos);
    EXPECT_NE(text.find("\"animations\""), std::string::npos);
    EXPECT_EQ(errorOf([&] { (void)readTake(plain, "plain.glb"); }),
              "'plain.glb' is plain glTF without a recording: use it as ground instead");
}

TEST(TakeFileOptions, StillHasNoAnimation) {
    const auto host = carOn(true);
    host->run(0, 5);
    TakeOptions options;
    options.withExtension = false;
    options.stillAt = 3;
    const Bytes still = takeBytes(*host, options);
    EXPECT_EQ(std::string(still.begin(), still.end()).find("\"animations\""), std::string::npos);
    options.stillAt = 4;
    EXPECT_NE(takeBytes(*host, options), still);
}

}  // namespace
}  // namespace ond::test
