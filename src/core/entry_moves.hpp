// Moving stored entries (row, value and imaginary value together) as raw bytes: no element class is looked at.
#ifndef ZQSP_CORE_ENTRY_MOVES_HPP
#define ZQSP_CORE_ENTRY_MOVES_HPP

#include "core/columns.hpp"

#include <cstring>

namespace zqsp {

/// Moves `count` elements of `size` bytes within one block, overlapping or not.
template <std::size_t size>
inline void moveRun(std::byte* block, std::size_t to, std::size_t from, std::size_t count)
{
    constexpr std::size_t kLongRun = 16;
    if (count > kLongRun) {
        std::memmove(block + to * size, block + from * size, count * size);
        return;
    }
    // Short runs, of which there are many where entries change here and there, are moved in place: a call costs more
    // than a handful of words.
    const std::size_t step = to < from ? 1 : ~std::size_t{0};
    std::size_t offset = to < from ? 0 : count - 1;
    for (std::size_t i = 0; i < count; ++i, offset += step) {
        std::memcpy(block + (to + offset) * size, block + (from + offset) * size, size);
    }
}

inline void moveValues(std::byte* values, std::size_t size, std::size_t to, std::size_t from, std::size_t count)
{
    if (size == sizeof(double)) {
        moveRun<sizeof(double)>(values, to, from, count);
    } else {
        std::memmove(values + to * size, values + from * size, count * size);
    }
}

/// Moves `count` entries of one array from position `from` to position `to`; the two places may overlap.
inline void moveEntries(const Columns& a, std::size_t to, std::size_t from, std::size_t count)
{
    if (count == 0 || to == from) {
        return;
    }
    moveRun<sizeof(unsigned)>(reinterpret_cast<std::byte*>(a.ir), to, from, count);
    moveValues(a.pr, a.elementSize, to, from, count);
    if (a.pi != nullptr) {
        moveValues(a.pi, a.elementSize, to, from, count);
    }
}

/// Copies `count` entries between two arrays of one class; imaginary zeros where only the target is complex.
inline void copyEntries(const Columns& target, std::size_t to, const Columns& source, std::size_t from,
                        std::size_t count)
{
    if (count == 0) {
        return;
    }
    const std::size_t size = target.elementSize;
    std::memcpy(target.ir + to, source.ir + from, count * sizeof *target.ir);
    std::memcpy(target.pr + to * size, source.pr + from * size, count * size);
    if (target.pi != nullptr) {
        if (source.pi != nullptr) {
            std::memcpy(target.pi + to * size, source.pi + from * size, count * size);
        } else {
            std::memset(target.pi + to * size, 0, count * size);
        }
    }
}

} // namespace zqsp

#endif
