// quadrig replay
#include <filesystem>

#include "command/CommandError.h"
#include "command/Commands.h"
#include "command/CsvTable.h"
#include "command/NearbyFiles.h"
#include "command/OutputFile.h"
#include "command/ReplayPage.h"
#include "command/TakeSession.h"
#include "stage/TakeFile.h"
#include "stage/WholeFile.h"

namespace ond::command {

int replay(const ReplayOptions& options, const Console& console) {
    const std::string output = onlyOutput(options.output, ".html", {options.take});
    const std::string page = readText(replayPagePath(options.page));
    const TakeSession session = openSession(options.take, options.common);
    stage::TakeOptions what;
    what.exactTracks = false;
    const std::string title =
        options.title.empty() ? std::filesystem::path(options.take).stem().string() : options.title;
    stage::writeWhole(output, fillReplayPage(page, stage::takeBytes(*session.stage, what), title));
    if (!console.quiet) console.out << output << '\n';
    return kFine;
}

}  // namespace ond::command
