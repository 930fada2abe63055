// Conversions between the value of a parameter and what a dialog shows.
#pragma once

namespace ond::ovs::CS {

/// Two-way conversion; the base changes nothing. No operation throws.
template <typename T>
class Converter {
  public:
    /// A further conversion, or null. Owned: deleted with this one. No operation of these classes consults it.
    Converter* next;

    explicit Converter(Converter* nextConverter = nullptr) : next(nextConverter) {}
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    // Slot 0.
    /// Stored value to display.
    [[nodiscard]] virtual T forward(const T& value) const { return value; }

    // Slot 1.
    /// Display to stored value.
    [[nodiscard]] virtual T backward(const T& value) const { return value; }

    // The last place.
    virtual ~Converter() { delete next; }
};

/// The display is `factor` times the value.
template <typename T>
class Multiply : public Converter<T> {
  public:
    /// Any number but 0, which could not be undone.
    T factor;

    explicit Multiply(T multiplier, Converter<T>* nextConverter = nullptr)
        : Converter<T>(nextConverter), factor(multiplier) {}

    [[nodiscard]] T forward(const T& value) const override { return value * factor; }
    [[nodiscard]] T backward(const T& value) const override { return value / factor; }
};

/// Radians shown as degrees. Never passed as an owned `next`.
inline const Multiply<double> radiansToDegrees(57.29577951308232);
/// Fractions shown as percent. Never passed as an owned `next`.
inline const Multiply<double> fractionToPercent(100.0);

}  // namespace ond::ovs::CS
