// The processor's settings for numbers: how it rounds, what it does with tiny ones, and which errors stop the program.
#pragma once

#include <string>

namespace ond::validate {

class FloatingPoint {
  public:
    /// As they are now.
    FloatingPoint();
    /// What is different now, for a sentence; empty if nothing is.
    [[nodiscard]] std::string changed() const;
    void restore() const;

  private:
    int m_rounding;
    int m_traps;
    unsigned m_control;    ///< of the vector unit, without its status flags; 0 on processors without one
    unsigned m_precision;  ///< of the older unit; 0 on processors without one
};

}  // namespace ond::validate
