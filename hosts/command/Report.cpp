#include "command/Report.h"

#include <nlohmann/json.hpp>

#include "command/CommandError.h"

namespace ond::command {

int report(const stage::Stage& stage, const std::vector<Summary>& summaries, const std::string& take, bool asJson,
           const Console& console) {
    if (asJson) {
        nlohmann::ordered_json object{{"take", take}, {"vehicles", nlohmann::ordered_json::array()}};
        for (const Summary& summary : summaries)
            object["vehicles"].push_back(nlohmann::ordered_json::parse(summary.json()));
        object["breakdown"] = nullptr;
        if (stage.breakdown())
            object["breakdown"] = {{"frame", stage.breakdown()->frame},
                                   {"what", stage.breakdown()->what},
                                   {"sentence", stage.breakdown()->sentence()}};
        console.out << object.dump(2) << '\n';
    } else if (!console.quiet) {
        for (const Summary& summary : summaries) console.out << summary.text();
        console.out << "the take is in " << take << '\n';
    }
    if (!stage.breakdown()) return kFine;
    console.complain(stage.breakdown()->sentence());
    return kFindings;
}

}  // namespace ond::command
