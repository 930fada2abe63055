// Animated variables: what a number, a flag or a pose was at any time. Recorded as keys; each kind fills the gaps its
// own way.
//
//   AVarKey<T>        one key
//   AVar<T>           keys, lookup, editing, and the binary block of a saved variable
//   AVar_Linear<T>    straight line between two keys (double)
//   AVar_Nearest<T>   the key nearest in time, the later one at equal distance (transforms, vectors, quaternions, bool)
//   AVar_Latest<T>    the earlier key until the next one comes (int)
//
// Times are seconds on the timeline of the scene. Two key times are one only if they are equal to the bit.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <type_traits>
#include <utility>
#include <vector>

#include "ond/util/ArrayRegion.h"
#include "ond/util/LittleEndian.h"
#include "ond/util/QTransform.h"
#include "ond/util/Quat.h"
#include "ond/util/Vector3.h"

namespace ond::util {

/// One key. The time -1 marks a key that nobody has filled in yet.
template <typename T>
struct AVarKey {
    double time = -1.0;
    T value{};
};

namespace detail {

/// How a value of type T stands in a saved block: `size` bytes, little-endian, unaligned.
template <typename T>
struct AVarValueBytes;

template <>
struct AVarValueBytes<double> {
    static constexpr std::size_t size = 8;
    static void store(unsigned char* to, double value) { storeLittleEndian(to, value); }
    static double load(const unsigned char* from) { return loadLittleEndian<double>(from); }
};

template <>
struct AVarValueBytes<int> {
    static constexpr std::size_t size = 4;
    static void store(unsigned char* to, int value) { storeLittleEndian(to, std::int32_t{value}); }
    static int load(const unsigned char* from) { return loadLittleEndian<std::int32_t>(from); }
};

/// Written as 0 or 1; any byte but 0 reads as true.
template <>
struct AVarValueBytes<bool> {
    static constexpr std::size_t size = 1;
    static void store(unsigned char* to, bool value) { *to = value ? 1 : 0; }
    static bool load(const unsigned char* from) { return *from != 0; }
};

template <>
struct AVarValueBytes<Vector3<double>> {
    static constexpr std::size_t size = 24;
    static void store(unsigned char* to, const Vector3<double>& value) {
        storeLittleEndian(to, value.x);
        storeLittleEndian(to + 8, value.y);
        storeLittleEndian(to + 16, value.z);
    }
    static Vector3<double> load(const unsigned char* from) {
        return {loadLittleEndian<double>(from), loadLittleEndian<double>(from + 8),
                loadLittleEndian<double>(from + 16)};
    }
};

template <>
struct AVarValueBytes<Quat<double>> {
    static constexpr std::size_t size = 32;
    static void store(unsigned char* to, const Quat<double>& value) {
        storeLittleEndian(to, value.x);
        storeLittleEndian(to + 8, value.y);
        storeLittleEndian(to + 16, value.z);
        storeLittleEndian(to + 24, value.w);
    }
    static Quat<double> load(const unsigned char* from) {
        return {loadLittleEndian<double>(from), loadLittleEndian<double>(from + 8), loadLittleEndian<double>(from + 16),
                loadLittleEndian<double>(from + 24)};
    }
};

template <>
struct AVarValueBytes<QTransform<double>> {
    static constexpr std::size_t size = 56;
    static void store(unsigned char* to, const QTransform<double>& value) {
        AVarValueBytes<Vector3<double>>::store(to, value.position);
        AVarValueBytes<Quat<double>>::store(to + 24, value.rotation);
    }
    static QTransform<double> load(const unsigned char* from) {
        return {AVarValueBytes<Vector3<double>>::load(from), AVarValueBytes<Quat<double>>::load(from + 24)};
    }
};

}  // namespace detail

/// A value over time; see the concrete classes for the rule between two keys.
///
/// Lookup allocates nothing and costs logarithmic time. Setting keys at growing times costs constant time each.
/// Variables are plain members of whoever owns them: this base has no public destructor. Copies take all keys and the
/// fallback. No locks: used by one thread, the host's.
template <typename T>
class AVar {
  public:
    /// Bytes of the header of a saved block.
    static constexpr int kHeaderSize = 16;
    /// Bytes of one saved key: the time as a double and the value right behind it.
    static constexpr std::size_t kKeySize = 8 + detail::AVarValueBytes<T>::size;

