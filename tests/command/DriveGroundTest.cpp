// What a drive stands on: no ground at all, ground whose Z is up, ground of another unit, and the sample of the docs.
#include "CommandRun.h"
#include "stage/GroundFiles.h"
#include "whole/Grounds.h"

namespace ond::test {
namespace {

using nlohmann::json;
using ::testing::HasSubstr;
using ::testing::Not;

class DriveGround : public CommandRun {
  protected:
    json drive(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "drive");
        arguments.insert(arguments.end(), {"--json", "--force", "-o", path("take.glb")});
        const Answer answer = done(arguments);
        notes = answer.err;
        return json::parse(answer.out).at("vehicles").at(0);
    }
    std::string refused(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "drive");
        arguments.insert(arguments.end(), {"--last", "5", "-o", path("refused.glb")});
        const Answer answer = run(arguments);
        EXPECT_EQ(answer.code, 2);
        EXPECT_FALSE(exists(path("refused.glb")));
        return answer.err;
    }
    /// A mesh as a binary glTF file in the folder.
    std::string putGlb(const std::string& name, const util::CMesh& mesh) const {
        std::vector<float> corners;
        std::vector<std::uint32_t> indices;
        for (const auto& v : mesh.vertices)
            for (const double value : {v.x, v.y, v.z}) corners.push_back(static_cast<float>(value));
        for (const int index : mesh.faces) indices.push_back(static_cast<std::uint32_t>(index));
        GltfMaker file;
        const int positions = file.add<float>("VEC3", corners);
        const int faces = file.add<std::uint32_t>("SCALAR", indices);
        file.json["meshes"] = {{{"primitives", {{{"attributes", {{"POSITION", positions}}}, {"indices", faces}}}}}};
        file.json["nodes"] = {{{"name", name}, {"mesh", 0}}};
        file.json["scenes"] = {{{"nodes", {0}}}};
        file.json["scene"] = 0;
        return put(name, file.glb());
    }
    /// As another program writes it whose Z is up: its z is our y, its y is our -z.
    static util::CMesh zUp(util::CMesh mesh) {
        for (auto& v : mesh.vertices) v = {v.x, -v.z, v.y};
        return mesh;
    }

    std::string notes;
};

TEST_F(DriveGround, WithoutGroundAParkedCarStaysWhereItStands) {
    const json summary = drive({"--last", "50", "--set", "Gravel Shake Offset Value=0"});
    const auto lines = trace(path("take.glb"));
    ASSERT_EQ(lines.size(), 51u);
    for (const char* part : {"car_CarBodyMesh", "car_WheelMesh_FL", "car_WheelMesh_BR"})
        for (const json& line : lines)
            EXPECT_LT(util::Length(placeIn(line, part) - placeIn(lines.front(), part)), 0.02)
                << part << line.at("frame");
    EXPECT_LT(summary.at("distance").get<double>(), 0.05);
    EXPECT_LT(summary.at("topSpeed").get<double>(), 0.1);
    EXPECT_EQ(notes, "");
}

TEST_F(DriveGround, TheSampleOfTheDocsDrivesAsACarDoes) {
    const std::string docs = read(std::string(QUADRIG_DOCS_FOLDER) + "/drive-file.md");
    const std::size_t begin = docs.find("```json\n");
    ASSERT_NE(begin, std::string::npos);
    const std::string sample = docs.substr(begin + 8, docs.find("```", begin + 8) - begin - 8);
    putGlb("hills.glb", heightGrid(-150, 150, 30, -150, 150, 30, [](double x, double z) {
               return 0.5 * std::sin(0.05 * x) + 0.4 * std::cos(0.04 * z);
           }));
    // In centimetres.
    putMesh("bridge.obj", heightGrid(-400, 400, 4, -200, 200, 4, [](double, double) { return 100.0; }));
    putGlb("trees.glb", heightGrid(-5, -4, 1, -5, -4, 1, [](double, double) { return 4.0; }));
    put("log.csv", "t,wheel,pedal\n0,0,0\n2,0.2,0.6\n7,-0.2,0.8\n9,0,0\n");
    const json summary = drive({put("shot.json", sample)});
    EXPECT_EQ(notes, "");
    EXPECT_EQ(summary.at("last"), 250);
    EXPECT_TRUE(summary.at("implausibleSteps").empty()) << summary;
    EXPECT_TRUE(summary.at("leftGround").is_null()) << summary;
    EXPECT_TRUE(summary.at("overturned").is_null()) << summary;
    EXPECT_GT(summary.at("distance").get<double>(), 5.0);
    EXPECT_LT(summary.at("topSpeed").get<double>(), 40.0);
}

