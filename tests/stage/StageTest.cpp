// The host by itself: what it promises to the tests that run vehicles in it.
#include "stage/Stage.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "ond/util/CMesh_Box.h"
#include "ond/util/Quat.h"
#include "stage/StageError.h"
#include "util/PinnedRandom.h"

namespace ond::test {

using namespace stage;
namespace {

using util::CMesh;
using util::Matrix4;
using util::Translation;
using util::Vector3;

constexpr double kSnap = 1e-6 / 25;

TEST(Clock, SameFrameHasSameBits) {
    const Clock clock({25, 1});
    EXPECT_EQ(clock.time(3), 3.0 / 25);
    EXPECT_EQ(clock.step(), 0.04);
    EXPECT_EQ(clock.frames(clock.time(7)), "@7");
    EXPECT_EQ(clock.frames(clock.time(7) - clock.step()), "@6");
    EXPECT_EQ(clock.frames(0.05), "@1.25");
    EXPECT_EQ(clock.frames(-1e-12), "@0");
}

TEST(Track, HoldsEndsAndGivesKeysToTheBit) {
    Track track;
    track.pose = Translation({7, 0, 0});
    EXPECT_EQ(track.at(5.0, kSnap), Translation({7, 0, 0}));
    Matrix4 turned = util::RotationY(0.3) * util::Scaling({1.1, 2.3, 0.7});
    turned.setRow(3, {1, 2, 3});
    track.setKey(1.0, turned, kSnap);
    track.setKey(2.0, Translation({3, 0, 0}), kSnap);
    EXPECT_EQ(track.at(0.0, kSnap), turned);
    EXPECT_EQ(track.at(1.0, kSnap), turned);
    EXPECT_EQ(track.at(1.0 + 1e-9, kSnap), turned);
    EXPECT_EQ(track.at(1.0 - 1e-9, kSnap), turned);
    EXPECT_EQ(track.at(9.0, kSnap), Translation({3, 0, 0}));
}

TEST(Track, RunsStraightBetweenKeys) {
    Track track;
    Matrix4 a = util::RotationZ(0.2) * util::Scaling({1, 2, 3});
    a.setRow(3, {0, 10, 0});
    Matrix4 b = util::RotationZ(0.6) * util::Scaling({3, 4, 5});
    b.setRow(3, {4, 10, 8});
    track.setKey(1.0, a, kSnap);
    track.setKey(3.0, b, kSnap);
    const Matrix4 middle = track.at(2.5, kSnap);
    Matrix4 expected = util::RotationZ(0.5) * util::Scaling({2.5, 3.5, 4.5});
    expected.setRow(3, {3, 10, 6});
    for (int i = 0; i < 16; ++i) EXPECT_NEAR(middle[i], expected[i], 1e-12) << i;
}

TEST(Track, EqualNeighboursGiveThemselves) {
    Track track;
    const Matrix4 odd = util::RotationX(0.1) * util::RotationY(1.0 / 3) * util::Scaling(0.26);
    track.setKey(1.0, odd, kSnap);
    track.setKey(2.0, odd, kSnap);
    EXPECT_EQ(track.at(1.3, kSnap), odd);
}

TEST(Track, ReplacesKeysWithinASnap) {
    Track track;
    track.setKey(1.0, Translation({1, 0, 0}), kSnap);
    track.setKey(1.0 + 1e-9, Translation({2, 0, 0}), kSnap);
    ASSERT_EQ(track.keys.size(), 1u);
    EXPECT_EQ(track.keys[0].time, 1.0);
    EXPECT_EQ(track.at(1.0, kSnap), Translation({2, 0, 0}));
    track.setKey(0.5, Translation({3, 0, 0}), kSnap);
    ASSERT_EQ(track.keys.size(), 2u);
    EXPECT_EQ(track.keys[0].time, 0.5);
}

TEST(Scene, LocalAndWorldAgreeThroughScaledParents) {
    Scene scene({25, 1});
    PinnedRandom random(11);
    Element& parent = scene.add("parent");
    Element& child = scene.add("child", &parent);
    for (int i = 0; i < 50; ++i) {
        Matrix4 p = util::ToMatrix(random.rotation()) * util::Scaling(random.in(0.1, 5.0));
        p.setRow(3, random.vector(100.0));
        scene.setWorld(parent, 0.0, p);
        Matrix4 w = util::ToMatrix(random.rotation()) * util::Scaling({0.7, 1.2, 1.2});
        w.setRow(3, random.vector(100.0));
        scene.setWorld(child, 0.0, w);
        const Matrix4 read = scene.world(child, 0.0);
        for (int k = 0; k < 16; ++k) EXPECT_NEAR(read[k], w[k], 1e-11 * (1.0 + std::abs(w[k])));
        EXPECT_EQ(scene.world(parent, 0.0), p);
    }
}

TEST(Scene, SetsOutsideOfRunsChangeThePoseOrTheKeyThere) {
    Scene scene({25, 1});
    Element& plain = scene.add("plain");
    scene.setLocal(plain, 0.4, Translation({1, 0, 0}));
    EXPECT_TRUE(plain.track.keys.empty());
    EXPECT_EQ(scene.local(plain, 9.0), Translation({1, 0, 0}));
    scene.setUserKey(plain, 5, Translation({2, 0, 0}));
    scene.setLocal(plain, 0.4, Translation({3, 0, 0}));
    EXPECT_EQ(plain.track.keys.size(), 2u);
    EXPECT_EQ(scene.local(plain, 0.4), Translation({3, 0, 0}));
}

TEST(Scene, RecordedRunKeysItsFramesAndThePoseItStartedFrom) {
    Scene scene({25, 1});
    Element& element = scene.add("element");
    scene.setLocal(element, 0.0, Translation({7, 0, 0}));
    scene.beginRun(10);
    for (int frame = 11; frame <= 13; ++frame) {
        scene.beginFrame(frame);
        scene.setWorld(element, scene.clock.time(frame), Translation({0, 0, 1.0 * frame}));
        EXPECT_EQ(scene.local(element, scene.clock.time(frame - 1)),
                  Translation(frame == 11 ? Vector3<double>(7, 0, 0) : Vector3<double>(0, 0, frame - 1.0)));
    }
    scene.endRun(true);
    ASSERT_EQ(element.track.keys.size(), 4u);
    EXPECT_EQ(element.track.keys[0].time, 0.4);
    EXPECT_EQ(scene.local(element, 0.0), Translation({7, 0, 0}));
}

TEST(Scene, UnrecordedRunReadsWhatItWroteAndLeavesNothing) {
    Scene scene({25, 1});
    Element& element = scene.add("element");
    scene.setUserKey(element, 0, Translation({5, 0, 0}));
    scene.beginRun(0);
    scene.beginFrame(1);
    scene.setWorld(element, scene.clock.time(1), Translation({6, 0, 0}));
    EXPECT_EQ(scene.local(element, scene.clock.time(1)), Translation({6, 0, 0}));
    scene.endRun(false);
    ASSERT_EQ(element.track.keys.size(), 1u);
    EXPECT_EQ(scene.local(element, scene.clock.time(1)), Translation({5, 0, 0}));
}

TEST(Scene, RetakeRemovesWhatTheEarlierTakeLeftBetweenAndBehindItsFrames) {
    Scene scene({25, 1});
    Element& element = scene.add("element");
    const auto take = [&](int to, bool between, double x) {
        scene.beginRun(0);
        for (int frame = 1; frame <= to; ++frame) {
            scene.beginFrame(frame);
            const double time = scene.clock.time(frame);
            if (between) scene.setWorld(element, time - 0.3 * scene.clock.step(), Translation({x, 1, 0}));
            scene.setWorld(element, time, Translation({x, 0, 0}));
        }
        scene.endRun(true);
    };
    take(5, true, 1.0);
    EXPECT_EQ(element.track.keys.size(), 11u);
    take(3, false, 2.0);
    ASSERT_EQ(element.track.keys.size(), 4u);
    EXPECT_EQ(scene.local(element, scene.clock.time(2)), Translation({2, 0, 0}));
}

TEST(Scene, DeletedElementIsNotFoundAndFreesItsChildren) {
    Scene scene({25, 1});
    Element& parent = scene.add("parent");
    Element& child = scene.add("child", &parent);
    scene.remove(parent);
    EXPECT_EQ(scene.find("parent"), nullptr);
    EXPECT_EQ(child.parent, nullptr);
    scene.revive(parent);
    EXPECT_EQ(scene.find("parent"), &parent);
}

TEST(Scene, IsBelowIsTrueForItselfAndAncestorsOnly) {
    Scene scene({25, 1});
    Element& top = scene.add("top");
    Element& middle = scene.add("middle", &top);
    Element& low = scene.add("low", &middle);
    EXPECT_TRUE(Scene::isBelow(&low, &low));
    EXPECT_TRUE(Scene::isBelow(&low, &top));
    EXPECT_FALSE(Scene::isBelow(&top, &low));
    EXPECT_FALSE(Scene::isBelow(&top, nullptr));
}

CMesh triangle() {
    CMesh mesh;
    mesh.setNumVertices(3);
    mesh.setVertex(0, 0, 0, 0);
    mesh.setVertex(1, 0, 0, 4);
    mesh.setVertex(2, 4, 0, 0);
    mesh.setNumFaces(1);
    mesh.setFace(0, 0, 1, 2);
    return mesh;
}

TEST(MeshSurface, HitsEitherFaceInMultiplesOfTheDirection) {
    const MeshSurface rays(triangle());
    double t = -1;
    Vector3<double> normal;
    ASSERT_TRUE(rays.intersect({1, 6, 1}, {0, -3, 0}, &t, &normal));
    EXPECT_EQ(t, 2.0);
    EXPECT_EQ(normal, Vector3<double>(0, 1, 0));
    ASSERT_TRUE(rays.intersect({1, -1, 1}, {0, 1, 0}, &t, &normal));
    EXPECT_EQ(t, 1.0);
    EXPECT_EQ(normal, Vector3<double>(0, 1, 0));
}

TEST(MeshSurface, MissLeavesTheAnswersAlone) {
    const MeshSurface rays(triangle());
    double t = 42;
    Vector3<double> normal(1, 2, 3);
    EXPECT_FALSE(rays.intersect({1, 6, 1}, {0, 3, 0}, &t, &normal));
    EXPECT_FALSE(rays.intersect({3, 6, 3}, {0, -1, 0}, &t, &normal));
    EXPECT_FALSE(rays.intersect({1, 6, 1}, {1, 0, 0}, &t, &normal));
    EXPECT_FALSE(MeshSurface(CMesh()).intersect({1, 6, 1}, {0, -1, 0}, &t, &normal));
    EXPECT_EQ(t, 42);
    EXPECT_EQ(normal, Vector3<double>(1, 2, 3));
}

TEST(MeshSurface, ToleratesFaultyTriangles) {
    CMesh mesh = triangle();
    mesh.setNumFaces(3);
    mesh.setFace(1, 0, 0, 1);
    mesh.setFace(2, 0, 1, 99);
    double t = 0;
    Vector3<double> normal;
    EXPECT_TRUE(MeshSurface(mesh).intersect({1, 6, 1}, {0, -1, 0}, &t, &normal));
}

/// Every triangle in turn, by its plane and three edge tests.
bool nearestByPlanes(const CMesh& mesh, const Vector3<double>& o, const Vector3<double>& d, double* best) {
    bool any = false;
    *best = std::numeric_limits<double>::max();
    for (int f = 0; f < mesh.getNumFaces(); ++f) {
        const auto corner = [&](int k) { return mesh.vertices[static_cast<std::size_t>(mesh.getFaceVertex(f, k))]; };
        const Vector3<double> n = util::Cross(corner(1) - corner(0), corner(2) - corner(0));
        const double slope = util::Dot(n, d);
        if (slope == 0.0) continue;
        const double t = util::Dot(n, corner(0) - o) / slope;
        if (t < 0.0 || t >= *best) continue;
        const Vector3<double> p = o + d * t;
        bool inside = true;
        for (int k = 0; k < 3; ++k)
            inside = inside && util::Dot(util::Cross(corner((k + 1) % 3) - corner(k), p - corner(k)), n) >= 0.0;
        if (!inside) continue;
        *best = t;
        any = true;
    }
    return any;
}

TEST(MeshSurface, FindsTheNearestOfManyTriangles) {
    PinnedRandom random(5);
    CMesh mesh;
    mesh.setNumVertices(900);
    mesh.setNumFaces(300);
    for (int i = 0; i < 300; ++i) {
        const Vector3<double> centre = random.vector(10.0);
        for (int k = 0; k < 3; ++k) {
            const Vector3<double> v = centre + random.vector(4.0);
            mesh.setVertex(3 * i + k, v.x, v.y, v.z);
        }
        mesh.setFace(i, 3 * i, 3 * i + 1, 3 * i + 2);
    }
    const MeshSurface rays(mesh);
    int hits = 0;
    for (int i = 0; i < 500; ++i) {
        SCOPED_TRACE(i);
        const Vector3<double> o = random.vector(15.0);
        const Vector3<double> d = random.vector(1.0);
        double expected = 0;
        double t = 0;
        Vector3<double> normal;
        const bool hit = nearestByPlanes(mesh, o, d, &expected);
        ASSERT_EQ(rays.intersect(o, d, &t, &normal), hit);
        if (hit) {
            EXPECT_NEAR(t, expected, 1e-9 * (1.0 + expected));
        }
        hits += hit ? 1 : 0;
    }
    EXPECT_GT(hits, 100);
    EXPECT_LT(hits, 500);
}

struct NamedRecord final : ovs::CUndo {
    NamedRecord(std::string n, std::string& written) : CUndo(&written), name(std::move(n)) {}
    void undo(bool firstTime) override { note(firstTime ? "-" : "?"); }
    void redo() override { note("+"); }
    void release() override {
        note("x");
        delete this;
    }
    void note(const char* mark) { *static_cast<std::string*>(target) += mark + name; }
    std::string name;
};

TEST(UndoStack, RunsStepsBackwardsAndForwards) {
    std::string written;
    {
        UndoStack stack;
        stack.open();
        stack.push(new NamedRecord("a", written), nullptr);
        stack.push([&] { written += "-h"; }, [&] { written += "+h"; }, nullptr);
        stack.push(new NamedRecord("b", written), nullptr);
        stack.close();
        stack.push(new NamedRecord("c", written), nullptr);
        EXPECT_EQ(stack.steps(), 2);
        stack.undo();
        stack.undo();
        stack.undo();
        EXPECT_EQ(written, "-c-b-h-a");
        stack.redo();
        EXPECT_EQ(written, "-c-b-h-a+a+h+b");
        EXPECT_EQ(stack.recordsOnTop(), 2);
        written.clear();
        stack.push(new NamedRecord("d", written), nullptr);
        EXPECT_EQ(written, "xc");
    }
    EXPECT_EQ(written, "xcxaxbxd");
}

TEST(UndoStack, IgnoresNullAndDropsByOwner) {
    std::string written;
    UndoStack stack;
    int owner = 0;
    stack.push(nullptr, nullptr);
    EXPECT_EQ(stack.steps(), 0);
    EXPECT_EQ(stack.nullRecords(), 1);
    stack.push(new NamedRecord("a", written), &owner);
    stack.push(new NamedRecord("b", written), nullptr);
    stack.drop(&owner);
    EXPECT_EQ(written, "xa");
    EXPECT_EQ(stack.steps(), 1);
    stack.undo();
    EXPECT_EQ(written, "xa-b");
}

TEST(UndoStack, KeepsNoMoreStepsThanItsLimit) {
    UndoStack stack;
    stack.limit = 3;
    int value = 0;
    for (int i = 0; i < 10; ++i) {
        stack.push([&value, i] { value = i; }, [] {}, nullptr);
    }
    EXPECT_EQ(stack.steps(), 3);
    for (int i = 0; i < 10; ++i) stack.undo();
    EXPECT_EQ(value, 7) << "the three youngest steps are left";
}

TEST(Vehicle, RefreshesItsChannelsWhenTheHostAsks) {
    const Module module(VEHICLE_MODULE_PATH);
    Stage stage(module);
    Vehicle& car = stage.addVehicle("car");
    unidevice::OutputProperty& velocity = *car.output("Velocity");
    velocity.store(17.0);
    car.refreshOutputs();
    EXPECT_EQ(velocity.current, 0.0) << "the car stands";
    EXPECT_EQ(velocity.previous, 17.0);
    EXPECT_EQ(stage.complaints(), std::vector<std::string>());
}

TEST(CallLog, SelectsByOperation) {
    CallLog log;
    log.add("readWorld A @1");
    log.add("readWorldly");
    log.add("setWorld A @1");
    EXPECT_EQ(log.without({"readWorld"}), (std::vector<std::string>{"readWorldly", "setWorld A @1"}));
    EXPECT_EQ(log.only({"readWorld"}), std::vector<std::string>{"readWorld A @1"});
    EXPECT_EQ(log.count("readWorld "), 1);
    log.enabled = false;
    log.add("dropped");
    EXPECT_EQ(log.lines().size(), 3u);
}

TEST(DialogItem, ClampsToItsRange) {
    double field = 0.0;
    DialogItem item;
    item.kind = DialogItem::Kind::number;
    item.number = &field;
    item.min = -1.0;
    item.max = 2.0;
    item.write(5.0);
    EXPECT_EQ(field, 2.0);
    item.write(-5.0);
    EXPECT_EQ(item.value(), -1.0);
}

TEST(DialogItem, WholeNumberTakesBackWhatItCanHave) {
    std::int32_t field = 3;
    DialogItem item;
    item.kind = DialogItem::Kind::integer;
    item.label = "Rays";
    item.integer = &field;
    item.min = 1.0;
    item.max = 100.0;
    item.restore(-7.0);
    EXPECT_EQ(field, -7) << "a field may be outside of its range";
    item.restore(2147483647.0);
    EXPECT_EQ(field, 2147483647);
    item.restore(-2147483648.0);
    EXPECT_EQ(field, -2147483647 - 1);
    for (const double value : {2147483648.0, 1e300, std::numeric_limits<double>::infinity()}) {
        item.restore(value);
        EXPECT_EQ(field, 100) << value;
        item.restore(-1.001 * value);
        EXPECT_EQ(field, 1) << value;
    }
    try {
        item.restore(std::nan(""));
        ADD_FAILURE() << "no number was taken";
    } catch (const StageError& error) {
        EXPECT_STREQ(error.what(), "'Rays' cannot hold what is no number");
    }
    EXPECT_EQ(field, 1);
}

TEST(InputAxis, FollowsItsScriptOrStands) {
    CallLog log;
    InputAxis axis("gas", log);
    unidevice::Property property("gas", 14);
    property.deadZone = 0.0;
    axis.wire(property);
    axis.position = 0.25;
    EXPECT_EQ(property.value(), 0.25);
    axis.script = [](double time) { return -time; };
    axis.show(0.5);
    EXPECT_EQ(property.value(), -0.5);
    EXPECT_EQ(axis.reads, 2);
}

}  // namespace
}  // namespace ond::test
