#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "ond/ovs/CCamera.h"
#include "ond/ovs/CREEventUndo.h"
#include "ond/ovs/CVariableModUndo.h"

namespace ond::ovs {
namespace {

using util::AVar_Latest;
using util::AVar_Linear;
using util::AVar_Nearest;
using util::QTransform;
using util::Quat;
using util::Vector3;

/// A value of type T that differs for each `n`.
template <typename T>
T sample(int n);
template <>
double sample<double>(int n) {
    return 10.0 * n + 0.5;
}
template <>
int sample<int>(int n) {
    return 100 + n;
}
template <>
bool sample<bool>(int n) {
    return n % 2 != 0;
}
template <>
Vector3<double> sample<Vector3<double>>(int n) {
    return {1.0 * n, 2.0 * n, -3.0 * n};
}
template <>
Quat<double> sample<Quat<double>>(int n) {
    return {0.1 * n, 0.2, -0.3, 0.4 * n};
}
template <>
QTransform<double> sample<QTransform<double>>(int n) {
    return {sample<Vector3<double>>(n), sample<Quat<double>>(n)};
}

/// All that a variable holds: fallback, and each key.
template <typename V>
struct History;
template <template <typename> class Rule, typename T>
struct History<Rule<T>> {
    using Value = T;
    using Keys = std::vector<std::pair<double, T>>;
    static Keys keys(const Rule<T>& variable) {
        Keys result;
        for (int i = 0; i < variable.getNumKeys(); ++i)
            result.emplace_back(variable.getKeyTime(i), variable.valueAt(variable.getKeyTime(i)));
        return result;
    }
    /// What an empty copy answers; the copy keeps the fallback.
    static T fallback(Rule<T> variable) {
        variable.eraseFrom(-1e300);
        return variable.valueAt(0.0);
    }
};

template <typename V>
class VariableUndo : public testing::Test {
  protected:
    using H = History<V>;
    using T = typename H::Value;

    void SetUp() override {
        // Before the snapshot: keys at 0, 1 and 2. After it: cut behind 0, and other values from 1.5 on.
        for (int i = 0; i < 3; ++i) variable.setKey(i, sample<T>(i));
        before = H::keys(variable);
        record = CVariableModUndo<V>::make(&variable);
        ASSERT_NE(record, nullptr);
        variable.eraseFrom(1.0);
        variable.setKey(1.5, sample<T>(7));
        after = H::keys(variable);
        ASSERT_NE(before, after);
    }
    void TearDown() override {
        if (record != nullptr) record->release();
    }

