#include "validate/FloatingPoint.h"

#include <cfenv>
#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace ond::validate {

namespace {

#if defined(__SSE2__)
/// Rounding, masks, and what is done with numbers too small for the ordinary form; not the sticky status flags.
constexpr unsigned kControlBits = 0xFFC0;
unsigned control() { return _mm_getcsr() & kControlBits; }
#else
unsigned control() { return 0; }
#endif

}  // namespace

FloatingPoint::FloatingPoint() : m_rounding(fegetround()), m_traps(fegetexcept()), m_control(control()) {}

std::string FloatingPoint::changed() const {
    if (fegetround() != m_rounding) return "another rounding mode";
    if (fegetexcept() != m_traps) return "other floating point errors that stop the program";
    if (control() != m_control) return "another treatment of tiny numbers";
    return {};
}

void FloatingPoint::restore() const {
    fesetround(m_rounding);
    fedisableexcept(FE_ALL_EXCEPT);
    feenableexcept(m_traps);
#if defined(__SSE2__)
    _mm_setcsr((_mm_getcsr() & ~kControlBits) | m_control);
#endif
}

}  // namespace ond::validate
