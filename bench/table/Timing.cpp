#include "table/Timing.h"

#include <algorithm>

namespace ond::bench::table {

namespace {

double quantile(std::vector<double> values, double share) {
    std::sort(values.begin(), values.end());
    return values[static_cast<std::size_t>(share * static_cast<double>(values.size() - 1) + 0.5)];
}

/// Nanoseconds that two askings in a row are apart, many times.
std::vector<double> costsOfAsking() {
    std::vector<double> costs(10001);
    for (double& cost : costs) {
        const double start = nowNanoseconds();
        cost = nowNanoseconds() - start;
    }
    return costs;
}

}  // namespace

double processSeconds() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

double costOfAsking() { return median(costsOfAsking()); }

double leastCostOfAsking() {
    const std::vector<double> costs = costsOfAsking();
    return *std::min_element(costs.begin(), costs.end());
}

Ratio Passes::ratio(std::string of, std::string overWhat, std::string underWhat, double scale,
                    const std::string& unit) const {
    std::vector<double> ratios;
    for (std::size_t i = 0; i < over.size(); ++i) ratios.push_back(over[i] / under[i]);
    Ratio result = ratioOfTwo(std::move(of), {std::move(overWhat), median(over) * scale, unit},
                              {std::move(underWhat), median(under) * scale, unit});
    result.passes = static_cast<int>(over.size());
    result.low = quantile(ratios, 0.25);
    result.high = quantile(ratios, 0.75);
    return result;
}

Ratio ratioOfTwo(std::string of, Figure over, Figure under) {
    Ratio result;
    result.of = std::move(of);
    result.value = result.low = result.high = over.value / under.value;
    result.over = std::move(over);
    result.under = std::move(under);
    return result;
}

}  // namespace ond::bench::table
