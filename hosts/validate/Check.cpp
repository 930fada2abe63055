#include "validate/Check.h"

#include <cxxabi.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <typeinfo>

#include "validate/FloatingPoint.h"

namespace ond::validate {

namespace {

template <std::size_t n>
void copyTo(char (&target)[n], const std::string& text) {
    std::snprintf(target, n, "%s", text.c_str());
}

std::string nameOfException() {
    const std::type_info* type = abi::__cxa_current_exception_type();
    if (type == nullptr) return "an exception";
    int status = 0;
    char* name = abi::__cxa_demangle(type->name(), nullptr, nullptr, &status);
    std::string text = status == 0 ? name : type->name();
    std::free(name);
    return text;
}

}  // namespace

Check::Check(std::string testId, std::string path, Level asked, std::uint64_t testSeed, Journal& journal,
             Whereabouts& where)
    : id(std::move(testId)),
      modulePath(std::move(path)),
      level(asked),
      seed(testSeed),
      random(testSeed),
      m_journal(journal),
      m_where(where) {}

void Check::fail(const std::string& sentence) { complain(id, sentence); }

void Check::warn(const std::string& sentence) { complain(id, sentence, Severity::warning); }

bool Check::expect(bool holds, const std::string& sentence) {
    if (!holds) fail(sentence);
    return holds;
}

void Check::complain(std::string_view owner, const std::string& sentence, Severity severity) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    constexpr std::size_t kEnough = 40;
    const Finding finding{std::string(owner), severity, sentence};
    if (m_told.size() >= kEnough || std::find(m_told.begin(), m_told.end(), finding) != m_told.end()) return;
    m_told.push_back(finding);
    if (severity == Severity::failure) ++m_failures;
    m_journal.found(finding);
}

void Check::complainAt(Level least, std::string_view owner, const std::string& sentence) {
    if (level >= least) complain(owner, sentence);
}

void Check::skip(const std::string& reason) {
    m_journal.skipped(reason);
    throw Abandoned{};
}

void Check::give(std::string_view owner, const std::string& sentence) {
    complain(owner, sentence);
    if (owner != id) m_journal.skipped("the test '" + std::string(owner) + "' stands in the way: " + sentence);
    throw Abandoned{};
}

void Check::endNow() {
    m_journal.done();
    // For who waits at a terminal: behind this nothing else can be told.
    if (!m_told.empty()) std::fprintf(stderr, "%s: %s\n", m_told.back().test.c_str(), m_told.back().sentence.c_str());
    std::fflush(nullptr);
    _exit(1);
}

void Check::noteService(const char* service) { std::snprintf(m_where.service, sizeof m_where.service, "%s", service); }

std::string Check::enter(const std::string& call) {
    std::string around = m_where.call;
    copyTo(m_where.call, call);
    m_where.service[0] = '\0';
    return around;
}

void Check::guard(const std::string& call, const std::function<void()>& work) {
    const FloatingPoint before;
    try {
        work();
    } catch (const Abandoned&) {
        throw;
    } catch (const std::exception& error) {
        const std::string what = error.what();
        complain("throws-nothing", call + " let " + nameOfException() + " (" + cited(what) +
                                       ") out of the module; nothing may be thrown across the boundary");
        m_where.call[0] = '\0';
        throw Abandoned{};
    } catch (...) {
        complain("throws-nothing",
                 call + " let " + nameOfException() + " out of the module; nothing may be thrown across the boundary");
        m_where.call[0] = '\0';
        throw Abandoned{};
    }
    if (const std::string changed = before.changed(); !changed.empty()) {
        complain("leaves-floating-point-alone",
                 call + " came back with " + changed + "; the settings of the processor belong to the host");
        before.restore();
    }
}

void Check::leave(const std::string& around) { copyTo(m_where.call, around); }

std::uint64_t Check::below(std::uint64_t bound) { return bound == 0 ? 0 : random() % bound; }

double Check::between(double low, double high) {
    return low + (high - low) * static_cast<double>(random() >> 11) * 0x1p-53;
}

std::string shown(double value) {
    char text[40];
    std::snprintf(text, sizeof text, "%.10g", value);
    return text;
}

std::string cited(std::string_view text) {
    constexpr std::size_t kLongest = 80;
    std::string out = "'";
    for (const char c : text.substr(0, kLongest)) out += static_cast<unsigned char>(c) < 32 || c == 127 ? '?' : c;
    if (text.size() > kLongest) out += "...";
    return out + "'";
}

std::string counted(std::size_t count, const char* one, const char* many) {
    return std::to_string(count) + " " + (count == 1 ? one : many != nullptr ? many : (std::string(one) + "s"));
}

}  // namespace ond::validate