    /// An array as any other, whose memory is a part of an ArrayRegion if the keys were read while there was one.
    using Keys = std::vector<AVarKey<T>, RegionAllocator<AVarKey<T>>>;

    /// Sorted by time, no time twice: setKey() and insertKey() see to it. Meant for reading and for making room; who
    /// edits keys and leaves their number as it was must keep their times ascending.
    Keys keys;
    /// What valueAt() gives while there are no keys.
    T fallback;

    /// The rule between two keys: fills `out` with the key that stands for time `t`, where `a` is the earlier and `b`
    /// the later key, and returns `out`.
    virtual AVarKey<T>& interpolate(AVarKey<T>& out, const AVarKey<T>& a, const AVarKey<T>& b, double t) const = 0;

    /// Bytes that write() needs for all keys; 16 without keys.
    [[nodiscard]] virtual int getSerialSize() const {
        return static_cast<int>(static_cast<std::uint32_t>(keys.size() * kKeySize + kHeaderSize));
    }

    /// Stores the saved block: four uint32 (16, size of the keys in bytes, 100, number of keys), then the packed keys.
    ///
    /// `buffer` must have room for the 16 bytes of the header, which is always stored. If `bufferSize` is too small for
    /// the keys, none is stored and the header says 0 keys beside the size that would have been needed.
    virtual void write(void* buffer, int bufferSize) const;

    /// Replaces the keys by those of a saved block whose full extent the caller vouches for. For bytes that come from
    /// elsewhere use the form with a size.
    virtual void read(const void* buffer) { read(buffer, claimedSize(buffer)); }

    /// Replaces the keys by those of a saved block that may be damaged; never reads behind `size` bytes.
    ///
    /// Nothing is reported. The outcomes of a bad block, in the order in which it is looked at:
    /// - null, shorter than a header, or a wrong header size or version: nothing changes;
    /// - more keys announced than the bytes can hold, and more than 65,536: nothing changes, nothing is allocated;
    /// - else more keys announced than the bytes can hold, or a wrong size of the keys: that many keys of time -1.
    /// The keys' times are not looked at: unsorted ones stay unsorted.
    /// @param spare where new memory is needed, it has room for so many keys more
    void read(const void* buffer, std::size_t size, std::size_t spare = 0);

    /// What the variable is at `t`: the value of a key there, else what the rule makes of the keys around. Outside the
    /// keys' range the outermost key holds.
    [[nodiscard]] T valueAt(double t) const;

    /// Keys `value` at `t`; a key that is there takes the new value. What is returned refers into `keys` and dies with
    /// their next change.
    T& setKey(double t, const T& value);

    /// Forgets the keys from `t` on, `t` included.
    void eraseFrom(double t);

    [[nodiscard]] int getNumKeys() const { return static_cast<int>(keys.size()); }

    /// Time of key `i`, which must exist.
    [[nodiscard]] double getKeyTime(int i) const { return keys[static_cast<std::size_t>(i)].time; }

    /// Which key is closest in time, counted from 0; of two just as close the later one. -1 without keys.
    [[nodiscard]] int nearestKeyIndex(double t) const;

    /// Which key stands at `t` to the bit, or -1.
    [[nodiscard]] int exactKeyIndex(double t) const { return search(t).match; }

    /// Places a key in the order of times, or replaces the value of one at exactly `t`; returns its index.
    int insertKey(double t, const T& value);

    /// Exchanges keys and fallback with `other` in constant time.
    void swap(AVar& other) noexcept {
        keys.swap(other.keys);
        std::swap(fallback, other.fallback);
        std::swap(m_order, other.m_order);
    }

