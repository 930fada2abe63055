#include "ond/util/AVar.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "util/PinnedRandom.h"

namespace {

using ond::test::PinnedRandom;
using ond::util::AVar;
using ond::util::AVar_Latest;
using ond::util::AVar_Linear;
using ond::util::AVar_Nearest;
using ond::util::AVarKey;
using ond::util::QTransform;
using ond::util::Quat;
using ond::util::Vector3;
using Bytes = std::vector<unsigned char>;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

// --- The block format, spelled out a second time -------------------------------------------------------------------

void append(Bytes& to, std::uint64_t bits, int count) {
    for (int i = 0; i < count; ++i) {
        to.push_back(static_cast<unsigned char>(bits % 256));
        bits /= 256;
    }
}
void append(Bytes& to, double value) { append(to, std::bit_cast<std::uint64_t>(value), 8); }
void append(Bytes& to, bool value) { append(to, value ? 1u : 0u, 1); }
void append(Bytes& to, int value) { append(to, static_cast<std::uint32_t>(value), 4); }
void append(Bytes& to, const Vector3<double>& v) {
    append(to, v.x);
    append(to, v.y);
    append(to, v.z);
}
void append(Bytes& to, const Quat<double>& q) {
    append(to, q.x);
    append(to, q.y);
    append(to, q.z);
    append(to, q.w);
}
void append(Bytes& to, const QTransform<double>& t) {
    append(to, t.position);
    append(to, t.rotation);
}

template <typename T>
Bytes bytesOf(const T& value) {
    Bytes bytes;
    append(bytes, value);
    return bytes;
}

Bytes header(std::uint32_t headerSize, std::uint32_t payloadSize, std::uint32_t version, std::uint32_t count) {
    Bytes bytes;
    append(bytes, headerSize, 4);
    append(bytes, payloadSize, 4);
    append(bytes, version, 4);
    append(bytes, count, 4);
    return bytes;
}

template <typename T>
Bytes blockOf(const std::vector<AVarKey<T>>& keys) {
    Bytes packed;
    for (const auto& key : keys) {
        append(packed, key.time);
        append(packed, key.value);
    }
    Bytes block = header(16, static_cast<std::uint32_t>(packed.size()), 100, static_cast<std::uint32_t>(keys.size()));
    block.insert(block.end(), packed.begin(), packed.end());
    return block;
}

template <typename T>
Bytes written(const AVar<T>& variable) {
    Bytes block(static_cast<std::size_t>(variable.getSerialSize()), 0xcc);
    variable.write(block.data(), variable.getSerialSize());
    return block;
}

template <typename T>
std::vector<double> times(const AVar<T>& variable) {
    std::vector<double> result;
    result.reserve(variable.keys.size());
    for (int i = 0; i < variable.getNumKeys(); ++i) result.push_back(variable.getKeyTime(i));
    return result;
}

// --- Values of each type ---------------------------------------------------------------------------------------------

template <typename T>
T randomValue(PinnedRandom& random) {
    if constexpr (std::is_same_v<T, double>) return random.chance(0.02) ? kNan : random.in(-100, 100);
    if constexpr (std::is_same_v<T, bool>) return random.chance(0.5);
    if constexpr (std::is_same_v<T, int>) return std::bit_cast<int>(random.bits());
    if constexpr (std::is_same_v<T, Vector3<double>>) return random.vector(50);
    if constexpr (std::is_same_v<T, Quat<double>>) return random.rotation();
    if constexpr (std::is_same_v<T, QTransform<double>>) return {random.vector(50), random.rotation()};
}

// --- A second, plain form of the same algorithm
// ------------------------------------------------------------------------

/// Equal in every bit; of calculated NaNs only that both are some.
template <typename T>
bool isSameResult(const T& a, const T& b) {
    if constexpr (std::is_same_v<T, double>) {
        if (std::isnan(a) && std::isnan(b)) return true;
    }
    return bytesOf(a) == bytesOf(b);
}

enum class Rule { Linear, Nearest, Latest };

template <typename Variable>
struct Kind;
template <typename T>
struct Kind<AVar_Linear<T>> {
    using Value = T;
    static constexpr Rule rule = Rule::Linear;
};
template <typename T>
struct Kind<AVar_Nearest<T>> {
    using Value = T;
    static constexpr Rule rule = Rule::Nearest;
};
template <typename T>
struct Kind<AVar_Latest<T>> {
    using Value = T;
    static constexpr Rule rule = Rule::Latest;
};

/// Searches afresh in every operation and remembers nothing, so that it is right for keys in any order.
template <typename T, Rule rule>
struct Model {
    std::vector<AVarKey<T>> keys;
    T fallback;

    [[nodiscard]] int count() const { return static_cast<int>(keys.size()); }
    [[nodiscard]] double timeOf(int i) const { return keys.at(static_cast<std::size_t>(i)).time; }
    T& at(int i) { return keys.at(static_cast<std::size_t>(i)).value; }
    [[nodiscard]] T at(int i) const { return keys.at(static_cast<std::size_t>(i)).value; }

