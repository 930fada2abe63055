// The dialog: what a vehicle declares, what the user edits, and who is told.
#include <cmath>
#include <limits>

#include "stage/FakeVehicle.h"

namespace ond::test {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class HostDialog : public OneFake {
  protected:
    void TearDown() override { EXPECT_THAT(car.misuse, IsEmpty()); }
    Lines changes() const {
        Lines all;
        for (const FakeCall& call : plugin.calls)
            if (call.operation.rfind("onParameterChanged", 0) == 0) all.push_back(call.operation);
        return all;
    }
};

TEST_F(HostDialog, RowsKeepTheirOrderTextsAndRanges) {
    car.declare();
    ASSERT_EQ(car.dialog.groups.size(), 2U);
    EXPECT_EQ(car.dialog.groups[0].title, "Main");
    EXPECT_EQ(car.dialog.groups[0].description, "what it does");
    EXPECT_EQ(car.dialog.groups[1].title, "More");
    Lines labels;
    for (const DialogItem& item : car.dialog.items) labels.push_back(item.group + "/" + item.label);
    EXPECT_EQ(labels, (Lines{"Main/Whole", "Main/Number", "Main/Silent", "More/Flag", "More/Press"}));
    const DialogItem& number = car.dialog.at("Number");
    EXPECT_EQ(number.kind, DialogItem::Kind::number);
    EXPECT_EQ(number.description, "a number");
    EXPECT_EQ(number.min, -1.0);
    EXPECT_EQ(number.max, 2.0);
    EXPECT_EQ(number.step, 0.1);
    EXPECT_EQ(number.hint, 1);
    EXPECT_TRUE(number.flag);
    EXPECT_EQ(number.converter, nullptr);
    EXPECT_EQ(car.dialog.at("Whole").kind, DialogItem::Kind::integer);
    EXPECT_EQ(car.dialog.at("Whole").hint, 10);
    EXPECT_EQ(car.dialog.at("Flag").kind, DialogItem::Kind::checkBox);
    EXPECT_EQ(car.dialog.at("Press").kind, DialogItem::Kind::button);
    EXPECT_TRUE(car.dialog.whole);
}

TEST_F(HostDialog, LabelsAreExact) {
    car.declare();
    EXPECT_TRUE(car.dialog.has("Number"));
    for (const char* label : {"number", "Numbe", "Number ", ""}) {
        EXPECT_FALSE(car.dialog.has(label)) << label;
        EXPECT_THROW(static_cast<void>(car.dialog.at(label)), StageError) << label;
    }
}

TEST_F(HostDialog, EditWritesTheFieldInPlaceThenTells) {
    rig();
    std::vector<double> seen;
    plugin.onChange = [&](FakeVehicle& v, const std::string&) {
        seen = {1.0 * v.whole, v.number, v.packed.flag ? 1.0 : 0.0};
    };
    car.edit("Whole", 7);
    EXPECT_THAT(seen, ElementsAre(7.0, 0.5, 0.0)) << "the field is set when the vehicle hears of it";
    car.edit("Number", 1.25);
    EXPECT_THAT(seen, ElementsAre(7.0, 1.25, 0.0));
    car.edit("Flag", 1);
    EXPECT_THAT(seen, ElementsAre(7.0, 1.25, 1.0));
    EXPECT_EQ(changes(), (Lines{"onParameterChanged Whole", "onParameterChanged Number", "onParameterChanged Flag"}));
    EXPECT_EQ(fake().packed.before, 0xAA);
    EXPECT_EQ(fake().packed.behind, 0x55) << "a check box is one byte";
}

TEST_F(HostDialog, EditStaysWithinTheRange) {
    rig();
    const double inf = std::numeric_limits<double>::infinity();
    const auto edited = [&](const char* label, double value) {
        car.edit(label, value);
        return car.value(label);
    };
    EXPECT_EQ(edited("Number", 5.0), 2.0);
    EXPECT_EQ(edited("Number", -5.0), -1.0);
    EXPECT_EQ(edited("Number", inf), 2.0);
    EXPECT_EQ(edited("Number", -inf), -1.0);
    EXPECT_EQ(edited("Number", std::nan("")), -1.0) << "what is no number changes nothing";
    EXPECT_EQ(edited("Whole", 11), 10.0);
    EXPECT_EQ(edited("Whole", -1), 0.0);
    EXPECT_EQ(edited("Whole", 1e300), 10.0);
    EXPECT_EQ(edited("Whole", std::nan("")), 10.0);
    EXPECT_EQ(edited("Flag", 3.0), 1.0);
    EXPECT_EQ(edited("Flag", 0.0), 0.0);
}

TEST_F(HostDialog, FieldOutsideOfItsRangeIsLeftAloneUntilItIsEdited) {
    plugin.onDeclare = [](FakeVehicle& v) {
        v.number = 99.0;
        v.declareSomething();
    };
    rig();
    EXPECT_EQ(car.value("Number"), 99.0);
    EXPECT_EQ(fake().number, 99.0);
    car.edit("Number", 1.0);
    undo.undo();
    EXPECT_EQ(fake().number, 99.0) << "undo restores it";
}

TEST_F(HostDialog, RowWithoutACallbackIsSilent) {
    rig();
    car.edit("Silent", 0.75);
    EXPECT_EQ(fake().silent, 0.75);
    EXPECT_THAT(changes(), IsEmpty());
    undo.undo();
    EXPECT_EQ(fake().silent, 0.25);
}

TEST_F(HostDialog, ButtonOnlyTells) {
    rig();
    car.press("Press");
    EXPECT_EQ(changes(), Lines{"onParameterChanged Press"});
    car.edit("Press", 1.0);
    EXPECT_EQ(changes().size(), 2U);
    EXPECT_EQ(undo.steps(), 0) << "there is nothing to take back";
}

TEST_F(HostDialog, ButtonWithoutAListenerAndDialogWithoutOneDoNothing) {
    plugin.onDeclare = [](FakeVehicle& v) {
        v.hostInterface->endInputProperties();
        v.hostInterface->beginGroup("Main", "");
        v.hostInterface->addButton("Deaf", "", nullptr);
        v.hostInterface->endGroup();
        v.hostInterface->endParameters();
    };
    rig();
    car.press("Deaf");
    car.send("anything");
    EXPECT_THAT(changes(), IsEmpty());
}

TEST_F(HostDialog, DialogShowsWhatTheFieldHoldsNow) {
    rig();
    fake().number = 1.75;
    EXPECT_EQ(car.value("Number"), 1.75);
    EXPECT_EQ(car.dialog.at("Number").initial, 0.5);
    plugin.calls.clear();
    for (int i = 0; i < 1000; ++i) car.refreshDialog();
    EXPECT_EQ(car.dialog.refreshes, 1000);
    EXPECT_TRUE(plugin.calls.empty()) << "a refresh calls nobody";
    EXPECT_EQ(fake().number, 1.75);
}

TEST_F(HostDialog, UndoRestoresTheFieldWithoutTelling) {
    rig();
    car.edit("Number", 1.0);
    car.edit("Number", 2.0);
    EXPECT_EQ(undo.steps(), 2);
    plugin.calls.clear();
    undo.undo();
    EXPECT_EQ(fake().number, 1.0);
    undo.undo();
    EXPECT_EQ(fake().number, 0.5);
    undo.redo();
    undo.redo();
    EXPECT_EQ(fake().number, 2.0);
    EXPECT_TRUE(plugin.calls.empty());
}

/// A vehicle's record of an edit, which looks at the field as it stands.
struct LookingRecord final : ovs::CUndo {
    LookingRecord(FakeVehicle& v, std::vector<double>& seen) : CUndo(&v), values(seen) {}
    void undo(bool) override { values.push_back(static_cast<FakeVehicle*>(target)->number); }
    void redo() override { values.push_back(static_cast<FakeVehicle*>(target)->number); }
    std::vector<double>& values;
};

TEST_F(HostDialog, RecordOfTheVehicleSeesTheNewValueOnUndoAndOnRedo) {
    rig();
    std::vector<double> seen;
    plugin.onChange = [&](FakeVehicle& v, const std::string&) {
        v.hostInterface->pushUndo(new LookingRecord(v, seen), 0);
    };
    car.edit("Number", 2.0);
    EXPECT_EQ(undo.steps(), 1) << "both records are one step";
    undo.undo();
    EXPECT_THAT(seen, ElementsAre(2.0));
    EXPECT_EQ(fake().number, 0.5);
    undo.redo();
    EXPECT_THAT(seen, ElementsAre(2.0, 2.0));
    EXPECT_EQ(fake().number, 2.0);
}

TEST_F(HostDialog, PuttingAValueTellsNobodyAndIsAllowedAnyTime) {
    rig();
    car.put("Number", 1.5);
    car.startRun(0);
    car.put("Number", 9.0);
    car.stopRun(0);
    EXPECT_EQ(fake().number, 2.0);
    EXPECT_THAT(changes(), IsEmpty());
    EXPECT_EQ(undo.steps(), 0);
}

TEST_F(HostDialog, SecondRowOfALabelIsNamed) {
    plugin.onDeclare = [](FakeVehicle& v) {
        v.hostInterface->endInputProperties();
        v.hostInterface->beginGroup("Main", "");
        v.hostInterface->addBoolParameter("Twice", "", &v.packed.flag, &v);
        v.hostInterface->addButton("Twice", "", &v);
        v.hostInterface->endGroup();
        v.hostInterface->endParameters();
    };
    car.declare();
    EXPECT_THAT(car.misuse, ElementsAre(AllOf(HasSubstr("label"), HasSubstr("Twice"))));
    car.misuse.clear();
}

struct Disorder {
    const char* named;
    std::function<void(ovs::CInterface&, FakeVehicle&)> declare;
};

TEST(HostDialogOrder, EachDisorderOfADeclarationIsNamed) {
    const Disorder disorders[] = {
        {"endInputProperties", [](ovs::CInterface& h, FakeVehicle&) { h.endParameters(); }},
        {"endParameters", [](ovs::CInterface& h, FakeVehicle&) { h.endInputProperties(); }},
        {"createInputProperty",
         [](ovs::CInterface& h, FakeVehicle& v) {
             h.endInputProperties();
             h.createInputProperty("Gas", 14, &v.factory);
             h.endParameters();
         }},
        {"endInputProperties",
         [](ovs::CInterface& h, FakeVehicle&) {
             h.endInputProperties();
             h.endInputProperties();
             h.endParameters();
         }},
        {"beginGroup",
         [](ovs::CInterface& h, FakeVehicle&) {
             h.endInputProperties();
             h.endParameters();
             h.beginGroup("Late", "");
         }},
        {"beginGroup",
         [](ovs::CInterface& h, FakeVehicle&) {
             h.endInputProperties();
             h.beginGroup("A", "");
             h.beginGroup("B", "");
             h.endGroup();
             h.endParameters();
         }},
        {"endGroup",
         [](ovs::CInterface& h, FakeVehicle&) {
             h.endInputProperties();
             h.endGroup();
             h.endParameters();
         }},
        {"endParameters",
         [](ovs::CInterface& h, FakeVehicle&) {
             h.endInputProperties();
             h.beginGroup("Open", "");
             h.endParameters();
         }},
        {"Loose",
         [](ovs::CInterface& h, FakeVehicle& v) {
             h.endInputProperties();
             h.addButton("Loose", "", &v);
             h.endParameters();
         }},
        {"type 13",
         [](ovs::CInterface& h, FakeVehicle& v) {
             h.createInputProperty("Gas", 13, &v.factory);
             h.endInputProperties();
             h.endParameters();
         }},
    };
    int index = 0;
    for (const Disorder& disorder : disorders) {
        SCOPED_TRACE(std::to_string(index++) + " " + disorder.named);
        FakePlugin plugin;
        Scene scene{{25, 1}};
        UndoStack undo;
        plugin.onDeclare = [&](FakeVehicle& v) { disorder.declare(*v.hostInterface, v); };
        Vehicle car(&plugin, "car", scene, undo);
        car.declare();
        EXPECT_THAT(car.misuse, ElementsAre(HasSubstr(disorder.named)));
    }
}

TEST(HostDialogOfTheModule, GaugesAreShownReadOnly) {
    Stage stage(vehicleModule());
    Vehicle& car = stage.addVehicle("car");
    Lines gauges;
    for (const DialogItem& item : car.dialog.items)
        if (item.isGauge()) gauges.push_back(item.label);
    EXPECT_THAT(gauges, ::testing::UnorderedElementsAre("Current Velocity", "Current Velocity (% of max)",
                                                        "World Space Maximum Velocity Gauge",
                                                        "World Space Acceleration Gauge (seconds from 0 to 100)",
                                                        "World Space Acceleration Gauge (seconds from 0 to 60)"));
    for (const std::string& label : gauges) {
        const double before = car.value(label);
        car.edit(label, before + 1.0);
        EXPECT_EQ(car.value(label), before) << label;
    }
    EXPECT_EQ(car.misuse.size(), gauges.size());
    EXPECT_THAT(car.misuse.front(), HasSubstr(gauges.front()));
    EXPECT_EQ(stage.undo.steps(), 0);
    EXPECT_FALSE(car.dialog.has("Wireframe Mode")) << "its field cannot be reached";
}

TEST(HostDialogOfAStage, NobodyIsToldOfSetUpAndLoading) {
    FakePlugin plugin;
    Stage stage(vehicleModule());
    stage.plugin->release();
    stage.plugin = &plugin;
    Vehicle& car = stage.addVehicle("car");
    car.put("Number", 1.5);
    car.put("Whole", 9);
    plugin.onSave = [](FakeVehicle& v) { v.hostInterface->storeChunk("block", 6); };
    const VehicleState state = car.state();
    stage.removeVehicle(car);
    Vehicle& again = stage.addVehicle(state);
    EXPECT_EQ(again.value("Number"), 1.5);
    EXPECT_EQ(again.value("Whole"), 9.0);
    for (const FakeCall& call : plugin.calls) EXPECT_EQ(call.operation.find("onParameterChanged"), std::string::npos);
    EXPECT_EQ(stage.undo.steps(), 0);
    EXPECT_EQ(stage.complaints(), Lines());
}

TEST(HostDialogOfTheModule, TurnBaseIsNotMovedByLoading) {
    // The vehicle swallows its first change of the turn base: a host that fires on load would use that up.
    Stage stage(vehicleModule());
    Vehicle& first = stage.addVehicle("car");
    const VehicleState state = first.state();
    Stage other(vehicleModule());
    Vehicle& made = other.addVehicle("car");
    made.save();
    Vehicle& car = other.replace(made);
    car.chunk = state.block;
    car.load();
    const auto base = [&] { return car.local("TurnBaseMesh", 0); };
    const util::Matrix4 before = base();
    car.edit("Turn Base (Back Wheel Relative)", 0.5);
    EXPECT_EQ(base(), before) << "the first change is swallowed";
    car.edit("Turn Base (Back Wheel Relative)", 0.25);
    EXPECT_NE(base(), before);
    EXPECT_EQ(other.complaints(), Lines());
}

}  // namespace
}  // namespace ond::test