TEST_F(DriveGround, AFallThatNothingRealHasIsNoted) {
    drive({"--state", "cCarCambGravityOn=on", "--last", "3"});
    EXPECT_THAT(notes,
                HasSubstr("note: with cCarCambGravityOn and \"Gravity\" 1 'car' falls by 900 units/s^2; 9.81 would "
                          "be \"Gravity\" 0.0109\n"));
    EXPECT_EQ(notes.find("cCarCambGravityOn"), notes.rfind("cCarCambGravityOn"));
    drive({"--state", "cCarCambGravityOn=on", "--set", "Gravity=0.0109", "--last", "3"});
    EXPECT_EQ(notes, "");
    drive({"--preset", "stunt", "--last", "3"});
    EXPECT_EQ(notes, "");
    // In centimetres 9.81 is no fall at all.
    drive({"--preset", "stunt", "--length", "400", "--last", "3"});
    EXPECT_THAT(notes, HasSubstr("falls by 9.81 units/s^2"));
    drive({"--set", "Gravity=5", "--last", "3"});
    EXPECT_EQ(notes, "");
}

TEST_F(DriveGround, GroundWhoseZIsUpIsTurned) {
    putMesh("wavy.obj", wavyGround());
    const std::string turned = putMesh("turned.obj", zUp(wavyGround()));
    const std::vector<std::string> rest{"--hold", "gas=0.6", "--at", "2,3", "--last", "10"};
    const auto placesOn = [&](std::vector<std::string> arguments) {
        arguments.insert(arguments.end(), rest.begin(), rest.end());
        drive(arguments);
        std::vector<double> places;
        for (const json& line : trace(path("take.glb"))) {
            const auto place = placeIn(line, "car_CarBodyMesh");
            places.insert(places.end(), {place.x, place.y, place.z});
        }
        return places;
    };
    const std::vector<double> straight = placesOn({"--ground", path("wavy.obj")});
    ASSERT_EQ(straight.size(), 33u);
    EXPECT_EQ(placesOn({"--ground", turned, "--up", "z"}), straight);
    EXPECT_EQ(placesOn({"--ground", path("wavy.obj"), "--up", "y"}), straight);
    EXPECT_EQ(placesOn({put("up.json", R"({"ground": [{"file": "turned.obj", "up": "z"}], "vehicles": [{}]})")}),
              straight);
    // Moved and scaled behind the turn, as seen in the scene.
    const json summary = drive({put("moved.json", R"({"ground": [{"file": "turned.obj", "up": "z", "scale": 2,
        "at": [0, 7, 0]}], "vehicles": [{"at": [0, 0]}], "last": 2})")});
    EXPECT_NEAR(placeIn(trace(path("take.glb")).front(), "car_CarBodyMesh").y, 7.2 + 0.1556, 0.1);
}

TEST_F(DriveGround, AWallIsNamedAsOneAndOnlyWhatCannotSayItselfIsTurned) {
    const std::string wall = putMesh("wall.obj", zUp(flatGround()));
    EXPECT_THAT(refused({"--ground", wall}), HasSubstr("or, if the file's Z is up, --up z; the ground reaches"));
    EXPECT_THAT(refused({"--ground", putGlb("hills.glb", flatGround()), "--up", "z"}),
                HasSubstr("hills.glb: the up axis z is for .obj, .ply and .stl"));
    EXPECT_THAT(refused({"--ground", wall, "--up", "x"}), HasSubstr("--up: give y or z, not 'x'"));
    EXPECT_THAT(refused({"--up", "z"}), HasSubstr("--up tells about ground"));
    EXPECT_THAT(refused({put("up.json", R"({"ground": [{"file": "wall.obj", "up": "x"}], "vehicles": [{}]})")}),
                HasSubstr("ground[0]: up: give \"y\" or \"z\""));
}

TEST_F(DriveGround, GroundOfFewCarLengthsIsNotedWithItsExtent) {
    drive({"--ground", putMesh("plate.obj", heightGrid(-3, 3, 2, -2.5, 2.5, 2, [](double, double) { return 0.0; })),
           "--last", "3"});
    EXPECT_THAT(notes, HasSubstr("note: the ground is only 6 by 5 large, for a car of length 4; "));
    drive({"--ground", path("plate.obj"), "--length", "0.4", "--last", "3"});
    EXPECT_EQ(notes, "");
}

}  // namespace
}  // namespace ond::test
