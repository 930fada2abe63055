#include "ground/TriangleNumbers.h"

#include <cstring>
#include <utility>

namespace ond::ovs::addon {

TriangleNumbers TriangleNumbers::upTo(std::uint32_t count) {
    Packer packer;
    for (std::uint32_t number = 0; number < count; ++number) packer.add(number);
    return packer.take();
}

TriangleNumbers::Mark TriangleNumbers::mark(std::size_t number) const {
    Mark mark{};
    std::memcpy(&mark, m_bytes.data() + m_bytes.size() - (m_marks - number) * sizeof(Mark), sizeof(Mark));
    return mark;
}

std::uint32_t TriangleNumbers::operator[](std::size_t i) const {
    const auto index = static_cast<std::uint32_t>(i);
    std::size_t passed = 0;
    for (std::size_t from = 0, to = m_marks; from < to;) {
        const std::size_t middle = from + (to - from) / 2;
        if (mark(middle).index <= index)
            passed = from = middle + 1;
        else
            to = middle;
    }
    const Mark start = passed == 0 ? Mark{} : mark(passed - 1);
    const_iterator place(m_bytes.data() + start.at, start.next, m_size - start.index);
    place.advance(index - start.index);
    return *place;
}

void TriangleNumbers::Packer::closeRun() {
    if (m_first == m_end) return;
    if (m_runs != 0 && m_runs % kRunsPerMark == 0)
        m_marks.push_back({m_size, m_next, static_cast<std::uint32_t>(m_bytes.size())});
    const std::uint32_t count = m_end - m_first;
    writeGroups(std::uint64_t{m_first - m_next} << 1U | (count > 1 ? 1U : 0U));
    if (count > 1) writeGroups(count - 2);
    ++m_runs;
    m_size += count;
    m_next = m_first = m_end;
}

void TriangleNumbers::Packer::writeGroups(std::uint64_t value) {
    for (; value >= 0x80U; value >>= 7U) m_bytes.push_back(static_cast<unsigned char>((value & 0x7fU) | 0x80U));
    m_bytes.push_back(static_cast<unsigned char>(value));
}

TriangleNumbers TriangleNumbers::Packer::take() {
    closeRun();
    TriangleNumbers list;
    list.m_size = m_size;
    list.m_marks = static_cast<std::uint32_t>(m_marks.size());
    const std::size_t bytesOfMarks = m_marks.size() * sizeof(Mark);
    list.m_bytes.resize(m_bytes.size() + bytesOfMarks);
    if (!m_bytes.empty()) std::memcpy(list.m_bytes.data(), m_bytes.data(), m_bytes.size());
    if (bytesOfMarks != 0) std::memcpy(list.m_bytes.data() + m_bytes.size(), m_marks.data(), bytesOfMarks);
    *this = Packer();
    return list;
}

}  // namespace ond::ovs::addon
