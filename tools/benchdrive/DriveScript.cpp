#include "DriveScript.h"

#include <cmath>
#include <fstream>
#include <sstream>

namespace ond::benchdrive {

namespace {

constexpr std::array<const char*, ovs::addon::kNumInputs> kColumns = {
    "gas", "steer", "booster", "abs", "skidding", "skidbrake", "gravel", "burnout", "force"};
constexpr int kTimeColumn = -1;

std::vector<std::string> split(const std::string& line) {
    std::vector<std::string> cells;
    std::istringstream stream(line);
    for (std::string cell; std::getline(stream, cell, ',');) {
        const auto first = cell.find_first_not_of(" \t\r");
        const auto last = cell.find_last_not_of(" \t\r");
        cells.push_back(first == std::string::npos ? "" : cell.substr(first, last - first + 1));
    }
    return cells;
}

int columnIndex(const std::string& name, const std::string& path) {
    if (name == "time") return kTimeColumn;
    for (std::size_t i = 0; i < kColumns.size(); ++i)
        if (name == kColumns[i]) return static_cast<int>(i);
    throw ScriptError(path + ": there is no column '" + name +
                      "'; use time, gas, steer, booster, abs, skidding, skidbrake, gravel, burnout, force");
}

double number(const std::string& cell, const std::string& where) {
    std::istringstream stream(cell);
    stream.imbue(std::locale::classic());
    double value = 0.0;
    if (!(stream >> value) || !stream.eof() || !std::isfinite(value))
        throw ScriptError(where + ": '" + cell + "' is not a number");
    return value;
}

}  // namespace

std::vector<DriveStep> readDriveScript(const std::string& path) {
    std::ifstream file(path);
    if (!file) throw ScriptError(path + ": cannot be read; give the path of a drive script");
    std::vector<int> columns;
    std::vector<DriveStep> steps;
    int lineNumber = 0;
    for (std::string line; std::getline(file, line);) {
        ++lineNumber;
        if (line.find_first_not_of(" \t\r") == std::string::npos || line[0] == '#') continue;
        const std::vector<std::string> cells = split(line);
        if (columns.empty()) {
            for (const std::string& name : cells) columns.push_back(columnIndex(name, path));
            continue;
        }
        const std::string where = path + ", line " + std::to_string(lineNumber);
        if (cells.size() != columns.size())
            throw ScriptError(where + ": has " + std::to_string(cells.size()) + " cells, the header has " +
                              std::to_string(columns.size()));
        DriveStep step;
        for (std::size_t i = 0; i < cells.size(); ++i) {
            const double value = number(cells[i], where);
            if (columns[i] == kTimeColumn)
                step.time = value;
            else
                step.raw[static_cast<std::size_t>(columns[i])] = value;
        }
        if (!steps.empty() && !(step.time > steps.back().time))
            throw ScriptError(where + ": the time does not grow; sort the lines by time");
        steps.push_back(step);
    }
    if (steps.empty()) throw ScriptError(path + ": holds no step; add a line of numbers below the header");
    return steps;
}

}  // namespace ond::benchdrive
