// The parameter dialog of one vehicle, as the host keeps it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "ond/ovs/CInterface.h"

namespace ond::stage {

struct DialogItem {
    enum class Kind { integer, number, checkBox, button };

    Kind kind = Kind::button;
    std::string group;
    std::string label;
    std::string description;
    std::int32_t* integer = nullptr;
    double* number = nullptr;
    bool* checkBox = nullptr;
    double min = 0.0;
    double max = 0.0;
    double step = 0.0;
    std::int32_t hint = 0;
    bool flag = false;
    const void* converter = nullptr;
    ovs::CInterface::Callback* callback = nullptr;
    double initial = 0.0;  ///< what the field held when it was declared

    /// Whether the vehicle overwrites the field to show something: such a row is shown read-only.
    [[nodiscard]] bool isGauge() const;

    /// The field's value; 0 or 1 for a check box.
    [[nodiscard]] double value() const;
    /// Writes the field, within its range. What is no number changes nothing.
    void write(double value) const;
    /// Writes what the field held before, which may be outside of the range. What a whole number cannot have held, as a
    /// file may say that nobody wrote, is kept within the range.
    /// @throws StageError for what is no number, unless the field holds such numbers
    void restore(double value) const;
};

struct DialogGroup {
    std::string title;
    std::string description;
    bool closed = false;
};

struct Dialog {
    std::vector<DialogGroup> groups;  ///< in order
    std::vector<DialogItem> items;    ///< in order
    bool whole = false;               ///< endParameters() came
    int refreshes = 0;

    /// The item of that label.
    /// @throws StageError if there is none
    [[nodiscard]] const DialogItem& at(const std::string& label) const;
    [[nodiscard]] bool has(const std::string& label) const;
};

}  // namespace ond::stage
