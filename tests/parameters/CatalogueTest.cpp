// What the vehicle declares to a host, against a list of its own: every text byte for byte, every field, range and
// step, in order.
#include "parameters/Catalogue.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "state/FakeHost.h"
#include "state/VehicleFields.h"

namespace {

using namespace ond::test;
using namespace ond::ovs::addon;
using Words = std::vector<std::string>;

std::string withLineFeeds(std::string text) {
    for (std::size_t at = text.find("\\n"); at != std::string::npos; at = text.find("\\n", at))
        text.replace(at, 2, "\n");
    return text;
}

/// The lines of declared.txt, their words parted by tabs.
std::vector<Words> declaredLines() {
    std::ifstream in(std::filesystem::path(__FILE__).parent_path() / "declared.txt");
    std::vector<Words> lines;
    for (std::string line; std::getline(in, line);) {
        Words words;
        std::stringstream parts(line);
        for (std::string word; std::getline(parts, word, '\t');) words.push_back(withLineFeeds(word));
        while (words.size() < 3 && words[0] == "group") words.emplace_back();
        lines.push_back(words);
    }
    return lines;
}

double number(const std::string& text) { return std::strtod(text.c_str(), nullptr); }

std::string joined(const Words& words) {
    std::string text = words[0];
    for (std::size_t i = 1; i < words.size(); ++i) text += "\t" + words[i];
    return text;
}

bool isItem(const Words& words) {
    return words[0] == "int" || words[0] == "double" || words[0] == "bool" || words[0] == "button";
}

class Catalogue : public testing::Test {
  protected:
    void declare() { car->declareParameters(); }
    const Item& item(const std::string& label) const {
        const auto found = std::find_if(car.host.items.begin(), car.host.items.end(),
                                        [&label](const Item& i) { return i.label == label; });
        EXPECT_NE(found, car.host.items.end()) << label;
        static const Item none;
        return found == car.host.items.end() ? none : *found;
    }