    [[nodiscard]] int nearest(double t) const {
        if (count() == 0) return -1;
        if (timeOf(0) > t) return 0;
        int lo = 0;
        int hi = count() - 1;
        while (lo <= hi) {
            const int mid = (lo + hi) / 2;
            if (timeOf(mid) == t) return mid;
            if (timeOf(mid) > t)
                hi = mid - 1;
            else
                lo = mid + 1;
        }
        if (hi >= count() - 1) return count() - 1;
        if (hi < 0) return 0;
        const double d = t - timeOf(hi);
        return timeOf(hi + 1) - t > d ? hi : hi + 1;
    }
    [[nodiscard]] int exact(double t) const {
        int lo = 0;
        int hi = count() - 1;
        while (lo <= hi) {
            const int mid = (lo + hi) / 2;
            if (timeOf(mid) == t) return mid;
            if (timeOf(mid) > t)
                hi = mid - 1;
            else
                lo = mid + 1;
        }
        return -1;
    }
    [[nodiscard]] T between(int i, double t) const {
        const double before = timeOf(i);
        const double behind = timeOf(i + 1);
        if constexpr (rule == Rule::Linear) {
            return at(i) + (at(i + 1) - at(i)) * (t - before) / (behind - before);
        } else if constexpr (rule == Rule::Nearest) {
            return behind - t > t - before ? at(i) : at(i + 1);
        } else {
            return at(i);
        }
    }
    [[nodiscard]] T value(double t) const {
        const int i = nearest(t);
        if (i < 0) return fallback;
        if (timeOf(i) == t) return at(i);
        if (t > timeOf(i)) return i < count() - 1 ? between(i, t) : at(i);
        return i >= 1 ? between(i - 1, t) : at(0);
    }
    int insert(double t, const T& v) {
        if (count() == 0 || t > timeOf(count() - 1)) {
            keys.push_back({t, v});
            return count() - 1;
        }
        for (int i = count() - 1; i >= 0; --i) {
            if (timeOf(i) == t) {
                at(i) = v;
                return i;
            }
            if (t > timeOf(i)) {
                keys.insert(keys.begin() + i + 1, {t, v});
                return i + 1;
            }
        }
        keys.insert(keys.begin(), {t, v});
        return 0;
    }
    T& set(double t, const T& v) {
        int i = exact(t);
        if (i < 0) i = insert(t, v);
        return at(i) = v;
    }
    void erase(double t) {
        if (count() == 0) return;
        int i = nearest(t);
        if (t > timeOf(i)) ++i;
        if (i < count()) keys.resize(static_cast<std::size_t>(i));
    }
};

template <typename Variable>
class AVarOfEveryType : public testing::Test {
  public:
    using ValueType = typename Kind<Variable>::Value;
    using ModelOfType = Model<ValueType, Kind<Variable>::rule>;
};

using SixVariables =
    testing::Types<AVar_Linear<double>, AVar_Nearest<QTransform<double>>, AVar_Nearest<Vector3<double>>,
                   AVar_Nearest<Quat<double>>, AVar_Nearest<bool>, AVar_Latest<int>>;
TYPED_TEST_SUITE(AVarOfEveryType, SixVariables);

// --- Every type
// --------------------------------------------------------------------------------------------------------

TYPED_TEST(AVarOfEveryType, EmptyGivesItsFallbackAtEveryTime) {
    using T = typename TestFixture::ValueType;
    PinnedRandom random(1);
    T fallback = randomValue<T>(random);
    if constexpr (std::is_same_v<T, bool>) fallback = true;
    const TypeParam variable(fallback);
    for (const double t : {-kInfinity, -5.0, 0.0, 0.04, 1e300, kInfinity, kNan})
        EXPECT_EQ(bytesOf(variable.valueAt(t)), bytesOf(fallback));
}

TYPED_TEST(AVarOfEveryType, FallbackIsTheDefaultValueUnlessGiven) {
    using T = typename TestFixture::ValueType;
    EXPECT_EQ(bytesOf(TypeParam().valueAt(1.0)), bytesOf(T()));
}

TYPED_TEST(AVarOfEveryType, EmptySerialisesToSixteenBytesAndIgnoresErasing) {
    TypeParam variable;
    variable.eraseFrom(0.0);
    EXPECT_EQ(variable.getNumKeys(), 0);
    EXPECT_EQ(variable.getSerialSize(), 16);
    EXPECT_EQ(written(variable), header(16, 0, 100, 0));
    EXPECT_EQ(variable.nearestKeyIndex(0.0), -1);
    EXPECT_EQ(variable.exactKeyIndex(0.0), -1);
}

TYPED_TEST(AVarOfEveryType, OneKeyGivesItsValueAtEveryTime) {
    using T = typename TestFixture::ValueType;
    PinnedRandom random(2);
    TypeParam variable;
    T value = randomValue<T>(random);
    if constexpr (std::is_same_v<T, bool>) value = true;
    variable.setKey(3.0, value);
    for (const double t : {-kInfinity, -1.0, 2.999, 3.0, 3.001, kInfinity, kNan})
        EXPECT_EQ(bytesOf(variable.valueAt(t)), bytesOf(value));
}

TYPED_TEST(AVarOfEveryType, NewKeysBehindAheadAndBetween) {
    using T = typename TestFixture::ValueType;
    PinnedRandom random(3);
    TypeParam variable;
    variable.setKey(2.0, randomValue<T>(random));
    variable.setKey(4.0, randomValue<T>(random));
    EXPECT_EQ(times(variable), (std::vector{2.0, 4.0}));
    variable.setKey(1.0, randomValue<T>(random));
    EXPECT_EQ(times(variable), (std::vector{1.0, 2.0, 4.0}));
    variable.setKey(3.0, randomValue<T>(random));
    EXPECT_EQ(times(variable), (std::vector{1.0, 2.0, 3.0, 4.0}));
    variable.setKey(5.0, randomValue<T>(random));
    EXPECT_EQ(times(variable), (std::vector{1.0, 2.0, 3.0, 4.0, 5.0}));
}

TYPED_TEST(AVarOfEveryType, SettingAnExistingTimeReplacesTheValueAndKeepsTheCount) {
    using T = typename TestFixture::ValueType;
    PinnedRandom random(4);
    for (const double t : {1.0, 2.0, 3.0}) {
        TypeParam variable;
        for (const double k : {1.0, 2.0, 3.0}) variable.setKey(k, T());
        T value = randomValue<T>(random);
        if constexpr (std::is_same_v<T, bool>) value = true;
        const T& stored = variable.setKey(t, value);
        EXPECT_EQ(times(variable), (std::vector{1.0, 2.0, 3.0}));
        EXPECT_EQ(bytesOf(variable.valueAt(t)), bytesOf(value));
        EXPECT_EQ(&stored, &variable.keys[static_cast<std::size_t>(t) - 1].value);
    }
}

TYPED_TEST(AVarOfEveryType, ErasesTheKeysAtAndBehindATime) {
    using T = typename TestFixture::ValueType;
    const auto left = [](double t) {
        TypeParam variable;
        for (const double k : {1.0, 2.0, 3.0}) variable.setKey(k, T());
        variable.eraseFrom(t);
        return times(variable);
    };
    EXPECT_EQ(left(2.0), (std::vector{1.0}));
    EXPECT_EQ(left(2.5), (std::vector{1.0, 2.0}));
    EXPECT_EQ(left(2.4), (std::vector{1.0, 2.0}));
    EXPECT_EQ(left(2.6), (std::vector{1.0, 2.0}));
    EXPECT_EQ(left(9.0), (std::vector{1.0, 2.0, 3.0}));
    EXPECT_EQ(left(3.0), (std::vector{1.0, 2.0}));
    EXPECT_EQ(left(1.0), std::vector<double>{});
    EXPECT_EQ(left(-9.0), std::vector<double>{});
}

TYPED_TEST(AVarOfEveryType, FindsNearestAndExactKeys) {
    using T = typename TestFixture::ValueType;
    TypeParam variable;
    for (const double k : {1.0, 2.0, 4.0}) variable.setKey(k, T());
    EXPECT_EQ(variable.nearestKeyIndex(0.0), 0);
    EXPECT_EQ(variable.nearestKeyIndex(1.0), 0);
    EXPECT_EQ(variable.nearestKeyIndex(std::nextafter(1.5, 0.0)), 0);
    EXPECT_EQ(variable.nearestKeyIndex(1.5), 1);
    EXPECT_EQ(variable.nearestKeyIndex(2.9), 1);
    EXPECT_EQ(variable.nearestKeyIndex(3.0), 2);
    EXPECT_EQ(variable.nearestKeyIndex(9.0), 2);
    EXPECT_EQ(variable.exactKeyIndex(1.0), 0);
    EXPECT_EQ(variable.exactKeyIndex(4.0), 2);
    EXPECT_EQ(variable.exactKeyIndex(std::nextafter(2.0, 3.0)), -1);
}

TYPED_TEST(AVarOfEveryType, InsertKeyReturnsTheIndexOfTheNewOrReplacedKey) {
    using T = typename TestFixture::ValueType;
    PinnedRandom random(5);
    TypeParam variable;
    EXPECT_EQ(variable.insertKey(2.0, T()), 0);
    EXPECT_EQ(variable.insertKey(4.0, T()), 1);
    EXPECT_EQ(variable.insertKey(3.0, T()), 1);
    EXPECT_EQ(variable.insertKey(1.0, T()), 0);
    const T value = randomValue<T>(random);
    EXPECT_EQ(variable.insertKey(3.0, value), 2);
    EXPECT_EQ(times(variable), (std::vector{1.0, 2.0, 3.0, 4.0}));
    EXPECT_EQ(bytesOf(variable.keys[2].value), bytesOf(value));
}

TYPED_TEST(AVarOfEveryType, CopyTakesKeysAndFallbackAndIsIndependent) {
    using T = typename TestFixture::ValueType;
    PinnedRandom random(6);
    T value = randomValue<T>(random);
    if constexpr (std::is_same_v<T, bool>) value = true;
    TypeParam variable(value);
    variable.setKey(1.0, value);
    const TypeParam copy = variable;
    TypeParam assigned;
    assigned.setKey(7.0, T());
    assigned = variable;
    variable.eraseFrom(0.0);
    for (const TypeParam* each : {&copy, const_cast<const TypeParam*>(&assigned)}) {
        EXPECT_EQ(times(*each), (std::vector{1.0}));
        EXPECT_EQ(bytesOf(each->valueAt(1.0)), bytesOf(value));
        EXPECT_EQ(bytesOf(each->fallback), bytesOf(value));
    }
}

TYPED_TEST(AVarOfEveryType, SwapExchangesKeysAndFallback) {
    using T = typename TestFixture::ValueType;
    PinnedRandom random(7);
    T value = randomValue<T>(random);
    if constexpr (std::is_same_v<T, bool>) value = true;
    TypeParam a(value);
    a.setKey(1.0, value);
    a.setKey(2.0, value);
    TypeParam b;
    b.setKey(5.0, T());
    a.swap(b);
    EXPECT_EQ(times(a), (std::vector{5.0}));
    EXPECT_EQ(times(b), (std::vector{1.0, 2.0}));
    EXPECT_EQ(bytesOf(a.fallback), bytesOf(T()));
    EXPECT_EQ(bytesOf(b.fallback), bytesOf(value));
    // Appending relies on what each side knows of its keys.
    a.setKey(6.0, T());
    b.setKey(1.5, T());
    b.setKey(3.0, T());
    EXPECT_EQ(times(a), (std::vector{5.0, 6.0}));
    EXPECT_EQ(times(b), (std::vector{1.0, 1.5, 2.0, 3.0}));
}

TYPED_TEST(AVarOfEveryType, ValueMayComeFromTheVariableItself) {
    using T = typename TestFixture::ValueType;
    PinnedRandom random(8);
    TypeParam variable;
    T value = randomValue<T>(random);
    if constexpr (std::is_same_v<T, bool>) value = true;
    variable.setKey(0.0, value);
    for (int i = 1; i < 100; ++i) {
        variable.setKey(i, variable.keys.front().value);
        variable.setKey(-i, variable.keys.back().value);
    }
    ASSERT_EQ(variable.getNumKeys(), 199);
    for (const auto& key : variable.keys) EXPECT_EQ(bytesOf(key.value), bytesOf(value));
}

// --- Rules
// -------------------------------------------------------------------------------------------------------------

TEST(AVarLinear, InterpolatesAndHoldsTheEndValues) {
    AVar_Linear<double> variable;
    variable.setKey(1.0, 10.0);
    variable.setKey(3.0, 30.0);
    EXPECT_EQ(variable.valueAt(2.0), 20.0);
    EXPECT_EQ(variable.valueAt(0.0), 10.0);
    EXPECT_EQ(variable.valueAt(4.0), 30.0);
}

TEST(AVarLinear, MultipliesBeforeItDivides) {
    AVar_Linear<double> variable;
    const AVarKey<double> a{0.1, 0.3};
    const AVarKey<double> b{0.8, 7.7};
    PinnedRandom random(9);
    int different = 0;
    for (int i = 0; i < 1000; ++i) {
        const double t = random.in(0.1, 0.8);
        const double product = (7.7 - 0.3) * (t - 0.1);
        AVarKey<double> out;
        EXPECT_EQ(&variable.interpolate(out, a, b, t), &out);
        EXPECT_EQ(out.value, 0.3 + product / (0.8 - 0.1));
        EXPECT_EQ(out.time, t);
        if (0.3 + (7.7 - 0.3) * ((t - 0.1) / (0.8 - 0.1)) != out.value) ++different;
    }
    EXPECT_GT(different, 100);
}

TEST(AVarNearest, LaterKeyWinsAtEqualDistance) {
    AVar_Nearest<bool> variable;
    variable.setKey(1.0, false);
    variable.setKey(2.0, true);
    EXPECT_TRUE(variable.valueAt(1.5));
    EXPECT_FALSE(variable.valueAt(std::nextafter(1.5, 0.0)));
    EXPECT_FALSE(variable.valueAt(0.0));
    EXPECT_TRUE(variable.valueAt(9.0));
}

TEST(AVarNearest, CopiesTheWholeKey) {
    const AVar_Nearest<Vector3<double>> variable;
    const AVarKey<Vector3<double>> a{1.0, {1, 2, 3}};
    const AVarKey<Vector3<double>> b{2.0, {4, 5, 6}};
    AVarKey<Vector3<double>> out;
    EXPECT_EQ(&variable.interpolate(out, a, b, 1.25), &out);
    EXPECT_EQ(out.time, 1.0);
    EXPECT_EQ(out.value, a.value);
    variable.interpolate(out, a, b, 1.5);
    EXPECT_EQ(out.time, 2.0);
    EXPECT_EQ(out.value, b.value);
}

TEST(AVarLatest, HoldsTheEarlierKeyUntilTheNext) {
    AVar_Latest<int> variable(1000);
    EXPECT_EQ(variable.valueAt(0.0), 1000);
    variable.setKey(1.0, 7);
    variable.setKey(2.0, 8);
    for (const double t : {1.0, 1.25, 1.5, 1.75, std::nextafter(2.0, 0.0)}) EXPECT_EQ(variable.valueAt(t), 7) << t;
    for (const double t : {-kInfinity, -3.0, 0.0, std::nextafter(1.0, 0.0)}) EXPECT_EQ(variable.valueAt(t), 7) << t;
    EXPECT_EQ(variable.valueAt(2.0), 8);
    EXPECT_EQ(variable.valueAt(5.0), 8);
}

TEST(AVarKeyDefault, HasTimeMinusOneAndTheDefaultValue) {
    EXPECT_EQ(AVarKey<double>().time, -1.0);
    EXPECT_EQ(AVarKey<Vector3<double>>().value, (Vector3<double>(0, 0, 0)));
    EXPECT_EQ(AVarKey<Quat<double>>().value, (Quat<double>(0, 0, 0, 1)));
    EXPECT_EQ(AVarKey<QTransform<double>>().value.rotation, (Quat<double>(0, 0, 0, 1)));
    EXPECT_EQ(AVarKey<int>().value, 0);
}

// --- Blocks
// --------------------------------------------------------------------------------------------------------------

TEST(AVarBlock, SizeOfAKeyOfEachType) {
    const auto keySize = [](auto variable) {
        variable.setKey(0.0, {});
        variable.setKey(1.0, {});
        return (variable.getSerialSize() - 16) / 2.0;
    };
    EXPECT_EQ(keySize(AVar_Linear<double>()), 16);
    EXPECT_EQ(keySize(AVar_Nearest<QTransform<double>>()), 64);
    EXPECT_EQ(keySize(AVar_Nearest<Vector3<double>>()), 32);
    EXPECT_EQ(keySize(AVar_Nearest<Quat<double>>()), 40);
    EXPECT_EQ(keySize(AVar_Nearest<bool>()), 9);
    EXPECT_EQ(keySize(AVar_Latest<int>()), 12);
}

TEST(AVarBlock, BytesOfABoolVariable) {
    AVar_Nearest<bool> variable;
    variable.setKey(1.0, true);
    variable.setKey(2.0, false);
    const Bytes expected = {16, 0, 0, 0, 18, 0,    0,    0, 100, 0, 0, 0, 2, 0, 0, 0,    0,
                            0,  0, 0, 0, 0,  0xf0, 0x3f, 1, 0,   0, 0, 0, 0, 0, 0, 0x40, 0};
    EXPECT_EQ(written(variable), expected);
}

TEST(AVarBlock, BytesOfAnIntVariable) {
    AVar_Latest<int> variable;
    variable.setKey(-2.5, -2);
    const Bytes expected = {16, 0, 0, 0, 12, 0, 0, 0, 100, 0,    0,    0,    1,    0,
                            0,  0, 0, 0, 0,  0, 0, 0, 4,   0xc0, 0xfe, 0xff, 0xff, 0xff};
    EXPECT_EQ(written(variable), expected);
}

TEST(AVarBlock, ReadsAndWritesBoolKeysAtOddAddresses) {
    AVar_Nearest<bool> variable;
    for (int i = 0; i < 10; ++i) variable.setKey(i * 0.125, i % 3 == 0);
    const Bytes block = written(variable);
    for (std::size_t shift = 0; shift < 8; ++shift) {
        Bytes shifted(block.size() + shift, 0xee);
        variable.write(shifted.data() + shift, variable.getSerialSize());
        EXPECT_EQ(Bytes(shifted.begin() + static_cast<std::ptrdiff_t>(shift), shifted.end()), block);
        AVar_Nearest<bool> back;
        back.read(shifted.data() + shift, block.size());
        EXPECT_EQ(written(back), block);
    }
}

TYPED_TEST(AVarOfEveryType, BufferOneByteTooSmallGetsTheHeaderAlone) {
    using T = typename TestFixture::ValueType;
    TypeParam variable;
    for (int i = 0; i < 3; ++i) variable.setKey(i, T());
    const int size = variable.getSerialSize();
    for (const int tooSmall : {size - 1, 17, 16, 0, -1}) {
        Bytes buffer(static_cast<std::size_t>(size), 0xcc);
        variable.write(buffer.data(), tooSmall);
        Bytes expected = header(16, static_cast<std::uint32_t>(size - 16), 100, 0);
        expected.resize(static_cast<std::size_t>(size), 0xcc);
        EXPECT_EQ(buffer, expected) << tooSmall;
    }
    Bytes buffer(static_cast<std::size_t>(size) + 1, 0xcc);
    variable.write(buffer.data(), size + 1);
    EXPECT_EQ(buffer[12], 3);
    EXPECT_EQ(buffer.back(), 0xcc);
}

TYPED_TEST(AVarOfEveryType, BlockOfAnotherVersionOrHeaderSizeChangesNothing) {
    using T = typename TestFixture::ValueType;
    TypeParam variable;
    for (int i = 1; i < 4; ++i) variable.setKey(i, T());
    const Bytes before = written(variable);
    const Bytes good = blockOf<T>({{7.0, T()}, {8.0, T()}});
    for (const std::size_t place : {0u, 1u, 3u, 8u, 10u, 11u}) {
        Bytes bad = good;
        bad[place] = static_cast<unsigned char>(bad[place] - 1);
        variable.read(bad.data());
        EXPECT_EQ(written(variable), before) << place;
        variable.read(bad.data(), bad.size());
        EXPECT_EQ(written(variable), before) << place;
    }
    variable.read(good.data());
    EXPECT_EQ(written(variable), good);
}

TYPED_TEST(AVarOfEveryType, WrongPayloadSizeLeavesDefaultKeys) {
    using T = typename TestFixture::ValueType;
    const Bytes good = blockOf<T>({{7.0, T()}, {8.0, T()}, {9.0, T()}});
    const Bytes defaults = blockOf<T>({{}, {}, {}});
    for (const int step : {-1, 1}) {
        Bytes bad = good;
        bad[4] = static_cast<unsigned char>(bad[4] + step);
        TypeParam variable;
        variable.setKey(5.0, T());
        variable.read(bad.data());
        EXPECT_EQ(times(variable), (std::vector{-1.0, -1.0, -1.0}));
        EXPECT_EQ(written(variable), defaults);
        TypeParam bounded;
        bounded.read(bad.data(), bad.size());
        EXPECT_EQ(written(bounded), defaults);
    }
}

TYPED_TEST(AVarOfEveryType, BlockTruncatedAtEveryLength) {
    using T = typename TestFixture::ValueType;
    PinnedRandom random(10);
    std::vector<AVarKey<T>> keys;
    keys.reserve(5);
    for (int i = 0; i < 5; ++i) keys.push_back({i * 0.5, randomValue<T>(random)});
    const Bytes good = blockOf<T>(keys);
    const Bytes defaults = blockOf<T>(std::vector<AVarKey<T>>(5));
    TypeParam old;
    old.setKey(5.0, T());
    for (std::size_t size = 0; size <= good.size(); ++size) {
        // Exactly as long as it says, so that a memory checker sees a read behind the end.
        const Bytes cut(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size));
        TypeParam variable = old;
        variable.read(cut.data(), cut.size());
        EXPECT_EQ(written(variable), size < 16 ? written(old) : size < good.size() ? defaults : good) << size;
    }
}

