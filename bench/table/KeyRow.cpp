// Recording: a key behind 90,000 others beside the bare push_back of the same key. Both have room for what comes.
#include <vector>

#include "ond/util/AVar.h"
#include "table/Report.h"
#include "table/Rows.h"
#include "table/Settings.h"
#include "table/Timing.h"

namespace ond::bench::table {

namespace {

constexpr int kKeys = 90000;
constexpr int kMore = 5000;
constexpr int kRounds = 10;
constexpr int kPasses = 51;
constexpr double kFrame = 0.04;

template <class Variable>
void measureKeysOf(const Settings& settings, Report& report, const std::string& name) {
    using Value = decltype(Variable::fallback);
    using Key = util::AVarKey<Value>;
    Variable variable;
    std::vector<Key> keys;
    variable.keys.reserve(kKeys + kMore);
    keys.reserve(kKeys + kMore);
    for (int i = 0; i < kKeys; ++i) {
        variable.setKey(i * kFrame, Value());
        keys.push_back({i * kFrame, Value()});
    }
    Value value{};
    const auto set = [&] {
        double seconds = 0.0;
        for (int round = 0; round < kRounds; ++round) {
            seconds += secondsOf([&] {
                for (int i = kKeys; i < kKeys + kMore; ++i) {
                    keep(value);
                    keep(variable.setKey(i * kFrame, value));
                }
            });
            variable.eraseFrom(kKeys * kFrame);
        }
        return seconds;
    };
    const auto push = [&] {
        double seconds = 0.0;
        for (int round = 0; round < kRounds; ++round) {
            seconds += secondsOf([&] {
                for (int i = kKeys; i < kKeys + kMore; ++i) {
                    keep(value);
                    keys.push_back({i * kFrame, value});
                    keep(keys.back());
                }
            });
            keys.erase(keys.begin() + kKeys, keys.end());
        }
        return seconds;
    };
    const Passes passes = alternate(settings.passes(kPasses), set, push);
    if (variable.keys.size() != keys.size()) report.fault(11, name + ": keys were lost");
    report.add(11, passes.ratio(name, "setKey", "push_back", 1e9 / (kMore * kRounds), "ns"));
}

}  // namespace

void measureKeys(const Settings& settings, Report& report) {
    measureKeysOf<util::AVar_Linear<double>>(settings, report, "number");
    measureKeysOf<util::AVar_Nearest<bool>>(settings, report, "flag");
    measureKeysOf<util::AVar_Nearest<util::Vector3<double>>>(settings, report, "vector");
    measureKeysOf<util::AVar_Nearest<util::QTransform<double>>>(settings, report, "transform");
}

}  // namespace ond::bench::table