  protected:
    explicit AVar(const T& fallbackValue) : fallback(fallbackValue) {}
    AVar(const AVar& other) : keys(other.keys), fallback(other.fallback) { takeOrderOf(other); }
    AVar& operator=(const AVar& other) {
        if (this == &other) return *this;
        keys = other.keys;
        fallback = other.fallback;
        takeOrderOf(other);
        return *this;
    }
    AVar(AVar&& other) noexcept
        : keys(std::move(other.keys)),
          fallback(std::move(other.fallback)),
          m_order(std::exchange(other.m_order, KnownOrder{})) {}
    AVar& operator=(AVar&& other) noexcept {
        if (this == &other) return *this;
        keys = std::move(other.keys);
        fallback = std::move(other.fallback);
        m_order = std::exchange(other.m_order, KnownOrder{});
        return *this;
    }
    ~AVar() = default;

  private:
    /// Bytes that a block claims to have, by its own header.
    [[nodiscard]] static std::size_t claimedSize(const void* buffer) {
        if (buffer == nullptr) return 0;
        return kHeaderSize +
               std::size_t{loadLittleEndian<std::uint32_t>(static_cast<const unsigned char*>(buffer) + 4)};
    }

    struct Found {
        int match;   ///< key at exactly the time, or -1
        int before;  ///< without a match: last key ahead of the time, or -1
    };
    [[nodiscard]] Found search(double t) const;
    // Takes the value as such, since a reference to it would keep it in memory in the caller's loop.
    [[gnu::noinline]] T& setKeyAnywhere(double t, T value);

    /// Whether the times of all keys are numbers, each above the one ahead of it. Looks at the keys only where they
    /// came from a block or were edited by others.
    [[nodiscard]] bool allAscend();
    [[nodiscard]] const AVarKey<T>* keysEnd() const { return keys.data() + keys.size(); }
    void noteOrder(bool ascending) {
        m_order = keys.empty() ? KnownOrder{}
                  : ascending  ? KnownOrder{keysEnd(), nullptr}
                               : KnownOrder{nullptr, keysEnd()};
    }
    void takeOrderOf(const AVar& other) {
        const bool isKnown = other.m_order.ascendingTo == other.keysEnd() || other.m_order.mixedTo == other.keysEnd();
        m_order = {};
        if (isKnown) noteOrder(other.m_order.mixedTo == nullptr);
    }

    /// What is known of the order of the keys: it holds while `keys` ends where it ended then. While all are known to
    /// ascend, a time behind the last key needs no search to be known as new. A place in memory and no count, because
    /// comparing it is all that a new key then costs.
    struct KnownOrder {
        const AVarKey<T>* ascendingTo = nullptr;  ///< end of keys whose times strictly ascend; null if they do not
        const AVarKey<T>* mixedTo = nullptr;      ///< end of keys whose times do not; null if they do
    };
    KnownOrder m_order;
};

/// Straight line between two keys.
template <typename T>
class AVar_Linear final : public AVar<T> {
  public:
    explicit AVar_Linear(const T& fallbackValue = T()) : AVar<T>(fallbackValue) {}

    AVarKey<T>& interpolate(AVarKey<T>& out, const AVarKey<T>& a, const AVarKey<T>& b, double t) const override {
        out.time = t;
        out.value = a.value + (b.value - a.value) * (t - a.time) / (b.time - a.time);
        return out;
    }
};

/// The key nearest in time, the later one at equal distance.
template <typename T>
class AVar_Nearest final : public AVar<T> {
  public:
    explicit AVar_Nearest(const T& fallbackValue = T()) : AVar<T>(fallbackValue) {}

    AVarKey<T>& interpolate(AVarKey<T>& out, const AVarKey<T>& a, const AVarKey<T>& b, double t) const override {
        return out = (b.time - t) > (t - a.time) ? a : b;
    }
};

/// Steps: nothing changes between two keys, and everything at a key.
template <typename T>
class AVar_Latest final : public AVar<T> {
  public:
    explicit AVar_Latest(const T& fallbackValue = T()) : AVar<T>(fallbackValue) {}

