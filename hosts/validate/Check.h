// What a test writes to and asks: its findings, its random numbers, and the calls that it makes into the module.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "validate/Outcome.h"

namespace ond::validate {

/// Where the module was last, readable by the process that waits for the test.
struct Whereabouts {
    char call[256] = {};     ///< the host's call into the module that is under way; empty between calls
    char service[128] = {};  ///< the host's service that the module asked for last
};

/// Takes what a test finds, one entry at a time and at once, so that nothing is lost when the module ends the process.
class Journal {
  public:
    Journal() = default;
    Journal(const Journal&) = delete;
    Journal& operator=(const Journal&) = delete;
    virtual ~Journal() = default;
    virtual void found(const Finding& finding) = 0;
    virtual void skipped(const std::string& reason) = 0;
    /// Behind everything else.
    virtual void done() = 0;
};

/// Thrown by a test that cannot go on; the finding or the reason has been told.
struct Abandoned {};

class Check {
  public:
    /// @param where outlives the check; may be shared with another process
    Check(std::string id, std::string modulePath, Level level, std::uint64_t seed, Journal& journal,
          Whereabouts& where);
    Check(const Check&) = delete;
    Check& operator=(const Check&) = delete;

    const std::string id;
    const std::string modulePath;
    const Level level;  ///< that was asked for
    const std::uint64_t seed;
    std::mt19937_64 random;

    /// The module broke what this test is about.
    void fail(const std::string& sentence);
    void warn(const std::string& sentence);
    /// fail() unless it holds.
    /// @return whether it does
    bool expect(bool holds, const std::string& sentence);
    /// Something that is the subject of the test `owner`, wherever it came up.
    void complain(std::string_view owner, const std::string& sentence, Severity severity = Severity::failure);
    /// complain(), if at least this level was asked for.
    void complainAt(Level least, std::string_view owner, const std::string& sentence);
    /// The module does not offer what the test is about.
    [[noreturn]] void skip(const std::string& reason);
    /// Without what the test `owner` is about this one cannot go on.
    [[noreturn]] void give(std::string_view owner, const std::string& sentence);
    /// Ends the process: for findings behind which the module would only crash, and inside of its calls, where an
    /// exception could not pass.
    [[noreturn]] void endNow();
    [[nodiscard]] bool hasFailures() const { return m_failures > 0; }

    /// Calls into the module. What it throws is a complaint and ends the test.
    /// @param call for the user: "updateFrame(0.04)"
    template <typename Work>
    void inside(const std::string& call, Work work) {
        const std::string around = enter(call);
        guard(call, std::function<void()>(std::move(work)));
        leave(around);
    }
    /// The call that is under way; empty between calls.
    [[nodiscard]] const char* call() const { return m_where.call; }
    void noteService(const char* service);

    /// A whole number from 0 to below `bound`.
    [[nodiscard]] std::uint64_t below(std::uint64_t bound);
    /// A number from `low` to `high`.
    [[nodiscard]] double between(double low, double high);

  private:
    /// @return the call that was under way before, for leave()
    std::string enter(const std::string& call);
    void guard(const std::string& call, const std::function<void()>& work);
    void leave(const std::string& around);

    Journal& m_journal;
    Whereabouts& m_where;
    std::vector<Finding> m_told;
    std::mutex m_mutex;  ///< a module may call from a thread of its own, against the contract
    int m_failures = 0;
};

/// A number for a sentence: short, but enough to tell values apart.
[[nodiscard]] std::string shown(double value);
/// A text for a sentence: in quotes, without control characters, cut if long.
[[nodiscard]] std::string cited(std::string_view text);
/// "1 key", "3 keys".
[[nodiscard]] std::string counted(std::size_t count, const char* one, const char* many = nullptr);

}  // namespace ond::validate
