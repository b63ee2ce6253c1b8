#include "core/sort.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <utility>

namespace zqsp {

namespace {

// Measured on random keys: digits beyond so many bits have more open buckets than the nearest cache has lines, which
// pays only as long as the keys are in the next one.
constexpr unsigned kWidestDigit = 11;
constexpr unsigned kWidestOfMany = 8;
constexpr std::size_t kManyKeys = 300000;
constexpr std::size_t kRadixCount = 64; // from here on, distributing beats comparing

/// How many digits of how many bits.
struct Digits
{
    unsigned count;
    unsigned bits;
};

/// What takes the least time: a pass over the keys for each digit, and two over its counters.
Digits digitsFor(std::size_t count, unsigned bits)
{
    const unsigned widest = count >= kManyKeys ? kWidestOfMany : kWidestDigit;
    const unsigned fewest = std::max((bits + widest - 1) / widest, 1U);
    Digits best{};
    std::size_t least = SIZE_MAX;
    for (unsigned digits = fewest; digits <= fewest + 2; ++digits) {
        const unsigned width = (bits + digits - 1) / digits;
        const std::size_t cost = digits * (count + (std::size_t{1} << width) / 2);
        if (cost < least) {
            least = cost;
            best = {digits, width};
        }
    }
    return best;
}

/// Stable distributions by one digit after another. A digit that is the same in all keys is passed over.
void radixSort(Key* keys, Key* other, std::size_t count, unsigned bits)
{
    const Digits digits = digitsFor(count, bits);
    const std::size_t buckets = std::size_t{1} << digits.bits;
    std::array<std::uint32_t, std::size_t{1} << kWidestDigit> next;
    Key* from = keys;
    Key* to = other;
    for (unsigned d = 0; d < digits.count; ++d) {
        const auto digit = [shift = 32 + d * digits.bits, buckets](Key key) { return key >> shift & (buckets - 1); };
        std::fill_n(next.begin(), buckets, 0);
        for (std::size_t i = 0; i < count; ++i) {
            ++next[digit(from[i])];
        }
        if (next[digit(from[0])] == count) {
            continue;
        }
        std::uint32_t start = 0;
        for (std::size_t b = 0; b < buckets; ++b) {
            start += std::exchange(next[b], start);
        }
        for (std::size_t i = 0; i < count; ++i) {
            to[next[digit(from[i])]++] = from[i];
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
    if (count < kRadixCount) {
        std::sort(keys, keys + count);
    } else {
        radixSort(keys, other_.get(), count, bits_);
    }
}

} // namespace zqsp
