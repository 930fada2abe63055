// The validator against modules that misbehave, each in its own way: every one is told by the test that is there for
// it.
#include <algorithm>
#include <set>

#include "ValidatorRun.h"
#include "modules/BadModules.h"

namespace ond::test {

void PrintTo(const BadModule& module, std::ostream* out) { *out << module.name; }

namespace {

/// Enough for a test that comes back, on a machine that is busy with others.
constexpr const char* kPatience = "60";
/// For modules that never come back.
constexpr const char* kImpatience = "0.4";

bool neverComesBack(std::string_view name) {
    return name.starts_with("hangs-") || name.starts_with("sleeps-") || name.starts_with("stops-");
}

nlohmann::json resultOf(const nlohmann::json& report, std::string_view id) {
    for (const nlohmann::json& test : report.at("tests"))
        if (test.at("id") == id) return test;
    return nullptr;
}

/// Whether what was found is of this test, and not of another one that stands in its way.
bool hasFindingOf(const nlohmann::json& test, std::string_view id) {
    const nlohmann::json& findings = test.at("findings");
    return std::any_of(findings.begin(), findings.end(),
                       [id](const nlohmann::json& finding) { return finding.at("test") == id; });
}

std::string asTestName(const ::testing::TestParamInfo<BadModule>& module) {
    std::string name = std::string(module.param.name) + "_by_" + std::string(module.param.test);
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

class BadModules : public ValidatorRun, public ::testing::WithParamInterface<BadModule> {};

TEST_P(BadModules, IsTold) {
    const BadModule& bad = GetParam();
    std::string words = module(bad.name) + " --only " + std::string(bad.test);
    if (!bad.seenIn.empty()) words += " --only " + std::string(bad.seenIn);
    const Verdict verdict = validate(words + " --level strict --quiet --json --timeout " +
                                     (neverComesBack(bad.name) ? kImpatience : kPatience));
    ASSERT_NE(verdict.out, "") << verdict.err;
    const nlohmann::json report = verdict.json();
    const nlohmann::json test = resultOf(report, bad.test);
    ASSERT_FALSE(test.is_null()) << verdict.out;
    EXPECT_EQ(test.at("outcome"), bad.outcome) << verdict.out;
    EXPECT_TRUE(hasFindingOf(test, bad.test)) << verdict.out;
    EXPECT_EQ(test.contains("timedOut"), neverComesBack(bad.name)) << verdict.out;
    EXPECT_EQ(verdict.code, bad.outcome == "warning" ? 0 : 1);
}

INSTANTIATE_TEST_SUITE_P(Each, BadModules, ::testing::ValuesIn(kBadModules), asTestName);

using BadModuleTable = ValidatorRun;

TEST_F(BadModuleTable, HasAModuleForEveryTestOfTheValidator) {
    std::set<std::string> tested;
    for (const BadModule& bad : kBadModules) tested.emplace(bad.test);
    const nlohmann::json tests = validate("--list --level strict --json").json();
    ASSERT_FALSE(tests.empty());
    for (const nlohmann::json& test : tests)
        EXPECT_EQ(tested.count(test.at("id").get<std::string>()), 1U)
            << "no module of BadModules.h proves that '" << test.at("id") << "' tells anything";
}

TEST_F(BadModuleTable, StandsOnModulesWithoutFault) {
    // So that it is the misbehaviour that is told, and not what the modules have in common.
    for (const char* name : {"good", "car-as-it-is"}) {
        const Verdict verdict = validate(module(name) + " --only 'car-*' --only version --level strict --quiet");
        EXPECT_EQ(verdict.code, 0) << name << verdict.out;
        EXPECT_THAT(verdict.out, ::testing::Not(::testing::HasSubstr("warning")));
    }
}

}  // namespace
}  // namespace ond::test
