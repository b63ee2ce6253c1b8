// Moving stored entries (row, value and imaginary value together) as raw bytes: of the class only the size counts.
#ifndef ZQSP_CORE_ENTRY_MOVES_HPP
#define ZQSP_CORE_ENTRY_MOVES_HPP

#include "core/values.hpp"
#include "kernels/kernels.hpp"

#include <algorithm>
#include <array>
#include <cstring>

namespace zqsp {

/// Short runs are copied in rounds of so many elements, the last one too: between random places runs have random
/// lengths, and a branch on each would be mispredicted. Long runs are worth a call.
constexpr std::size_t kRound = 16;
constexpr std::size_t kLongMove = 512;

constexpr std::size_t wholeRounds(std::size_t count)
{
    return (count + kRound - 1) / kRound * kRound;
}

/// Copies one round of elements between places that do not overlap.
template <std::size_t size>
inline void copyRound(std::byte* to, const std::byte* from)
{
    constexpr std::size_t kPiece = 16; // bytes: one register
    for (std::size_t i = 0; i < kRound * size; i += kPiece) {
        std::memcpy(to + i, from + i, kPiece);
    }
}

/// Copies `count` elements of `size` bytes in whole rounds.
template <std::size_t size>
inline void copyRounds(std::byte* to, const std::byte* from, std::size_t count)
{
    for (std::size_t i = 0; i < count * size; i += kRound * size) {
        copyRound<size>(to + i, from + i);
    }
}

/// Moves whole rounds to a place at least a round away: upwards from the front, downwards from the back, so that
/// nothing is written over before it has moved.
template <std::size_t size>
inline void moveRounds(std::byte* block, std::size_t to, std::size_t from, std::size_t count)
{
    if (to < from) {
        copyRounds<size>(block + to * size, block + from * size, count);
    } else {
        constexpr std::size_t kBytes = kRound * size;
        const std::size_t bytes = wholeRounds(count) * size;
        std::byte* const end = block + (to + count) * size;
        const std::byte* const sourceEnd = block + (from + count) * size;
        for (std::size_t i = kBytes; i <= bytes; i += kBytes) {
            copyRound<size>(end - i, sourceEnd - i);
        }
    }
}

/// Moves `count` elements of `size` bytes within one block, in whole rounds where `rounded`.
inline void moveRun(std::byte* block, std::size_t size, std::size_t to, std::size_t from, std::size_t count,
                    bool rounded)
{
    if (rounded && size == sizeof(unsigned)) {
        moveRounds<sizeof(unsigned)>(block, to, from, count);
    } else if (rounded && size == sizeof(double)) {
        moveRounds<sizeof(double)>(block, to, from, count);
    } else if (rounded && size == 1) {
        moveRounds<1>(block, to, from, count);
    } else {
        std::memmove(block + to * size, block + from * size, count * size);
    }
}

/// Moves `count` entries of one array from position `from` to position `to`, where many such moves go on in one
/// direction: the two places may overlap, and what lies between the far ends of the two is lost.
inline void moveEntries(const Columns& a, std::size_t to, std::size_t from, std::size_t count)
{
    if (count == 0 || to == from) {
        return;
    }
    const std::size_t distance = to < from ? from - to : to - from;
    const bool fits = to < from ? from + wholeRounds(count) <= a.nzmax : from + count >= wholeRounds(count);
    const bool rounded = count <= kLongMove && distance >= kRound && fits;
    moveRun(reinterpret_cast<std::byte*>(a.ir), sizeof *a.ir, to, from, count, rounded);
    moveRun(a.pr, a.elementSize, to, from, count, rounded);
    if (a.pi != nullptr) {
        moveRun(a.pi, a.elementSize, to, from, count, rounded);
    }
}

/// Copies the values of `count` entries between two arrays of one class; imaginary zeros where only the target is
/// complex.
inline void copyValues(const Columns& target, std::size_t to, const Columns& source, std::size_t from,
                       std::size_t count)
{
    GenericValues(target).copyRun(to, GenericValues(source), from, count);
}

/// The same with their rows.
inline void copyEntries(const Columns& target, std::size_t to, const Columns& source, std::size_t from,
                        std::size_t count)
{
    if (count > 0) {
        std::memcpy(target.ir + to, source.ir + from, count * sizeof *target.ir);
        copyValues(target, to, source, from, count);
    }
}

/// copyEntries() for a target that is filled from front to back: what lies behind the new entries is lost.
inline void appendEntries(const Columns& target, std::size_t to, const Columns& source, std::size_t from,
                          std::size_t count)
{
    const std::size_t size = target.elementSize;
    const std::size_t whole = wholeRounds(count);
    if (count > kLongMove || (size != sizeof(double) && size != 1) ||
        (target.pi != nullptr) != (source.pi != nullptr) || to + whole > target.nzmax || from + whole > source.nzmax) {
        copyEntries(target, to, source, from, count);
        return;
    }
    // Without rounds: uniform/set-rows.full 12, 16.
    const auto copyRun = size == 1 ? copyRounds<1> : copyRounds<sizeof(double)>;
    copyRounds<sizeof(unsigned)>(reinterpret_cast<std::byte*>(target.ir + to),
                                 reinterpret_cast<const std::byte*>(source.ir + from), count);
    copyRun(target.pr + to * size, source.pr + from * size, count);
    if (target.pi != nullptr) {
        copyRun(target.pi + to * size, source.pi + from * size, count);
    }
}

inline Entries entriesOf(const Columns& a)
{
    return {a.ir, a.pr, a.pi, a.elementSize, a.nzmax};
}

/// How many of the entries begin .. end-1 lie in selected rows.
inline unsigned countSelected(const Columns& a, unsigned begin, unsigned end, const RowChoice& choice)
{
    return kernels().countSelected(a.ir + begin, end - begin, choice);
}

/// Moves the entries of the columns first .. first+count-1 that lie in selected rows, in their order and with their new
/// rows, to the entries `at` and behind of another array, or of the same one, `at` then being at or before the first of
/// them. ends[i] becomes the position behind the last one of column first+i; `ends` may be the column starts of `from`.
/// Returns the last of them. `to` must be of the class and complexity of `from`.
inline unsigned moveSelected(const Columns& from, unsigned first, unsigned count, const RowChoice& choice,
                             const Columns& to, unsigned at, unsigned* ends)
{
    return kernels().moveSelected(entriesOf(from), from.jc + first, count, choice, entriesOf(to), at, ends);
}

/// Puts the rows of an array into the opposite order. Cost: entries and columns.
void turnRows(const Columns& a);

} // namespace zqsp

#endif