    AVarKey<T>& interpolate(AVarKey<T>& out, const AVarKey<T>& a, const AVarKey<T>& /*b*/,
                            double /*t*/) const override {
        return out = a;
    }
};

template <typename T>
typename AVar<T>::Found AVar<T>::search(double t) const {
    int lo = 0;
    int hi = getNumKeys() - 1;
    while (lo <= hi) {
        const int mid = lo + (hi - lo) / 2;
        const double time = getKeyTime(mid);
        if (time == t) return {mid, mid};
        if (time > t) {
            hi = mid - 1;
        } else {
            lo = mid + 1;
        }
    }
    return {-1, hi};
}

template <typename T>
int AVar<T>::nearestKeyIndex(double t) const {
    if (keys.empty()) return -1;
    if (keys.front().time > t) return 0;
    const Found found = search(t);
    if (found.match >= 0) return found.match;
    const int before = found.before;
    if (before >= getNumKeys() - 1) return getNumKeys() - 1;
    if (before < 0) return 0;
    return getKeyTime(before + 1) - t > t - getKeyTime(before) ? before : before + 1;
}

template <typename T>
T AVar<T>::valueAt(double t) const {
    const int i = nearestKeyIndex(t);
    if (i < 0) return fallback;
    const AVarKey<T>* key = keys.data() + i;
    if (key->time == t) return key->value;
    AVarKey<T> between;
    if (t > key->time) return i < getNumKeys() - 1 ? interpolate(between, key[0], key[1], t).value : key->value;
    return i >= 1 ? interpolate(between, key[-1], key[0], t).value : key->value;
}

template <typename T>
[[gnu::always_inline]] inline T& AVar<T>::setKey(double t, const T& value) {
    // Recording: a new time behind all others, with room for it. Kept apart and small, so that it melts into the
    // caller's loop. Without keys nothing is known, so that there is a last key here.
    const AVarKey<T>* const end = keysEnd();
    if (m_order.ascendingTo == end && keys.size() != keys.capacity() && t > end[-1].time) {
        m_order.ascendingTo = end + 1;
        return keys.emplace_back(AVarKey<T>{t, value}).value;
    }
    return setKeyAnywhere(t, value);
}

template <typename T>
T& AVar<T>::setKeyAnywhere(double t, T value) {
    int i = exactKeyIndex(t);
    if (i < 0) {
        i = insertKey(t, value);
    } else {
        keys[static_cast<std::size_t>(i)].value = value;
    }
    return keys[static_cast<std::size_t>(i)].value;
}

template <typename T>
int AVar<T>::insertKey(double t, const T& value) {
    int at = 0;
    if (!keys.empty() && !(t > keys.back().time)) {
        int i = getNumKeys() - 1;
        while (i >= 0 && !(t >= getKeyTime(i))) --i;
        if (i >= 0 && getKeyTime(i) == t) {
            keys[static_cast<std::size_t>(i)].value = value;
            return i;
        }
        at = i + 1;
    } else {
        at = getNumKeys();
    }
    // A time that is not a number compares with nothing, so that no order can be known behind it.
    const bool ascending = t == t && allAscend();
    keys.insert(keys.begin() + at, AVarKey<T>{t, value});
    noteOrder(ascending);
    return at;
}

template <typename T>
void AVar<T>::eraseFrom(double t) {
    if (keys.empty()) return;
    int i = nearestKeyIndex(t);
    if (t > getKeyTime(i)) ++i;
    if (i >= getNumKeys()) return;
    const bool ascending = m_order.ascendingTo == keysEnd();
    keys.erase(keys.begin() + i, keys.end());
    m_order = {};
    if (ascending) noteOrder(true);
}

template <typename T>
bool AVar<T>::allAscend() {
    if (keys.empty() || m_order.ascendingTo == keysEnd()) return true;
    if (m_order.mixedTo == keysEnd()) return false;
    const double first = keys.front().time;
    const auto doesNotRise = [](const AVarKey<T>& a, const AVarKey<T>& b) { return !(b.time > a.time); };
    const bool ascending = first == first && std::adjacent_find(keys.begin(), keys.end(), doesNotRise) == keys.end();
    noteOrder(ascending);
    return ascending;
}

namespace detail {

/// Whether an array of keys in memory is byte for byte what a saved block holds on this host.
template <typename T>
inline constexpr bool kKeysAreTheirBytes =
    std::endian::native ==
        std::endian::little&& std::is_trivially_copyable_v<AVarKey<T>>&& std::is_standard_layout_v<AVarKey<T>> &&
    sizeof(AVarKey<T>) == AVar<T>::kKeySize;

/// Walks through the keys of a saved block.
template <typename T>
struct SavedKeys {
    using iterator_category = std::forward_iterator_tag;
    using value_type = AVarKey<T>;
    using difference_type = std::ptrdiff_t;
    using pointer = const AVarKey<T>*;
    using reference = AVarKey<T>;

