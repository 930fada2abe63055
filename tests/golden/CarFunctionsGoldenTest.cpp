// Each function of the car model on whole random records, against the outcomes of an independent model.

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "CarRecordFields.h"
#include "GoldenFile.h"
#include "car/Braking.h"
#include "car/Burnout.h"
#include "car/Drive.h"
#include "car/Follow.h"
#include "car/Inputs.h"
#include "car/Skidding.h"
#include "car/Steering.h"
#include "car/StepCar.h"
#include "car/Suspension.h"
#include "car/WheelRolling.h"

namespace {

using namespace ond::ovs::addon;
using Numbers = std::vector<double>;
using Call = std::function<Numbers(cCarCam&, const Numbers&)>;

Numbers follow(cCarCam& car, const Numbers& a) {
    FollowState state;
    state.dFollowAccelerationMult = a.at(0);
    state.dIgnoreSphereRadius = a.at(1);
    state.dReverseMaxVelMult = a.at(2);
    state.dFollowAccRespFact = a.at(3);
    state.dAutoSteeringValueRespFact = a.at(4);
    state.dFollowAccMem = a.at(5);
    state.dAutoSteeringValueMem = a.at(6);
    ond::util::Matrix4 body;
    for (int i = 0; i < 16; ++i) body[i] = a.at(static_cast<std::size_t>(7 + i));
    UpdateFollow(car, state, body, {a.at(23), a.at(24), a.at(25)}, a.at(26));
    return {state.dFollowAccelerationMult, state.dIgnoreSphereRadius,        state.dReverseMaxVelMult,
            state.dFollowAccRespFact,      state.dAutoSteeringValueRespFact, state.dFollowAccMem,
            state.dAutoSteeringValueMem};
}

Numbers start(cCarCam& car, const Numbers& a) {
    QTransform<double> at;
    at.position = {a.at(0), a.at(1), a.at(2)};
    at.rotation = {a.at(3), a.at(4), a.at(5), a.at(6)};
    // The current transform must have no effect.
    QTransform<double> unread;
    unread.position = {1e3, -1e3, 1e3};
    StartCar(car, unread, at, a.at(7));
    return {};
}

/// A function of the record and the frame time alone.
Call ofFrame(void (*f)(cCarCam&, double)) {
    return [f](cCarCam& car, const Numbers& a) {
        f(car, a.at(0));
        return Numbers{};
    };
}

const std::map<std::string, Call>& calls() {
    static const std::map<std::string, Call> all = {
        {"ChooseStepLength", [](cCarCam& car, const Numbers& a) { return Numbers{ChooseStepLength(car, a.at(0))}; }},
        {"UpdateFlight", ofFrame(UpdateFlight)},
        {"UpdateSkidBrake", ofFrame(UpdateSkidBrake)},
        {"UpdateSkidding", ofFrame(UpdateSkidding)},
        {"UpdateInputs", ofFrame(UpdateInputs)},
        {"UpdateBooster", ofFrame(UpdateBooster)},
        {"UpdateAbsBrake", ofFrame(UpdateAbsBrake)},
        {"UpdateGravel",
         [](cCarCam& car, const Numbers& a) {
             UpdateGravel(car, a.at(0), static_cast<int>(a.at(1)));
             return Numbers{};
         }},
        {"UpdateWheelYaw",
         [](cCarCam& car, const Numbers& a) {
             UpdateWheelYaw(car, a.at(0), a.at(1), a.at(2));
             return Numbers{};
         }},
        {"UpdateBody",
         [](cCarCam& car, const Numbers& a) {
             UpdateBody(car, a.at(0), a.at(1), a.at(2), a.at(3));
             return Numbers{};
         }},
        {"StepDrive",
         [](cCarCam& car, const Numbers& a) {
             StepDrive(car, a.at(0), a.at(1));
             return Numbers{};
         }},
        {"StepCar", ofFrame(StepCar)},
        {"UpdateFollow", follow},
        {"UpdateWheelRolling", ofFrame(UpdateWheelRolling)},
        {"StartCar", start},
        {"ResetCar",
         [](cCarCam& car, const Numbers&) {
             ResetCar(car);
             return Numbers{};
         }},
    };
    return all;
}

const std::vector<golden::Line>& lines() {
    static const std::vector<golden::Line> all = golden::readFile("car_functions_golden.jsonl");
    return all;
}

/// Fields of each shared record by its name.
const std::map<std::string, const golden::Value*>& records() {
    static const std::map<std::string, const golden::Value*> all = [] {
        std::map<std::string, const golden::Value*> out;
        for (const golden::Line& line : lines()) {
            if (line.value.has("fields")) out[line.value["record"].text()] = &line.value["fields"];
        }
        return out;
    }();
    return all;
}

golden::Tolerances tolerancesFor(const std::string& function) {
    const golden::Value& header = lines().front().value;
    golden::Tolerances out = golden::Tolerances::fromHeader(header);
    if (header["tolerances"].has(function)) out.tolerance = header["tolerances"][function].number();
    return out;
}

void compareCase(const Call& call, const golden::Value& line, const golden::Tolerances& tolerances) {
    cCarCam car;
    const golden::CarFields fields(car);
    fields.set(*records().at(line["record"].text()));
    fields.set(line["in"]);
    std::map<std::string, golden::FieldValue> expected = fields.snapshot();
    for (const auto& [path, value] : line["out"].members()) {
        expected[path] = golden::valueFor(fields.at(path), value);
    }
    const Numbers result = call(car, line["args"].numbers());
    EXPECT_EQ(golden::differences(fields, expected, tolerances), "");
    const Numbers wanted = line.has("result") ? line["result"].numbers() : Numbers{};
    ASSERT_EQ(result.size(), wanted.size());
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        EXPECT_NEAR(result[i], wanted[i], tolerances.tolerance * std::max(std::abs(wanted[i]), tolerances.floor));
    }
}

