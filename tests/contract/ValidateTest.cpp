// The validator as users meet it: modules without fault, what it says, and wrong use.
#include "ValidatorRun.h"

namespace ond::test {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;

class Validate : public ValidatorRun {
  protected:
    /// Wrong use: nothing on stdout, and a sentence that says all of `parts`.
    void expectRefusal(const std::string& words, const std::vector<std::string>& parts) const {
        const Verdict verdict = validate(words);
        EXPECT_EQ(verdict.code, 2) << words;
        EXPECT_EQ(verdict.out, "") << words;
        for (const std::string& part : parts) EXPECT_THAT(verdict.err, HasSubstr(part)) << words;
        EXPECT_EQ(std::count(verdict.err.begin(), verdict.err.end(), '\n'), 1) << verdict.err;
    }
    static std::string outcomeOf(const Verdict& verdict, std::size_t test = 0) {
        return verdict.json().at("tests").at(test).at("outcome").get<std::string>();
    }
};

TEST_F(Validate, FindsNothingInAGoodModule) {
    const Verdict verdict = validate(module("good") + " --json -q --level strict");
    EXPECT_EQ(verdict.code, 0);
    const nlohmann::json report = verdict.json();
    EXPECT_EQ(report.at("level"), "strict");
    EXPECT_EQ(report.at("exitCode"), 0);
    for (const nlohmann::json& test : report.at("tests")) {
        // Only what is asked of the vehicle alone does not concern it.
        const bool ofTheVehicle = test.at("id").get<std::string>().starts_with("car-");
        EXPECT_EQ(test.at("outcome"), ofTheVehicle ? "skipped" : "passed") << test.dump(2);
        EXPECT_TRUE(test.at("findings").empty()) << test.dump(2);
    }
}

TEST_F(Validate, FindsNothingInTheVehicleModuleAtTheStrictestLevel) {
    const Verdict verdict = validate(std::string(VEHICLE_MODULE_PATH) + " --level strict --json -q");
    EXPECT_EQ(verdict.code, 0);
    const nlohmann::json report = verdict.json();
    for (const nlohmann::json& test : report.at("tests")) EXPECT_EQ(test.at("outcome"), "passed") << test.dump(2);
}

TEST_F(Validate, RunsMoreTestsAtHigherLevels) {
    std::size_t before = 0;
    for (const char* level : {"basic", "ordinary", "strict"}) {
        const std::size_t count = validate(std::string("--list --json --level ") + level).json().size();
        EXPECT_GT(count, before) << level;
        before = count;
    }
}

TEST_F(Validate, ListsEachTestWithASentence) {
    const Verdict verdict = validate("--list --level strict --json");
    EXPECT_EQ(verdict.code, 0);
    for (const nlohmann::json& test : verdict.json()) {
        EXPECT_THAT(test.at("id").get<std::string>(), ::testing::MatchesRegex("[a-z0-9]+(-[a-z0-9]+)*"));
        EXPECT_THAT(test.at("sentence").get<std::string>(), EndsWith("."));
        EXPECT_NE(test.at("level"), "");
    }
    const Verdict text = validate("--list");
    EXPECT_EQ(text.code, 0);
    EXPECT_THAT(text.out, HasSubstr("version"));
    EXPECT_EQ(text.err, "");
}

TEST_F(Validate, TellsInASentenceWhatTheModuleDid) {
    const Verdict verdict = validate(module("version-249") + " --only version");
    EXPECT_EQ(verdict.code, 1);
    EXPECT_THAT(verdict.out, HasSubstr("failed"));
    EXPECT_THAT(verdict.out, HasSubstr("249"));
    EXPECT_THAT(verdict.out, HasSubstr("250"));
    EXPECT_THAT(verdict.out, HasSubstr("1 test: 1 failed"));
    EXPECT_THAT(verdict.err, HasSubstr("seed 1"));
}

TEST_F(Validate, GoesOnBehindACrash) {
    const Verdict verdict = validate(module("crashes-in-frame") + " --only many-objects --only version --json -q");
    EXPECT_EQ(verdict.code, 1);
    const nlohmann::json report = verdict.json();
    EXPECT_EQ(report.at("counts").at("crashed"), 1);
    EXPECT_EQ(report.at("counts").at("passed"), 1);
    EXPECT_THAT(report.dump(), HasSubstr("inside of updateFrame("));
}

TEST_F(Validate, EndsATestThatTakesTooLong) {
    const Verdict verdict = validate(module("hangs-in-frame") + " --only many-objects --timeout 0.5 --json -q");
    EXPECT_EQ(verdict.code, 1);
    const nlohmann::json test = verdict.json().at("tests").at(0);
    EXPECT_EQ(test.at("timedOut"), true);
    EXPECT_LT(test.at("milliseconds"), 10000);
    EXPECT_THAT(test.at("findings").at(0).at("sentence").get<std::string>(), HasSubstr("did not come back within 0.5"));
}

TEST_F(Validate, TakesAnExitOfTheModuleForNoSuccess) {
    for (const char* name : {"ends-the-program-in-frame", "leaves-at-once-in-frame"})
        EXPECT_EQ(outcomeOf(validate(module(name) + " --only many-objects --json -q")), "crashed") << name;
}

TEST_F(Validate, KeepsWhatAModulePrintsOutOfItsReport) {
    const Verdict verdict = validate(module("prints-in-frame") + " --only many-objects --json -q");
    EXPECT_THAT(verdict.out, Not(HasSubstr("hello from the module\n")));
    EXPECT_NO_THROW(static_cast<void>(verdict.json()));
}

TEST_F(Validate, ReportsInJsonWhateverTheModuleDoes) {
    for (const char* name : {"prints-much-in-frame", "ends-the-program-in-loading", "closes-every-file-in-stop",
                             "leaves-a-process-in-frame", "throws-in-loading", "no-functions"}) {
        const Verdict verdict = validate(module(name) + " --only version --only many-objects --json -q --timeout 10");
        EXPECT_EQ(verdict.json().at("exitCode"), verdict.code) << name;
        EXPECT_LT(verdict.out.size(), 20000U) << name;
    }
}

TEST_F(Validate, StaysInTheProcessForADebugger) {
    const Verdict good = validate(module("good") + " --in-process --only many-objects -q");
    EXPECT_EQ(good.code, 0) << good.err;
    EXPECT_THAT(good.out, HasSubstr("1 test: 1 passed"));
    EXPECT_EQ(validate(module("version-249") + " --in-process --only version -q").code, 1);
    // The crash is the program's own, for a debugger to stop at.
    const int code = validate(module("crashes-in-frame") + " --in-process --only many-objects -q").code;
    EXPECT_TRUE(code == -1 || code > 128) << code;
}

TEST_F(Validate, KeepsInTheProcessWhatComesToLightInACopyOfIt) {
    const Verdict turned =
        validate(module("turns-rounding-in-frame") + " --in-process --only asks-nothing-of-the-system --json -q");
    EXPECT_EQ(outcomeOf(turned), "failed") << turned.out;
    EXPECT_THAT(turned.out, HasSubstr("leaves-floating-point-alone"));
    const Verdict without =
        validate(module("no-plugin") + " --in-process --only first-plugin --only same-bits-anywhere --json -q");
    EXPECT_EQ(outcomeOf(without, 1), "skipped") << without.out;
    EXPECT_THAT(without.out, HasSubstr("the test 'first-plugin' stands in the way"));
}

TEST_F(Validate, LetsAModuleLookAtTheSignals) {
    const Verdict verdict =
        validate(module("looks-at-signals-in-frame") + " --only asks-nothing-of-the-system --json -q");
    EXPECT_EQ(outcomeOf(verdict), "passed") << verdict.out;
}

TEST_F(Validate, GivesTheSameReportForTheSameSeed) {
    const auto report = [&](const char* seed) {
        nlohmann::json all =
            validate(module("trusts-lengths") + " --only '*-blocks' --only version --json -q --seed " + seed).json();
        for (nlohmann::json& test : all.at("tests")) test.erase("milliseconds");
        return all;
    };
    EXPECT_EQ(report("7"), report("7"));
    EXPECT_EQ(report("7").at("seed"), 7);
}

TEST_F(Validate, RefusesWrongUse) {
    const std::string good = module("good");
    std::ofstream(path("text.so")) << "no library\n";
    std::ofstream(path("empty.so")) << "";
    std::string foreign = read(good);
    foreign[18] = 0x28;  // the processor, in the head of the file
    std::ofstream(path("foreign.so"), std::ios::binary) << foreign;
    expectRefusal("", {"MODULE"});
    expectRefusal(path("foreign.so"), {"foreign.so", "for this machine"});
    expectRefusal(path("nothing.so"), {"there is no file", "nothing.so"});
    expectRefusal("/tmp", {"/tmp"});
    expectRefusal(path("text.so"), {"text.so", "no shared library"});
    expectRefusal(path("empty.so"), {"empty.so", "no shared library"});
    expectRefusal(QUADRIG_PROGRAM_PATH + std::string(" --only no-such-test"), {"no-such-test", "--list"});
    expectRefusal(good + " --only vers1on", {"did you mean 'version'"});
    expectRefusal(good + " --skip vers1on", {"--skip"});
    expectRefusal(good + " --skip '*'", {"no test is chosen"});
    expectRefusal(good + " --seed soon", {"--seed", "soon"});
    expectRefusal(good + " --seed -1", {"--seed"});
    expectRefusal(good + " --seed 99999999999999999999", {"--seed"});
    expectRefusal(good + " --timeout never", {"--timeout"});
    expectRefusal(good + " --timeout 0", {"--timeout"});
    expectRefusal(good + " --jobs 0", {"--jobs"});
    expectRefusal(good + " --level hard", {"--level", "strict"});
    expectRefusal(good + " --in-process", {"--only"});
}

}  // namespace
}  // namespace ond::test
