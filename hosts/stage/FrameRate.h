// Frames per second as a ratio of whole numbers, so that 29.97 is exactly 30000 / 1001.
#pragma once

#include <string>

namespace ond::stage {

struct FrameRate {
    int numerator = 25;
    int denominator = 1;

    /// "25", "29.97" or "30000/1001". Of the decimals, 23.976, 29.97, 47.952, 59.94 and 119.88 stand for the ratios
    /// over 1001 that broadcasting means by them; others are taken as they are, to three places.
    /// @throws StageError for all else, and for rates outside of 1 to 1000
    [[nodiscard]] static FrameRate parse(const std::string& text);

    /// Seconds of a frame, from the whole number, so that the same frame has the same bits in every run.
    [[nodiscard]] double time(int frame) const { return static_cast<double>(frame) * denominator / numerator; }
    /// Length of a frame in seconds.
    [[nodiscard]] double step() const { return static_cast<double>(denominator) / numerator; }
    /// The frame that is nearest to a time in seconds.
    [[nodiscard]] int nearest(double seconds) const;
    [[nodiscard]] double perSecond() const { return static_cast<double>(numerator) / denominator; }
    /// "25" or "30000/1001".
    [[nodiscard]] std::string text() const;

    friend bool operator==(const FrameRate& a, const FrameRate& b) {
        return a.numerator == b.numerator && a.denominator == b.denominator;
    }
};

}  // namespace ond::stage