TYPED_TEST(AVarOfEveryType, NullChangesNothing) {
    using T = typename TestFixture::ValueType;
    TypeParam variable;
    variable.setKey(5.0, T());
    variable.read(nullptr);
    variable.read(nullptr, 1000);
    EXPECT_EQ(times(variable), (std::vector{5.0}));
}

TYPED_TEST(AVarOfEveryType, KeysThatTheBufferCannotHoldAreNotAllocated) {
    using T = typename TestFixture::ValueType;
    TypeParam variable;
    variable.setKey(5.0, T());
    const Bytes before = written(variable);
    for (const std::uint32_t count : {65537u, 1u << 20, 0x7fffffffu, 0x80000000u, 0xffffffffu}) {
        const Bytes block = header(16, count * static_cast<std::uint32_t>(TypeParam::kKeySize), 100, count);
        variable.read(block.data(), block.size());
        EXPECT_EQ(written(variable), before) << count;
    }
    const Bytes block = header(16, 65536u * static_cast<std::uint32_t>(TypeParam::kKeySize), 100, 65536);
    variable.read(block.data(), block.size());
    ASSERT_EQ(variable.getNumKeys(), 65536);
    EXPECT_EQ(variable.getKeyTime(0), -1.0);
    EXPECT_EQ(variable.getKeyTime(65535), -1.0);
}

