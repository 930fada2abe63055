// The catalogue of what a user sees and sets: one table, from which the dialog of a host, its preset files and the
// parameters page of the documentation are made.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <variant>

namespace ond::ovs::addon {

class CCarCamObject;

using NumberField = double& (*)(CCarCamObject& vehicle);
using WholeField = std::int32_t& (*)(CCarCamObject& vehicle);
using FlagField = bool& (*)(CCarCamObject& vehicle);
/// The field that a row edits in place; a button has none.
using ParameterField = std::variant<std::monostate, NumberField, WholeField, FlagField>;

struct ParameterRow {
    std::string_view label;        ///< of a channel's row: what stands behind the channel's name
    std::string_view description;  ///< of a channel's row: what stands behind the channel's description
    ParameterField field;
    double min = 0.0;  ///< this and the next two mean nothing for flags and buttons
    double max = 0.0;
    double step = 0.0;
    bool tellsChanges =
        true;          ///< a change is reported to CCarCamObject::onParameterChanged(); else it waits in the field
    int channel = -1;  ///< input channel of the row, -1 for all other rows
};

struct ParameterGroup {
    std::string_view title;
    std::string_view description;
    std::size_t rows;  ///< how many rows of the table belong to it; groups follow each other without gaps
};

/// All rows from the top of the dialog down: 60 numbers, 15 flags, 2 whole numbers and a button.
[[nodiscard]] std::span<const ParameterRow> parameterRows();
/// All groups from the top of the dialog down.
[[nodiscard]] std::span<const ParameterGroup> parameterGroups();

/// The label of a row as the user sees it; it names the item within the vehicle.
[[nodiscard]] std::string labelOf(const ParameterRow& row, const CCarCamObject& vehicle);
[[nodiscard]] std::string descriptionOf(const ParameterRow& row, const CCarCamObject& vehicle);

/// Declares inputs, parameters and output channels of `vehicle` to its host and keeps the channels that it gives.
///
/// Inputs that the host refuses stay null. Outputs are asked for only if the host has them, and start at 0.
void declareParameters(CCarCamObject& vehicle);

}  // namespace ond::ovs::addon
