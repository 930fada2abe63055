// How the figures are to be taken.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>

#include "ond/util/CMesh.h"

namespace ond::bench::table {

struct Settings {
    bool quick = false;                         ///< fewer passes, and nothing that needs the largest ground
    std::uint64_t seed = 1;                     ///< of hills, places and rays
    std::shared_ptr<const util::CMesh> ground;  ///< in place of the hills, at its own one size; null for the hills

    [[nodiscard]] int passes(int usual) const { return quick ? std::max(3, usual / 5) : usual; }
};

}  // namespace ond::bench::table
