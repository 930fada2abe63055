#include "state/LoadedHistories.h"

#include <variant>

#include "CCarCamObject.h"
#include "ond/util/ArrayRegion.h"
#include "state/Load.h"
#include "state/SavedKeys.h"

namespace ond::ovs::addon {

namespace {

template <class T>
std::size_t roomOf(const SavedChunk* chunk, const util::AVar<T>& /*to*/, std::size_t place) {
    if (chunk == nullptr) return 0;
    const std::size_t keys = savedKeys<T>(*chunk);
    return util::ArrayRegion::roomOf((keys + spareKeys(keys, place)) * sizeof(util::AVarKey<T>));
}

}  // namespace

std::size_t placeOfHistory(std::string_view key) { return savedRowNumber(key); }

std::size_t placeOfHistory(int corner, std::size_t index) {
    return kSavedRows.size() + static_cast<std::size_t>(corner) * kWheelStoreKeys.size() + index + 1;
}

std::size_t roomForHistories(CCarCamObject& vehicle, const SavedTree& tree) {
    std::size_t room = 0;
    for (const SavedRow& row : kSavedRows) {
        if (!std::holds_alternative<HistoryLeaf>(row.binding)) continue;
        visitHistory(vehicle, row.key, [&](const auto& variable) {
            room += roomOf(tree.find(row.key), variable, placeOfHistory(row.key));
        });
    }
    const SavedChunk* const store = tree.find("wheelstore");
    for (int corner = 0; corner < kNumWheels; ++corner)
        for (std::size_t i = 0; i < kWheelStoreKeys.size(); ++i) {
            const int child = corner * static_cast<int>(kWheelStoreKeys.size()) + static_cast<int>(i);
            room += roomOf(childAt(store, child), wheelStoreVariable(vehicle, corner, i), placeOfHistory(corner, i));
        }
    return room;
}

}  // namespace ond::ovs::addon
