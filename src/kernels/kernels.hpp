// The loops that are worth writing for one kind of processor: what each does, and the table of those in use. Nothing
// outside this folder knows which processor is at hand.
//
// Every table gives the same results to the byte. A kernel reads and writes what its contract names and no more; where
// whole registers may be written beyond that, the contract says how far. Rows and positions are 0-based.
#ifndef ZQSP_KERNELS_KERNELS_HPP
#define ZQSP_KERNELS_KERNELS_HPP

#include "kernels/branch_free.hpp"
#include "kernels/row_choice.hpp"

#include <array>
#include <cstddef>
#include <cstdint>

namespace zqsp {

/// Words, or entries, that a kernel may write behind its results where its contract says so.
inline constexpr unsigned kKernelSlack = 16;

/// Rows that are ranked at most: beyond, sorting is faster with any registers.
inline constexpr unsigned kMostRanked = 128;

/// The parallel arrays of stored entries. `pi` is null for real ones. Elements have 1, 2, 4 or 8 bytes.
struct Entries
{
    unsigned* ir;
    std::byte* pr;
    std::byte* pi;
    unsigned elementSize;
    unsigned capacity; ///< entries that the blocks have room for
};

/// What the steps from one index to the next are like.
struct Steps
{
    bool fall = false;      ///< some index is below the one before
    bool rise = false;      ///< some index is above the one before
    bool irregular = false; ///< some step is not the expected one, modulo 2^32
};

/// Strictly ascending positions that are deleted, and how many of them have been passed.
struct DeletedList
{
    const unsigned* positions;
    unsigned count;
    unsigned passed = 0; ///< a position that the last entry had may be among them or not

    /// How many lie below a position, which is not below the one before.
    [[gnu::always_inline]] unsigned newRow(unsigned position)
    {
        const unsigned* const list = positions;
        unsigned below = passed;
        while (below < count && list[below] < position) {
            ++below;
        }
        passed = below;
        return below;
    }
    /// Whether the position that was just asked for is one of them.
    [[nodiscard]] bool selects(unsigned position) const { return passed < count && positions[passed] == position; }
};

/// What an intersection found, and how far either list is settled: one of them to its end. (How far the other one is
/// may differ from table to table.)
struct Common
{
    unsigned count;
    unsigned first;
    unsigned second;
};

/// A filter of a few rows that fits registers: bits at two places that multiplicative hashing gives (Bloom, 1970). Of
/// rows that it was not given, it lets few pass. Loops without such registers compare with the rows themselves, as long
/// as these are very few.
class FewRows
{
  public:
    static constexpr unsigned kCompared = 16; ///< rows
    static constexpr unsigned kHalves = 8;    ///< in a register of 128 bits
    static constexpr unsigned kWord = 27;     ///< the upper five bits of a product number one of 32 words
    static constexpr unsigned kBit = 22;      ///< the next five a bit of it
    static constexpr unsigned kNext = 10;     ///< and so on for the second place

    void add(unsigned row)
    {
        if (count_ < kCompared) {
            lowHalves_[count_].fill(static_cast<std::uint16_t>(row));
        }
        ++count_;
        const unsigned product = row * kHashMultiplier;
        first_[product >> kWord] |= 1U << (product >> kBit) % 32;
        const unsigned next = product << kNext;
        second_[next >> kWord] |= 1U << (next >> kBit) % 32;
    }
    [[nodiscard]] const unsigned* first() const { return first_.data(); }
    [[nodiscard]] const unsigned* second() const { return second_.data(); }
    [[nodiscard]] unsigned count() const { return count_; }
    /// That of one of the first kCompared rows, kHalves times.
    [[nodiscard]] const std::uint16_t* lowHalves(unsigned i) const { return lowHalves_[i].data(); }

