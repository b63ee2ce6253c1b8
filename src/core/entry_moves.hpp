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

/// At least one: whether there is anything no branch foresees either.
constexpr std::size_t wholeRounds(std::size_t count)
{
    return (count + kRound - (count > 0 ? 1 : 0)) / kRound * kRound;
}

/// Which rounds come first, and so on which side of a run there is more copied than it has.
enum class Rounds
{
    kFromFront,
    kFromBack
};

/// Copies `count` elements of `size` bytes in whole rounds, each between places that do not overlap.
template <std::size_t size>
inline void copyRounds(std::byte* to, const std::byte* from, std::size_t count, Rounds order)
{
    constexpr std::ptrdiff_t kPiece = 16;                               // bytes: one register
    constexpr auto kBytes = static_cast<std::ptrdiff_t>(kRound * size); // signed: a run may be shorter than a round
    const std::ptrdiff_t step = order == Rounds::kFromBack ? -kBytes : kBytes;
    std::ptrdiff_t at = order == Rounds::kFromBack ? static_cast<std::ptrdiff_t>(count * size) - kBytes : 0;
    std::size_t left = count;
    do {
        for (std::ptrdiff_t i = at; i < at + kBytes; i += kPiece) {
            std::memcpy(to + i, from + i, kPiece);
        }
        at += step;
        left -= std::min(left, kRound);
    } while (left > 0);
}

/// The same for entries. (One loop for all blocks of an array is slower: grid/delete-columns.tenth 2.9, 3.6.)
template <std::size_t size>
inline void copyEntryRounds(const Columns& target, std::size_t to, const Columns& source, std::size_t from,
                            std::size_t count, Rounds order)
{
    copyRounds<sizeof(unsigned)>(reinterpret_cast<std::byte*>(target.ir + to),
                                 reinterpret_cast<const std::byte*>(source.ir + from), count, order);
    copyRounds<size>(target.pr + to * size, source.pr + from * size, count, order);
    if (target.pi != nullptr) {
        copyRounds<size>(target.pi + to * size, source.pi + from * size, count, order);
    }
}

/// (By a call, as there is room for one size where it is inlined.)
[[gnu::noinline]] inline void copyByteEntries(const Columns& target, std::size_t to, const Columns& source,
                                              std::size_t from, std::size_t count, Rounds order)
{
    copyEntryRounds<1>(target, to, source, from, count, order);
}

/// Copies a short run of entries in whole rounds; false, with nothing copied, where that is not worth while.
inline bool copyShortRun(const Columns& target, std::size_t to, const Columns& source, std::size_t from,
                         std::size_t count, Rounds order)
{
    if (count <= kLongMove && target.elementSize == sizeof(double)) {
        copyEntryRounds<sizeof(double)>(target, to, source, from, count, order);
        return true;
    }
    if (count <= kLongMove && target.elementSize == 1) {
        copyByteEntries(target, to, source, from, count, order);
        return true;
    }
    return false;
}

/// Copies the values of `count` entries between two arrays of one class; imaginary zeros where only the target is
/// complex.
inline void copyValues(const Columns& target, std::size_t to, const Columns& source, std::size_t from,
                       std::size_t count)
{
    GenericValues(target).copyRun(to, GenericValues(source), from, count);
}

/// The same with their rows. Where the two arrays are one, the places may overlap.
inline void copyEntries(const Columns& target, std::size_t to, const Columns& source, std::size_t from,
                        std::size_t count)
{
    if (count > 0) {
        std::memmove(target.ir + to, source.ir + from, count * sizeof *target.ir);
        copyValues(target, to, source, from, count);
    }
}

/// Moves `count` entries of one array down, from position `from` to position `to`, where many such moves go on: the two
/// places may overlap, and what lies between the far ends of the two is lost.
[[gnu::always_inline]] inline void moveDown(const Columns& a, std::size_t to, std::size_t from, std::size_t count)
{
    if (from - to < kRound || from + wholeRounds(count) > a.nzmax ||
        !copyShortRun(a, to, a, from, count, Rounds::kFromFront)) {
        copyEntries(a, to, a, from, to == from ? 0 : count);
    }
}

/// The same upwards.
inline void moveUp(const Columns& a, std::size_t to, std::size_t from, std::size_t count)
{
    if (to - from < kRound || from + count < wholeRounds(count) ||
        !copyShortRun(a, to, a, from, count, Rounds::kFromBack)) {
        copyEntries(a, to, a, from, to == from ? 0 : count);
    }
}

/// copyEntries() for a target that is filled from front to back: what lies behind the new entries is lost.
[[gnu::always_inline]] inline void appendEntries(const Columns& target, std::size_t to, const Columns& source,
                                                 std::size_t from, std::size_t count)
{
    const std::size_t whole = wholeRounds(count);
    if ((target.pi != nullptr) != (source.pi != nullptr) || to + whole > target.nzmax || from + whole > source.nzmax ||
        !copyShortRun(target, to, source, from, count, Rounds::kFromFront)) { // uniform/set-rows.full 12, 16
        copyEntries(target, to, source, from, count);
    }
}

/// What stays of entries, on its way to places of other blocks between which others come: these are marked first, and a
/// kernel then moves many runs at once. How long each is no branch foresees.
class Spreading
{
  public:
    static constexpr unsigned kMost = 1024; ///< places

    /// Another comes to a place.
    void mark(unsigned place) { marks_[place] = 1; }
    /// Writes the entries `begin` and behind of `from` to those of `size` places, from `at` on, that have no mark; the
    /// others get anything. The marks are gone then.
    void move(unsigned size, const Columns& to, std::size_t at, const Columns& from, std::size_t begin);

  private:
    std::array<std::uint8_t, kMost> marks_{};
};

/// Adds `shift` to the column starts begin .. end-1. Between random columns lie a few others: these come one by one, as
/// the ends of a loop over registers would be mispredicted twice.
inline void shiftStarts(unsigned* begin, unsigned* end, unsigned shift)
{
    for (std::size_t i = 0; i < kRound; ++i, ++begin) {
        if (begin == end) {
            return;
        }
        *begin += shift;
    }
    for (; begin < end; ++begin) {
        *begin += shift;
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

/// Copies the values of the entries sources[0] .. sources[count-1] to those at `to` and behind, of an array of the same
/// class and complexity.
void gatherValues(const Columns& target, std::size_t to, const Columns& source, const unsigned* sources,
                  unsigned count);

/// Puts the rows of an array into the opposite order. Cost: entries and columns.
void turnRows(const Columns& a);

} // namespace zqsp

#endif
