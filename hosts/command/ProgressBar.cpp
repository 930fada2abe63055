#include "command/ProgressBar.h"

#include <algorithm>
#include <utility>

namespace ond::command {

namespace {

constexpr int kWidth = 40;
constexpr std::chrono::milliseconds kPause{100};

}  // namespace

ProgressBar::ProgressBar(const Console& console, std::string what, int first, int last)
    : m_console(console),
      m_what(std::move(what)),
      m_first(first),
      m_last(std::max(last, first + 1)),
      m_next(std::chrono::steady_clock::now() + kPause) {}

ProgressBar::~ProgressBar() {
    if (m_drawn) m_console.err << '\r' << std::string(m_what.size() + kWidth + 40, ' ') << '\r' << std::flush;
}

void ProgressBar::show(int frame) {
    if (!m_console.terminal || m_console.quiet) return;
    const auto now = std::chrono::steady_clock::now();
    if (now < m_next) return;
    m_next = now + kPause;
    m_drawn = true;
    const double part = std::clamp(static_cast<double>(frame - m_first) / (m_last - m_first), 0.0, 1.0);
    const int full = static_cast<int>(part * kWidth);
    m_console.err << '\r' << m_what << " [" << std::string(static_cast<std::size_t>(full), '#')
                  << std::string(static_cast<std::size_t>(kWidth - full), '.') << "] frame " << frame << " of "
                  << m_last << std::flush;
}

}  // namespace ond::command
