// The web page that plays a take, filled from an empty one.
#pragma once

#include <string>
#include <vector>

namespace ond::command {

/// @param page the empty page, with the places @TAKE@ and @TITLE@
/// @throws CommandError unless the page has both places once
[[nodiscard]] std::string fillReplayPage(const std::string& page, const std::vector<unsigned char>& take,
                                         const std::string& title);

}  // namespace ond::command
