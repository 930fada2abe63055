#include "validate/FloatingPoint.h"

#include <cfenv>
#include <cstdint>
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

#if defined(__x86_64__)
/// How precise the older unit of the processor is, which long double is computed in.
constexpr unsigned kPrecisionBits = 0x0300;
unsigned precision() {
    std::uint16_t word = 0;
    __asm__ volatile("fnstcw %0" : "=m"(word));
    return word & kPrecisionBits;
}
void setPrecision(unsigned bits) {
    std::uint16_t word = 0;
    __asm__ volatile("fnstcw %0" : "=m"(word));
    word = static_cast<std::uint16_t>((word & ~kPrecisionBits) | bits);
    __asm__ volatile("fldcw %0" : : "m"(word));
}
#else
unsigned precision() { return 0; }
void setPrecision(unsigned) {}
#endif

}  // namespace

FloatingPoint::FloatingPoint()
    : m_rounding(fegetround()), m_traps(fegetexcept()), m_control(control()), m_precision(precision()) {}

std::string FloatingPoint::changed() const {
    if (fegetround() != m_rounding) return "another rounding mode";
    if (fegetexcept() != m_traps) return "other floating point errors that stop the program";
    if (precision() != m_precision) return "another precision of long numbers";
    if (control() != m_control) return "another treatment of tiny numbers";
    return {};
}

void FloatingPoint::restore() const {
    fesetround(m_rounding);
    fedisableexcept(FE_ALL_EXCEPT);
    feenableexcept(m_traps);
    setPrecision(m_precision);
#if defined(__SSE2__)
    _mm_setcsr((_mm_getcsr() & ~kControlBits) | m_control);
#endif
}

}  // namespace ond::validate