class CarFunctionsGolden : public testing::TestWithParam<std::string> {};

TEST_P(CarFunctionsGolden, ChangesTheRecordAsTheIndependentModelDoes) {
    const golden::Tolerances tolerances = tolerancesFor(GetParam());
    int cases = 0;
    for (const golden::Line& line : lines()) {
        if (!line.value.has("fn") || line.value["fn"].text() != GetParam()) continue;
        SCOPED_TRACE("line " + std::to_string(line.number));
        compareCase(calls().at(GetParam()), line.value, tolerances);
        ++cases;
    }
    EXPECT_GE(cases, 10);
}

std::vector<std::string> functionNames() {
    std::vector<std::string> names;
    for (const auto& [name, call] : calls()) names.push_back(name);
    return names;
}

INSTANTIATE_TEST_SUITE_P(Function, CarFunctionsGolden, testing::ValuesIn(functionNames()),
                         [](const testing::TestParamInfo<std::string>& test) { return test.param; });

TEST(CarFunctionsGoldenFile, HoldsNoFunctionThatIsNotCompared) {
    for (const golden::Line& line : lines()) {
        if (!line.value.has("fn")) continue;
        ASSERT_TRUE(calls().contains(line.value["fn"].text())) << line.value["fn"].text();
    }
}

TEST(CarFunctionsGoldenFile, NewRecordHasEveryDefaultAndNoOtherField) {
    cCarCam car;
    const golden::CarFields fields(car);
    std::map<std::string, golden::FieldValue> expected;
    for (const auto& [path, value] : records().at("default")->members()) {
        expected[path] = golden::valueFor(fields.at(path), value);
    }
    for (const golden::Field& field : fields.all()) EXPECT_TRUE(expected.contains(field.path)) << field.path;
    ASSERT_EQ(expected.size(), fields.all().size());
    EXPECT_EQ(golden::differences(fields, expected, {0.0, 0.0, {}}), "");
}

}  // namespace
