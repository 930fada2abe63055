#include "ond/unidevice/Property.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "ond/unidevice/OutputProperty.h"

namespace ond::unidevice {
namespace {

class Axis : public ControlSource {
  public:
    explicit Axis(double position = 0.0) : value(position) {}
    double currentValue() override {
        ++reads;
        return value;
    }
    double value;
    int reads = 0;
};

/// An axis at `position` wired to a channel.
struct Wired {
    explicit Wired(double position, std::int32_t type = 14) : axis(position), property("channel", type) {
        axis.wire(property);
    }
    Axis axis;
    Property property;
};

TEST(Property, BeginsWithItsDefaults) {
    const Property property("Gas", 14);
    EXPECT_EQ(property.name, "Gas");
    EXPECT_EQ(property.hostText, "");
    EXPECT_EQ(property.type, 14);
    EXPECT_EQ(property.multiplier, 1.0);
    EXPECT_EQ(property.exponent, 1.0);
    EXPECT_EQ(property.deadZone, 0.1);
    EXPECT_EQ(property.offset, 0.0);
    EXPECT_EQ(property.hostData.text, "");
    EXPECT_EQ(property.hostData.children.size(), 0u);
    EXPECT_EQ(property.source, nullptr);
    EXPECT_TRUE(property.registered.empty());
}

TEST(Property, UnwiredAnswersItsOffset) {
    Property property("channel", 14);
    EXPECT_EQ(property.value(), 0.0);
    property.offset = -2.5;
    property.multiplier = 7.0;
    property.exponent = 1.3;
    EXPECT_EQ(property.value(), -2.5);
}

TEST(Property, EdgeOfTheDeadZoneIsExactlyRest) {
    for (const double exponent : {1.0, 1.3, 3.0}) {
        Wired wired(0.1);
        wired.property.exponent = exponent;
        EXPECT_EQ(wired.property.value(), 0.0);
        wired.axis.value = -0.1;
        EXPECT_EQ(wired.property.value(), 0.0);
        wired.axis.value = 0.05;
        EXPECT_EQ(wired.property.value(), 0.0);
        wired.axis.value = std::nextafter(0.1, 1.0);
        EXPECT_GT(wired.property.value(), 0.0);
    }
}

TEST(Property, FullTravelGivesMultiplierPlusOffsetForAnyExponent) {
    for (const double exponent : {0.0, 0.5, 1.0, 1.3, 2.0, 10.0}) {
        Wired wired(1.0);
        wired.property.exponent = exponent;
        wired.property.multiplier = 2.5;
        wired.property.offset = 0.75;
        EXPECT_EQ(wired.property.value(), 3.25) << exponent;
        wired.axis.value = -1.0;
        EXPECT_EQ(wired.property.value(), -1.75) << exponent;
    }
}

TEST(Property, RescalesTheTravelBehindTheDeadZone) {
    Wired wired(0.55);
    EXPECT_DOUBLE_EQ(wired.property.value(), 0.5);
    wired.property.deadZone = 0.0;
    EXPECT_EQ(wired.property.value(), 0.55);
}

TEST(Property, BendsTheTravelByItsExponent) {
    Wired wired(0.55);
    wired.property.exponent = 1.3;
    // 0.5 ^ 1.3
    EXPECT_NEAR(wired.property.value(), 0.40612619817811774, 1e-15);
    wired.axis.value = -0.55;
    EXPECT_NEAR(wired.property.value(), -0.40612619817811774, 1e-15);
}

TEST(Property, IsNotLimitedToItsRange) {
    Wired wired(1.9);
    EXPECT_DOUBLE_EQ(wired.property.value(), 2.0);
    wired.property.multiplier = 2.0;
    wired.axis.value = 1.0;
    EXPECT_EQ(wired.property.value(), 2.0);
    wired.property.multiplier = -1.0;
    EXPECT_EQ(wired.property.value(), -1.0);
}

TEST(Property, OneSidedTypeShapesAlike) {
    Wired wired(-0.55, 15);
    EXPECT_DOUBLE_EQ(wired.property.value(), -0.5);
}

TEST(Property, ReadsTheAxisOncePerValue) {
    Wired wired(0.3);
    EXPECT_GT(wired.property.value(), 0.0);
    EXPECT_EQ(wired.axis.reads, 1);
}

TEST(Property, NotANumberPassesThrough) {
    Wired wired(std::numeric_limits<double>::quiet_NaN());
    EXPECT_TRUE(std::isnan(wired.property.value()));
}

TEST(Property, IsOddAndMonotonousWithoutOffset) {
    constexpr std::uint64_t kSeed = 62;
    SCOPED_TRACE(kSeed);
    std::mt19937_64 random(kSeed);
    const auto next = [&random] { return static_cast<double>(random() >> 11) * 0x1p-53; };
    for (int i = 0; i < 5000; ++i) {
        Wired wired(next());
        wired.property.exponent = 0.2 + 3.0 * next();
        wired.property.deadZone = 0.9 * next();
        wired.property.multiplier = 0.1 + 5.0 * next();
        const double here = wired.property.value();
        const double position = wired.axis.value;
        wired.axis.value = -position;
        EXPECT_EQ(wired.property.value(), -here);
        wired.axis.value = position + 0.01;
        EXPECT_GE(wired.property.value(), here);
        if (position > wired.property.deadZone) {
            EXPECT_GT(here, 0.0);
        } else {
            EXPECT_EQ(here, 0.0);
        }
    }
}

TEST(ControlTarget, DetachForgetsTheWiredAxis) {
    Axis axis(1.0);
    Property property("channel", 14);
    property.source = &axis;
    property.detach(&axis);
    EXPECT_EQ(property.source, nullptr);
    EXPECT_EQ(property.value(), 0.0);
}

TEST(ControlTarget, DetachOfAnotherAxisKeepsTheWire) {
    Wired wired(1.0);
    Axis other;
    wired.property.detach(&other);
    EXPECT_EQ(wired.property.source, &wired.axis);
    EXPECT_EQ(wired.property.value(), 1.0);
}

TEST(ControlTarget, DetachClearsTheFlagsOfAllObserversInEitherCase) {
    Wired wired(1.0);
    Axis other;
    ControlObserver observers[3] = {{true}, {true}, {true}};
    wired.property.registered = {&observers[0], &observers[2]};
    wired.property.detach(&other);
    EXPECT_FALSE(observers[0].bWired);
    EXPECT_TRUE(observers[1].bWired);
    EXPECT_FALSE(observers[2].bWired);
    observers[0].bWired = observers[2].bWired = true;
    wired.property.detach(&wired.axis);
    EXPECT_FALSE(observers[0].bWired);
    EXPECT_FALSE(observers[2].bWired);
    wired.axis.properties.clear();
}

TEST(Property, DyingTakesItselfOffTheListOfItsAxis) {
    Axis axis;
    Property stays("stays", 14);
    axis.wire(stays);
    Property last("last", 14);
    {
        Property dies("dies", 14);
        axis.wire(dies);
        axis.wire(last);
        EXPECT_EQ(axis.properties, (std::vector<Property*>{&stays, &dies, &last}));
    }
    EXPECT_EQ(axis.properties, (std::vector<Property*>{&stays, &last}));
}

TEST(Property, DyingUnwiredTouchesNoAxis) {
    Axis axis;
    auto property = std::make_unique<Property>("channel", 14);
    Property* address = property.get();
    axis.properties.push_back(address);  // listed, but not wired: the destructor must not look for it
    property.reset();
    EXPECT_EQ(axis.properties.size(), 1u);
    axis.properties.clear();
}

TEST(Property, DyingThroughItsBaseOfTheHostUnregistersToo) {
    Axis axis;
    Property* output = new OutputProperty({"Velocity", 8});
    axis.wire(*output);
    delete output;
    EXPECT_TRUE(axis.properties.empty());
}

TEST(ControlSource, DyingUnwiresItsProperties) {
    Property one("one", 14);
    Property two("two", 15);
    ControlObserver observer{true};
    two.registered.push_back(&observer);
    {
        Axis axis(1.0);
        axis.wire(one);
        axis.wire(two);
        EXPECT_EQ(two.value(), 1.0);
    }
    EXPECT_EQ(one.source, nullptr);
    EXPECT_EQ(two.source, nullptr);
    EXPECT_FALSE(observer.bWired);
    EXPECT_EQ(two.value(), 0.0);
}

TEST(ControlSource, WiringAnewLeavesTheFormerAxis) {
    Axis former(0.0);
    Axis axis(1.0);
    Property property("channel", 14);
    former.wire(property);
    axis.wire(property);
    axis.wire(property);
    EXPECT_TRUE(former.properties.empty());
    EXPECT_EQ(axis.properties, std::vector<Property*>{&property});
    EXPECT_EQ(property.value(), 1.0);
}

TEST(ControlSource, UnwireCutsOnlyItsOwnWire) {
    Wired wired(1.0);
    Axis other;
    other.unwire(wired.property);
    EXPECT_EQ(wired.property.source, &wired.axis);
    wired.axis.unwire(wired.property);
    EXPECT_EQ(wired.property.source, nullptr);
    EXPECT_TRUE(wired.axis.properties.empty());
}

TEST(PropertyFactory, MakesAPropertyOfNameAndType) {
    Property::Factory factory;
    const std::unique_ptr<Property> gas(factory.create("Gas Pedal (Forw/Backw)", 14));
    const std::unique_ptr<Property> booster(factory.create("Booster", 15));
    ASSERT_NE(gas, nullptr);
    ASSERT_NE(booster, nullptr);
    EXPECT_EQ(gas->name, "Gas Pedal (Forw/Backw)");
    EXPECT_EQ(gas->type, 14);
    EXPECT_EQ(gas->deadZone, 0.1);
    EXPECT_EQ(booster->name, "Booster");
    EXPECT_EQ(booster->type, 15);
}

TEST(OutputProperty, BeginsAtZeroUnderTheNameOfItsRecord) {
    const OutputProperty output({"Steering Angle", 8});
    EXPECT_EQ(output.name, "Steering Angle");
    EXPECT_EQ(output.type, 8);
    EXPECT_EQ(output.current, 0.0);
    EXPECT_EQ(output.previous, 0.0);
    EXPECT_EQ(output.value(), 0.0);
}

TEST(OutputProperty, StoreKeepsTheValueBefore) {
    OutputProperty output({"Velocity", 8});
    output.store(2.0);
    EXPECT_EQ(output.current, 2.0);
    EXPECT_EQ(output.previous, 0.0);
    output.store(3.0);
    output.store(3.5);
    EXPECT_EQ(output.current, 3.5);
    EXPECT_EQ(output.previous, 3.0);
}

TEST(OutputProperty, ValueIsUnshapedAlsoThroughTheBase) {
    OutputProperty output({"Velocity", 8});
    output.multiplier = 10.0;
    output.offset = 1.0;
    output.deadZone = 0.5;
    output.store(0.25);
    const Property& base = output;
    EXPECT_EQ(base.value(), 0.25);
}

}  // namespace
}  // namespace ond::unidevice
