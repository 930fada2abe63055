// The math library, the filters and the shaping of a device's value against values from an independent model.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "GoldenFile.h"
#include "car/Braking.h"
#include "car/Suspension.h"
#include "ond/unidevice/Property.h"
#include "ond/util/Filters.h"
#include "ond/util/Matrix4.h"
#include "ond/util/QTransform.h"
#include "ond/util/Quat.h"
#include "ond/util/Scalar.h"
#include "ond/util/Vector3.h"

namespace {

using namespace ond::util;
using Numbers = std::vector<double>;
using V = Vector3<double>;
using Q = Quat<double>;
using T = QTransform<double>;

constexpr double kRelative = 1e-12;

/// Hands out the flattened arguments in order.
class Arguments {
  public:
    explicit Arguments(const Numbers& numbers) : numbers_(numbers) {}

    double scalar() { return numbers_.at(at_++); }
    V vector() {
        V v;
        v.x = scalar();
        v.y = scalar();
        v.z = scalar();
        return v;
    }
    Q quat() {
        Q q;
        q.x = scalar();
        q.y = scalar();
        q.z = scalar();
        q.w = scalar();
        return q;
    }
    T transform() {
        T t;
        t.position = vector();
        t.rotation = quat();
        return t;
    }
    Matrix4 matrix() {
        Matrix4 m;
        for (int i = 0; i < 16; ++i) m[i] = scalar();
        return m;
    }
    [[nodiscard]] bool usedUp() const { return at_ == numbers_.size(); }

  private:
    const Numbers& numbers_;
    std::size_t at_ = 0;
};

Numbers flat(double x) { return {x}; }
Numbers flat(const V& v) { return {v.x, v.y, v.z}; }
Numbers flat(const Q& q) { return {q.x, q.y, q.z, q.w}; }
Numbers flat(const Matrix4& m) { return {m.m.begin(), m.m.end()}; }

template <class A, class B>
Numbers flat(const A& a, const B& b) {
    Numbers out = flat(a);
    const Numbers more = flat(b);
    out.insert(out.end(), more.begin(), more.end());
    return out;
}

/// A device axis that stands at one value.
class FixedAxis : public ond::unidevice::ControlSource {
  public:
    explicit FixedAxis(double value) : value_(value) {}
    double currentValue() override { return value_; }