    Car car;
};

TEST_F(Catalogue, DeclaresEveryCallInOrder) {
    declare();
    Log expected;
    for (const Words& words : declaredLines()) {
        if (words[0] == "output" && words[1] == "Velocity") expected.emplace_back("has extension 41");
        expected.push_back(isItem(words) ? "item" : joined(words));
    }
    ASSERT_GT(expected.size(), 100u);
    EXPECT_EQ(car.host.log, expected);
}

TEST_F(Catalogue, DeclaresEveryItemWithItsTextFieldRangeAndStep) {
    declare();
    const auto numbers = numberFields(*car);
    const auto wholes = wholeFields(*car);
    const auto flags = flagFields(*car);
    auto at = car.host.items.begin();
    for (const Words& words : declaredLines()) {
        if (!isItem(words)) continue;
        SCOPED_TRACE(words[1]);
        ASSERT_NE(at, car.host.items.end());
        const Item& found = *at++;
        EXPECT_EQ(found.kind, words[0]);
        EXPECT_EQ(found.label, words[1]);
        EXPECT_EQ(found.description, words[2]);
        const ond::ovs::CInterface::Callback* callback = words.back() == "yes" ? car.object : nullptr;
        EXPECT_EQ(found.callback, callback);
        EXPECT_FALSE(found.hasConverter);
        if (words[0] == "button") {
            EXPECT_EQ(found.field, nullptr);
        } else if (words[0] == "bool") {
            ASSERT_EQ(flags.count(words[3]), 1u);
            EXPECT_EQ(found.field, flags.at(words[3]));
            EXPECT_EQ(*flags.at(words[3]), words[4] == "true") << "the default";
        } else {
            const bool whole = words[0] == "int";
            ASSERT_EQ(whole ? wholes.count(words[3]) : numbers.count(words[3]), 1u) << words[3];
            if (whole) {
                EXPECT_EQ(found.field, wholes.at(words[3]));
                EXPECT_EQ(*wholes.at(words[3]), number(words[4])) << "the default";
            } else {
                EXPECT_EQ(found.field, numbers.at(words[3]));
                EXPECT_EQ(*numbers.at(words[3]), number(words[4])) << "the default";
            }
            EXPECT_EQ(found.min, number(words[5]));
            EXPECT_EQ(found.max, number(words[6]));
            EXPECT_EQ(found.step, number(words[7]));
            EXPECT_EQ(found.hint, whole ? 10 : 1);
            EXPECT_TRUE(found.flag);
        }
    }
    EXPECT_EQ(at, car.host.items.end());
}

TEST_F(Catalogue, HasSixtyNumbersFifteenFlagsTwoWholeNumbersAndAButtonInEightGroups) {
    declare();
    std::map<std::string, int> kinds;
    for (const Item& i : car.host.items) ++kinds[i.kind];
    EXPECT_EQ(kinds, (std::map<std::string, int>{{"double", 60}, {"bool", 15}, {"int", 2}, {"button", 1}}));
    EXPECT_EQ(std::count_if(car.host.log.begin(), car.host.log.end(),
                            [](const std::string& line) { return line.rfind("group\t", 0) == 0; }),
              8);
    EXPECT_EQ(car.host.count("group end"), 8);
}

TEST_F(Catalogue, NamesEveryItemOnce) {
    declare();
    std::map<std::string, int> labels;
    for (const Item& i : car.host.items) ++labels[i.label];
    EXPECT_EQ(labels.size(), 78u);
    for (const auto& [label, count] : labels) EXPECT_EQ(count, 1) << label;
}

TEST_F(Catalogue, LimitsTheSteeringWheelsMaximumBelowARightAngle) {
    declare();
    EXPECT_EQ(item("Steering Wheel (Right/Left) Maximum").max, 1.57);
    EXPECT_EQ(item("Steering Wheel (Right/Left) Response Factor").max, 1e16);
    EXPECT_EQ(item("Gas Pedal (Forw/Backw) Maximum").max, 1e16);
}

TEST_F(Catalogue, PassesNoCallbackWhereAChangeIsSilent) {
    declare();
    for (const char* label : {"Hide Helpers During Recording", "Autonomous Mode", "Use Reverse As ABS Brake",
                              "Align WheelCenterMesh to ground incline", "Cast Rays at Wheel Edges"})
        EXPECT_EQ(item(label).callback, nullptr) << label;
    EXPECT_NE(item("Hide Helpers").callback, nullptr);
    EXPECT_EQ(std::count_if(car.host.items.begin(), car.host.items.end(),
                            [](const Item& i) { return i.callback == nullptr; }),
              5);
}

TEST_F(Catalogue, GivesBothResponseFactorsOfAutonomousModeOneText) {
    declare();
    EXPECT_EQ(item("Follow Strength Response Factor").description, item("Auto-Steering Response Factor").description);
    EXPECT_NE(item("Follow Strength Response Factor").field, item("Auto-Steering Response Factor").field);
}

TEST_F(Catalogue, KeepsInputsAndSetsTheirExponent) {
    declare();
    ASSERT_EQ(car.host.inputs.size(), 9u);
    for (std::size_t i = 0; i < 9; ++i) {
        EXPECT_EQ(car->aInputProperties[i], car.host.inputs[i].get());
        EXPECT_EQ(car.host.inputs[i]->exponent, 1.3);
        EXPECT_EQ(car.host.factories[i], car.host.factories[0]) << "one factory serves all inputs";
    }
}

TEST_F(Catalogue, StaysWithoutInputsThatTheHostRefuses) {
    car.host.refusesInputs = true;
    declare();
    for (const auto* property : car->aInputProperties) EXPECT_EQ(property, nullptr);
    EXPECT_EQ(car.host.items.size(), 78u);
}

TEST_F(Catalogue, CreatesOutputsAndStoresZeroInEach) {
    declare();
    ASSERT_EQ(car.host.outputs.size(), 7u);
    for (std::size_t i = 0; i < 7; ++i) {
        EXPECT_EQ(car->aOutputProperties[i], car.host.outputs[i].get());
        EXPECT_EQ(car.host.outputs[i]->current, 0.0);
        EXPECT_EQ(car.host.outputs[i]->previous, -5.0) << "stored once";
    }
}

TEST_F(Catalogue, CreatesNoOutputsOnAHostWithoutThem) {
    car.host.hasOutputs = false;
    declare();
    EXPECT_EQ(car.host.outputs.size(), 0u);
    for (const auto* property : car->aOutputProperties) EXPECT_EQ(property, nullptr);
    EXPECT_EQ(car.host.items.size(), 78u);
    EXPECT_EQ(car.host.log.back(), "has extension 41");
}

TEST_F(Catalogue, StaysWithoutOutputsThatTheHostRefuses) {
    car.host.refusesOutputs = true;
    declare();
    for (const auto* property : car->aOutputProperties) EXPECT_EQ(property, nullptr);
}

TEST_F(Catalogue, ListsItsRowsForOthersInTheSameOrder) {
    declare();
    ASSERT_EQ(parameterRows().size(), car.host.items.size());
    for (std::size_t i = 0; i < parameterRows().size(); ++i) {
        EXPECT_EQ(labelOf(parameterRows()[i], *car), car.host.items[i].label);
        EXPECT_EQ(descriptionOf(parameterRows()[i], *car), car.host.items[i].description);
    }
}

}  // namespace