TYPED_TEST(AVarOfEveryType, MoreThan65536KeysThatAreThereAreRead) {
    using T = typename TestFixture::ValueType;
    TypeParam variable;
    for (int i = 0; i < 70000; ++i) variable.setKey(i, T());
    Bytes block = written(variable);
    TypeParam back;
    back.read(block.data(), block.size());
    EXPECT_EQ(back.getNumKeys(), 70000);
    EXPECT_EQ(written(back), block);
    block[4] ^= 1;
    back.read(block.data(), block.size());
    ASSERT_EQ(back.getNumKeys(), 70000);
    EXPECT_EQ(back.getKeyTime(69999), -1.0);
}

TYPED_TEST(AVarOfEveryType, MakesRoomForTheKeysThatFollowIfAsked) {
    using T = typename TestFixture::ValueType;
    TypeParam variable;
    for (int i = 0; i < 5000; ++i) variable.setKey(i, T());
    const Bytes block = written(variable);
    TypeParam back;
    back.read(block.data(), block.size(), 700);
    EXPECT_EQ(written(back), block);
    const void* const place = back.keys.data();
    for (int i = 0; i < 700; ++i) back.setKey(5000 + i, T());
    EXPECT_EQ(back.keys.data(), place);
    TypeParam tight;
    tight.read(block.data(), block.size());
    EXPECT_EQ(tight.keys.capacity(), 5000u);
}

