#include "command/FbxRecords.h"

#include <cstdint>

#include "command/CommandError.h"

namespace ond::command {

namespace {

constexpr const char* kMagic = "Kaydara FBX Binary";
constexpr std::size_t kVersionAt = 23;
constexpr std::size_t kFirstRecord = 27;
constexpr std::uint64_t kWideRecords = 7500;  // from this version on the counts have 64 bits
constexpr std::size_t kHead = 25;             // three counts and the length of the name; the empty record as well
constexpr std::size_t kMark = 16;             // at both ends of the footer
constexpr int kDeepest = 64;

class Rewriter {
  public:
    explicit Rewriter(const std::string& file) : m_in(file) {}

    std::string rewrite() {
        m_out = m_in.substr(0, kFirstRecord);
        std::size_t at = kFirstRecord;
        while (holdsRecord(at)) at = copy(at, 0);
        if (isEmptyRecord(at)) at += kHead;
        m_out.append(kHead, '\0');
        copyFooter(at);
        return std::move(m_out);
    }

  private:
    [[nodiscard]] std::uint64_t count(std::size_t at, int bytes = 8) const {
        std::uint64_t value = 0;
        for (int i = bytes; i-- > 0;)
            value = (value << 8U) | static_cast<unsigned char>(m_in[at + static_cast<std::size_t>(i)]);
        return value;
    }
    [[nodiscard]] bool isEmptyRecord(std::size_t at) const { return at + kHead <= m_in.size() && count(at) == 0; }
    /// Whether a record begins here; behind the last one there is the empty record or the footer.
    [[nodiscard]] bool holdsRecord(std::size_t at) const {
        return at + kHead <= m_in.size() && count(at) > at && count(at) <= m_in.size();
    }

    /// @return the place behind the record
    std::size_t copy(std::size_t at, int depth) {
        const std::size_t end = count(at);
        const std::uint64_t properties = count(at + 16);
        const std::size_t name = static_cast<unsigned char>(m_in[at + kHead - 1]);
        if (depth > kDeepest || end > m_in.size() || at + kHead + name > end || properties > end - at - kHead - name)
            throw CommandError("the FBX exporter wrote records that do not fit into each other");
        const std::size_t start = m_out.size();
        std::size_t inner = at + kHead + name + properties;
        m_out.append(m_in, at, inner - at);
        const bool nests = inner < end;
        while (inner < end) {
            if (isEmptyRecord(inner))
                inner += kHead;
            else if (holdsRecord(inner) && count(inner) <= end)
                inner = copy(inner, depth + 1);
            else
                throw CommandError("the FBX exporter wrote records that do not fit into each other");
        }
        if (nests) m_out.append(kHead, '\0');
        const std::uint64_t newEnd = m_out.size();
        for (std::size_t i = 0; i < 8; ++i) m_out[start + i] = static_cast<char>((newEnd >> (8 * i)) & 255U);
        return end;
    }

    /// Two marks, and between them the version at a multiple of 16 and zeros.
    void copyFooter(std::size_t at) {
        if (m_in.size() < at + 2 * kMark) return;
        m_out.append(m_in, at, kMark);
        m_out.append(4, '\0');
        m_out.append(16 - m_out.size() % 16, '\0');
        m_out.append(m_in, kVersionAt, 4);
        m_out.append(120, '\0');
        m_out.append(m_in, m_in.size() - kMark, kMark);
    }

    const std::string& m_in;
    std::string m_out;

    friend std::string ond::command::withEmptyRecords(const std::string& file);
};

}  // namespace

std::string withEmptyRecords(const std::string& file) {
    if (file.size() < kFirstRecord || file.compare(0, std::string(kMagic).size(), kMagic) != 0) return file;
    Rewriter rewriter(file);
    return rewriter.count(kVersionAt, 4) < kWideRecords ? file : rewriter.rewrite();
}

}  // namespace ond::command
