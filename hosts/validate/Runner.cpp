#include "validate/Runner.h"

#include <fcntl.h>
#include <fnmatch.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <map>
#include <new>
#include <set>
#include <stdexcept>

#include "validate/Check.h"
#include "validate/TestList.h"

namespace ond::validate {

namespace {

using SteadyClock = std::chrono::steady_clock;

/// Behind so many tests that ran out of time the others get less, so that a module that hangs does not take an hour.
constexpr int kPatience = 3;
constexpr double kShareBehindPatience = 0.1;
/// No test needs more memory; without a bound a damaged length takes all there is.
constexpr rlim_t kMostMemory = rlim_t{4} << 30;
constexpr std::size_t kMostPrinted = 4000;
constexpr std::size_t kMostNoted = std::size_t{1} << 24;

bool matches(const std::vector<std::string>& patterns, const std::string& id) {
    return std::any_of(patterns.begin(), patterns.end(),
                       [&](const std::string& pattern) { return fnmatch(pattern.c_str(), id.c_str(), 0) == 0; });
}

bool isChosen(const RunSettings& settings, const TestRow& row, bool* forLevelAlone = nullptr) {
    const std::string id(row.id);
    if (!settings.only.empty() && !matches(settings.only, id)) return false;
    if (matches(settings.skip, id)) return false;
    const bool named = std::find(settings.only.begin(), settings.only.end(), id) != settings.only.end();
    if (row.level <= settings.level || named) return true;
    if (forLevelAlone != nullptr) *forLevelAlone = true;
    return false;
}

TestResult blank(const TestRow& row) {
    TestResult result;
    result.id = row.id;
    result.sentence = row.sentence;
    result.level = row.level;
    return result;
}

/// Each test has its own numbers, whichever others are run.
std::uint64_t seedOf(std::uint64_t seed, std::string_view id) {
    std::uint64_t hash = seed ^ 0xCBF29CE484222325U;
    for (const char c : id) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3U;
    return hash;
}

/// Runs the test here.
void perform(const TestRow& row, const RunSettings& settings, Journal& journal, Whereabouts& where) {
    const Level level = std::max(settings.level, row.level);
    Check check(std::string(row.id), settings.modulePath, level, seedOf(settings.seed, row.id), journal, where);
    try {
        row.run(check);
    } catch (const Abandoned&) {  // told
    }
    journal.done();
}

/// Entries on a file, so that those of every copy of the process come together: a letter, the length of each text, the
/// texts.
class FileJournal final : public Journal {
  public:
    explicit FileJournal(int file) : m_file(file) {}
    void found(const Finding& finding) override {
        put(finding.severity == Severity::failure ? 'F' : 'W', finding.test, finding.sentence);
    }
    void skipped(const std::string& reason) override { put('S', reason, ""); }
    /// A copy of the process that the module made has nothing to end.
    void done() override {
        if (getpid() == m_process) put('D', "", "");
    }

    static void read(const std::string& bytes, TestResult& result, bool& isDone) {
        std::size_t at = 0;
        const auto text = [&](std::uint32_t length) {
            std::string out = bytes.substr(std::min(at, bytes.size()), length);
            at += length;
            return out;
        };
        while (at + kHead <= bytes.size()) {
            const char kind = bytes[at];
            std::uint32_t lengths[2];
            std::memcpy(lengths, bytes.data() + at + 1, sizeof lengths);
            at += kHead;
            const std::string first = text(lengths[0]);
            const std::string second = text(lengths[1]);
            if (at > bytes.size()) return;
            if (kind == 'D') isDone = true;
            if (kind == 'S') {
                result.outcome = Outcome::skipped;
                result.reason = first;
            }
            if (kind == 'F') result.findings.push_back({first, Severity::failure, second});
            if (kind == 'W') result.findings.push_back({first, Severity::warning, second});
        }
    }

  private:
    static constexpr std::size_t kHead = 1 + 2 * sizeof(std::uint32_t);

    void put(char kind, const std::string& first, const std::string& second) const {
        const std::uint32_t lengths[2] = {static_cast<std::uint32_t>(first.size()),
                                          static_cast<std::uint32_t>(second.size())};
        std::string bytes(1, kind);
        bytes.append(reinterpret_cast<const char*>(lengths), sizeof lengths);
        bytes += first + second;
        if (write(m_file, bytes.data(), bytes.size()) < 0) _exit(3);
    }

