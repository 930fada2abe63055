// Whole runs of the car model over all inputs, against the course that an independent model takes.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <string>
#include <vector>

#include "CarRecordFields.h"
#include "GoldenFile.h"
#include "car/Follow.h"
#include "car/StepCar.h"
#include "car/WheelRolling.h"

namespace {

using namespace ond::ovs::addon;

const std::vector<golden::Line>& lines() {
    static const std::vector<golden::Line> all = golden::readFile("car_runs_golden.jsonl");
    return all;
}

std::map<std::string, double*> followFields(FollowState& state) {
    return {{"dFollowAccelerationMult", &state.dFollowAccelerationMult},
            {"dIgnoreSphereRadius", &state.dIgnoreSphereRadius},
            {"dReverseMaxVelMult", &state.dReverseMaxVelMult},
            {"dFollowAccRespFact", &state.dFollowAccRespFact},
            {"dAutoSteeringValueRespFact", &state.dAutoSteeringValueRespFact},
            {"dFollowAccMem", &state.dFollowAccMem},
            {"dAutoSteeringValueMem", &state.dAutoSteeringValueMem}};
}

/// What the outside sets in each frame; a line of the file changes parts of it.
struct Surroundings {
    const golden::Value* raw = nullptr;
    const golden::Value* target = nullptr;
    const golden::Value* gravity = nullptr;
    const golden::Value* ground = nullptr;

    void take(const golden::Value& line) {
        if (line.has("raw")) raw = &line["raw"];
        if (line.has("target")) target = &line["target"];
        if (line.has("gravity")) gravity = &line["gravity"];
        if (line.has("ground")) ground = &line["ground"];
    }
};

class Run {
  public:
    explicit Run(const golden::Value& head)
        : fields(car), dt_(head["dt"].number()), stretch_(head["stretch"].number()) {
        fields.set(head["set"]);
        atFirst = fields.snapshot();
        for (const auto& [name, value] : head["follow"].members()) *followFields(follow).at(name) = value.number();
        ResetCar(car);
        car.dBaseStiffnessFront = car.fStiffnessFront;
        car.dBaseStiffnessBack = car.fStiffnessBack;
        car.dBaseDampingFront = car.fDampingFront;
        car.dBaseDampingBack = car.fDampingBack;
        const QTransform<double> start = car.qTransCarAbs;
        StartCar(car, start, start, dt_);
    }

    void frame(const Surroundings& around) {
        for (int i = 0; i < kNumInputs; ++i) car.pcInput[i].raw = around.raw->list().at(index(i)).number();
        if (around.target != nullptr) chase(around.target->numbers());
        if (around.gravity != nullptr) turnGravity(around.gravity->numbers());
        StepCar(car, dt_);
        for (int i = 0; i < kNumWheels; ++i) probe(car.pcWheel[i], around.ground->list().at(index(i)).list());
        UpdateWheelRolling(car, dt_);
    }

    cCarCam car;
    FollowState follow;
    golden::CarFields fields;
    std::map<std::string, golden::FieldValue> atFirst;  ///< before the reset and the start

  private:
    static std::size_t index(int i) { return static_cast<std::size_t>(i); }

    void chase(const std::vector<double>& target) {
        ond::util::Matrix4 body = ToMatrix(car.cCarBody.qTransAbs);
        for (int j = 8; j < 11; ++j) body[j] *= stretch_;
        UpdateFollow(car, follow, body, {target.at(0), target.at(1), target.at(2)}, dt_);
    }

    void turnGravity(const std::vector<double>& gravity) {
        car.vGravityDir = {gravity.at(0), gravity.at(1), gravity.at(2)};
        car.qGravity = {gravity.at(3), gravity.at(4), gravity.at(5), gravity.at(6)};
    }

    static void probe(pcWheel& wheel, const std::vector<golden::Value>& ground) {
        wheel.bInAir = ground.at(0).flag();
        wheel.dWheelGroundNormalDiff = ground.at(1).number();
        wheel.dSuspDistanceMoved = ground.at(2).number();
        wheel.vGroundNormal = {ground.at(3).number(), ground.at(4).number(), ground.at(5).number()};
    }

    double dt_;
    double stretch_;
};

std::vector<std::string> keyFields() {
    std::vector<std::string> out;
    for (const golden::Value& path : lines().front().value["keyFields"].list()) out.push_back(path.text());
    return out;
}

std::string sampleDifferences(const Run& run, const golden::Value& expect, const golden::Tolerances& tolerances) {
    const std::vector<std::string> paths = keyFields();
    std::map<std::string, golden::FieldValue> expected;
    for (std::size_t i = 0; i < paths.size(); ++i) {
        expected[paths[i]] = golden::valueFor(run.fields.at(paths[i]), expect.list().at(i));
    }
    return golden::differences(run.fields, expected, tolerances, paths);
}

void compareEnd(Run& run, const golden::Value& line, const golden::Tolerances& tolerances) {
    std::map<std::string, golden::FieldValue> expected = run.atFirst;
    for (const auto& [path, value] : line["end"].members()) {
        expected[path] = golden::valueFor(run.fields.at(path), value);
    }
    EXPECT_EQ(golden::differences(run.fields, expected, tolerances), "");
    const std::vector<double> follower = line["follower"].numbers();
    EXPECT_NEAR(run.follow.dFollowAccMem, follower.at(5), tolerances.tolerance * std::max(1.0, std::abs(follower[5])));
    EXPECT_NEAR(run.follow.dAutoSteeringValueMem, follower.at(6), tolerances.tolerance);
}

/// Plays the run whose head is the line at `at`, up to its closing line; stops at the first frame that is off.
void playAndCompare(std::size_t at) {
    const golden::Tolerances tolerances = golden::Tolerances::fromHeader(lines().front().value);
    Run run(lines()[at].value);
    Surroundings around;
    int frames = 0;
    int samples = 0;
    for (++at; !lines().at(at).value.has("end"); ++at) {
        const golden::Value& line = lines()[at].value;
        for (; frames < line["frame"].integer(); ++frames) run.frame(around);
        around.take(line);
        run.frame(around);
        ++frames;
        if (!line.has("expect")) continue;
        ++samples;
        ASSERT_EQ(sampleDifferences(run, line["expect"], tolerances), "")
            << "behind frame " << frames - 1 << ", line " << lines()[at].number;
    }
    const golden::Value& end = lines()[at].value;
    for (; frames < end["frames"].integer(); ++frames) run.frame(around);
    EXPECT_GE(samples, 10);
    compareEnd(run, end, tolerances);
}

std::map<std::string, std::size_t> runs() {
    std::map<std::string, std::size_t> out;
    for (std::size_t i = 0; i < lines().size(); ++i) {
        if (lines()[i].value.has("run")) out[lines()[i].value["run"].text()] = i;
    }
    return out;
}

class CarRunsGolden : public testing::TestWithParam<std::string> {};

TEST_P(CarRunsGolden, TakesTheIndependentModelsCourse) { playAndCompare(runs().at(GetParam())); }

std::vector<std::string> runNames() {
    std::vector<std::string> names;
    for (const auto& [name, line] : runs()) names.push_back(name);
    return names;
}

INSTANTIATE_TEST_SUITE_P(Run, CarRunsGolden, testing::ValuesIn(runNames()),
                         [](const testing::TestParamInfo<std::string>& test) { return test.param; });

}  // namespace