TEST(AVarBlock, EveryBoolByteButZeroIsTrue) {
    Bytes block = header(16, 9, 100, 1);
    append(block, 1.0);
    block.push_back(0);
    for (int byte = 0; byte < 256; ++byte) {
        block.back() = static_cast<unsigned char>(byte);
        AVar_Nearest<bool> variable;
        variable.read(block.data());
        EXPECT_EQ(variable.valueAt(1.0), byte != 0);
        EXPECT_EQ(written(variable).back(), byte != 0 ? 1 : 0);
    }
}

TEST(AVarBlock, NanKeepsItsBits) {
    AVar_Linear<double> variable;
    Bytes block = header(16, 32, 100, 2);
    append(block, 1.0);
    append(block, 0x7ff8123456789abcu, 8);
    append(block, 0xfff4123456789abcu, 8);
    append(block, 0xfff0000000000001u, 8);
    variable.read(block.data(), block.size());
    ASSERT_EQ(variable.getNumKeys(), 2);
    EXPECT_EQ(written(variable), block);
}

TEST(AVarBlock, ReadIsReachedThroughTheBase) {
    AVar_Linear<double> variable;
    AVar<double>& base = variable;
    const Bytes block = blockOf<double>({{1.0, 2.0}});
    base.read(block.data());
    EXPECT_EQ(base.valueAt(1.0), 2.0);
    EXPECT_EQ(base.getSerialSize(), 32);
}

