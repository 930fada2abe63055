// Real terrain and a real person's driving, where they are at hand.
#include "CommandRun.h"

namespace ond::test {
namespace {

using nlohmann::json;

class RealData : public CommandRun {
  protected:
    void SetUp() override {
        CommandRun::SetUp();
        if (!exists(data("terrain_lizard_crop.glb"))) GTEST_SKIP() << "the real data is not at " << QUADRIG_DATA_FOLDER;
    }
    static std::string data(const std::string& name) { return std::string(QUADRIG_DATA_FOLDER) + "/" + name; }
};

TEST_F(RealData, TheLogIsDrivenOnTheTerrain) {
    const Answer answer = done({"drive", "--ground", data("terrain_lizard_crop.glb"), "--input",
                                data("driving_sim_a.csv"), "--last", "1500", "--json", "-o", path("take.glb")});
    const json summary = json::parse(answer.out).at("vehicles").at(0);
    EXPECT_EQ(summary.at("last"), 1500);
    EXPECT_GT(summary.at("distance").get<double>(), 50.0);
    EXPECT_TRUE(summary.at("implausibleSteps").empty());
    const int clean = summary.at("leftGround").is_null() ? 1500 : summary.at("leftGround").at("frame").get<int>();
    const auto lines = trace(path("take.glb"));
    for (int frame = 1; frame < clean - 1; ++frame)
        for (const char* wheel : {"WheelMesh_FL", "WheelMesh_FR", "WheelMesh_BL", "WheelMesh_BR"})
            ASSERT_EQ(lines[static_cast<std::size_t>(frame)].at("channels").at("car").at(wheel), 0.0) << frame;
}

TEST_F(RealData, TheRoadCarriesTheCar) {
    const Answer answer = done({"drive", "--ground", data("road_spielberg.glb"), "--hold", "gas=0.5", "--last", "40",
                                "--json", "-o", path("take.glb")});
    const json summary = json::parse(answer.out).at("vehicles").at(0);
    EXPECT_TRUE(summary.at("leftGround").is_null());
    EXPECT_EQ(summary.at("framesWithWheelInAir"), 0);
    EXPECT_NEAR(placeIn(trace(path("take.glb")).at(1), "car_CarBodyBaseMesh").y, 0.04, 0.005);
}

}  // namespace
}  // namespace ond::test
