// Bytes as base64 text: A-Z a-z 0-9 + /, padded to whole groups with "=". Nothing else is in the text.
#pragma once

#include <string>
#include <vector>

namespace ond::util {

/// Bytes that can be made from base64 text and turned into it. Format: RFC 4648, section 4.
class Base64Data {
  public:
    Base64Data() = default;
    /// Holds a copy of `size` bytes. A negative size or null `bytes` gives no bytes.
    Base64Data(const void* bytes, int size);
    /// Holds the bytes that `text` stands for, or none if the text is damaged in any place. Nothing is reported.
    ///
    /// The length must be a multiple of 4; white space is not skipped. "=" counts as padding at the third and fourth
    /// place of any group, also of one in the middle, which then gives one or two bytes; left-over bits of such a
    /// group are not looked at.
    explicit Base64Data(const std::string& text);

    /// Bytes held.
    [[nodiscard]] int getSize() const { return static_cast<int>(m_bytes.size()); }

    /// Copies all bytes to `target`, or copies none and returns false if `capacity` is too small for them.
    bool copyTo(void* target, int capacity) const;

    /// The bytes as text: 4 characters for each begun group of 3 bytes.
    [[nodiscard]] std::string toString() const;

  private:
    std::vector<unsigned char> m_bytes;
};

}  // namespace ond::util