    V variable;
    typename H::Keys before;
    typename H::Keys after;
    CVariableModUndo<V>* record = nullptr;
};

using Variables = testing::Types<AVar_Linear<double>, AVar_Nearest<QTransform<double>>, AVar_Nearest<bool>,
                                 AVar_Nearest<Vector3<double>>, AVar_Nearest<Quat<double>>, AVar_Latest<int>>;
TYPED_TEST_SUITE(VariableUndo, Variables);

#define HISTORY(V) History<TypeParam>::keys(V)

TYPED_TEST(VariableUndo, StartsWithACopyAndNotSwapped) {
    EXPECT_EQ(this->record->target, &this->variable);
    EXPECT_EQ(&this->record->variable(), &this->variable);
    EXPECT_EQ(HISTORY(this->record->saved), this->before);
    EXPECT_EQ(HISTORY(this->variable), this->after);
    EXPECT_FALSE(this->record->bSwapped);
}

TYPED_TEST(VariableUndo, UndoTrueExchangesTheHistories) {
    this->record->undo(true);
    EXPECT_EQ(HISTORY(this->variable), this->before);
    EXPECT_EQ(HISTORY(this->record->saved), this->after);
    EXPECT_TRUE(this->record->bSwapped);
}

TYPED_TEST(VariableUndo, UndoTrueTwiceExchangesOnce) {
    this->record->undo(true);
    this->record->undo(true);
    EXPECT_EQ(HISTORY(this->variable), this->before);
    EXPECT_EQ(HISTORY(this->record->saved), this->after);
    EXPECT_TRUE(this->record->bSwapped);
}

TYPED_TEST(VariableUndo, RedoWithoutUndoChangesNothing) {
    this->record->redo();
    EXPECT_EQ(HISTORY(this->variable), this->after);
    EXPECT_EQ(HISTORY(this->record->saved), this->before);
    EXPECT_FALSE(this->record->bSwapped);
}

TYPED_TEST(VariableUndo, UndoThenRedoLeavesTheVariableAsItWas) {
    this->record->undo(true);
    this->record->redo();
    EXPECT_EQ(HISTORY(this->variable), this->after);
    EXPECT_EQ(HISTORY(this->record->saved), this->before);
    EXPECT_FALSE(this->record->bSwapped);
}

TYPED_TEST(VariableUndo, ExchangesTheKeyArraysThemselves) {
    // No copy is made, so nothing can run out of memory half-way through an exchange.
    const auto* inVariable = this->variable.keys.data();
    const auto* inRecord = this->record->saved.keys.data();
    this->record->undo(true);
    EXPECT_EQ(this->variable.keys.data(), inRecord);
    EXPECT_EQ(this->record->saved.keys.data(), inVariable);
    this->record->redo();
    EXPECT_EQ(this->variable.keys.data(), inVariable);
    EXPECT_EQ(this->record->saved.keys.data(), inRecord);
}

TYPED_TEST(VariableUndo, RedoTwiceExchangesOnce) {
    this->record->undo(true);
    this->record->redo();
    this->record->redo();
    EXPECT_EQ(HISTORY(this->variable), this->after);
    EXPECT_EQ(HISTORY(this->record->saved), this->before);
}

TYPED_TEST(VariableUndo, UndoFalseCopiesAndKeepsTheSnapshot) {
    this->record->undo(false);
    EXPECT_EQ(HISTORY(this->variable), this->before);
    EXPECT_EQ(HISTORY(this->record->saved), this->before);
    EXPECT_FALSE(this->record->bSwapped);
    this->variable.setKey(9.0, sample<typename TestFixture::T>(9));
    this->record->undo(false);
    EXPECT_EQ(HISTORY(this->variable), this->before);
    EXPECT_EQ(HISTORY(this->record->saved), this->before);
}

TYPED_TEST(VariableUndo, UndoFalseBehindUndoTrueWritesWhatTheExchangeSaved) {
    this->record->undo(true);
    this->record->undo(false);
    EXPECT_EQ(HISTORY(this->variable), this->after);
    EXPECT_EQ(HISTORY(this->record->saved), this->after);
    EXPECT_TRUE(this->record->bSwapped);
}

TYPED_TEST(VariableUndo, RecordsRunLastInFirstOutAndBack) {
    CUndo* second = CVariableModUndo<TypeParam>::make(&this->variable);
    ASSERT_NE(second, nullptr);
    this->variable.setKey(3.0, sample<typename TestFixture::T>(4));
    const auto newest = HISTORY(this->variable);
    second->undo(true);
    EXPECT_EQ(HISTORY(this->variable), this->after);
    this->record->undo(true);
    EXPECT_EQ(HISTORY(this->variable), this->before);
    this->record->redo();
    EXPECT_EQ(HISTORY(this->variable), this->after);
    second->redo();
    EXPECT_EQ(HISTORY(this->variable), newest);
    second->release();
}

TYPED_TEST(VariableUndo, ReleaseLeavesTheVariableAlone) {
    this->record->undo(true);
    this->record->release();
    this->record = nullptr;
    EXPECT_EQ(HISTORY(this->variable), this->before);
}

TYPED_TEST(VariableUndo, CarriesTheFallbackAlong) {
    using Value = typename TestFixture::T;
    TypeParam own(sample<Value>(1));
    own.setKey(1.0, sample<Value>(2));
    CVariableModUndo<TypeParam> undo(&own);
    EXPECT_EQ(History<TypeParam>::fallback(undo.saved), sample<Value>(1));
    own.eraseFrom(0.0);
    undo.undo(true);
    EXPECT_EQ(own.getNumKeys(), 1);
    EXPECT_EQ(History<TypeParam>::fallback(own), sample<Value>(1));
    EXPECT_EQ(undo.saved.valueAt(0.0), sample<Value>(1));
}

TEST(VariableUndoModel, AnyOrderOfCallsFollowsTheTwoHistories) {
    constexpr std::uint64_t kSeed = 53;
    SCOPED_TRACE(kSeed);
    std::mt19937_64 random(kSeed);
    AVar_Linear<double> variable;
    variable.setKey(0.0, 1.0);
    CVariableModUndo<AVar_Linear<double>> record(&variable);
    using Keys = History<AVar_Linear<double>>::Keys;
    Keys inVariable = History<AVar_Linear<double>>::keys(variable);
    Keys inRecord = inVariable;
    bool swapped = false;
    for (int i = 0; i < 2000; ++i) {
        switch (random() % 4) {
            case 0: {
                variable.setKey(static_cast<double>(i), static_cast<double>(random() % 1000));
                inVariable = History<AVar_Linear<double>>::keys(variable);
                break;
            }
            case 1:
                record.undo(true);
                if (!swapped) std::swap(inVariable, inRecord);
                swapped = true;
                break;
            case 2:
                record.undo(false);
                inVariable = inRecord;
                break;
            default:
                record.redo();
                if (swapped) std::swap(inVariable, inRecord);
                swapped = false;
                break;
        }
        ASSERT_EQ(History<AVar_Linear<double>>::keys(variable), inVariable) << "call " << i;
        ASSERT_EQ(History<AVar_Linear<double>>::keys(record.saved), inRecord) << "call " << i;
        ASSERT_EQ(record.bSwapped, swapped) << "call " << i;
    }
}

class Listener final : public CInterface::Callback {
  public:
    void onParameterChanged(std::string name) override { heard.push_back(name); }
    std::vector<std::string> heard;
};

TEST(EventUndo, SendsTheUndoEventWithEitherArgument) {
    Listener listener;
    CREEventUndo record(&listener, "REALUNDOHide Helpers", "REALREDOHide Helpers");
    record.undo(true);
    record.undo(false);
    record.undo(true);
    EXPECT_EQ(listener.heard, (std::vector<std::string>(3, "REALUNDOHide Helpers")));
}

TEST(EventUndo, SendsTheRedoEventAlsoWithoutAnUndoBefore) {
    Listener listener;
    CREEventUndo record(&listener, "REALUNDOHide Helpers", "REALREDOHide Helpers");
    record.redo();
    EXPECT_EQ(listener.heard, std::vector<std::string>{"REALREDOHide Helpers"});
}

TEST(EventUndo, SendsTheGivenTextsAsTheyAre) {
    Listener listener;
    CREEventUndo record(&listener, "", "any text\n");
    EXPECT_EQ(record.undoEvent, "");
    EXPECT_EQ(record.redoEvent, "any text\n");
    record.undo(true);
    record.redo();
    EXPECT_EQ(listener.heard, (std::vector<std::string>{"", "any text\n"}));
}

TEST(EventUndo, MakeFormsTheEventsFromTheLabel) {
    Listener listener;
    CREEventUndo* record = CREEventUndo::make(&listener, "Wireframe Mode");
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->undoEvent, "REALUNDOWireframe Mode");
    EXPECT_EQ(record->redoEvent, "REALREDOWireframe Mode");
    record->release();
    EXPECT_TRUE(listener.heard.empty());
}

TEST(EventUndo, CallsTheListenerInsideALargerObject) {
    struct Vehicle : CCamera, CInterface::Callback {
        Vehicle() : CCamera({{0, 0}, 0, "Car"}) {}
        void onParameterChanged(std::string label) override { heard.push_back(label); }
        std::vector<std::string> heard;
    };
    auto* vehicle = new Vehicle;
    CUndo* record = CREEventUndo::make(vehicle, "x");
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->target, static_cast<CInterface::Callback*>(vehicle));
    record->undo(true);
    EXPECT_EQ(vehicle->heard, std::vector<std::string>{"REALUNDOx"});
    record->release();
    vehicle->release();
}

}  // namespace
}  // namespace ond::ovs
