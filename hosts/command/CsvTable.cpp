#include "command/CsvTable.h"

#include <filesystem>
#include <fstream>
#include <sstream>

#include "command/CommandError.h"
#include "command/Nearest.h"
#include "command/Numbers.h"

namespace ond::command {

namespace {

constexpr std::uintmax_t kLargest = std::uintmax_t{1} << 30;

char separatorOf(std::string_view header) {
    for (const char candidate : {',', ';', '\t'})
        if (header.find(candidate) != std::string_view::npos) return candidate;
    return ',';
}

std::vector<std::string> split(std::string_view line, char separator) {
    std::vector<std::string> fields;
    std::string field;
    bool quoted = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        const char c = line[i];
        if (c == '"' && quoted && i + 1 < line.size() && line[i + 1] == '"') {
            field += c;
            ++i;
        } else if (c == '"') {
            quoted = !quoted;
        } else if (c == separator && !quoted) {
            fields.push_back(trimmed(field));
            field.clear();
        } else {
            field += c;
        }
    }
    fields.push_back(trimmed(field));
    return fields;
}

}  // namespace

std::string readText(const std::string& path) {
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (!std::filesystem::exists(status)) throw CommandError(path + " is not there; check the name and the folder");
    if (std::filesystem::is_directory(status)) throw CommandError(path + " is a folder; give a file");
    if (std::filesystem::is_regular_file(status) && std::filesystem::file_size(path, error) > kLargest)
        throw CommandError(path + " is larger than 1 GiB, which nothing that this program reads is");
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    if (file.peek() != std::ifstream::traits_type::eof()) text << file.rdbuf();
    if (!file.is_open() || file.bad()) throw CommandError(path + " cannot be read; check its permissions");
    return text.str();
}

CsvTable::CsvTable(std::string_view text, std::string name) : m_name(std::move(name)) {
    if (text.substr(0, 3) == "\xEF\xBB\xBF") text.remove_prefix(3);
    char separator = ',';
    int line = 0;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::string row = trimmed(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        ++line;
        if (row.empty() || row[0] == '#') continue;
        if (m_header.empty()) {
            separator = separatorOf(row);
            m_header = split(row, separator);
            continue;
        }
        m_rows.push_back(split(row, separator));
        m_lines.push_back(line);
        if (m_rows.back().size() != m_header.size())
            throw CommandError(m_name + ", line " + std::to_string(line) + ": " + std::to_string(m_rows.back().size()) +
                               " fields where the header has " + std::to_string(m_header.size()));
    }
    if (m_header.empty()) throw CommandError(m_name + " is empty; it needs a header and rows of numbers");
    if (toNumber(m_header[0]))
        throw CommandError(m_name + " begins with numbers; its first line must name the columns");
    for (std::size_t i = 0; i < m_header.size(); ++i)
        for (std::size_t k = 0; k < i; ++k)
            if (lower(m_header[i]) == lower(m_header[k]))
                throw CommandError(m_name + " has two columns '" + m_header[i] + "'; rename one");
    if (m_rows.empty()) throw CommandError(m_name + " has a header but no rows");
}

CsvTable CsvTable::read(const std::string& path) { return {readText(path), path}; }

int CsvTable::find(const std::string& column) const {
    for (std::size_t i = 0; i < m_header.size(); ++i)
        if (lower(m_header[i]) == lower(column)) return static_cast<int>(i);
    return -1;
}

int CsvTable::at(const std::string& column) const {
    const int place = find(column);
    if (place >= 0) return place;
    const std::string hint = didYouMean(column, m_header);
    throw CommandError(m_name + " has no column '" + column + "'" +
                       (hint.empty() ? "; its columns are " + enumerated(m_header) : hint));
}

std::vector<double> CsvTable::numbers(int column) const {
    std::vector<double> all;
    all.reserve(m_rows.size());
    for (std::size_t i = 0; i < m_rows.size(); ++i) {
        const std::string& field = m_rows[i][static_cast<std::size_t>(column)];
        const std::optional<double> value = toNumber(field);
        if (!value)
            throw CommandError(m_name + ", line " + std::to_string(m_lines[i]) + ": '" + field + "' in column '" +
                               m_header[static_cast<std::size_t>(column)] + "' is no finite number");
        all.push_back(*value);
    }
    return all;
}

}  // namespace ond::command
