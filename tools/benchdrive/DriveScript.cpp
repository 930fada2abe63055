#include "DriveScript.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <sstream>

namespace ond::benchdrive {

namespace {

constexpr std::array<const char*, ovs::addon::kNumInputs> kColumns = {
    "gas", "steer", "booster", "abs", "skidding", "skidbrake", "gravel", "burnout", "force"};
constexpr int kTimeColumn = -1;

std::string trimmed(const std::string& text) {
    const auto first = text.find_first_not_of(" \t\r");
    const auto last = text.find_last_not_of(" \t\r");
    return first == std::string::npos ? "" : text.substr(first, last - first + 1);
}

std::vector<std::string> split(const std::string& line) {
    std::vector<std::string> cells;
    std::size_t from = 0;
    for (std::size_t comma = line.find(','); comma != std::string::npos; comma = line.find(',', from)) {
        cells.push_back(trimmed(line.substr(from, comma - from)));
        from = comma + 1;
    }
    cells.push_back(trimmed(line.substr(from)));
    return cells;
}

int columnIndex(const std::string& name, const std::string& path) {
    if (name == "time") return kTimeColumn;
    for (std::size_t i = 0; i < kColumns.size(); ++i)
        if (name == kColumns[i]) return static_cast<int>(i);
    throw ScriptError(path + ": there is no column '" + name +
                      "'; use time, gas, steer, booster, abs, skidding, skidbrake, gravel, burnout, force");
}

std::vector<int> readHeader(const std::vector<std::string>& names, const std::string& path) {
    std::vector<int> columns;
    for (const std::string& name : names) {
        const int column = columnIndex(name, path);
        if (std::find(columns.begin(), columns.end(), column) != columns.end())
            throw ScriptError(path + ": the column '" + name + "' is there twice; remove one");
        columns.push_back(column);
    }
    if (std::find(columns.begin(), columns.end(), kTimeColumn) == columns.end())
        throw ScriptError(path + ": there is no column 'time'; add one with the second from which a line holds");
    return columns;
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
            columns = readHeader(cells, path);
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
