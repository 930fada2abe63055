#include "stage/UndoStack.h"

#include <utility>

#include "stage/ModuleBoundary.h"

namespace ond::stage {

UndoStack::~UndoStack() { clear(); }

void UndoStack::clear() {
    for (Step& step : m_steps) release(step);
    m_steps.clear();
    m_done = 0;
    m_open = 0;
}

void UndoStack::release(Step& step) {
    for (Record& record : step)
        if (record.record != nullptr) record.record->release();
    step.clear();
}

void UndoStack::dropUndone() {
    while (m_steps.size() > m_done) {
        release(m_steps.back());
        m_steps.pop_back();
    }
}

void UndoStack::open() {
    if (m_open++ > 0) return;
    dropUndone();
    m_steps.emplace_back();
}

void UndoStack::close() {
    if (m_open == 0 || --m_open > 0) return;
    if (m_steps.back().empty())
        m_steps.pop_back();
    else
        ++m_done;
    while (m_done > static_cast<std::size_t>(limit)) {
        release(m_steps.front());
        m_steps.erase(m_steps.begin());
        --m_done;
    }
}

void UndoStack::add(Record record) {
    const bool alone = m_open == 0;
    if (alone) open();
    m_steps.back().push_back(std::move(record));
    if (alone) close();
}

void UndoStack::push(ovs::CUndo* record, const void* owner) {
    if (record == nullptr) {
        ++m_nullRecords;
        return;
    }
    add({record, {}, {}, owner});
}

void UndoStack::push(std::function<void()> undo, std::function<void()> redo, const void* owner) {
    add({nullptr, std::move(undo), std::move(redo), owner});
}

bool UndoStack::mayCall(const char* operation) {
    if (!ModuleBoundary::underWay()) return true;
    misuse.push_back(std::string(operation) + " inside of a call of a vehicle");
    return false;
}

void UndoStack::undo() {
    if (!mayCall("undo") || m_done == 0 || m_open > 0) return;
    Step& step = m_steps[--m_done];
    for (auto record = step.rbegin(); record != step.rend(); ++record) {
        if (record->record == nullptr) {
            record->undo();
            continue;
        }
        const ModuleBoundary::Enter enter;
        record->record->undo(true);
    }
}

void UndoStack::redo() {
    if (!mayCall("redo") || m_done == m_steps.size() || m_open > 0) return;
    for (Record& record : m_steps[m_done++]) {
        if (record.record == nullptr) {
            record.redo();
            continue;
        }
        const ModuleBoundary::Enter enter;
        record.record->redo();
    }
}

void UndoStack::drop(const void* owner) {
    std::vector<Step> kept;
    std::size_t done = 0;
    for (std::size_t i = 0; i < m_steps.size(); ++i) {
        Step rest;
        for (Record& record : m_steps[i]) {
            if (record.owner != owner)
                rest.push_back(std::move(record));
            else if (record.record != nullptr)
                record.record->release();
        }
        const bool isOpen = m_open > 0 && i + 1 == m_steps.size();
        if (rest.empty() && !isOpen) continue;
        kept.push_back(std::move(rest));
        if (i < m_done) ++done;
    }
    m_steps = std::move(kept);
    m_done = done;
}

int UndoStack::recordsOnTop() const {
    int count = 0;
    if (m_done > 0)
        for (const Record& record : m_steps[m_done - 1])
            if (record.record != nullptr) ++count;
    return count;
}

ovs::CUndo* UndoStack::recordOnTop(int index) const {
    for (const Record& record : m_steps[m_done - 1])
        if (record.record != nullptr && index-- == 0) return record.record;
    return nullptr;
}

}  // namespace ond::stage