  private:
    unsigned count_ = 0;
    std::array<unsigned, 32> first_{};
    std::array<unsigned, 32> second_{};
    std::array<std::array<std::uint16_t, kHalves>, kCompared> lowHalves_;
};

/// What the loops of a table cost beside others, as measured on processors that use it. Choosers read these.
struct Costs
{
    /// The longest column whose rows are ranked rather than sorted.
    unsigned mostRanked;
    /// The most rows for which FewRows is faster than a look-up of every entry; 0 where it never is.
    unsigned mostFewRows;
    /// Entries in rows that are given are sifted where the rows are fewer than one in so many; of others each is moved.
    unsigned rowsPerSifted;
    /// Listed positions are deleted entry by entry where one in so many entries, or more, is deleted; elsewhere the
    /// runs between them move whole.
    unsigned entriesPerDeleted;
    /// intersect() serves ascending positions where the entries are up to so many times as many: in short columns,
    /// where each position is found quickly by itself, and in long ones.
    unsigned intersectShortColumns;
    unsigned intersectLongColumns;
};

struct Kernels
{
    const char* name;
    Costs costs;

    /// indices[i] = values[i] - 1. False where some value is not an integer in 1 .. highest, which is below 2^31; what
    /// is stored then is not meant to be used.
    bool (*storeIndices)(const double* values, unsigned count, double highest, unsigned* indices);

    /// Of the steps that lead to each of `count` indices; indices[-1] is read, too.
    Steps (*stepsTo)(const unsigned* indices, unsigned count, unsigned expected);

    /// How many of `count` rows are selected.
    unsigned (*countSelected)(const unsigned* rows, unsigned count, const RowChoice& choice);

    /// Moves the entries jc[0] .. jc[columns]-1 of `from` that lie in selected rows, in their order and with their new
    /// rows, to the entries `at` and behind of `to`: of other blocks, or of the same ones, `at` then being at or before
    /// the first of them. `to` is of the element size and complexity of `from`. ends[i] becomes the position behind the
    /// last one of column i; `ends` may be jc + 1. Returns the last of them.
    /// Written: from `at` on, as many entries as there are to choose from, in other blocks kKernelSlack more, within
    /// to.capacity.
    unsigned (*moveSelected)(const Entries& from, const unsigned* jc, unsigned columns, const RowChoice& choice,
                             const Entries& to, unsigned at, unsigned* ends);

    /// Deletes from the entries begin .. end-1, whose ir are ascending linear positions, those in the list, and moves
    /// the others to `kept`, which is at or before `begin`, and behind, lowered by the deleted positions before them.
    /// The list goes on from block to block, with the same table. Returns the end of what is kept. Written: from `kept`
    /// up to `end`.
    unsigned (*closeUp)(const Entries& entries, unsigned begin, unsigned end, DeletedList& deleted, unsigned kept);

    /// Writes elements of 1, 2, 4 or 8 bytes from `from` on, in their order, to those of `count` places of another
    /// block that have no mark: marks[i], 0 or 1, is of the i-th. What a marked place gets, nobody knows. Read: up to
    /// `room` elements, at least as many as there are places without a mark.
    void (*spread)(const void* from, std::size_t room, const std::uint8_t* marks, unsigned count, void* to,
                   unsigned elementSize);

    /// ranks[i] = how many of `count` rows are below rows[i], of at most kMostRanked. Rows are distinct. Written: the
    /// ranks.
    void (*rankRows)(const unsigned* rows, unsigned count, unsigned* ranks);

    /// Of the entries begin .. end-1, those in rows of the set, which are also in `few` if that is not null: their
    /// positions, ascending. Returns their number. Written: kKernelSlack words behind the last one at most, and no more
    /// than end - begin.
    unsigned (*siftRows)(const RowWord* rows, const FewRows* few, const unsigned* ir, unsigned begin, unsigned end,
                         unsigned* found);

    /// The numbers of a strictly ascending list that are in another ascending one, repeats included: number inFirst[i]
    /// of the first list is number inSecond[i] of the second one, ascending in the second. A search of what the result
    /// leaves of the lists, and of what follows them, finds the others. Written: kKernelSlack words behind the results
    /// at most.
    Common (*intersect)(const unsigned* first, unsigned firstCount, const unsigned* second, unsigned secondCount,
                        unsigned* inFirst, unsigned* inSecond);

    /// The column starts of a row vector of `length` columns, whose `count` entries lie in `columns`, strictly
    /// ascending and below `length`. Written: length + 1 words.
    void (*writeStarts)(const unsigned* columns, unsigned count, unsigned length, unsigned* starts);
};

/// The table in use: the best one for the processor at hand, found out once.
const Kernels& kernels();

} // namespace zqsp

#endif
