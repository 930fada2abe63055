// Channels that are fed by axes of other channels and vehicles: recorded, driven again, saved and opened.
#include "stage/FakeVehicle.h"
#include "stage/Glb.h"
#include "stage/TakeTests.h"

namespace ond::test {
namespace {

using ::testing::Each;

constexpr std::size_t kA = 0;
constexpr std::size_t kB = 1;

/// Two cars, "a" and "b". Only the gas axes move: that of a to full speed, that of b slowly backwards.
class Wired : public ::testing::Test {
  protected:
    std::unique_ptr<Stage> stage = carsOnPlane();

    static std::unique_ptr<Stage> carsOnPlane() {
        auto host = std::make_unique<Stage>(takeModule());
        host->keepsJournal = true;
        for (const char* name : {"a", "b"}) host->addVehicle(name).put("Use Fast Ray Cast", 0.0);
        feed(*host);
        return host;
    }
    static void feed(Stage& host) {
        gasAxis(host, kA).script = [](double time) { return 0.5 + 0.5 * time; };
        gasAxis(host, kB).script = [](double time) { return -0.2 - 0.1 * time; };
    }
    static Vehicle& car(Stage& host, std::size_t place) { return *host.vehicles.at(place); }
    static InputAxis& gasAxis(Stage& host, std::size_t place) { return car(host, place).axis("Gas"); }
    static unidevice::Property& gas(Stage& host, std::size_t place) { return car(host, place).property("Gas"); }
    static std::size_t gasChannel(Stage& host) {
        const auto& channels = car(host, kA).properties;
        for (std::size_t i = 0; i < channels.size(); ++i)
            if (channels[i].get() == &gas(host, kA)) return i;
        return channels.size();
    }
    /// What the journal says of the gas of a vehicle in the run.
    static std::vector<double> recordedGas(Stage& host, std::size_t place, std::size_t run = 0) {
        const RunInput& input = host.journal.at(run).inputs.at(place);
        std::vector<double> values;
        for (std::size_t i = gasChannel(host); i < input.axes.size(); i += static_cast<std::size_t>(input.channels))
            values.push_back(input.axes[i]);
        return values;
    }
    static std::vector<std::vector<TrackKey>> keys(const Stage& host) {
        std::vector<std::vector<TrackKey>> all;
        for (const Track& track : host.scene.tracks()) all.push_back(track.keys);
        return all;
    }
    static void expectSameKeys(const std::vector<std::vector<TrackKey>>& a,
                               const std::vector<std::vector<TrackKey>>& b) {
        ASSERT_EQ(a.size(), b.size());
        for (std::size_t e = 0; e < a.size(); ++e) {
            ASSERT_EQ(a[e].size(), b[e].size()) << "keys of element " << e;
            for (std::size_t k = 0; k < a[e].size(); ++k) {
                ASSERT_TRUE(sameBits(a[e][k].time, b[e][k].time)) << "element " << e;
                ASSERT_TRUE(sameBits(a[e][k].local, b[e][k].local)) << "element " << e << ", key " << k;
            }
        }
    }
    static double travelled(Stage& host, std::size_t place, int to) {
        return -car(host, place).world("CarBodyMesh", to).row(3).z;
    }
};

TEST_F(Wired, JournalAndCurvesHoldWhatTheWiredAxisGave) {
    gasAxis(*stage, kA).wire(gas(*stage, kB));
    stage->run(0, 10);
    std::vector<double> expected;
    for (int frame = 0; frame <= 10; ++frame) expected.push_back(0.5 + 0.5 * stage->scene.clock.time(frame));
    EXPECT_EQ(recordedGas(*stage, kA), expected);
    EXPECT_EQ(recordedGas(*stage, kB), expected);
    const Curves& table = stage->curves.at(kB);
    const int column = table.column(CurveKind::input, gas(*stage, kB).name);
    ASSERT_GE(column, 0);
    for (int frame = 0; frame <= 10; ++frame)
        EXPECT_EQ(table.row(frame)[column], expected[static_cast<std::size_t>(frame)]);
}

TEST_F(Wired, NothingIsRecordedOfAnUnwiredChannel) {
    gasAxis(*stage, kB).unwire(gas(*stage, kB));
    stage->run(0, 5);
    EXPECT_THAT(recordedGas(*stage, kB), Each(0.0));
}

/// Kinds of wiring that replaying has to tell apart.
class WiredIn : public Wired, public ::testing::WithParamInterface<int> {
  protected:
    void SetUp() override {
        InputAxis& a = gasAxis(*stage, kA);
        InputAxis& b = gasAxis(*stage, kB);
        switch (GetParam()) {
            case 0: a.wire(gas(*stage, kB)); break;
            case 1: b.wire(gas(*stage, kA)); break;
            case 2:
                a.wire(gas(*stage, kB));
                b.wire(gas(*stage, kA));
                break;
            case 3:
                a.wire(gas(*stage, kB));
                car(*stage, kA).armed = false;
                break;
            case 4: a.wire(car(*stage, kA).property("Steering")); break;
            case 5: a.unwire(gas(*stage, kA)); break;
            default: FAIL();
        }
    }
};

std::string kindName(const ::testing::TestParamInfo<int>& kind) {
    const Lines names = {"FromTheFirst", "FromTheLast", "Swapped", "FromOneAtRest", "FromAnotherChannel", "Unwired"};
    return names.at(static_cast<std::size_t>(kind.param));
}

INSTANTIATE_TEST_SUITE_P(Kinds, WiredIn, ::testing::Range(0, 6), kindName);

TEST_P(WiredIn, DrivenAgainGivesTheSameBits) {
    stage->run(0, 20);
    stage->run(10, 30);
    const auto before = keys(*stage);
    const std::uint64_t left = stage->journal.back().left;
    const std::vector<ChannelSettings> channels[] = {car(*stage, kA).channels(), car(*stage, kB).channels()};
    const Journal journal = stage->journal;
    ASSERT_TRUE(stage->retake(journal, std::nullopt));
    expectSameKeys(keys(*stage), before);
    EXPECT_EQ(stage->journal.back().left, left);
    EXPECT_EQ(car(*stage, kA).channels(), channels[kA]) << "the wires are there again";
    EXPECT_EQ(car(*stage, kB).channels(), channels[kB]);
    for (std::size_t run = 0; run < journal.size(); ++run)
        for (const std::size_t place : {kA, kB})
            EXPECT_EQ(stage->journal.at(run).inputs.at(place).axes, journal[run].inputs.at(place).axes);
    EXPECT_EQ(stage->complaints(), Lines());
}

TEST_P(WiredIn, ComesBackFromATakeAndGoesOn) {
    stage->run(0, 20);
    const Bytes bytes = takeBytes(*stage);
    const auto opened = stageOf(readTake(bytes, "take.glb"), takeModule());
    expectSame(*stage, *opened);
    EXPECT_EQ(takeBytes(*opened), bytes);
    feed(*opened);
    for (Stage* host : {stage.get(), opened.get()}) host->run(12, 30);
    expectSame(*stage, *opened);
    // And from the file everything can be driven again.
    const Journal journal = opened->journal;
    const auto before = keys(*opened);
    ASSERT_TRUE(opened->retake(journal, std::nullopt));
    expectSameKeys(keys(*opened), before);
}

TEST_P(WiredIn, StaysWhenVehiclesAreLoadedAgain) {
    const std::vector<ChannelSettings> a = car(*stage, kA).channels();
    const std::vector<ChannelSettings> b = car(*stage, kB).channels();
    stage->restore(stage->snapshot());
    EXPECT_EQ(car(*stage, kA).channels(), a);
    EXPECT_EQ(car(*stage, kB).channels(), b);
    stage->setState(0, {{"iRayMultiplier", 4.0}});
    EXPECT_EQ(car(*stage, kA).channels(), a);
    EXPECT_EQ(car(*stage, kB).channels(), b);
    for (const std::size_t place : {kA, kB}) {
        car(*stage, place).save();
        EXPECT_EQ(stage->replace(car(*stage, place)).load(), 0U);
        for (std::size_t i = 0; i < a.size(); ++i) {
            EXPECT_EQ(car(*stage, kA).channels()[i].wire, a[i].wire) << a[i].name << " of a";
            EXPECT_EQ(car(*stage, kB).channels()[i].wire, b[i].wire) << b[i].name << " of b";
        }
    }
    EXPECT_EQ(stage->complaints(), Lines());
}

TEST_F(Wired, OneAxisFeedsTwoThroughJournalAndTake) {
    gasAxis(*stage, kA).wire(gas(*stage, kB));
    stage->run(0, 40);
    const double far = travelled(*stage, kB, 40);
    EXPECT_GT(far, 1.0) << "its own axis would have driven it backwards";
    const auto opened = stageOf(readTake(takeBytes(*stage), "take.glb"), takeModule());
    const Journal journal = opened->journal;
    ASSERT_TRUE(opened->retake(journal, std::nullopt));
    EXPECT_EQ(travelled(*opened, kB, 40), far);
    // Still one axis: what is put there now reaches both.
    gasAxis(*opened, kA).position = 0.75;
    gas(*opened, kA).deadZone = gas(*opened, kB).deadZone = 0.0;
    EXPECT_EQ(gas(*opened, kA).value(), gas(*opened, kB).value());
    EXPECT_GT(gas(*opened, kB).value(), 0.0);
}

TEST_F(Wired, OtherInputOfASharedAxisReachesAllThatItFeeds) {
    gasAxis(*stage, kA).wire(gas(*stage, kB));
    stage->run(0, 10);
    const int channel = static_cast<int>(gasChannel(*stage));
    const Stage::TakeOver half{6, 10, [channel](int vehicle, int c, int) -> std::optional<double> {
                                   if (vehicle == 0 && c == channel) return 0.25;
                                   return std::nullopt;
                               }};
    const Journal journal = stage->journal;
    ASSERT_TRUE(stage->retake(journal, half));
    for (const std::size_t place : {kA, kB})
        for (std::size_t frame = 0; frame <= 10; ++frame) {
            const double recorded = 0.5 + 0.5 * stage->scene.clock.time(static_cast<int>(frame));
            EXPECT_EQ(recordedGas(*stage, place)[frame], frame > 6 ? 0.25 : recorded) << frame;
        }
}

TEST_F(Wired, RewiringBetweenRunsIsKept) {
    stage->run(0, 10);
    gasAxis(*stage, kA).wire(gas(*stage, kB));
    stage->run(10, 25);
    ASSERT_EQ(stage->journal.size(), 2U);
    EXPECT_NE(stage->journal[1].before, nullptr) << "the second run does not start from what the first one left";
    const auto before = keys(*stage);
    const Journal journal = stage->journal;
    ASSERT_TRUE(stage->retake(journal, std::nullopt));
    expectSameKeys(keys(*stage), before);
}

TEST_F(Wired, DeviceOutsideOfTheSceneIsDrivenAgainThroughTheOwnAxis) {
    CallLog log;
    InputAxis stick("stick", log);
    stick.position = 0.9;
    stick.wire(gas(*stage, kB));
    stage->run(0, 20);
    EXPECT_THAT(recordedGas(*stage, kB), Each(0.9));
    const auto before = keys(*stage);
    const Journal journal = stage->journal;
    ASSERT_TRUE(stage->retake(journal, std::nullopt));
    expectSameKeys(keys(*stage), before);
    EXPECT_EQ(gas(*stage, kB).source, &gasAxis(*stage, kB));
}

TEST_F(Wired, DeviceOutsideOfTheSceneStaysWhenAnotherVehicleIsReplaced) {
    CallLog log;
    InputAxis stick("stick", log);
    stick.wire(gas(*stage, kB));
    unidevice::Property& brake = car(*stage, kB).property("ABS");
    gasAxis(*stage, kA).wire(brake);
    stage->replace(car(*stage, kA));
    EXPECT_EQ(gas(*stage, kB).source, &stick);
    EXPECT_EQ(brake.source, &gasAxis(*stage, kA)) << "the axis of the one that came in its place";
    stick.unwire(gas(*stage, kB));
}

TEST_F(Wired, DuplicateIsFedByTheSameAxesOrByItsOwn) {
    gasAxis(*stage, kA).wire(gas(*stage, kB));
    car(*stage, kB).axis("Steering").wire(car(*stage, kB).property("ABS Brake"));
    Vehicle& twin = stage->duplicate(car(*stage, kB), "twin");
    EXPECT_EQ(twin.property("Gas").source, &gasAxis(*stage, kA));
    EXPECT_EQ(twin.property("ABS Brake").source, &twin.axis("Steering"));
    EXPECT_EQ(twin.property("Steering").source, &twin.axis("Steering"));
}

TEST_F(Wired, TakesOfOrdinaryWiringSayNothingOfItAndOpenWithOwnAxes) {
    stage->run(0, 3);
    const Bytes bytes = takeBytes(*stage);
    EXPECT_EQ(splitGlb(bytes).json.find("\"source\""), std::string::npos);
    const auto opened = stageOf(readTake(bytes, "take.glb"), takeModule());
    for (const auto& vehicle : opened->vehicles)
        for (std::size_t i = 0; i < vehicle->axes.size(); ++i)
            EXPECT_EQ(vehicle->properties[i]->source, vehicle->axes[i].get());
}

}  // namespace
}  // namespace ond::test