// --- Against the plain form
// -------------------------------------------------------------------------------------------------

/// Mostly few distinct times, so that keys meet; now and then what no host sends.
double randomTime(PinnedRandom& random) {
    if (random.chance(0.02)) {
        const double strange[] = {kNan, kInfinity, -kInfinity, -0.0, 1e308, 5e-324};
        return strange[random.bits() % 6];
    }
    if (random.chance(0.1)) return random.in(-1, 11);
    return (random.bits() % 80) * 0.125;
}

TYPED_TEST(AVarOfEveryType, BehavesLikeThePlainFormOverRandomOperations) {
    using T = typename TestFixture::ValueType;
    int fallbacksSeen = 0;
    int longest = 0;
    for (std::uint64_t seed = 1; seed <= 40; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        PinnedRandom random(seed);
        const T fallback = randomValue<T>(random);
        TypeParam variable(fallback);
        typename TestFixture::ModelOfType model{{}, fallback};
        TypeParam other;
        typename TestFixture::ModelOfType otherModel{{}, T()};
        double now = 0.0;
        for (int step = 0; step < 400; ++step) {
            const double t = randomTime(random);
            const T value = randomValue<T>(random);
            switch (random.bits() % 12) {
                case 0:
                case 1: ASSERT_EQ(bytesOf(variable.setKey(t, value)), bytesOf(model.set(t, value))); break;
                case 2:
                case 3:
                case 4:
                    now += 0.125;
                    ASSERT_EQ(bytesOf(variable.setKey(now, value)), bytesOf(model.set(now, value)));
                    break;
                case 5: ASSERT_EQ(variable.insertKey(t, value), model.insert(t, value)); break;
                case 6:
                    if (!random.chance(0.3)) break;
                    variable.eraseFrom(t);
                    model.erase(t);
                    now = t == t && std::abs(t) < 20 ? t : 0.0;
                    break;
                case 7:
                    if (!random.chance(0.2)) break;
                    variable.swap(other);
                    std::swap(model, otherModel);
                    break;
                case 8:
                    if (!random.chance(0.1)) break;
                    other = variable;
                    otherModel = model;
                    break;
                case 9: {
                    if (!random.chance(0.3)) break;
                    std::vector<AVarKey<T>> keys;
                    const bool sorted = random.chance(0.5);
                    for (std::uint32_t i = random.bits() % 20; i > 0; --i)
                        keys.push_back({sorted ? 5.0 - i * 0.25 : randomTime(random), randomValue<T>(random)});
                    const Bytes block = blockOf(keys);
                    if (random.chance(0.5)) {
                        variable.read(block.data());
                    } else {
                        variable.read(block.data(), block.size());
                    }
                    model.keys = keys;
                    break;
                }
                case 10:
                    // What others may do to the keys beside the operations.
                    if (!random.chance(0.3)) break;
                    if (random.chance(0.5)) variable.keys.reserve(variable.keys.size() + random.bits() % 40);
                    if (random.chance(0.2)) variable.keys.shrink_to_fit();
                    if (random.chance(0.3)) {
                        variable.keys.push_back({t, value});
                        model.keys.push_back({t, value});
                    }
                    break;
                default: {
                    if (!random.chance(0.2)) break;
                    TypeParam taken(std::move(variable));
                    if (random.chance(0.5)) variable.setKey(t, value);
                    variable = std::move(taken);
                    if (random.chance(0.5)) taken.setKey(t, value);
                    break;
                }
            }
            longest = std::max(longest, model.count());
            fallbacksSeen += model.count() == 0 ? 1 : 0;
            ASSERT_EQ(variable.getNumKeys(), model.count()) << "step " << step;
            ASSERT_EQ(written(variable), blockOf(model.keys)) << "step " << step;
            const double at = randomTime(random);
            ASSERT_EQ(variable.nearestKeyIndex(at), model.nearest(at)) << "step " << step << " at " << at;
            ASSERT_EQ(variable.exactKeyIndex(at), model.exact(at)) << "step " << step << " at " << at;
            ASSERT_TRUE(isSameResult(variable.valueAt(at), model.value(at))) << "step " << step << " at " << at;
        }
    }
    EXPECT_GT(fallbacksSeen, 100);
    EXPECT_GT(longest, 50);
}

