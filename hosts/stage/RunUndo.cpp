// Undo of a run: the tracks that it wrote, and what its recording changed.
#include <utility>

#include "stage/Stage.h"

namespace ond::stage {

namespace {

bool isSame(const Track& a, const Track& b) {
    if (a.keys.size() != b.keys.size() || !(a.pose == b.pose)) return false;
    for (std::size_t i = 0; i < a.keys.size(); ++i)
        if (a.keys[i].time != b.keys[i].time || !(a.keys[i].local == b.keys[i].local)) return false;
    return true;
}

}  // namespace

struct Stage::RunChange {
    struct Written {
        std::size_t element = 0;
        Track before;
        Track after;
    };
    std::vector<Written> tracks;
    std::optional<RunRecord> record;
    Shown before;
    Shown after;
};

/// What the vehicles do to elements in startRun(), before the scene runs.
void Stage::noteStartWrites() {
    m_startWrites.assign(m_tracksBefore.size(), false);
    for (std::size_t i = 0; i < m_tracksBefore.size(); ++i)
        m_startWrites[i] = !isSame(scene.elements[i]->track, m_tracksBefore[i]);
}

bool Stage::wasWritten(std::size_t element) const {
    return scene.wrote(element) || (element < m_startWrites.size() && m_startWrites[element]);
}

void Stage::takeBackTracks() {
    for (std::size_t i = 0; i < m_tracksBefore.size(); ++i)
        if (wasWritten(i)) scene.elements[i]->track = m_tracksBefore[i];
}

void Stage::pushRunUndo(const std::optional<RunRecord>& record) {
    const auto change = std::make_shared<RunChange>();
    // Elements that the run itself made have no track of before.
    for (std::size_t i = 0; i < m_tracksBefore.size(); ++i)
        if (wasWritten(i)) change->tracks.push_back({i, std::move(m_tracksBefore[i]), scene.elements[i]->track});
    m_tracksBefore.clear();
    change->record = record;
    change->before = m_shownBefore;
    change->after = shown();
    undo.push(
        [this, change] {
            for (const RunChange::Written& track : change->tracks) scene.elements[track.element]->track = track.before;
            if (change->record && !journal.empty()) journal.pop_back();
            putShown(change->before);
        },
        [this, change] {
            for (const RunChange::Written& track : change->tracks) scene.elements[track.element]->track = track.after;
            if (change->record) journal.push_back(*change->record);
            putShown(change->after);
        },
        this);
}

}  // namespace ond::stage
