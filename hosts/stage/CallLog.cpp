#include "stage/CallLog.h"

#include <algorithm>
#include <utility>

namespace ond::stage {

namespace {

bool isOneOf(const std::string& line, std::initializer_list<const char*> operations) {
    const std::string operation = line.substr(0, line.find(' '));
    return std::any_of(operations.begin(), operations.end(), [&](const char* name) { return operation == name; });
}

}  // namespace

void CallLog::add(std::string line) {
    if (enabled) m_lines.push_back(std::move(line));
}

std::vector<std::string> CallLog::without(std::initializer_list<const char*> operations) const {
    std::vector<std::string> kept;
    for (const std::string& line : m_lines)
        if (!isOneOf(line, operations)) kept.push_back(line);
    return kept;
}

std::vector<std::string> CallLog::only(std::initializer_list<const char*> operations) const {
    std::vector<std::string> kept;
    for (const std::string& line : m_lines)
        if (isOneOf(line, operations)) kept.push_back(line);
    return kept;
}

int CallLog::count(const std::string& start) const {
    return static_cast<int>(std::count_if(m_lines.begin(), m_lines.end(), [&](const std::string& line) {
        return line.compare(0, start.size(), start) == 0;
    }));
}

}  // namespace ond::stage
