#include "stage/Clock.h"

#include <cmath>
#include <cstdio>

namespace ond::stage {

std::string Clock::frames(double time) const {
    double frame = std::round(time / step() * 1e6) / 1e6;
    if (frame == 0.0) frame = 0.0;  // no minus sign
    char text[40];
    std::snprintf(text, sizeof text, "@%.10g", frame);
    return text;
}

}  // namespace ond::stage
