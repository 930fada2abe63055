// The page docs/parameters.md, made from the catalogue of the vehicle.
#pragma once

#include <charconv>
#include <string>

#include "CCarCamObject.h"
#include "parameters/Catalogue.h"
#include "parameters/Gauges.h"

namespace quadrig::tools {

/// Shortest decimal text that reads back to the number.
inline std::string shortest(double number) {
    char text[32];
    return {text, std::to_chars(text, text + sizeof text, number).ptr};
}

/// Text for a cell of a table.
inline std::string cell(const std::string& text) {
    std::string result;
    for (const char c : text) {
        if (c == '\n') {
            result += "<br>";
        } else {
            if (c == '|' || c == '*' || c == '_') result += '\\';
            result += c;
        }
    }
    return result;
}

/// "kind | default | range | step" of a row.
struct RowColumns {
    ond::ovs::addon::CCarCamObject& vehicle;
    const ond::ovs::addon::ParameterRow& row;

    std::string operator()(std::monostate /*button*/) const { return "button | | | "; }
    std::string operator()(ond::ovs::addon::FlagField field) const {
        return std::string("check box | ") + (field(vehicle) ? "on" : "off") + " | | ";
    }
    std::string operator()(ond::ovs::addon::NumberField field) const { return ranged("number", field(vehicle)); }
    std::string operator()(ond::ovs::addon::WholeField field) const { return ranged("whole number", field(vehicle)); }

  private:
    [[nodiscard]] std::string ranged(const std::string& kind, double value) const {
        return kind + " | " + shortest(value) + " | " + shortest(row.min) + " to " + shortest(row.max) + " | " +
               shortest(row.step);
    }
};

inline std::string parametersPage() {
    using namespace ond::ovs::addon;
    CCarCamObject vehicle({{0, 0}, 0, ""});
    std::string page =
        "# Parameters\n\n"
        "Everything that a host's dialog shows of a vehicle, in the order of the dialog. Made by `print_catalogue` "
        "from\n"
        "the table in `parameters/Catalogue.cpp`; do not edit it by hand. Texts are quoted as the dialog has them.\n\n"
        "A change of an item that is marked with a bell is told to the vehicle at once; all others take effect where "
        "the\n"
        "value is used next.\n";
    const ParameterRow* row = parameterRows().data();
    for (const ParameterGroup& group : parameterGroups()) {
        page += "\n## " + std::string(group.title) + "\n\n";
        if (!group.description.empty()) page += cell(std::string(group.description)) + "\n\n";
        page += "| Label | | Kind | Default | Range | Step | Description |\n|---|---|---|---|---|---|---|\n";
        for (const ParameterRow* end = row + group.rows; row != end; ++row)
            page += "| " + cell(labelOf(*row, vehicle)) + " | " + (row->tellsChanges ? "&#128276;" : "") + " | " +
                    std::visit(RowColumns{vehicle, *row}, row->field) + " | " + cell(descriptionOf(*row, vehicle)) +
                    " |\n";
    }
    page += "\n# Inputs\n\n| Channel | Directions |\n|---|---|\n";
    for (const InputChannel& channel : vehicle.cCarCam.pcInput)
        page += "| " + cell(std::string(channel.sName)) + " | " + (channel.bOneSided ? "one" : "two") + " |\n";
    page += "\n# Outputs\n\nOnly on hosts that have output channels.\n\n";
    for (const OutputRow& output : kOutputs) page += "- " + cell(std::string(output.name)) + "\n";
    return page;
}

}  // namespace quadrig::tools
