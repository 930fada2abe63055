// How far a long run is, on a terminal.
#pragma once

#include <chrono>
#include <string>

#include "command/Console.h"

namespace ond::command {

/// Draws nothing where there is no terminal. The line is gone when the bar is.
class ProgressBar {
  public:
    ProgressBar(const Console& console, std::string what, int first, int last);
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;
    ~ProgressBar();

    void show(int frame);

  private:
    const Console& m_console;
    std::string m_what;
    int m_first;
    int m_last;
    bool m_drawn = false;
    std::chrono::steady_clock::time_point m_next;
};

}  // namespace ond::command
