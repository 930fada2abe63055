#include "command/FbxRecords.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "command/CommandError.h"

namespace ond::command {

namespace {

constexpr const char* kMagic = "Kaydara FBX Binary";
constexpr std::size_t kVersionAt = 23;
constexpr std::size_t kFirstRecord = 27;
constexpr std::uint64_t kWideRecords = 7500;  // from this version on the counts of a record have 64 bits
constexpr std::size_t kMark = 16;             // at both ends of the footer
constexpr std::size_t kArrayHead = 12;        // count, packing and size of the elements of a property
constexpr int kDeepest = 64;

[[noreturn]] void misfit() { throw CommandError("the FBX exporter wrote records that do not fit into each other"); }

template <typename Value>
std::string bytesOf(Value value, std::size_t count = sizeof(Value)) {
    std::string bytes(sizeof value, '\0');
    std::memcpy(bytes.data(), &value, sizeof value);
    return bytes.substr(0, count);
}

/// Little-endian, up to 8 bytes.
std::uint64_t numberAt(const std::string& bytes, std::size_t at, std::size_t count) {
    if (at > bytes.size() || count > bytes.size() - at) misfit();
    std::uint64_t value = 0;
    for (std::size_t i = count; i-- > 0;) value = (value << 8U) | static_cast<unsigned char>(bytes[at + i]);
    return value;
}

/// Bytes of each of the three counts at the beginning of a record.
std::size_t countBytes(const std::string& head) { return numberAt(head, kVersionAt, 4) < kWideRecords ? 4 : 8; }

class Reader {
  public:
    explicit Reader(const std::string& file) : m_in(file), m_count(countBytes(file)), m_head(3 * m_count + 1) {}

    FbxFile read() {
        FbxFile file;
        file.head = m_in.substr(0, kFirstRecord);
        std::size_t at = kFirstRecord;
        while (holdsRecord(at)) at = record(at, 0, file.records);
        if (isEmptyRecord(at)) at += m_head;
        if (m_in.size() >= at + 2 * kMark) {
            file.mark = m_in.substr(at, kMark);
            file.end = m_in.substr(m_in.size() - kMark);
        }
        return file;
    }

  private:
    [[nodiscard]] std::uint64_t count(std::size_t at, std::size_t which = 0) const {
        return numberAt(m_in, at + which * m_count, m_count);
    }
    [[nodiscard]] bool isEmptyRecord(std::size_t at) const { return at + m_head <= m_in.size() && count(at) == 0; }
    /// Whether a record begins here; behind the last one there is the empty record or the footer.
    [[nodiscard]] bool holdsRecord(std::size_t at) const {
        return at + m_head <= m_in.size() && count(at) > at && count(at) <= m_in.size();
    }

    /// @return the place behind the record
    std::size_t record(std::size_t at, int depth, std::vector<FbxRecord>& list) {
        const std::size_t end = count(at);
        const std::uint64_t bytes = count(at, 2);
        const std::size_t name = static_cast<unsigned char>(m_in[at + m_head - 1]);
        if (depth > kDeepest || at + m_head + name > end || bytes > end - at - m_head - name) misfit();
        FbxRecord record;
        record.name = m_in.substr(at + m_head, name);
        std::size_t inner = at + m_head + name;
        const std::size_t behind = inner + bytes;
        for (std::uint64_t i = 0; i < count(at, 1); ++i) {
            const std::size_t size = propertySize(inner);
            if (inner > behind || size > behind - inner) misfit();
            record.properties.push_back(m_in.substr(inner, size));
            inner += size;
        }
        if (inner != behind) misfit();
        record.hasList = inner < end;
        while (inner < end) {
            if (isEmptyRecord(inner))
                inner += m_head;
            else if (holdsRecord(inner) && count(inner) <= end)
                inner = this->record(inner, depth + 1, record.nested);
            else
                misfit();
        }
        list.push_back(std::move(record));
        return end;
    }