    int m_file;
    const pid_t m_process = getpid();
};

std::string contentOf(int file, std::size_t last) {
    const off_t size = lseek(file, 0, SEEK_END);
    if (size <= 0) return {};
    const auto length = static_cast<std::size_t>(size);
    const std::size_t from = length > last ? length - last : 0;
    std::string bytes(length - from, '\0');
    const ssize_t count = pread(file, bytes.data(), bytes.size(), static_cast<off_t>(from));
    bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return bytes;
}

bool underAddressSanitizer() {
#if defined(__SANITIZE_ADDRESS__)
    return true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
    return true;
#else
    return false;
#endif
#else
    return false;
#endif
}

/// A test in a process of its own.
class Child {
  public:
    Child(const TestRow& row, const RunSettings& settings, double seconds)
        : m_row(&row),
          m_seconds(seconds),
          m_journal(memfd_create("validate-journal", 0)),
          m_printed(memfd_create("validate-printed", 0)),
          m_where(mmap(nullptr, sizeof(Whereabouts), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)),
          m_start(SteadyClock::now()) {
        if (m_journal < 0 || m_printed < 0 || m_where == MAP_FAILED)
            throw std::runtime_error("there is no room for the reports of the tests");
        new (m_where) Whereabouts();
        m_process = fork();
        if (m_process < 0) throw std::runtime_error("no process can be started for the tests");
        if (m_process == 0) live(settings);
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child() {
        munmap(m_where, sizeof(Whereabouts));
        close(m_journal);
        close(m_printed);
    }

    /// @return whether it has ended; it is made to if its time is over
    bool poll() {
        if (waitpid(m_process, &m_status, WNOHANG) == m_process) return true;
        if (seconds() <= m_seconds) return false;
        m_timedOut = true;
        kill(-m_process, SIGKILL);
        kill(m_process, SIGKILL);
        waitpid(m_process, &m_status, 0);
        return true;
    }

    [[nodiscard]] bool timedOut() const { return m_timedOut; }

    [[nodiscard]] TestResult result() const {
        // What the test's process left behind.
        kill(-m_process, SIGKILL);
        TestResult result = blank(*m_row);
        result.milliseconds = static_cast<std::int64_t>(seconds() * 1000.0);
        bool isDone = false;
        FileJournal::read(contentOf(m_journal, kMostNoted), result, isDone);
        if (isDone) return result;
        result.outcome = m_timedOut ? Outcome::failed : Outcome::crashed;
        result.timedOut = m_timedOut;
        result.printed = contentOf(m_printed, kMostPrinted);
        result.findings.push_back({result.id, Severity::failure, "the module " + howItEnded()});
        return result;
    }

  private:
    [[nodiscard]] double seconds() const { return std::chrono::duration<double>(SteadyClock::now() - m_start).count(); }

    [[nodiscard]] std::string howItEnded() const {
        const auto& where = *static_cast<const Whereabouts*>(m_where);
        std::string place = where.call[0] != '\0' ? std::string(" inside of ") + where.call : " between two calls";
        if (where.call[0] != '\0' && where.service[0] != '\0')
            place += std::string(", having asked for ") + where.service + " last";
        if (m_timedOut)
            return "did not come back within " + shown(m_seconds) + " seconds," + place +
                   "; every call returns before the host goes on";
        if (WIFSIGNALED(m_status))
            return std::string("crashed (") + strsignal(WTERMSIG(m_status)) + ")" + place +
                   "; the process is the host's";
        return "ended the process with code " + std::to_string(WEXITSTATUS(m_status)) + place +
               "; the process is the host's";
    }

    [[noreturn]] void live(const RunSettings& settings) {
        setpgid(0, 0);
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        const int nothing = open("/dev/null", O_RDONLY);
        dup2(nothing, STDIN_FILENO);
        dup2(m_printed, STDOUT_FILENO);
        dup2(m_printed, STDERR_FILENO);
        const rlimit noCore{0, 0};
        setrlimit(RLIMIT_CORE, &noCore);
        const rlimit memory{kMostMemory, kMostMemory};
        if (!underAddressSanitizer()) setrlimit(RLIMIT_AS, &memory);
        // As a program finds them that is started anew, whatever this one had set.
        for (const int number : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGPIPE, SIGTERM, SIGINT})
            if (!underAddressSanitizer()) signal(number, SIG_DFL);
        FileJournal journal(m_journal);
        perform(*m_row, settings, journal, *static_cast<Whereabouts*>(m_where));
        std::fflush(nullptr);
        _exit(0);
    }

