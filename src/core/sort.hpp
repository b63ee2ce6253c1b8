// Sorting of packed 64-bit keys: what to sort by in the high word, what it belongs to in the low one.
#ifndef ZQSP_CORE_SORT_HPP
#define ZQSP_CORE_SORT_HPP

#include "core/owners.hpp"

#include <cstddef>
#include <cstdint>

namespace zqsp {

using Key = std::uint64_t;

constexpr Key makeKey(unsigned major, unsigned minor)
{
    return static_cast<Key>(major) << 32U | minor;
}

constexpr unsigned majorOf(Key key)
{
    return static_cast<unsigned>(key >> 32U);
}

constexpr unsigned minorOf(Key key)
{
    return static_cast<unsigned>(key);
}

/// Sorts lists of keys by their high words, again and again within one call. Equal high words must come with ascending
/// low words, and keep them so.
class KeySorter
{
  public:
    /// `longest`: the longest list to come. `highest`: the highest high word. Raises on exhausted memory.
    KeySorter(unsigned longest, unsigned highest);

    /// Ascending, in place. Sparse columns are short: those are sorted by insertion without a call. Longer lists go
    /// through the library's sort, and long ones through a radix sort (Knuth, The Art of Computer Programming
    /// 3, 5.2.5), whose cost is linear.
    void sort(Key* keys, std::size_t count) const
    {
        constexpr std::size_t kShort = 32;
        if (count > kShort) {
            sortLong(keys, count);
            return;
        }
        for (std::size_t i = 1; i < count; ++i) {
            const Key key = keys[i];
            std::size_t at = i;
            for (; at > 0 && keys[at - 1] > key; --at) {
                keys[at] = keys[at - 1];
            }
            keys[at] = key;
        }
    }

  private:
    void sortLong(Key* keys, std::size_t count) const;

    unsigned bits_; // of the highest high word
    Block<Key> other_;
};

} // namespace zqsp

#endif
