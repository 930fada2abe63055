// The shipped presets differ in ways that can be measured, and presets are taken from takes and put into them.
#include "CommandRun.h"
#include "whole/Grounds.h"

namespace ond::test {
namespace {

using nlohmann::json;
using util::Vector3;

class PresetFeel : public CommandRun {
  protected:
    /// What a vehicle with the preset does: full gas for ten seconds, then a bend at half the lock.
    struct Feel {
        double topSpeed = 0.0;       ///< metres per second
        double secondsToTen = 99.0;  ///< until it goes 10 m/s
        double slip = 0.0;           ///< largest angle between heading and way in the bend, degrees
        double lean = 0.0;           ///< largest roll of the body in the bend, degrees
    };
    Feel feel(const std::string& preset) {
        done({"drive", "--preset", preset, "--length", "4", "--key", "gas=0:0,0.04:1,10:1,10.04:0.4,14:0.4", "--key",
              "steering=0:0,10:0,10.04:0.5,14:0.5", "-q", "--force", "-o", path("take.glb")});
        const auto lines = trace(path("take.glb"));
        Feel feel;
        for (std::size_t i = 1; i < lines.size(); ++i) {
            const Vector3<double> way =
                (placeIn(lines[i], "car_CarBodyBaseMesh") - placeIn(lines[i - 1], "car_CarBodyBaseMesh")) * 25.0;
            const double speed = util::Length(way);
            if (i <= 250) feel.topSpeed = std::max(feel.topSpeed, speed);
            if (speed >= 10.0) feel.secondsToTen = std::min(feel.secondsToTen, static_cast<double>(i) / 25.0);
            if (i <= 275 || speed < 1.0) continue;
            const auto& turn = lines[i].at("elements").at("car_TurnBaseMesh");
            const Vector3<double> forward = util::Normalized(
                Vector3<double>(-turn[8].get<double>(), -turn[9].get<double>(), -turn[10].get<double>()));
            const double cosine = std::min(1.0, std::abs(util::Dot(forward, way)) / speed);
            feel.slip = std::max(feel.slip, std::acos(cosine) * 57.29577951308232);
            const auto& body = lines[i].at("elements").at("car_CarBodyMesh");
            feel.lean = std::max(feel.lean, std::abs(std::asin(body[1].get<double>() / 4.0)) * 57.29577951308232);
        }
        return feel;
    }
};

TEST_F(PresetFeel, DiffersFromOneToTheOther) {
    const Feel family = feel("family");
    const Feel drift = feel("drift");
    const Feel truck = feel("truck");
    for (const auto& [name, one] : {std::pair{"family", family}, {"drift", drift}, {"truck", truck}})
        std::printf("%s: top %.1f m/s, to 10 m/s in %.2f s, slip %.1f deg, lean %.2f deg\n", name, one.topSpeed,
                    one.secondsToTen, one.slip, one.lean);
    EXPECT_GT(drift.topSpeed, family.topSpeed);
    EXPECT_GT(family.topSpeed, truck.topSpeed * 1.2);
    EXPECT_LT(drift.secondsToTen * 1.5, family.secondsToTen);
    EXPECT_LT(family.secondsToTen * 1.5, truck.secondsToTen);
    EXPECT_GT(drift.slip, family.slip + 5.0);
    EXPECT_GT(drift.slip, truck.slip + 5.0);
    EXPECT_GT(truck.lean, family.lean * 1.2);
    EXPECT_GT(truck.lean, drift.lean * 1.2);
}

TEST_F(PresetFeel, ListAndShowTellAllFour) {
    const json list = json::parse(done({"presets", "list", "--json"}).out);
    EXPECT_EQ(list.size(), 4u);
    for (const json& one : list) {
        const json shown = json::parse(done({"presets", "show", one.at("name")}).out);
        EXPECT_EQ(shown.at("name"), one.at("name"));
    }
}

TEST_F(PresetFeel, ExtractedIsWhatWasApplied) {
    done({"drive", "--preset", "stunt", "--set", "Mass Multiplier=5", "--last", "3", "-q", "-o", path("take.glb")});
    const std::string text = done({"presets", "extract", path("take.glb"), "--name", "mine"}).out;
    const json preset = json::parse(text);
    EXPECT_EQ(preset.at("name"), "mine");
    EXPECT_EQ(preset.at("parameters").at("Mass Multiplier"), 5.0);
    EXPECT_EQ(preset.at("parameters").at("Gas Pedal (Forw/Backw) Maximum"), 8.0);
    EXPECT_NEAR(preset.at("parameters").at("Gravity").get<double>(), 9.81 * 4 / (900 * 4), 1e-12);
    EXPECT_EQ(preset.at("state").at("cCarCambGravityOn"), true);
    EXPECT_EQ(preset.at("state").at("fRelMaxBumperLen"), 1.8);
    EXPECT_EQ(preset.at("channels").at("Gas Pedal (Forw/Backw)").at("deadZone"), 0.02);
    EXPECT_FALSE(preset.at("parameters").contains("Front Stiffness"));

    done({"drive", "--last", "3", "-q", "-o", path("plain.glb")});
    done({"presets", "apply", put("mine.json", text), path("plain.glb"), "-q", "-o", path("applied.glb")});
    const json again = json::parse(done({"presets", "extract", path("applied.glb"), "--name", "mine"}).out);
    json expected = preset;
    expected["parameters"]["Use Fast Ray Cast"] = false;
    json actual = again;
    actual["parameters"]["Use Fast Ray Cast"] = false;
    EXPECT_EQ(actual, expected);
    // What was recorded stays.
    const auto before = trace(path("plain.glb"));
    const auto after = trace(path("applied.glb"));
    ASSERT_EQ(after.size(), before.size());
    for (std::size_t i = 0; i < before.size(); ++i) EXPECT_EQ(after[i].at("channels"), before[i].at("channels"));
    EXPECT_EQ(after.back().at("elements").at("car_CarBodyMesh"), before.back().at("elements").at("car_CarBodyMesh"));
}

/// A road to -Z with a ramp that ends at z = -60 and flat ground behind it.
util::CMesh rampGround(double height) {
    return heightGrid(-12.3, 12, 4, -400, 20, 1680, [height](double, double z) {
        return z < -40.0 && z >= -60.0 ? height * (-40.0 - z) / 20.0 : 0.0;
    });
}

struct Jump {
    const char* name;
    int fps;
    const char* length;
    double height;  ///< of the ramp's end; its slope is 20 long
    const char* gas;
};

class Stunt : public CommandRun, public ::testing::WithParamInterface<Jump> {};

TEST_F(PresetFeel, AStuntCarStandsWithoutMoving) {
    done({"drive", "--preset", "stunt", "--ground", putMesh("ramp.obj", rampGround(2.0)), "--last", "50", "-q", "-o",
          path("take.glb")});
    const auto lines = trace(path("take.glb"));
    for (const json& line : lines) {
        EXPECT_LT(util::Length(placeIn(line, "car_CarBodyMesh") - placeIn(lines.front(), "car_CarBodyMesh")), 0.02);
        for (const char* wheel : {"WheelMesh_FL", "WheelMesh_FR", "WheelMesh_BL", "WheelMesh_BR"})
            EXPECT_EQ(line.at("channels").at("car").at(wheel), 0.0) << line.at("frame");
    }
}

TEST_P(Stunt, LeavesARampOnABallisticArcAndLandsOnItsWheels) {
    const Jump& jump = GetParam();
    const double perSecond = jump.fps;
    const Answer answer =
        done({"drive", "--preset", "stunt", "--ground", putMesh("ramp.obj", rampGround(jump.height)), "--hold",
              std::string("gas=") + jump.gas, "--length", jump.length, "--fps", std::to_string(jump.fps), "--last",
              std::to_string(10 * jump.fps), "--json", "-o", path("take.glb")});
    const auto lines = trace(path("take.glb"));
    const auto allInAir = [&](std::size_t i) {
        const json& channels = lines[i].at("channels").at("car");
        return channels.at("WheelMesh_FL") == 1.0 && channels.at("WheelMesh_FR") == 1.0 &&
               channels.at("WheelMesh_BL") == 1.0 && channels.at("WheelMesh_BR") == 1.0;
    };
    const auto anyInAir = [&](std::size_t i) {
        for (const char* wheel : {"WheelMesh_FL", "WheelMesh_FR", "WheelMesh_BL", "WheelMesh_BR"})
            if (lines[i].at("channels").at("car").at(wheel) != 0.0) return true;
        return false;
    };
    std::size_t up = 0;
    while (up < lines.size() && !allInAir(up)) ++up;
    ASSERT_LT(up, lines.size()) << "it never flies";
    std::size_t down = up;
    while (down < lines.size() && anyInAir(down)) ++down;
    ASSERT_LT(down, lines.size()) << "it never lands";
    EXPECT_GT(down - up, static_cast<std::size_t>(jump.fps / 3));

    // In flight the car's frame is a thrown stone: equal steps along, and 9.81 m/s^2 downwards.
    const auto place = [&](std::size_t i) { return placeIn(lines[i], "car_CarBodyBaseMesh"); };
    // In the first tenth of a second the nose that left the ramp first is still being levelled.
    const std::size_t settled = up + static_cast<std::size_t>(std::max(2, jump.fps / 10));
    ASSERT_LT(settled + 5, down);
    for (std::size_t i = settled; i + 2 < down && allInAir(i + 1); ++i) {
        const Vector3<double> change = place(i + 1) - place(i) * 2.0 + place(i - 1);
        EXPECT_NEAR(change.y * perSecond * perSecond, -9.81, 0.5) << i;
        EXPECT_NEAR(std::hypot(change.x, change.z) * perSecond * perSecond, 0.0, 0.5) << i;
    }
    // It stays down, upright, and drives on.
    for (std::size_t i = down + 1; i < lines.size(); ++i) EXPECT_FALSE(allInAir(i)) << i;
    const auto& body = lines.back().at("elements").at("car_CarBodyMesh");
    EXPECT_GT(body[5].get<double>() / std::stod(jump.length), 0.99);
    EXPECT_GT(util::Length(place(lines.size() - 1) - place(lines.size() - 2)) * perSecond, 5.0);
    EXPECT_TRUE(json::parse(answer.out).at("vehicles").at(0).at("implausibleSteps").empty());
}

INSTANTIATE_TEST_SUITE_P(All, Stunt,
                         ::testing::Values(Jump{"usual", 25, "4", 3.0, "0.7"}, Jump{"slow", 25, "4", 3.0, "0.4"},
                                           Jump{"high", 30, "4", 4.0, "0.8"}, Jump{"large", 24, "6", 2.0, "0.7"},
                                           Jump{"fine", 60, "4", 3.0, "0.4"}),
                         [](const auto& one) { return std::string(one.param.name); });

}  // namespace
}  // namespace ond::test
