#include "validate/Report.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "validate/TestList.h"
#include "validate/Text.h"

namespace ond::validate {

namespace {

constexpr Outcome kOutcomes[] = {Outcome::passed, Outcome::warning, Outcome::skipped, Outcome::failed,
                                 Outcome::crashed};

std::size_t count(const std::vector<TestResult>& results, Outcome outcome) {
    return static_cast<std::size_t>(std::count_if(results.begin(), results.end(),
                                                  [&](const TestResult& result) { return result.outcome == outcome; }));
}

std::string padded(std::string text, std::size_t width) {
    if (text.size() < width) text.append(width - text.size(), ' ');
    return text;
}

/// What a process printed may be any bytes, and JSON is text.
std::string readable(const std::string& bytes) {
    std::string text = bytes;
    if (isPlainText(text)) return text;
    for (char& c : text)
        if ((static_cast<unsigned char>(c) < 32 && c != '\n') || static_cast<unsigned char>(c) > 126) c = '?';
    return text;
}

nlohmann::ordered_json jsonOf(const TestResult& result) {
    nlohmann::ordered_json object{{"id", result.id},
                                  {"sentence", result.sentence},
                                  {"level", nameOf(result.level)},
                                  {"outcome", nameOf(result.outcome)}};
    nlohmann::ordered_json findings = nlohmann::ordered_json::array();
    for (const Finding& finding : result.findings)
        findings.push_back(
            {{"test", finding.test}, {"severity", nameOf(finding.severity)}, {"sentence", readable(finding.sentence)}});
    object["findings"] = std::move(findings);
    if (result.outcome == Outcome::skipped) object["reason"] = readable(result.reason);
    if (result.timedOut) object["timedOut"] = true;
    if (!result.printed.empty()) object["printed"] = readable(result.printed);
    object["milliseconds"] = result.milliseconds;
    return object;
}

}  // namespace

bool hasFailures(const std::vector<TestResult>& results) {
    return count(results, Outcome::failed) + count(results, Outcome::crashed) > 0;
}

std::string textOf(const TestResult& result) {
    constexpr std::size_t kWidth = 8;
    std::string text = padded(nameOf(result.outcome), kWidth) + result.id + "\n";
    if (result.outcome == Outcome::skipped) text += std::string(kWidth, ' ') + result.reason + "\n";
    for (const Finding& finding : result.findings)
        text += std::string(kWidth, ' ') + (finding.severity == Severity::warning ? "warning: " : "") +
                readable(finding.sentence) + "\n";
    return text;
}

std::string summaryOf(const std::vector<TestResult>& results) {
    std::string text = std::to_string(results.size()) + (results.size() == 1 ? " test:" : " tests:");
    bool first = true;
    for (const Outcome outcome : kOutcomes) {
        const std::size_t number = count(results, outcome);
        if (number == 0) continue;
        text += (first ? " " : ", ") + std::to_string(number) + " ";
        text += outcome == Outcome::warning && number > 1 ? "warnings" : nameOf(outcome);
        first = false;
    }
    return text;
}

std::string jsonOf(const RunSettings& settings, const std::vector<TestResult>& results) {
    nlohmann::ordered_json object{{"module", settings.modulePath},
                                  {"level", nameOf(settings.level)},
                                  {"seed", settings.seed},
                                  {"exitCode", hasFailures(results) ? 1 : 0}};
    for (const Outcome outcome : kOutcomes) object["counts"][nameOf(outcome)] = count(results, outcome);
    nlohmann::ordered_json tests = nlohmann::ordered_json::array();
    for (const TestResult& result : results) tests.push_back(jsonOf(result));
    object["tests"] = std::move(tests);
    return object.dump(2) + "\n";
}

std::string listAsText(const RunSettings& settings) {
    std::string text;
    for (const std::string& id : chosenTests(settings)) {
        const TestRow& row = *findTest(id);
        text += padded(id, 36) + padded(nameOf(row.level), 10) + std::string(row.sentence) + "\n";
    }
    return text;
}

std::string listAsJson(const RunSettings& settings) {
    nlohmann::ordered_json all = nlohmann::ordered_json::array();
    for (const std::string& id : chosenTests(settings)) {
        const TestRow& row = *findTest(id);
        all.push_back({{"id", id}, {"level", nameOf(row.level)}, {"sentence", row.sentence}});
    }
    return all.dump(2) + "\n";
}

}  // namespace ond::validate
