// Sharp comparison of floating-point results.
//
// The bound is relative to the expected value. An expected value of zero is refused: a test that expects zero says so
// exactly, or names the size of the numbers that cancelled out (see isWithin()).
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "ond/util/Quat.h"
#include "ond/util/Vector3.h"

namespace ond::test {

inline constexpr double kSharp = 1e-12;

/// |actual - expected| <= bound, and neither is NaN.
[[nodiscard]] inline testing::AssertionResult isWithin(double actual, double expected, double bound) {
    if (std::abs(actual - expected) <= bound) return testing::AssertionSuccess();
    return testing::AssertionFailure() << std::hexfloat << actual << " (" << std::defaultfloat << actual
                                       << ") instead of " << expected << ", bound " << bound;
}

[[nodiscard]] inline testing::AssertionResult isClose(double actual, double expected, double relative = kSharp) {
    if (expected == 0.0) return testing::AssertionFailure() << "a relative bound around zero holds nothing";
    return isWithin(actual, expected, relative * std::abs(expected));
}

/// Componentwise, relative to the length of `expected`.
[[nodiscard]] inline testing::AssertionResult isClose(const util::Vector3<double>& actual,
                                                      const util::Vector3<double>& expected, double relative = kSharp) {
    const double bound = relative * util::Length(expected);
    if (bound == 0.0) return testing::AssertionFailure() << "a relative bound around zero holds nothing";
    const util::Vector3<double> d = actual - expected;
    if (std::abs(d.x) <= bound && std::abs(d.y) <= bound && std::abs(d.z) <= bound) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "(" << actual.x << ", " << actual.y << ", " << actual.z << ") instead of ("
                                       << expected.x << ", " << expected.y << ", " << expected.z << ")";
}

/// Componentwise with the sign as it stands: q and -q are different here.
[[nodiscard]] inline testing::AssertionResult isClose(const util::Quat<double>& actual,
                                                      const util::Quat<double>& expected, double relative = kSharp) {
    const double bound = relative * std::sqrt(util::SquaredNorm(expected));
    if (bound == 0.0) return testing::AssertionFailure() << "a relative bound around zero holds nothing";
    const util::Quat<double> d = actual - expected;
    if (std::abs(d.x) <= bound && std::abs(d.y) <= bound && std::abs(d.z) <= bound && std::abs(d.w) <= bound)
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << "(" << actual.x << ", " << actual.y << ", " << actual.z << ", " << actual.w
                                       << ") instead of (" << expected.x << ", " << expected.y << ", " << expected.z
                                       << ", " << expected.w << ")";
}

}  // namespace ond::test
