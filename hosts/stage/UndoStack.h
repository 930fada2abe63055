// The host's undo stack: steps of records, of vehicles and of the host itself.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "ond/ovs/CUndo.h"

namespace ond::stage {

class UndoStack {
  public:
    UndoStack() = default;
    UndoStack(const UndoStack&) = delete;
    UndoStack& operator=(const UndoStack&) = delete;
    ~UndoStack();

    /// Records until the close() that belongs to it form one step; a step that is opened within another one is part of
    /// that. Drops the steps that could have been redone.
    void open();
    /// Ends the step; one without records is dropped.
    void close();
    /// Takes the record over; null is ignored. Outside of a step it forms one of its own.
    void push(ovs::CUndo* record, const void* owner);
    /// A record of the host's own, called as undo and redo.
    void push(std::function<void()> undo, std::function<void()> redo, const void* owner);

    /// Takes the last step back: its records last in, first out. Nothing without a step. Inside of a call into the
    /// module it is misuse and nothing, for the records are the module's.
    void undo();
    /// Makes it again: its records in order. Misuse like undo().
    void redo();
    /// Releases all records of all steps.
    void clear();
    /// Releases every record of `owner` and what is left of its steps, but for a step that is open.
    void drop(const void* owner);

    /// Steps kept at most; the oldest are released. A run holds a copy of every history of its vehicle and of every
    /// track, some ten megabytes for five minutes. At least 1.
    int limit = 50;
    std::vector<std::string> misuse;  ///< in words

    [[nodiscard]] int steps() const { return static_cast<int>(m_done); }
    /// Records of vehicles in the step on top.
    [[nodiscard]] int recordsOnTop() const;
    /// The record of a vehicle at `index` in the step on top.
    [[nodiscard]] ovs::CUndo* recordOnTop(int index) const;
    [[nodiscard]] int nullRecords() const { return m_nullRecords; }

  private:
    struct Record {
        ovs::CUndo* record;  ///< null for one of the host's own
        std::function<void()> undo;
        std::function<void()> redo;
        const void* owner;
    };
    using Step = std::vector<Record>;

    void add(Record record);
    /// Complains of what would call the module inside of a call into it.
    /// @return whether it may be done
    bool mayCall(const char* operation);
    void dropUndone();
    static void release(Step& step);

    std::vector<Step> m_steps;  ///< the first m_done are done, the others undone
    std::size_t m_done = 0;
    int m_open = 0;  ///< how often open() came without its close()
    int m_nullRecords = 0;
};

}  // namespace ond::stage
