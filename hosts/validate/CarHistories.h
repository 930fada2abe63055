// What the four-wheeled vehicle's saved block holds: its keys, and the recorded histories among them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "validate/StrictHost.h"

namespace ond::validate {

/// A child of the block's root. Those of a stored ground come in only with one.
struct CarKey {
    const char* name;
    std::size_t size;     ///< in bytes; 0 for histories and for "wheelstore", which has children
    std::size_t keySize;  ///< of a history: bytes of a key, its time first; else 0
    const char* row;      ///< label of the dialog's row that it saves; null if it saves none
    int since;            ///< number of the first block that has it
};
[[nodiscard]] const std::vector<CarKey>& carKeys();
/// Name of a child of "wheelstore" by its place, 0 to 23.
[[nodiscard]] const char* wheelKey(std::size_t place);

struct CarHistory {
    std::string name;  ///< those of the wheels with their places
    Bytes bytes;
    std::size_t keySize;
};
/// The histories of a block, in its order.
[[nodiscard]] std::vector<CarHistory> histories(const Bytes& block);
/// The history of that name; the test ends if there is none.
[[nodiscard]] const CarHistory& historyOf(Check& check, const std::vector<CarHistory>& all, const std::string& name);
/// Times of a history's keys, in its order.
[[nodiscard]] std::vector<double> keyTimes(const CarHistory& history);
/// Whether a history has keys only while the vehicle follows its target.
[[nodiscard]] bool isOfFollowing(std::string_view history);
/// Whether a run that goes on drops the key at its start, too, and not only those behind.
[[nodiscard]] bool isCutAtTheStart(std::string_view history);
/// Values of a history of numbers; none of another one.
[[nodiscard]] std::vector<double> keyedNumbers(const CarHistory& history);

}  // namespace ond::validate
