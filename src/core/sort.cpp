#include "core/sort.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <utility>

namespace zqsp {

namespace {

constexpr std::size_t kRadixCount = 64; // measured on random keys: from here on, distributing beats comparing
constexpr unsigned kMostDigits = 4;
constexpr unsigned kWidestDigit = 11;

/// How many digits of how many bits.
struct Digits
{
    unsigned count;
    unsigned bits;
};

/// What takes the least time: a pass over the keys for each digit, and two over its counters. Many keys are distributed
/// to as few buckets at a time as the nearest cache has room for, the highest digit taking what is left: where all
/// numbers occur, its buckets lie powers of two apart, in the same lines.
Digits digitsFor(std::size_t count, unsigned bits)
{
    constexpr std::size_t kManyKeys = 300000;
    constexpr unsigned kDigitOfMany = 8;
    const auto digitsOf = [bits](unsigned width) { return std::max((bits + width - 1) / width, 1U); };
    if (count >= kManyKeys) {
        return {digitsOf(kDigitOfMany), kDigitOfMany};
    }
    Digits best{};
    std::size_t least = SIZE_MAX;
    for (unsigned digits = digitsOf(kWidestDigit); digits <= kMostDigits; ++digits) {
        const unsigned width = (bits + digits - 1) / digits;
        const std::size_t cost = digits * (count + (std::size_t{1} << width) / 2);
        if (cost < least) {
            least = cost;
            best = {digits, width};
        }
    }
    return best;
}

/// Stable distributions by one digit after another, of so many bits each. All digits are counted in one pass; one that
/// is the same in all keys is passed over.
void radixSort(Key* keys, Key* other, std::size_t count, Digits digits)
{
    const std::size_t buckets = std::size_t{1} << digits.bits;
    const auto digit = [bits = digits.bits, buckets](Key key, unsigned d) {
        return key >> (32 + d * bits) & (buckets - 1);
    };
    std::array<std::array<std::uint32_t, std::size_t{1} << kWidestDigit>, kMostDigits> next;
    for (unsigned d = 0; d < digits.count; ++d) {
        std::fill_n(next[d].begin(), buckets, 0);
    }
    for (std::size_t i = 0; i < count; ++i) {
        for (unsigned d = 0; d < digits.count; ++d) {
            ++next[d][digit(keys[i], d)];
        }
    }
    Key* from = keys;
    Key* to = other;
    for (unsigned d = 0; d < digits.count; ++d) {
        if (next[d][digit(from[0], d)] == count) {
            continue;
        }
        std::uint32_t start = 0;
        for (std::size_t b = 0; b < buckets; ++b) {
            start += std::exchange(next[d][b], start);
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
    if (count < kRadixCount) {
        std::sort(keys, keys + count);
        return;
    }
    radixSort(keys, other_.get(), count, digitsFor(count, bits_));
}

} // namespace zqsp