    const unsigned char* at;

    AVarKey<T> operator*() const {
        if constexpr (kKeysAreTheirBytes<T>) {
            AVarKey<T> key;
            std::memcpy(&key, at, sizeof key);
            return key;
        } else {
            return {loadLittleEndian<double>(at), AVarValueBytes<T>::load(at + 8)};
        }
    }
    SavedKeys& operator++() {
        at += AVar<T>::kKeySize;
        return *this;
    }
    SavedKeys operator++(int) {
        const SavedKeys here = *this;
        ++*this;
        return here;
    }
    bool operator==(const SavedKeys& other) const = default;
};

}  // namespace detail

template <typename T>
void AVar<T>::write(void* buffer, int bufferSize) const {
    auto* to = static_cast<unsigned char*>(buffer);
    const std::size_t keyBytes = keys.size() * kKeySize;
    storeLittleEndian(to, std::uint32_t{kHeaderSize});
    storeLittleEndian(to + 4, static_cast<std::uint32_t>(keyBytes));
    storeLittleEndian(to + 8, std::uint32_t{100});
    storeLittleEndian(to + 12, std::uint32_t{0});
    if (bufferSize < 0 || static_cast<std::size_t>(bufferSize) < keyBytes + kHeaderSize) return;
    storeLittleEndian(to + 12, static_cast<std::uint32_t>(keys.size()));
    to += kHeaderSize;
    if constexpr (detail::kKeysAreTheirBytes<T>) {
        if (!keys.empty()) std::memcpy(to, keys.data(), keyBytes);
    } else {
        // Not over `keys` itself, where each byte that is stored might change the vector's own members.
        const AVarKey<T>* const end = keysEnd();
        for (const AVarKey<T>* key = keys.data(); key != end; ++key, to += kKeySize) {
            storeLittleEndian(to, key->time);
            detail::AVarValueBytes<T>::store(to + 8, key->value);
        }
    }
}

template <typename T>
void AVar<T>::read(const void* buffer, std::size_t size, std::size_t spare) {
    if (buffer == nullptr || size < kHeaderSize) return;
    const auto* from = static_cast<const unsigned char*>(buffer);
    if (loadLittleEndian<std::uint32_t>(from) != kHeaderSize) return;
    const auto payloadSize = loadLittleEndian<std::uint32_t>(from + 4);
    if (loadLittleEndian<std::uint32_t>(from + 8) != 100) return;
    const std::size_t count = loadLittleEndian<std::uint32_t>(from + 12);
    const bool keysAreThere = count <= (size - kHeaderSize) / kKeySize;
    constexpr std::size_t kCountTakenOnTrust = 65536;
    if (!keysAreThere && count > kCountTakenOnTrust) return;

    keys.clear();
    m_order = {};
    if (!keysAreThere || payloadSize != static_cast<std::uint32_t>(count * kKeySize)) {
        keys.resize(count);
        return;
    }
    from += kHeaderSize;
    // Made from the bytes, and not made first and filled then: a long history costs little more than its memory.
    if (keys.capacity() < count) keys.reserve(count + spare);
    keys.assign(detail::SavedKeys<T>{from}, detail::SavedKeys<T>{from + count * kKeySize});
}

}  // namespace ond::util
