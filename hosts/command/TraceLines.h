// The frames of a take as lines of JSON. docs/command.md tells what is in a line.
#pragma once

#include <string>
#include <vector>

#include "stage/Stage.h"

namespace ond::command {

/// Writes frames of one stage, whose elements and vehicles stay the same meanwhile.
class TraceWriter {
  public:
    /// @param stage must stay while lines are written
    explicit TraceWriter(const stage::Stage& stage);
    /// One frame, without an end of line: "frame", "time", "elements" (world matrices), "channels" and "inputs" by
    /// vehicle, "gauges" by vehicle unless it is one of vehiclesWithoutGauges(), "messages". A number is the shortest
    /// text that reads back as the same double; one that is not finite is null.
    [[nodiscard]] std::string line(int frame) const;

  private:
    /// An element with its name as JSON writes it.
    struct Named {
        std::string key;
        const stage::Element* element = nullptr;
    };
    struct Value {
        std::string key;
        std::size_t column = 0;
    };
    struct Section {
        const char* name;
        stage::CurveKind kind;
        bool optional;  ///< missing for vehicles, and as a whole, where nothing of it was recorded
        std::vector<std::vector<Value>> values;  ///< by vehicle
    };

    void appendElements(std::string& text, double time) const;
    void appendSection(std::string& text, const Section& section, int frame) const;
    void appendMessages(std::string& text, int frame) const;
    [[nodiscard]] bool lacks(const Section& section, std::size_t vehicle) const;

    const stage::Stage& m_stage;
    std::vector<Named> m_elements;
    std::vector<std::string> m_vehicles;  ///< their names as JSON writes them
    std::vector<Section> m_sections;
};

/// The names of the vehicles that were recorded without their gauges, as older programs did.
[[nodiscard]] std::vector<std::string> vehiclesWithoutGauges(const stage::Stage& stage);

}  // namespace ond::command