    [[nodiscard]] std::size_t propertySize(std::size_t at) const {
        if (at >= m_in.size()) misfit();
        switch (m_in[at]) {
            case 'B':
            case 'C': return 2;
            case 'Y': return 3;
            case 'I':
            case 'F': return 5;
            case 'L':
            case 'D': return 9;
            case 'S':
            case 'R': return 5 + numberAt(m_in, at + 1, 4);
            case 'b':
            case 'i':
            case 'l':
            case 'f':
            case 'd': return 1 + kArrayHead + numberAt(m_in, at + 9, 4);
            default: misfit();
        }
    }

    const std::string& m_in;
    std::size_t m_count;
    std::size_t m_head;
};

void append(std::string& out, const FbxRecord& record, std::size_t countSize) {
    const std::size_t start = out.size();
    std::uint64_t bytes = 0;
    for (const std::string& property : record.properties) bytes += property.size();
    out += bytesOf(std::uint64_t{0}, countSize) + bytesOf(std::uint64_t{record.properties.size()}, countSize) +
           bytesOf(bytes, countSize);
    out += static_cast<char>(record.name.size());
    out += record.name;
    for (const std::string& property : record.properties) out += property;
    for (const FbxRecord& nested : record.nested) append(out, nested, countSize);
    if (record.hasList || !record.nested.empty()) out.append(3 * countSize + 1, '\0');
    out.replace(start, countSize, bytesOf(std::uint64_t{out.size()}, countSize));
}

}  // namespace

FbxRecord* FbxRecord::find(const std::string& of) {
    const auto found = std::find_if(nested.begin(), nested.end(), [&of](const FbxRecord& r) { return r.name == of; });
    return found == nested.end() ? nullptr : &*found;
}

FbxRecord& FbxRecord::add(FbxRecord record) { return nested.emplace_back(std::move(record)); }

FbxRecord& FbxFile::at(const std::string& name) {
    for (FbxRecord& record : records)
        if (record.name == name) return record;
    throw CommandError("the FBX exporter wrote a file without '" + name + "'");
}

FbxFile readFbx(const std::string& file) {
    if (file.size() < kFirstRecord || file.compare(0, std::strlen(kMagic), kMagic) != 0)
        throw CommandError("the FBX exporter wrote something else than binary FBX");
    return Reader(file).read();
}

std::string writeFbx(const FbxFile& file) {
    const std::size_t countSize = countBytes(file.head);
    std::string out = file.head;
    for (const FbxRecord& record : file.records) append(out, record, countSize);
    out.append(3 * countSize + 1, '\0');
    // Two marks, and between them the version at a multiple of 16 and zeros.
    out += file.mark;
    out.append(4, '\0');
    out.append(16 - out.size() % 16, '\0');
    out.append(file.head, kVersionAt, 4);
    out.append(120, '\0');
    return out + file.end;
}

std::string fbxText(const std::string& text) { return "S" + bytesOf(static_cast<std::uint32_t>(text.size())) + text; }
std::string fbxWhole(std::int32_t number) { return "I" + bytesOf(number); }
std::string fbxLong(std::int64_t number) { return "L" + bytesOf(number); }
std::string fbxNumber(double number) { return "D" + bytesOf(number); }

std::string fbxName(const std::string& name, const std::string& kind) {
    return fbxText(name + std::string("\0\1", 2) + kind);
}

std::string textOf(const std::string& property) {
    return property.size() > 5 && property[0] == 'S' ? property.substr(5) : std::string();
}

void setFbxValue(FbxRecord& record, const std::string& name, const std::vector<std::string>& types,
                 const std::vector<std::string>& values) {
    FbxRecord* list = record.find("Properties70");
    if (list == nullptr) list = &record.add({"Properties70", {}, {}, true});
    FbxRecord value{"P", {fbxText(name)}, {}, false};
    for (const std::string& type : types) value.properties.push_back(fbxText(type));
    value.properties.insert(value.properties.end(), values.begin(), values.end());
    for (FbxRecord& known : list->nested) {
        if (known.properties.empty() || textOf(known.properties.front()) != name) continue;
        known = std::move(value);
        return;
    }
    list->add(std::move(value));
}

}  // namespace ond::command
