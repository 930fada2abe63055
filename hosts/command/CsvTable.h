// A table of text with a header, as logs and paths come.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ond::command {

/// Fields as text; numbers are read from the columns that someone asks for, so others may hold anything.
class CsvTable {
  public:
    /// Fields are separated by commas, or by semicolons or tabs where the header has no comma; quotes may stand around
    /// them. Empty lines and lines that begin with '#' are skipped.
    /// @param name of the file, for messages
    /// @throws CommandError without a header, without rows, with two columns of a name, or with a row that has too few
    /// or too many fields
    CsvTable(std::string_view text, std::string name);

    /// The file's text as a table.
    /// @throws CommandError also if it cannot be read
    [[nodiscard]] static CsvTable read(const std::string& path);

    [[nodiscard]] const std::vector<std::string>& header() const { return m_header; }
    [[nodiscard]] std::size_t rows() const { return m_rows.size(); }
    /// The place of the column, by its name without regard to capitals, or -1.
    [[nodiscard]] int find(const std::string& column) const;
    /// @throws CommandError if there is none, naming the nearest
    [[nodiscard]] int at(const std::string& column) const;
    /// @throws CommandError at the first field that is no finite number
    [[nodiscard]] std::vector<double> numbers(int column) const;
    /// The line of a row in the file, from 1.
    [[nodiscard]] int line(std::size_t row) const { return m_lines[row]; }
    [[nodiscard]] const std::string& name() const { return m_name; }

  private:
    std::string m_name;
    std::vector<std::string> m_header;
    std::vector<std::vector<std::string>> m_rows;
    std::vector<int> m_lines;
};

/// All bytes of a file.
/// @throws CommandError if it is not there, is a folder, cannot be read or is larger than 1 GiB
[[nodiscard]] std::string readText(const std::string& path);

}  // namespace ond::command