    const TestRow* m_row;
    double m_seconds;
    int m_journal, m_printed;
    void* m_where;
    SteadyClock::time_point m_start;
    pid_t m_process = -1;
    int m_status = 0;
    bool m_timedOut = false;
};

/// Outcome from the findings of the test itself, and those of others to their tests.
void settle(std::vector<TestResult>& results) {
    std::map<std::string, std::size_t> places;
    for (std::size_t i = 0; i < results.size(); ++i) places[results[i].id] = i;
    std::vector<Finding> moved;
    for (TestResult& result : results) {
        std::vector<Finding> own;
        for (Finding& finding : result.findings)
            (finding.test == result.id || places.count(finding.test) == 0 ? own : moved).push_back(std::move(finding));
        result.findings = std::move(own);
    }
    for (Finding& finding : moved) {
        std::vector<Finding>& theirs = results[places[finding.test]].findings;
        if (std::find(theirs.begin(), theirs.end(), finding) == theirs.end()) theirs.push_back(std::move(finding));
    }
    for (TestResult& result : results) {
        if (result.outcome == Outcome::crashed || result.findings.empty()) continue;
        const bool broken = std::any_of(result.findings.begin(), result.findings.end(),
                                        [](const Finding& one) { return one.severity == Severity::failure; });
        if (broken)
            result.outcome = Outcome::failed;
        else if (result.outcome == Outcome::passed)
            result.outcome = Outcome::warning;
    }
}

std::vector<TestResult> runHere(const RunSettings& settings, const std::vector<const TestRow*>& rows,
                                const std::function<void(const TestResult&)>& progress) {
    std::vector<TestResult> results;
    for (const TestRow* row : rows) {
        TestResult result = blank(*row);
        const int file = memfd_create("validate-journal", 0);
        if (file < 0) throw std::runtime_error("there is no room for the reports of the tests");
        FileJournal journal(file);
        Whereabouts where;
        const auto start = SteadyClock::now();
        perform(*row, settings, journal, where);
        result.milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(SteadyClock::now() - start).count();
        bool isDone = false;
        FileJournal::read(contentOf(file, kMostNoted), result, isDone);
        close(file);
        progress(result);
        results.push_back(std::move(result));
    }
    return results;
}

/// The processes of a validation.
class Pool {
  public:
    Pool(const RunSettings& settings, const std::function<void(const TestResult&)>& progress)
        : m_settings(settings), m_progress(progress) {}

    /// Starts the test as soon as there is room.
    void start(const TestRow& row, TestResult& into) {
        while (m_children.size() >= static_cast<std::size_t>(std::max(1, m_settings.jobs))) waitForOne();
        const double seconds = m_settings.secondsPerTest * (m_timeouts >= kPatience ? kShareBehindPatience : 1.0);
        m_children.push_back({std::make_unique<Child>(row, m_settings, seconds), &into});
    }
    void waitForAll() {
        while (!m_children.empty()) waitForOne();
    }

  private:
    struct Running {
        std::unique_ptr<Child> child;
        TestResult* into;
    };

    void waitForOne() {
        for (;;) {
            for (std::size_t i = 0; i < m_children.size(); ++i) {
                if (!m_children[i].child->poll()) continue;
                if (m_children[i].child->timedOut()) ++m_timeouts;
                *m_children[i].into = m_children[i].child->result();
                m_progress(*m_children[i].into);
                m_children.erase(m_children.begin() + static_cast<std::ptrdiff_t>(i));
                return;
            }
            usleep(2000);
        }
    }

    const RunSettings& m_settings;
    const std::function<void(const TestResult&)>& m_progress;
    std::vector<Running> m_children;
    int m_timeouts = 0;
};

/// Without a module that loads no other test says anything.
bool loadsAtAll(const TestResult& first) {
    return first.outcome != Outcome::crashed && !first.timedOut &&
           std::none_of(first.findings.begin(), first.findings.end(),
                        [](const Finding& one) { return one.test == "loads"; });
}

std::vector<TestResult> runApart(const RunSettings& settings, const std::vector<const TestRow*>& rows,
                                 const std::function<void(const TestResult&)>& progress) {
    std::vector<TestResult> results;
    std::transform(rows.begin(), rows.end(), std::back_inserter(results),
                   [](const TestRow* row) { return blank(*row); });
    Pool pool(settings, progress);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        pool.start(*rows[i], results[i]);
        if (rows[i]->id != "loads") continue;
        pool.waitForAll();
        if (loadsAtAll(results[i])) continue;
        for (std::size_t k = i + 1; k < rows.size(); ++k) {
            results[k].outcome = Outcome::skipped;
            results[k].reason = "the test 'loads' stands in the way";
            progress(results[k]);
        }
        return results;
    }
    pool.waitForAll();
    return results;
}

}  // namespace

std::vector<std::string> chosenTests(const RunSettings& settings) {
    std::vector<std::string> ids;
    for (const TestRow& row : allTests())
        if (isChosen(settings, row)) ids.emplace_back(row.id);
    return ids;
}

std::size_t stricterTests(const RunSettings& settings) {
    std::size_t count = 0;
    for (const TestRow& row : allTests()) {
        bool forLevelAlone = false;
        if (!isChosen(settings, row, &forLevelAlone) && forLevelAlone) ++count;
    }
    return count;
}

std::vector<TestResult> runTests(const RunSettings& settings, const std::function<void(const TestResult&)>& progress) {
    std::vector<const TestRow*> rows;
    for (const TestRow& row : allTests())
        if (isChosen(settings, row)) rows.push_back(&row);
    std::vector<TestResult> results =
        settings.inProcess ? runHere(settings, rows, progress) : runApart(settings, rows, progress);
    settle(results);
    return results;
}

}  // namespace ond::validate
