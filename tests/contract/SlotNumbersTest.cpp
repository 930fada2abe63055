// Every operation of the contract stands in its slot. The tables are read raw, so that a declaration moved by a line
// shows here and not in a host.
#include <gtest/gtest.h>

#include <cstdint>
#include <new>
#include <string>
#include <type_traits>
#include <vector>

#include "contract/Recorders.h"
#include "ond/ovs/CREEventUndo.h"
#include "ond/ovs/CVariableModUndo.h"
#include "ond/unidevice/OutputProperty.h"

namespace contract {
namespace {

using ond::unidevice::ControlSource;
using ond::unidevice::Property;
using ond::util::CMesh;
using ond::util::Vector3;
using Ids = std::vector<std::uint32_t>;
using Strings = std::vector<std::string>;

const std::string kText = "a text that is too long to be kept in place";

CameraCreationRecord someRecord() { return {{1, 2}, 3, "Car"}; }

/// Slot `last` destroys in place, the one behind it destroys and frees.
template <typename Recorder, typename... Arguments>
void expectDestructorLast(std::size_t last, CallLog& log, Arguments&... arguments) {
    alignas(Recorder) unsigned char storage[sizeof(Recorder)];
    void* inPlace = new (static_cast<void*>(storage)) Recorder(arguments...);
    callSlot<void>(inPlace, last);
    EXPECT_TRUE(log.tookOnly("destructor"));
    void* onHeap = new Recorder(arguments...);
    callSlot<void>(onHeap, last + 1);
    EXPECT_TRUE(log.tookOnly("destructor"));
}

/// The slots of a recorder that nobody calls run what is declared there, under the name that carries their number.
void expectReserved(void* object, CallLog& log, const std::vector<std::size_t>& slots) {
    for (const std::size_t slot : slots) {
        SCOPED_TRACE(slot);
        callSlot<void>(object, slot);
        EXPECT_TRUE(log.tookOnly("reserved" + std::to_string(slot)));
    }
}

TEST(SlotNumbers, PluginDescriptor) {
    CallLog log;
    RecordingPlugin plugin(log);
    void* p = static_cast<CCameraPlugin*>(&plugin);
    EXPECT_EQ(callSlot<std::uint64_t>(p, 0, std::uint32_t{16}, mark<void>(0x10)), 0x1122334455667788u);
    EXPECT_TRUE(log.tookOnly("callExtension", 16, mark<void>(0x10)));
    EXPECT_EQ(callSlot<Ids>(p, 1), (Ids{7, 8}));
    EXPECT_TRUE(log.tookOnly("getExtensionIds"));
    EXPECT_TRUE((callSlot<bool>(p, 2, std::uint32_t{40})));
    EXPECT_TRUE(log.tookOnly("hasExtension", 40));
    const CameraCreationRecord record = someRecord();
    EXPECT_EQ(callSlot<CCamera*>(p, 3, &record), mark<CCamera>(0x3300));
    EXPECT_TRUE(log.tookOnly("createCamera", &record));
    const char* texts[] = {"getPluginName",  "getTypeName", "getDisplayName", "getCategory",
                           "getDescription", "getAuthor",   "getAccessToken"};
    for (std::size_t i = 0; i < std::size(texts); ++i) {
        EXPECT_EQ(callSlot<std::string>(p, 4 + i), std::string("a text too long to be kept in place by ") + texts[i]);
        EXPECT_TRUE(log.tookOnly(texts[i]));
    }
    EXPECT_EQ(callSlot<Strings>(p, 11).size(), 1u);
    EXPECT_TRUE(log.tookOnly("getDependencyList"));
    EXPECT_TRUE((callSlot<bool>(p, 12, mark<PluginStatus>(0x12))));
    EXPECT_TRUE(log.tookOnly("queryStatus", mark<PluginStatus>(0x12)));
    EXPECT_EQ(callSlot<std::uint64_t>(p, 13), 0x8877665544332211u);
    EXPECT_TRUE(log.tookOnly("getInterfaceStamp"));
    callSlot<void>(p, 14);
    EXPECT_TRUE(log.tookOnly("release"));
}

TEST(SlotNumbers, PluginDescriptorDestructor) {
    CallLog log;
    expectDestructorLast<RecordingPlugin>(15, log, log);
}

TEST(SlotNumbers, Camera) {
    CallLog log;
    RecordingCamera camera(someRecord(), log);
    void* p = static_cast<CCamera*>(&camera);
    EXPECT_EQ(callSlot<std::uint64_t>(p, 0, std::uint32_t{40}, mark<void>(0x10)), 5u);
    EXPECT_TRUE(log.tookOnly("callExtension", 40, mark<void>(0x10)));
    EXPECT_EQ(callSlot<Ids>(p, 1), Ids{40});
    EXPECT_TRUE(log.tookOnly("getExtensionIds"));
    EXPECT_TRUE((callSlot<bool>(p, 2, std::uint32_t{39})));
    EXPECT_TRUE(log.tookOnly("hasExtension", 39));
    const char* timed[] = {"startRun", "stopRun", "updateFrame", "showFrame"};
    for (std::size_t i = 0; i < std::size(timed); ++i) {
        const double time = 1.25 + static_cast<double>(i);
        callSlot<void>(p, 3 + i, time);
        EXPECT_TRUE(log.tookOnly(timed[i], time));
    }
    const char* answering[] = {"declareParameters", "createRig", "loadState", "saveState"};
    for (std::size_t i = 0; i < std::size(answering); ++i) {
        EXPECT_EQ(callSlot<std::uint64_t>(p, 7 + i), 7 + i);
        EXPECT_TRUE(log.tookOnly(answering[i]));
    }
    callSlot<void>(p, 11);
    EXPECT_TRUE(log.tookOnly("release"));
}

TEST(SlotNumbers, CameraDestructor) {
    CallLog log;
    const CameraCreationRecord record = someRecord();
    expectDestructorLast<RecordingCamera>(12, log, record, log);
}

TEST(SlotNumbers, CallbackBesideCamera) {
    CallLog log;
    RecordingCamera camera(someRecord(), log);
    void* p = static_cast<CInterface::Callback*>(&camera);
    ASSERT_NE(p, static_cast<void*>(&camera));
    callSlot<void>(p, 0, kText);
    EXPECT_TRUE(log.tookOnly("onParameterChanged", kText));
    callSlot<void>(p, 1, std::uintptr_t{0xFFFFFFFF1u});
    EXPECT_TRUE(log.tookOnly("reserved1", std::uintptr_t{0xFFFFFFFF1u}));
    callSlot<void>(p, 2, std::uintptr_t{0xFFFFFFFF2u});
    EXPECT_TRUE(log.tookOnly("reserved2", std::uintptr_t{0xFFFFFFFF2u}));
}

class InterfaceSlots : public testing::Test {
  protected:
    CallLog log;
    RecordingInterface host{log};
    void* p = static_cast<CInterface*>(&host);
    MeshHandle* element = mark<MeshHandle>(0xE1);
    CInterface::Callback* callback = mark<CInterface::Callback>(0xCB);
};

TEST_F(InterfaceSlots, ExtensionsAndUndo) {
    EXPECT_EQ(callSlot<void*>(p, 0, std::uint32_t{41}, mark<void>(0x41)), mark<void>(0x100));
    EXPECT_TRUE(log.tookOnly("callExtension", 41, mark<void>(0x41)));
    EXPECT_TRUE((callSlot<bool>(p, 2, std::uint32_t{41})));
    EXPECT_TRUE(log.tookOnly("hasExtension", 41));
    callSlot<void>(p, 3, mark<CUndo>(0x33), std::int32_t{0});
    EXPECT_TRUE(log.tookOnly("pushUndo", mark<CUndo>(0x33), 0));
}

TEST_F(InterfaceSlots, InputProperties) {
    auto* factory = mark<Property::Factory>(0x44);
    EXPECT_EQ(callSlot<Property*>(p, 4, kText, std::uint32_t{15}, factory), mark<Property>(0x104));
    EXPECT_TRUE(log.tookOnly("createInputProperty", kText, 15, factory));
    callSlot<void>(p, 6);
    EXPECT_TRUE(log.tookOnly("endInputProperties"));
}

TEST_F(InterfaceSlots, Dialog) {
    callSlot<void>(p, 7);
    EXPECT_TRUE(log.tookOnly("endParameters"));
    callSlot<void>(p, 8, kText, std::string("about"));
    EXPECT_TRUE(log.tookOnly("beginGroup", kText, "about"));
    callSlot<void>(p, 9);
    EXPECT_TRUE(log.tookOnly("endGroup"));
    const CS::Converter<std::int32_t>* noInts = nullptr;
    auto* whole = mark<std::int32_t>(0x10);
    callSlot<void>(p, 10, kText, std::string("whole"), whole, std::int32_t{-1}, std::int32_t{2}, std::int32_t{3},
                   std::int32_t{10}, true, noInts, callback);
    EXPECT_TRUE(log.tookOnly("addIntParameter", kText, "whole", whole, -1, 2, 3, 10, true, noInts, callback));
    const CS::Converter<double>* noDoubles = nullptr;
    auto* number = mark<double>(0x11);
    callSlot<void>(p, 11, kText, std::string("number"), number, -1.5, 2.5, 0.001, std::int32_t{1}, true, noDoubles,
                   callback);
    EXPECT_TRUE(
        log.tookOnly("addDoubleParameter", kText, "number", number, -1.5, 2.5, 0.001, 1, true, noDoubles, callback));
    auto* flag = mark<bool>(0x12);
    callSlot<void>(p, 12, kText, std::string("flag"), flag, callback);
    EXPECT_TRUE(log.tookOnly("addBoolParameter", kText, "flag", flag, callback));
    callSlot<void>(p, 15, kText, std::string("button"), callback);
    EXPECT_TRUE(log.tookOnly("addButton", kText, "button", callback));
    callSlot<void>(p, 17);
    EXPECT_TRUE(log.tookOnly("refreshDialog"));
}

TEST_F(InterfaceSlots, SavedState) {
    callSlot<void>(p, 20, mark<const void>(0x20), std::uint64_t{0x200000001u});
    EXPECT_TRUE(log.tookOnly("storeChunk", mark<const void>(0x20), std::uint64_t{0x200000001u}));
    EXPECT_EQ(callSlot<const void*>(p, 21, std::int32_t{0}), mark<void>(0x121));
    EXPECT_TRUE(log.tookOnly("getChunk", 0));
}

TEST_F(InterfaceSlots, Elements) {
    callSlot<void>(p, 23, element, std::int32_t{0}, std::int32_t{1});
    EXPECT_TRUE(log.tookOnly("deleteElement", element, 0, 1));
    EXPECT_EQ(callSlot<MeshHandle*>(p, 24, kText), mark<MeshHandle>(0x124));
    EXPECT_TRUE(log.tookOnly("findElement", kText));
    EXPECT_EQ(callSlot<MeshHandle*>(p, 25, kText, element, false), mark<MeshHandle>(0x125));
    EXPECT_TRUE(log.tookOnly("createCameraElement", kText, element, false));
    EXPECT_EQ(callSlot<MeshHandle*>(p, 26, kText, element, mark<const CMesh>(0x26), std::int32_t{0}),
              mark<MeshHandle>(0x126));
    EXPECT_TRUE(log.tookOnly("createMeshElement", kText, element, mark<const void>(0x26), 0));
}

TEST_F(InterfaceSlots, ElementData) {
    EXPECT_EQ(callSlot<TransformObject*>(p, 28, element, 0.5), mark<TransformObject>(0x128));
    EXPECT_TRUE(log.tookOnly("getTransformObject", element, 0.5));
    EXPECT_EQ(callSlot<AppearanceObject*>(p, 29, element), mark<AppearanceObject>(0x129));
    EXPECT_TRUE(log.tookOnly("getAppearanceObject", element));
    EXPECT_EQ(callSlot<SurfaceObject*>(p, 30, element, 0.75), mark<SurfaceObject>(0x130));
    EXPECT_TRUE(log.tookOnly("getSurfaceObject", element, 0.75));
    EXPECT_EQ(callSlot<CameraObject*>(p, 31, element, 0.25), mark<CameraObject>(0x131));
    EXPECT_TRUE(log.tookOnly("getCameraObject", element, 0.25));
    callSlot<void>(p, 32, element);
    EXPECT_TRUE(log.tookOnly("releaseElementData", element));
    callSlot<void>(p, 33, mark<CameraObject>(0x33));
    EXPECT_TRUE(log.tookOnly("releaseCameraObject", mark<CameraObject>(0x33)));
    callSlot<void>(p, 34, mark<SurfaceObject>(0x34));
    EXPECT_TRUE(log.tookOnly("releaseSurfaceObject", mark<SurfaceObject>(0x34)));
    callSlot<void>(p, 35, mark<AppearanceObject>(0x35));
    EXPECT_TRUE(log.tookOnly("releaseAppearanceObject", mark<AppearanceObject>(0x35)));
    callSlot<void>(p, 36, mark<TransformObject>(0x36));
    EXPECT_TRUE(log.tookOnly("releaseTransformObject", mark<TransformObject>(0x36)));
}

TEST_F(InterfaceSlots, ClockViewsAndMessages) {
    EXPECT_EQ(callSlot<double>(p, 37), 37.5);
    EXPECT_TRUE(log.tookOnly("getCurrentTime"));
    EXPECT_EQ(callSlot<double>(p, 39), 39.5);
    EXPECT_TRUE(log.tookOnly("getFrameStep"));
    callSlot<void>(p, 40);
    EXPECT_TRUE(log.tookOnly("redrawViews"));
    callSlot<void>(p, 41, kText, std::string("Warning"), std::int32_t{0});
    EXPECT_TRUE(log.tookOnly("messageBox", kText, "Warning", 0));
}

TEST_F(InterfaceSlots, Reserved) { expectReserved(p, log, {1, 5, 13, 14, 16, 18, 19, 22, 27, 38}); }

TEST_F(InterfaceSlots, Destructor) { expectDestructorLast<RecordingInterface>(42, log, log); }

TEST(SlotNumbers, MeshHandle) {
    CallLog log;
    RecordingMeshHandle handle(log);
    void* p = static_cast<MeshHandle*>(&handle);
    EXPECT_EQ(callSlot<void*>(p, 0, std::uint32_t{31}, mark<void>(0x31)), mark<void>(0x200));
    EXPECT_TRUE(log.tookOnly("callExtension", 31, mark<void>(0x31)));
    EXPECT_TRUE((callSlot<bool>(p, 2, std::uint32_t{31})));
    EXPECT_TRUE(log.tookOnly("hasExtension", 31));
    callSlot<void>(p, 3);
    EXPECT_TRUE(log.tookOnly("show"));
    callSlot<void>(p, 4);
    EXPECT_TRUE(log.tookOnly("hide"));
    EXPECT_TRUE(callSlot<bool>(p, 5));
    EXPECT_TRUE(log.tookOnly("isShown"));
    callSlot<void>(p, 6);
    EXPECT_TRUE(log.tookOnly("rigBuilt"));
    EXPECT_EQ(callSlot<MeshHandle*>(p, 8), mark<MeshHandle>(0x208));
    EXPECT_TRUE(log.tookOnly("getParent"));
    EXPECT_EQ(callSlot<std::int32_t>(p, 9), 9);
    EXPECT_TRUE(log.tookOnly("getNumChildren"));
    EXPECT_EQ(callSlot<MeshHandle*>(p, 10, std::int32_t{4}), mark<MeshHandle>(0x210));
    EXPECT_TRUE(log.tookOnly("getChild", 4));
    callSlot<void>(p, 11, mark<MeshHandle>(0x11));
    EXPECT_TRUE(log.tookOnly("releaseHandle", mark<MeshHandle>(0x11)));
    EXPECT_EQ(callSlot<std::string>(p, 12), "a name that is too long to be kept in place");
    EXPECT_TRUE(log.tookOnly("getName"));
    expectReserved(p, log, {1, 7});
    expectDestructorLast<RecordingMeshHandle>(13, log, log);
}

TEST(SlotNumbers, TransformObject) {
    CallLog log;
    RecordingTransform transform(log);
    void* p = static_cast<TransformObject*>(&transform);
    const char* names[] = {"readLocalMatrix", "setLocalMatrix", "readWorldMatrix", "setWorldMatrix"};
    for (std::size_t i = 0; i < std::size(names); ++i) {
        Matrix4 m;
        callSlot<void>(p, 3 + i, &m);
        EXPECT_TRUE(log.tookOnly(names[i], &m));
    }
    expectReserved(p, log, {0, 1, 2});
    expectDestructorLast<RecordingTransform>(7, log, log);
}

TEST(SlotNumbers, AppearanceObject) {
    CallLog log;
    RecordingAppearance appearance(log);
    void* p = static_cast<AppearanceObject*>(&appearance);
    callSlot<void>(p, 4, true);
    EXPECT_TRUE(log.tookOnly("useOwnColour", true));
    callSlot<void>(p, 5, true);
    EXPECT_TRUE(log.tookOnly("setWireframe", true));
    callSlot<void>(p, 6, 0.25f, 0.5f, 0.75f);
    EXPECT_TRUE(log.tookOnly("setColour", 0.25f, 0.5f, 0.75f));
    expectReserved(p, log, {0, 1, 2, 3});
    expectDestructorLast<RecordingAppearance>(7, log, log);
}

TEST(SlotNumbers, SurfaceObject) {
    CallLog log;
    RecordingSurface surface(log);
    void* p = static_cast<SurfaceObject*>(&surface);
    callSlot<void>(p, 4, mark<CMesh>(0x40));
    EXPECT_TRUE(log.tookOnly("getMesh", mark<void>(0x40)));
    const Vector3<double> origin;
    const Vector3<double> direction;
    double t = 0.0;
    Vector3<double> normal;
    EXPECT_TRUE((callSlot<bool>(p, 5, &origin, &direction, &t, &normal)));
    EXPECT_TRUE(log.tookOnly("intersect", &origin, &direction, &t, &normal));
    expectReserved(p, log, {0, 1, 2, 3});
    expectDestructorLast<RecordingSurface>(6, log, log);
}

TEST(SlotNumbers, CameraObject) {
    CallLog log;
    RecordingCameraObject camera(log);
    void* p = static_cast<CameraObject*>(&camera);
    callSlot<void>(p, 4, 45.5);
    EXPECT_TRUE(log.tookOnly("setFieldOfView", 45.5));
    expectReserved(p, log, {0, 1, 2, 3});
    expectDestructorLast<RecordingCameraObject>(5, log, log);
}

TEST(SlotNumbers, UndoRecord) {
    CallLog log;
    RecordingUndo record(nullptr, log);
    void* p = static_cast<CUndo*>(&record);
    callSlot<void>(p, 0, true);
    EXPECT_TRUE(log.tookOnly("undo", true));
    callSlot<void>(p, 1);
    EXPECT_TRUE(log.tookOnly("redo"));
    callSlot<void>(p, 2);
    EXPECT_TRUE(log.tookOnly("release"));
    void* nothing = nullptr;
    expectDestructorLast<RecordingUndo>(3, log, nothing, log);
}

TEST(SlotNumbers, EventUndoRecord) {
    CallLog log;
    RecordingCamera camera(someRecord(), log);
    CUndo* record = new CREEventUndo(&camera, "REALUNDOHide Helpers", "REALREDOHide Helpers");
    callSlot<void>(record, 0, true);
    EXPECT_TRUE(log.tookOnly("onParameterChanged", "REALUNDOHide Helpers"));
    callSlot<void>(record, 1);
    EXPECT_TRUE(log.tookOnly("onParameterChanged", "REALREDOHide Helpers"));
    callSlot<void>(record, 2);
}

TEST(SlotNumbers, VariableUndoRecord) {
    ond::util::AVar_Linear<double> variable;
    variable.setKey(1.0, 10.0);
    CUndo* record = new CVariableModUndo(&variable);
    variable.setKey(2.0, 20.0);
    callSlot<void>(record, 0, true);
    EXPECT_EQ(variable.getNumKeys(), 1);
    callSlot<void>(record, 1);
    EXPECT_EQ(variable.getNumKeys(), 2);
    callSlot<void>(record, 2);
}

TEST(SlotNumbers, Converter) {
    CS::Multiply<double> conversion(4.0);
    void* p = static_cast<CS::Converter<double>*>(&conversion);
    const double value = 3.0;
    EXPECT_EQ(callSlot<double>(p, 0, &value), 12.0);
    EXPECT_EQ(callSlot<double>(p, 1, &value), 0.75);
}

class FixedAxis : public ControlSource {
  public:
    explicit FixedAxis(CallLog& l) : log(l) {}
    void reserved0() override { log.note("reserved0"); }
    void reserved1() override { log.note("reserved1"); }
    double currentValue() override {
        log.note("currentValue");
        return 1.0;
    }
    ~FixedAxis() override { log.note("destructor"); }

