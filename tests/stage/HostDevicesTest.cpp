// Input channels and the axes that feed them; output channels.
#include <cmath>

#include "stage/FakeVehicle.h"

namespace ond::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using unidevice::ControlObserver;
using unidevice::OutputChannelRecord;
using unidevice::OutputProperty;
using unidevice::Property;

class HostDevices : public OneFake {
  protected:
    void TearDown() override { EXPECT_THAT(car.misuse, IsEmpty()); }

    /// The channel gives the axis as it is.
    static void straighten(Property& property) {
        property.deadZone = 0.0;
        property.exponent = 1.0;
    }
};

TEST_F(HostDevices, ChannelIsMadeByTheFactoryAndKeptByTheHost) {
    Property* twoWays = nullptr;
    Property* oneWay = nullptr;
    plugin.onDeclare = [&](FakeVehicle& v) {
        twoWays = v.hostInterface->createInputProperty("Steering", 14, &v.factory);
        oneWay = v.hostInterface->createInputProperty("Brake", 15, &v.factory);
        v.hostInterface->endInputProperties();
        v.hostInterface->endParameters();
    };
    rig();
    ASSERT_NE(twoWays, nullptr);
    ASSERT_NE(oneWay, nullptr);
    EXPECT_EQ(twoWays->type, 14);
    EXPECT_EQ(oneWay->type, 15);
    EXPECT_EQ(twoWays->name, "Steering");
    EXPECT_EQ(&car.property("Steering"), twoWays);
    EXPECT_EQ(&car.property("Brake"), oneWay);
    EXPECT_EQ(twoWays->deadZone, 0.1);
    EXPECT_THROW(static_cast<void>(car.property("Horn")), StageError);
    EXPECT_THROW(static_cast<void>(car.axis("Horn")), StageError);
}

TEST_F(HostDevices, WireGoesBothWaysAndIsCutFromEitherEnd) {
    rig();
    Property& gas = *fake().gas;
    straighten(gas);
    InputAxis& own = car.axis("Gas");
    EXPECT_EQ(gas.source, &own);
    EXPECT_THAT(own.properties, ElementsAre(&gas));
    ControlObserver row;
    row.bWired = true;
    gas.registered.push_back(&row);
    {
        CallLog log;
        InputAxis stick("stick", log);
        stick.position = 0.5;
        stick.wire(gas);
        EXPECT_THAT(own.properties, IsEmpty());
        EXPECT_THAT(stick.properties, ElementsAre(&gas));
        EXPECT_EQ(gas.value(), 0.5);
        row.bWired = true;
    }
    EXPECT_EQ(gas.source, nullptr) << "the stick went away";
    EXPECT_FALSE(row.bWired);
    EXPECT_EQ(gas.value(), 0.0);
    gas.registered.clear();
    own.wire(gas);
    car.release();
    EXPECT_THAT(own.properties, IsEmpty()) << "the channel took itself off";
}

TEST_F(HostDevices, UnwiredChannelGivesItsOffset) {
    rig();
    Property& gas = *fake().gas;
    car.axis("Gas").position = 1.0;
    car.axis("Gas").unwire(gas);
    EXPECT_EQ(gas.value(), 0.0);
    gas.offset = 0.3;
    EXPECT_EQ(gas.value(), 0.3);
}

TEST_F(HostDevices, ScriptIsAskedOnceForAllReadsOfAFrame) {
    rig();
    int asked = 0;
    car.axis("Gas").script = [&](double time) {
        ++asked;
        return time + 0.001 * asked;  // a live device: no two looks at it give the same
    };
    straighten(*fake().gas);
    std::vector<double> read;
    const auto look = [&](FakeVehicle& v, double) {
        for (int i = 0; i < 3; ++i) read.push_back(v.gas->value());
    };
    plugin.onStart = plugin.onFrame = look;
    car.startRun(0);
    EXPECT_EQ(asked, 1);
    scene.clock.now = 1;
    car.updateFrame(1);
    EXPECT_EQ(asked, 2);
    EXPECT_THAT(read, ElementsAre(0.001, 0.001, 0.001, 0.042, 0.042, 0.042));
}

