#include "core/sort.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <utility>

namespace zqsp {

namespace {

// Measured on random keys: from about 200 on, distributing beats comparing; from some thousands on, wider digits pay
// for clearing their larger tables of counters, until their many open buckets no longer fit the nearest caches.
constexpr std::size_t kRadixCount = 200;
constexpr std::size_t kWideDigitCount = 4096;
constexpr std::size_t kNarrowAgainCount = 300000;

/// Stable distributions by one digit after another. All digits are counted in one pass; one that is the same in all
/// keys is passed over.
template <unsigned digitBits>
void radixSort(Key* keys, Key* other, std::size_t count, unsigned bits)
{
    constexpr std::size_t kBuckets = std::size_t{1} << digitBits;
    constexpr unsigned kMostDigits = (32 + digitBits - 1) / digitBits;
    const unsigned digits = (bits + digitBits - 1) / digitBits;
    const auto digit = [](Key key, unsigned d) { return key >> (32 + d * digitBits) & (kBuckets - 1); };
    std::array<std::array<std::uint32_t, kBuckets>, kMostDigits> next{};
    for (std::size_t i = 0; i < count; ++i) {
        for (unsigned d = 0; d < kMostDigits; ++d) {
            ++next[d][digit(keys[i], d)];
        }
    }
    Key* from = keys;
    Key* to = other;
    for (unsigned d = 0; d < digits; ++d) {
        if (next[d][digit(from[0], d)] == count) {
            continue;
        }
        std::uint32_t start = 0;
        for (std::uint32_t& bucket : next[d]) {
            start += std::exchange(bucket, start);
        }
        for (std::size_t i = 0; i < count; ++i) {
            to[next[d][digit(from[i], d)]++] = from[i];
        }
        std::swap(from, to);
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
    } else if (count < kWideDigitCount || count >= kNarrowAgainCount) {
        radixSort<kNarrow>(keys, other_.get(), count, bits_);
    } else {
        radixSort<kWide>(keys, other_.get(), count, bits_);
    }
}

} // namespace zqsp
