#include "stage/Journal.h"

#include <algorithm>

namespace ond::stage {

std::vector<std::vector<std::string>> drivenVehicles(const Journal& journal) {
    std::vector<std::vector<std::string>> all;
    // A run that goes on from the one before has its vehicles.
    const Snapshot* before = nullptr;
    for (const RunRecord& run : journal) {
        if (run.before != nullptr) before = run.before.get();
        std::vector<std::string>& names = all.emplace_back();
        for (std::size_t v = 0; before != nullptr && v < before->vehicles.size() && v < run.inputs.size(); ++v)
            if (run.inputs[v].armed) names.push_back(before->vehicles[v].name);
    }
    return all;
}

std::optional<std::pair<int, int>> recordedFrames(const Journal& journal, const std::vector<std::string>& vehicles) {
    const std::vector<std::vector<std::string>> driven = drivenVehicles(journal);
    std::optional<std::pair<int, int>> all;
    for (const std::string& vehicle : vehicles) {
        std::optional<std::pair<int, int>> own;
        for (std::size_t i = 0; i < journal.size(); ++i) {
            if (std::find(driven[i].begin(), driven[i].end(), vehicle) == driven[i].end()) continue;
            own = {own ? std::min(own->first, journal[i].from) : journal[i].from, journal[i].to};
        }
        if (!own) continue;
        all = all ? std::make_pair(std::min(all->first, own->first), std::max(all->second, own->second)) : *own;
    }
    return all;
}

}  // namespace ond::stage