class StageDevices : public FakeStage {
  protected:
    void SetUp() override {
        FakeStage::SetUp();
        plugin.onDeclare = [](FakeVehicle& v) {
            v.declareSomething();
            v.gas->deadZone = 0.0;
        };
        plugin.onSave = [](FakeVehicle& v) { v.hostInterface->storeChunk("block", 6); };
    }
};

TEST_F(StageDevices, RecordedInputIsWhatTheVehicleSaw) {
    // A live device again: what the journal holds must be what the vehicle was given, or no run could be repeated.
    stage->keepsJournal = true;
    Vehicle& car = add("car");
    int asked = 0;
    car.axis("Gas").script = [&](double) { return 0.01 * ++asked; };
    std::vector<double> seen;
    plugin.onStart = plugin.onFrame = [&](FakeVehicle& v, double) { seen.push_back(v.gas->value()); };
    stage->run(0, 10);
    ASSERT_EQ(stage->journal.size(), 1U);
    ASSERT_EQ(seen.size(), 11U);
    EXPECT_EQ(stage->journal[0].inputs.at(0).axes, seen);
    EXPECT_EQ(asked, 11) << "once per frame";
    // Driven again, the vehicle sees the very same.
    const std::vector<double> before = seen;
    seen.clear();
    const Journal journal = stage->journal;
    stage->retake(journal, std::nullopt);
    EXPECT_EQ(seen, before);
}

TEST_F(StageDevices, OneAxisFeedsSeveralVehiclesInTheSameFrame) {
    Vehicle& a = add("a");
    Vehicle& b = add("b");
    Vehicle& idle = add("idle");
    idle.armed = false;
    // Fed by an axis of a vehicle that comes later, and by one of a vehicle that does not run.
    b.axis("Gas").wire(*fakeOf(a).gas);
    idle.axis("Gas").wire(*fakeOf(b).gas);
    b.axis("Gas").script = [](double time) { return time; };
    idle.axis("Gas").script = [](double time) { return 2.0 * time; };
    int compared = 0;
    plugin.onStart = plugin.onFrame = [&](FakeVehicle& v, double time) {
        EXPECT_EQ(v.gas->value(), v.name == "a" ? time : 2.0 * time) << v.name;
        ++compared;
    };
    stage->run(5, 15);
    EXPECT_EQ(compared, 22);
    EXPECT_EQ(stage->complaints(), Lines());
}

TEST_F(StageDevices, WiringIsPerChannel) {
    Vehicle& a = add("a");
    Vehicle& b = add("b");
    a.axis("Gas").wire(*fakeOf(b).gas);
    a.axis("Gas").position = 0.75;
    fakeOf(b).gas->multiplier = 2.0;
    EXPECT_EQ(fakeOf(a).gas->value(), 0.75);
    EXPECT_EQ(fakeOf(b).gas->value(), 1.5) << "each shapes for itself";
    stage->removeVehicle(a);
    EXPECT_EQ(fakeOf(b).gas->source, nullptr) << "a dead axis must not be asked";
    EXPECT_EQ(fakeOf(b).gas->value(), 0.0);
}

TEST_F(StageDevices, StateThatIsNoNumberIsRefusedByItsKey) {
    // Of the module: a fake has no keys.
    Stage own(vehicleModule());
    own.addVehicle("car");
    try {
        own.setState(0, {{"iRayMultiplier", std::nan("")}});
        ADD_FAILURE() << "no number was taken";
    } catch (const StageError& error) {
        EXPECT_STREQ(error.what(), "the key 'iRayMultiplier' of the saved state cannot hold what is no number");
    }
    EXPECT_EQ(own.vehicles.at(0)->value("Ray Multiplier"), 10.0);
}

TEST_F(StageDevices, ScriptedInputMakesRunsRepeatable) {
    Vehicle& car = add("car");
    car.axis("Gas").script = [](double time) { return time < 0.2 ? 0.5 : -0.25; };
    std::vector<double> seen;
    plugin.onFrame = [&](FakeVehicle& v, double) { seen.push_back(v.gas->value()); };
    stage->run(0, 20);
    const std::vector<double> first = seen;
    seen.clear();
    stage->run(0, 20);
    EXPECT_EQ(seen, first);
    EXPECT_EQ(first[3], 0.5);
    EXPECT_EQ(first[4], -0.25) << "frame 5 is second 0.2";
}