  private:
    double value_;
};

Numbers propertyValue(Arguments& in) {
    FixedAxis axis(in.scalar());
    ond::unidevice::Property property("channel", 14);
    property.multiplier = in.scalar();
    property.exponent = in.scalar();
    property.deadZone = in.scalar();
    property.offset = in.scalar();
    axis.wire(property);
    return flat(property.value());
}

Numbers springForce(Arguments& in) {
    const double h = in.scalar();
    const double diff = in.scalar();
    const double diffPrev = in.scalar();
    const double stiffness = in.scalar();
    const double damping = in.scalar();
    double integral = in.scalar();
    const double integralLimit = in.scalar();
    const int steps = static_cast<int>(in.scalar());
    // Mass, limit, radius and integral gain must have no effect.
    const double force = ond::ovs::addon::SpringForce(50.0, h, diff, diffPrev, 0.001, 0.247, stiffness, damping, 7.0,
                                                      integral, integralLimit, steps);
    return {force, integral};
}

Numbers reverseBrake(Arguments& in) {
    bool state = in.scalar() != 0.0;
    const double velocity = in.scalar();
    const double input = in.scalar();
    const bool returned = ond::ovs::addon::ReverseBrakeActive(state, velocity, input, in.scalar());
    EXPECT_EQ(returned, state);
    return flat(returned ? 1.0 : 0.0);
}

Numbers randomUnit(Arguments& in) {
    std::int32_t counter = static_cast<std::int32_t>(in.scalar());
    const double unit = RandomUnit(counter);
    return {unit, static_cast<double>(counter)};
}

template <class Value, bool saturating>
Numbers filter(Value value, Value target, Arguments& in) {
    const double factor = in.scalar();
    const double dt = in.scalar();
    // The rate must have no effect.
    if constexpr (saturating) {
        FilterSaturating(value, target, factor, 0.125, dt);
    } else {
        FilterExact(value, target, factor, 0.125, dt);
    }
    if constexpr (std::is_same_v<Value, Q>) return flat(value, target);
    return flat(value);
}

template <bool saturating>
Numbers filterScalar(Arguments& in) {
    const double value = in.scalar();
    return filter<double, saturating>(value, in.scalar(), in);
}

template <bool saturating>
Numbers filterVector(Arguments& in) {
    const V value = in.vector();
    return filter<V, saturating>(value, in.vector(), in);
}

template <bool saturating>
Numbers filterQuat(Arguments& in) {
    const Q value = in.quat();
    return filter<Q, saturating>(value, in.quat(), in);
}

Numbers filterQuatPid(Arguments& in) {
    Q value = in.quat();
    const Q previous = in.quat();
    const Q previous2 = in.quat();
    Q target = in.quat();
    const double gainP = in.scalar();
    const double gainD = in.scalar();
    const double gainV = in.scalar();
    FilterQuatPid(value, previous, previous2, target, gainP, gainD, gainV, in.scalar());
    return flat(value, target);
}

Numbers toRotationVector(Arguments& in) {
    Q q = in.quat();
    const V v = ToRotationVector(q);
    return flat(v, q);
}

/// Calls `operation` with a first and a second argument that are drawn in this order.
template <class First, class Second, class Operation>
std::function<Numbers(Arguments&)> pair(First first, Second second, Operation operation) {
    return [=](Arguments& in) {
        const auto a = (in.*first)();
        const auto b = (in.*second)();
        return flat(operation(a, b));
    };
}

template <class First, class Operation>
std::function<Numbers(Arguments&)> single(First first, Operation operation) {
    return [=](Arguments& in) { return flat(operation((in.*first)())); };
}

using Operation = std::function<Numbers(Arguments&)>;

std::map<std::string, Operation> scalarAndVectorOperations() {
    using A = Arguments;
    return {
        {"Sign", single(&A::scalar, [](double x) { return Sign(x); })},
        {"SignZero", single(&A::scalar, [](double x) { return SignZero(x); })},
        {"SameSign", pair(&A::scalar, &A::scalar, [](double a, double b) { return SameSign(a, b) ? 1.0 : 0.0; })},
        {"ClampAbs", pair(&A::scalar, &A::scalar, [](double a, double b) { return ClampAbs(a, b); })},
        {"ClampAbsMin", pair(&A::scalar, &A::scalar, [](double a, double b) { return ClampAbsMin(a, b); })},
        {"RandomUnit", randomUnit},
        {"Dot", pair(&A::vector, &A::vector, [](V a, V b) { return Dot(a, b); })},
        {"Length", single(&A::vector, [](V v) { return Length(v); })},
        {"Normalized", single(&A::vector,
                              [](V v) {
                                  V inPlace = v;
                                  Normalize(inPlace);
                                  EXPECT_EQ(flat(inPlace), flat(Normalized(v)));
                                  return inPlace;
                              })},
        {"ClampLength", pair(&A::vector, &A::scalar, [](V v, double max) { return ClampLength(v, max); })},
        {"Divided", pair(&A::vector, &A::scalar, [](V v, double s) { return v / s; })},
        {"PropertyValue", propertyValue},
        {"SpringForce", springForce},
        {"ReverseBrakeActive", reverseBrake},
        {"FilterExact", filterScalar<false>},
        {"FilterSaturating", filterScalar<true>},
        {"FilterExactVector3", filterVector<false>},
        {"FilterSaturatingVector3", filterVector<true>},
        {"FilterExactQuat", filterQuat<false>},
        {"FilterSaturatingQuat", filterQuat<true>},
        {"FilterQuatPid", filterQuatPid},
    };
}

std::map<std::string, Operation> rotationOperations() {
    using A = Arguments;
    return {
        {"QuatDot4", pair(&A::quat, &A::quat, [](Q a, Q b) { return Dot4(a, b); })},
        {"SumAbsDiff", pair(&A::quat, &A::quat, [](Q a, Q b) { return SumAbsDiff(a, b); })},
        {"Multiply", pair(&A::quat, &A::quat, [](Q a, Q b) { return Multiply(a, b); })},
        {"Conjugate", single(&A::quat, [](Q q) { return Conjugate(q); })},
        {"Rotate", pair(&A::quat, &A::vector, [](Q q, V v) { return Rotate(q, v); })},
        {"QuatToMatrix", single(&A::quat, [](Q q) { return ToMatrix(q); })},
        {"QuatNormalized", single(&A::quat,
                                  [](Q q) {
                                      Normalize(q);
                                      return q;
                                  })},
        {"ToRotationVector", toRotationVector},
        {"FromRotationVector", single(&A::vector, [](V v) { return Q::FromRotationVector(v); })},
        {"QuatFromMatrix", single(&A::matrix, [](const Matrix4& m) { return Q::FromMatrix(m); })},
        {"Slerp",
         [](A& in) {
             const Q a = in.quat();
             const Q b = in.quat();
             return flat(Slerp(a, b, in.scalar()));
         }},
        {"TransformPoint", pair(&A::transform, &A::vector, [](const T& t, V p) { return Transform(t, p); })},
        {"TransformToMatrix", single(&A::transform, [](const T& t) { return ToMatrix(t); })},
        {"TransformFromMatrix",
         [](A& in) {
             const T t = T::FromMatrix(in.matrix());
             return flat(t.position, t.rotation);
         }},
        {"MatrixTransform", pair(&A::matrix, &A::vector, [](const Matrix4& m, V p) { return Transform(m, p); })},
        {"MatrixTransformNoProjection",
         [](A& in) {
             const Matrix4 m = in.matrix();
             const V p = in.vector();
             return flat(TransformNoProjection(m, p, in.scalar()));
         }},
        {"MatrixProduct", pair(&A::matrix, &A::matrix, [](const Matrix4& a, const Matrix4& b) { return a * b; })},
        {"Determinant", single(&A::matrix, [](const Matrix4& m) { return Determinant(m); })},
        {"Inverse", single(&A::matrix, [](const Matrix4& m) { return Inverse(m); })},
        {"Scale", single(&A::matrix, [](const Matrix4& m) { return Scale(m); })},
    };
}

const std::map<std::string, Operation>& operations() {
    static const std::map<std::string, Operation> all = [] {
        std::map<std::string, Operation> out = scalarAndVectorOperations();
        out.merge(rotationOperations());
        return out;
    }();
    return all;
}

const std::vector<golden::Line>& lines() {
    static const std::vector<golden::Line> all = golden::readFile("math_golden.jsonl");
    return all;
}

bool near(double actual, double expected, double scale) {
    return actual == expected || std::abs(actual - expected) <= kRelative * std::max(std::abs(expected), scale);
}

class MathGolden : public testing::TestWithParam<std::string> {};

TEST_P(MathGolden, GivesTheIndependentModelsValues) {
    const Operation& operation = operations().at(GetParam());
    int cases = 0;
    for (const golden::Line& line : lines()) {
        if (!line.value.has("fn") || line.value["fn"].text() != GetParam()) continue;
        ++cases;
        const Numbers given = line.value["in"].numbers();
        const Numbers expected = line.value["out"].numbers();
        const double scale = line.value.has("scale") ? line.value["scale"].number() : 0.0;
        Arguments in(given);
        const Numbers actual = operation(in);
        ASSERT_TRUE(in.usedUp()) << "line " << line.number;
        ASSERT_EQ(actual.size(), expected.size()) << "line " << line.number;
        for (std::size_t i = 0; i < expected.size(); ++i) {
            EXPECT_TRUE(near(actual[i], expected[i], scale))
                << "line " << line.number << ", number " << i << ": expected " << testing::PrintToString(expected[i])
                << ", is " << testing::PrintToString(actual[i]);
        }
    }
    EXPECT_GE(cases, 30);
}

std::vector<std::string> operationNames() {
    std::vector<std::string> names;
    for (const auto& [name, operation] : operations()) names.push_back(name);
    return names;
}

INSTANTIATE_TEST_SUITE_P(Operation, MathGolden, testing::ValuesIn(operationNames()),
                         [](const testing::TestParamInfo<std::string>& test) { return test.param; });

TEST(MathGoldenFile, HoldsNoOperationThatIsNotCompared) {
    for (const golden::Line& line : lines()) {
        if (!line.value.has("fn")) continue;
        ASSERT_TRUE(operations().contains(line.value["fn"].text())) << line.value["fn"].text();
    }
}

}  // namespace