TEST(AVarUnsorted, AppendingBehindUnsortedKeysFindsTheTimeInTheMiddle) {
    // The search looks at the middle key first, so a time behind the last key may be one that is there already.
    const Bytes block = blockOf<double>({{1.0, 1.0}, {9.0, 2.0}, {3.0, 3.0}});
    AVar_Linear<double> variable;
    variable.read(block.data(), block.size());
    variable.setKey(9.0, 5.0);
    EXPECT_EQ(times(variable), (std::vector{1.0, 9.0, 3.0}));
    EXPECT_EQ(variable.keys[1].value, 5.0);
    variable.setKey(4.0, 6.0);
    EXPECT_EQ(times(variable), (std::vector{1.0, 9.0, 3.0, 4.0}));
}

TEST(AVarUnsorted, KeysEditedFromOutsideAreSearchedAfresh) {
    AVar_Linear<double> variable;
    variable.setKey(1.0, 1.0);
    variable.keys.push_back({9.0, 2.0});
    variable.keys.push_back({3.0, 3.0});
    variable.setKey(9.0, 5.0);
    EXPECT_EQ(times(variable), (std::vector{1.0, 9.0, 3.0}));
    variable.keys.clear();
    variable.setKey(2.0, 5.0);
    variable.setKey(3.0, 5.0);
    EXPECT_EQ(times(variable), (std::vector{2.0, 3.0}));
}

// --- Long blocks against the plain form

enum class Order { ascending, oneFall, oneEqual, oneNan, nanFirst, infinities, any };