TEST_F(StageDevices, TuningIsSetAgainBehindTheDeclaration) {
    plugin.onDeclare = [](FakeVehicle& v) {
        v.declareSomething();
        v.gas->exponent = 1.3;
    };
    Vehicle& car = add("car");
    Property& gas = car.property("Gas");
    EXPECT_EQ(gas.exponent, 1.3);
    gas.multiplier = 0.5;
    gas.deadZone = 0.2;
    gas.exponent = 2.0;
    gas.offset = -0.1;
    const VehicleState state = car.state();
    stage->removeVehicle(car);
    double exponentAtLoad = 0.0;
    plugin.onLoad = [&](FakeVehicle& v) -> std::uint64_t {
        exponentAtLoad = v.gas->exponent;
        return 0;
    };
    Vehicle& again = stage->addVehicle(state);
    EXPECT_EQ(again.property("Gas").multiplier, 0.5);
    EXPECT_EQ(again.property("Gas").deadZone, 0.2);
    EXPECT_EQ(again.property("Gas").exponent, 2.0) << "the vehicle's own 1.3 does not win";
    EXPECT_EQ(again.property("Gas").offset, -0.1);
    EXPECT_EQ(exponentAtLoad, 2.0);
}

TEST_F(HostDevices, OutputChannelIsTheHosts) {
    Property* made = nullptr;
    plugin.onDeclare = [&](FakeVehicle& v) {
        v.declareSomething();
        OutputChannelRecord record{"Velocity", 8};
        ASSERT_TRUE(v.hostInterface->hasExtension(41));
        made = static_cast<Property*>(v.hostInterface->callExtension(41, &record));
        record.name = "gone";
    };
    rig();
    OutputProperty* velocity = car.output("Velocity");
    ASSERT_NE(velocity, nullptr);
    EXPECT_EQ(static_cast<Property*>(velocity), made);
    EXPECT_EQ(velocity->type, 8);
    EXPECT_EQ(car.output("gone"), nullptr);
    velocity->store(3.0);
    velocity->store(5.0);
    EXPECT_EQ(velocity->current, 5.0);
    EXPECT_EQ(velocity->previous, 3.0);
    EXPECT_EQ(velocity->value(), 5.0);
}

TEST_F(HostDevices, RefreshAsksForEachChannelByItsPointer) {
    plugin.onDeclare = [&](FakeVehicle& v) {
        v.declareSomething();
        for (const char* name : {"Velocity", "Steering Angle"}) {
            OutputChannelRecord record{name, 8};
            v.hostInterface->callExtension(41, &record);
        }
    };
    plugin.onExtension = [](FakeVehicle&, std::uint32_t id, void* argument) {
        auto* channel = static_cast<OutputProperty*>(static_cast<Property*>(argument));
        channel->store(id == 40 ? static_cast<double>(channel->name.size()) : -1.0);
    };
    car.declare();
    car.refreshOutputs();
    EXPECT_EQ(car.output("Velocity")->current, 8.0);
    EXPECT_EQ(car.output("Steering Angle")->current, 14.0);
    car.createRig();
    car.startRun(0);
    car.refreshOutputs();
    EXPECT_EQ(car.output("Velocity")->previous, 8.0) << "in a run, too";
}

TEST(DevicesOfTheModule, NineInputsAndSevenOutputs) {
    Stage stage(vehicleModule());
    Vehicle& car = stage.addVehicle("car");
    EXPECT_EQ(car.properties.size(), 9U);
    for (const auto& property : car.properties) EXPECT_EQ(property->exponent, 1.3) << property->name;
    Lines outputs;
    for (const auto& output : car.outputs) {
        outputs.push_back(output->name);
        EXPECT_EQ(output->type, 8);
    }
    EXPECT_EQ(outputs.size(), 7U);
}

}  // namespace
}  // namespace ond::test
