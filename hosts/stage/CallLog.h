// What a vehicle asked of its host, in order and as text.
#pragma once

#include <initializer_list>
#include <string>
#include <vector>

namespace ond::stage {

/// One line per call: the name of the operation, then its arguments, separated by blanks. Elements appear under their
/// bare names, "null" stands for null, and times as "@" and the number of frames since second 0.
class CallLog {
  public:
    /// Lines are dropped while false, for long runs.
    bool enabled = true;

    void add(std::string line);
    void clear() { m_lines.clear(); }

    [[nodiscard]] const std::vector<std::string>& lines() const { return m_lines; }
    /// The lines whose operation is none of `operations`.
    [[nodiscard]] std::vector<std::string> without(std::initializer_list<const char*> operations) const;
    /// The lines whose operation is one of `operations`.
    [[nodiscard]] std::vector<std::string> only(std::initializer_list<const char*> operations) const;
    /// How many lines begin with `start`.
    [[nodiscard]] int count(const std::string& start) const;

  private:
    std::vector<std::string> m_lines;
};

}  // namespace ond::stage