  private:
    CallLog& log;
};

TEST(SlotNumbers, ControlSource) {
    CallLog log;
    FixedAxis axis(log);
    void* p = static_cast<ControlSource*>(&axis);
    EXPECT_EQ(callSlot<double>(p, 2), 1.0);
    EXPECT_TRUE(log.tookOnly("currentValue"));
    expectReserved(p, log, {0, 1});
    expectDestructorLast<FixedAxis>(3, log, log);
}

TEST(SlotNumbers, PropertyAndItsFactory) {
    CallLog log;
    FixedAxis axis(log);
    Property::Factory factory;
    Property* property = callSlot<Property*>(&factory, 0, kText, std::int32_t{15});
    ASSERT_NE(property, nullptr);
    EXPECT_EQ(property->name, kText);
    EXPECT_EQ(property->type, 15);
    property->multiplier = 2.0;
    property->offset = 0.5;
    axis.wire(*property);
    EXPECT_EQ(callSlot<double>(property, 1), 2.5);
    callSlot<void>(property, 0, static_cast<ControlSource*>(&axis));
    EXPECT_EQ(property->source, nullptr);
    EXPECT_EQ(callSlot<double>(property, 1), 0.5);
    property->source = &axis;
    callSlot<void>(property, 3);
    EXPECT_TRUE(axis.properties.empty());
}

TEST(SlotNumbers, PropertyDestructorInPlace) {
    alignas(Property) unsigned char storage[sizeof(Property)];
    auto* property = new (static_cast<void*>(storage)) Property("channel", 14);
    CallLog log;
    FixedAxis axis(log);
    axis.wire(*property);
    callSlot<void>(property, 2);
    EXPECT_TRUE(axis.properties.empty());
}

TEST(SlotNumbers, OutputPropertyKeepsTheTableOfProperty) {
    ond::unidevice::OutputProperty output({"Velocity", 8});
    output.store(12.5);
    EXPECT_EQ(callSlot<double>(static_cast<Property*>(&output), 1), 12.5);
}

}  // namespace
}  // namespace contract
