// Lists of triangles, packed: a mesh names most triangles next to their neighbours, so what lies in a part of space is
// mostly runs of consecutive numbers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <vector>

namespace ond::ovs::addon {

/// Ascending numbers, none twice. A run takes two to five bytes as a rule, a number by itself one to three.
class TriangleNumbers {
  public:
    class const_iterator;
    class Packer;

    TriangleNumbers() = default;
    /// 0 and all further ones below `count`.
    [[nodiscard]] static TriangleNumbers upTo(std::uint32_t count);

    [[nodiscard]] std::size_t size() const { return m_size; }
    [[nodiscard]] bool empty() const { return m_size == 0; }
    /// `i` below size(). Looks at a few runs; to see all numbers, iterate.
    [[nodiscard]] std::uint32_t operator[](std::size_t i) const;
    [[nodiscard]] const_iterator begin() const;
    [[nodiscard]] const_iterator end() const;

    /// Of the heap.
    [[nodiscard]] std::size_t bytes() const { return m_bytes.capacity(); }

  private:
    /// A place where reading can begin.
    struct Mark {
        std::uint32_t index;  ///< of the first number from here on
        std::uint32_t next;   ///< one more than the number before it; 0 at the start
        std::uint32_t at;     ///< in the bytes
    };
    /// Runs from one mark to the next; there is none at the start.
    static constexpr std::uint32_t kRunsPerMark = 32;

    [[nodiscard]] Mark mark(std::size_t number) const;

    /// The runs, then the marks. A run stands as how many numbers are left out ahead of it, doubled, plus 1 if it has
    /// more than one number; then it goes on with their count less 2. Both in groups of seven bits, lowest first, with
    /// the topmost bit set in all bytes but the last.
    std::vector<unsigned char> m_bytes;
    std::uint32_t m_size = 0;
    std::uint32_t m_marks = 0;
};

class TriangleNumbers::const_iterator {
  public:
    using iterator_category = std::input_iterator_tag;
    using value_type = std::uint32_t;
    using difference_type = std::ptrdiff_t;
    using pointer = const value_type*;
    using reference = value_type;

    std::uint32_t operator*() const { return m_number; }
    const_iterator& operator++() {
        --m_left;
        ++m_number;
        if (m_more != 0)
            --m_more;
        else if (m_left != 0)
            readRun();
        return *this;
    }
    /// Of iterators on the same list.
    friend bool operator==(const const_iterator& a, const const_iterator& b) { return a.m_left == b.m_left; }
    friend bool operator!=(const const_iterator& a, const const_iterator& b) { return !(a == b); }

  private:
    friend class TriangleNumbers;

    /// @param at where the run begins that `left` numbers are left from
    /// @param next one more than the number before it
    const_iterator(const unsigned char* at, std::uint32_t next, std::uint32_t left)
        : m_at(at), m_number(next), m_left(left) {
        if (m_left != 0) readRun();
    }
    void readRun() {
        const std::uint64_t head = readGroups();
        m_number += static_cast<std::uint32_t>(head >> 1U);
        m_more = (head & 1U) != 0 ? static_cast<std::uint32_t>(readGroups()) + 1 : 0;
    }
    [[nodiscard]] std::uint64_t readGroups() {
        std::uint64_t value = 0;
        for (unsigned shift = 0;; shift += 7) {
            const unsigned char byte = *m_at++;
            value |= std::uint64_t{byte & 0x7fU} << shift;
            if (byte < 0x80U) return value;
        }
    }
    /// Skips whole runs. `count` below the numbers left.
    void advance(std::uint32_t count) {
        while (count > m_more) {
            count -= m_more + 1;
            m_left -= m_more + 1;
            m_number += m_more + 1;
            readRun();
        }
        m_number += count;
        m_more -= count;
        m_left -= count;
    }

    const unsigned char* m_at;
    std::uint32_t m_number;
    std::uint32_t m_more = 0;  ///< numbers of the run behind this one
    std::uint32_t m_left;      ///< numbers from this one on
};

inline TriangleNumbers::const_iterator TriangleNumbers::begin() const { return {m_bytes.data(), 0, m_size}; }
inline TriangleNumbers::const_iterator TriangleNumbers::end() const { return {nullptr, 0, 0}; }

/// Makes a list of numbers that come one by one.
class TriangleNumbers::Packer {
  public:
    /// `number` above all before.
    void add(std::uint32_t number) {
        if (number != m_end) {
            closeRun();
            m_first = m_end = number;
        }
        ++m_end;
    }
    /// The list, which takes no more memory than it needs; the packer is then empty.
    [[nodiscard]] TriangleNumbers take();

  private:
    void closeRun();
    void writeGroups(std::uint64_t value);

    std::vector<unsigned char> m_bytes;
    std::vector<Mark> m_marks;
    std::uint32_t m_runs = 0;
    std::uint32_t m_size = 0;
    std::uint32_t m_next = 0;   ///< one more than the last number of the runs so far
    std::uint32_t m_first = 0;  ///< of the open run
    std::uint32_t m_end = 0;    ///< one more than its last number
};

}  // namespace ond::ovs::addon
