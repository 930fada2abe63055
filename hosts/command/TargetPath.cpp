#include "command/TargetPath.h"

#include <algorithm>
#include <cmath>

#include "command/CommandError.h"
#include "command/CsvTable.h"
#include "command/Nearest.h"
#include "command/Numbers.h"

namespace ond::command {

using util::Vector3;

namespace {

constexpr double kUsualSpeed = 10.0;
/// The slowest that a table may ask for; below it the target would never get on.
constexpr double kSlowest = 0.01;
/// Nothing that a vehicle follows is farther away.
constexpr double kFarthest = 1e9;

int firstOf(const CsvTable& table, const char* name, const char* otherName) {
    const int column = table.find(name);
    return column >= 0 ? column : table.find(otherName);
}

std::vector<double> axis(const CsvTable& table, const char* name, const char* otherName) {
    const int column = firstOf(table, name, otherName);
    if (column < 0)
        throw CommandError(table.name() + " has no column '" + name + "'; a path has x, y and z, its columns are " +
                           enumerated(table.header()));
    std::vector<double> numbers = table.numbers(column);
    for (std::size_t i = 0; i < numbers.size(); ++i)
        if (std::abs(numbers[i]) > kFarthest)
            throw CommandError(table.name() + ", line " + std::to_string(table.line(i)) + ": " + exactText(numbers[i]) +
                               " is out of range");
    return numbers;
}

std::vector<double> timesBySpeed(const CsvTable& table, const std::vector<Vector3<double>>& points,
                                 std::optional<double> speed) {
    const int column = firstOf(table, "speed", "speed_mps");
    std::vector<double> speeds(points.size(), speed.value_or(kUsualSpeed));
    if (!speed && column >= 0) speeds = table.numbers(column);
    std::vector<double> times{0.0};
    for (std::size_t i = 1; i < points.size(); ++i) {
        const double mean = std::max(kSlowest, (speeds[i - 1] + speeds[i]) / 2.0);
        times.push_back(times.back() + util::Length(points[i] - points[i - 1]) / mean);
    }
    return times;
}

}  // namespace

Vector3<double> TargetPath::at(double seconds) const {
    const auto behind = std::upper_bound(times.begin(), times.end(), seconds);
    if (behind == times.begin()) return points.front();
    if (behind == times.end()) return points.back();
    const auto i = static_cast<std::size_t>(behind - times.begin());
    const double part = (seconds - times[i - 1]) / (times[i] - times[i - 1]);
    return points[i - 1] + (points[i] - points[i - 1]) * part;
}

TargetPath parseTargetPath(std::string_view text, const std::string& name, std::optional<double> speed) {
    const CsvTable table(text, name);
    const std::vector<double> x = axis(table, "x", "x_m");
    const std::vector<double> y = axis(table, "y", "y_m");
    const std::vector<double> z = axis(table, "z", "z_m");
    TargetPath path;
    for (std::size_t i = 0; i < x.size(); ++i) path.points.emplace_back(x[i], y[i], z[i]);
    const int time = firstOf(table, "time", "time_s");
    if (time < 0) {
        path.times = timesBySpeed(table, path.points, speed);
        return path;
    }
    if (speed) throw CommandError(name + " has times; leave the speed of the target out");
    path.times = axis(table, table.header()[static_cast<std::size_t>(time)].c_str(), "");
    for (std::size_t i = 1; i < path.times.size(); ++i)
        if (path.times[i] <= path.times[i - 1])
            throw CommandError(name + ", line " + std::to_string(table.line(i)) + ": the time " +
                               exactText(path.times[i]) + " is not behind the one before; times must ascend");
    return path;
}

TargetPath readTargetPath(const std::string& path, std::optional<double> speed) {
    return parseTargetPath(readText(path), path, speed);
}

}  // namespace ond::command
