#include "core/sort.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <utility>

namespace zqsp {

namespace {

// Measured on random keys: from about 200 on, distributing beats comparing; from some thousands on, wider digits pay
// for clearing their larger table of counters.
constexpr std::size_t kRadixCount = 200;
constexpr std::size_t kWideDigitCount = 4096;

/// One pass of the radix sort: a stable distribution by `digitBits` bits from `shift` on. False, with nothing moved,
/// where all keys have the same digit.
template <unsigned digitBits>
bool distribute(const Key* from, Key* to, std::size_t count, unsigned shift)
{
    constexpr std::size_t kBuckets = std::size_t{1} << digitBits;
    std::array<std::uint32_t, kBuckets> next{};
    const auto digit = [shift](Key key) { return key >> shift & (kBuckets - 1); };
    for (std::size_t i = 0; i < count; ++i) {
        ++next[digit(from[i])];
    }
    if (next[digit(from[0])] == count) {
        return false;
    }
    std::uint32_t start = 0;
    for (std::uint32_t& bucket : next) {
        start += std::exchange(bucket, start);
    }
    for (std::size_t i = 0; i < count; ++i) {
        to[next[digit(from[i])]++] = from[i];
    }
    return true;
}

template <unsigned digitBits>
void radixSort(Key* keys, Key* other, std::size_t count, unsigned bits)
{
    Key* from = keys;
    Key* to = other;
    for (unsigned done = 0; done < bits; done += digitBits) {
        if (distribute<digitBits>(from, to, count, 32 + done)) {
            std::swap(from, to);
        }
    }
    if (from != keys) {
        std::copy_n(from, count, keys);
    }
}

} // namespace

KeySorter::KeySorter(unsigned longest, unsigned highest) : bits_(static_cast<unsigned>(std::bit_width(highest)))
{
    if (longest >= kRadixCount) {
        other_ = Block<Key>::make(longest);
    }
}

void KeySorter::sortLong(Key* keys, std::size_t count) const
{
    constexpr unsigned kNarrow = 8;
    constexpr unsigned kWide = 11;
    if (count < kRadixCount) {
        std::sort(keys, keys + count);
    } else if (count < kWideDigitCount) {
        radixSort<kNarrow>(keys, other_.get(), count, bits_);
    } else {
        radixSort<kWide>(keys, other_.get(), count, bits_);
    }
}

} // namespace zqsp