/// Times of `count` keys at 25 frames a second, with at most one place that is out of order.
std::vector<double> timesInOrder(PinnedRandom& random, Order order, std::size_t count) {
    std::vector<double> result(count);
    for (std::size_t i = 0; i < count; ++i) result[i] = static_cast<double>(i) * 0.04;
    if (count < 2) {
        if (count == 1 && order == Order::nanFirst) result[0] = kNan;
        return result;
    }
    const std::size_t place = 1 + random.bits() % (count - 1);
    switch (order) {
        case Order::ascending: break;
        case Order::oneFall: result[place] = -1.0; break;
        case Order::oneEqual: result[place] = result[place - 1]; break;
        case Order::oneNan: result[place] = kNan; break;
        case Order::nanFirst: result[0] = kNan; break;
        case Order::infinities:
            result.front() = -kInfinity;
            result.back() = kInfinity;
            break;
        case Order::any:
            for (double& time : result) time = random.in(-1000, 1000);
            break;
    }
    return result;
}

TYPED_TEST(AVarOfEveryType, LongBlocksAreReadAndGoOnLikeThePlainForm) {
    using T = typename TestFixture::ValueType;
    int replaced = 0;
    for (std::uint64_t seed = 1; seed <= 60; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        PinnedRandom random(seed);
        const auto order = static_cast<Order>(random.bits() % 7);
        const std::size_t count = random.chance(0.3) ? random.bits() % 4 : random.bits() % 600;
        typename TestFixture::ModelOfType model{{}, T()};
        for (const double time : timesInOrder(random, order, count))
            model.keys.push_back({time, randomValue<T>(random)});
        const Bytes block = blockOf(model.keys);
        const std::size_t shift = random.bits() % 8;
        Bytes shifted(shift, 0xee);
        shifted.insert(shifted.end(), block.begin(), block.end());

        TypeParam variable;
        for (std::uint32_t i = random.bits() % 700; i > 0; --i) variable.setKey(1000.0 - i, T());
        variable.read(shifted.data() + shift, block.size());
        ASSERT_EQ(written(variable), block);
        TypeParam copy;
        if (random.chance(0.5)) copy = variable;
        // Mostly behind the last key, where a search may still find the time if the keys are out of order.
        for (int step = 0; step < 20; ++step) {
            const double last = model.count() > 0 ? model.timeOf(model.count() - 1) : 0.0;
            double t = random.chance(0.8) ? last + 0.04 : random.in(-1000, 1000);
            // The search looks at the middle first.
            if (model.count() > 0 && random.chance(0.3)) t = model.timeOf((model.count() - 1) / 2);
            const T value = randomValue<T>(random);
            const int before = model.count();
            ASSERT_EQ(bytesOf(variable.setKey(t, value)), bytesOf(model.set(t, value)));
            replaced += model.count() == before && t > last ? 1 : 0;
            if (random.chance(0.1)) {
                variable.eraseFrom(t);
                model.erase(t);
            }
        }
        ASSERT_EQ(written(variable), blockOf(model.keys));
        if (copy.getNumKeys() > 0) {
            ASSERT_EQ(written(copy), block) << "a copy has keys of its own";
        }
    }
    EXPECT_GT(replaced, 5) << "times behind the last key that the search finds";
}

TYPED_TEST(AVarOfEveryType, KeysWithRoomAheadAreTheSame) {
    using T = typename TestFixture::ValueType;
    PinnedRandom random(12);
    TypeParam variable;
    TypeParam roomy;
    roomy.keys.reserve(300);
    for (int i = 0; i < 1000; ++i) {
        const T value = randomValue<T>(random);
        if (i == 500) roomy.keys.reserve(2000);
        const T* const stored = &variable.setKey(i * 0.04, value);
        EXPECT_EQ(stored, &variable.keys.back().value);
        const T* const roomyStored = &roomy.setKey(i * 0.04, value);
        EXPECT_EQ(roomyStored, &roomy.keys.back().value);
    }
    EXPECT_EQ(variable.getNumKeys(), 1000);
    EXPECT_EQ(written(variable), written(roomy));
}

TYPED_TEST(AVarOfEveryType, NoiseBlocksAreTakenWithoutHarm) {
    using T = typename TestFixture::ValueType;
    PinnedRandom random(11);
    int defaultKeys = 0;
    for (int round = 0; round < 2000; ++round) {
        Bytes block = header(16, random.bits() % 100, 100, random.bits() % 10);
        const std::size_t size = 16 + random.bits() % 200;
        while (block.size() < size) block.push_back(static_cast<unsigned char>(random.bits()));
        if (random.chance(0.3)) block[random.bits() % 16] = static_cast<unsigned char>(random.bits());
        TypeParam variable;
        variable.setKey(1.0, T());
        variable.read(block.data(), block.size());
        ASSERT_LE(variable.getNumKeys(), 65536);
        const double t = random.in(-1, 1);
        (void)variable.valueAt(t);
        variable.setKey(t, T());
        variable.eraseFrom(t);
        defaultKeys += variable.getNumKeys() > 1 ? 1 : 0;
    }
    EXPECT_GT(defaultKeys, 0);
}

// Concrete classes cannot be derived from and the base cannot be copied or destroyed on its own.
static_assert(std::is_final_v<AVar_Linear<double>> && std::is_final_v<AVar_Nearest<bool>>);
static_assert(!std::has_virtual_destructor_v<AVar<double>> && !std::is_destructible_v<AVar<double>>);
static_assert(std::is_base_of_v<AVar<int>, AVar_Latest<int>> && std::is_copy_assignable_v<AVar_Latest<int>>);

}  // namespace
