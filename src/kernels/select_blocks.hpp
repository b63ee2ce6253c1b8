// Selecting, sifting and ranking by whole registers: the text behind the tables that have such loops. Who includes this
// says first what its functions are compiled for (ZQSP_LOOPS), and has a struct of Lanes:
//
//     kCount                                   words in a register, at most sixteen
//     Choice                                   new rows, and bits of those that are selected
//     choose(rows, count, choice)              the Choice among `count` rows, at least one, or kCount if these are more
//     storeRows(choice, to, room)              writes what is selected; where there is room, a register
//     press(from, selected, to)                writes what is selected of kCount doubles, or bytes, and writes on up to
//                                              kCount; `to` may be `from`
//     spread(from, marks, to)                  writes what comes next of words of 32 or 64 bits to kCount places, and
//                                              anything to marked ones; returns how many of the words it took
//     loadRows(rows, count)                    `count` rows, and behind them others that are below none
//     below(rows, row)                         bits of those that are below a row
//     numbersFrom(first)                       first, first + 1, ..., as new rows
//     columnEnds(from, count, begin, size,     of `count` ascending column ends, the new ones of those that lie in the
//                base, selection, ends)        block of `size` entries from `begin` on: `base` and what is selected
//                                              of the block before them. Returns how many these are
//     Filter(few)                              passing(rows): bits of those of kCount rows that a filter lets pass; of
//                                              no more than Filter::kMost
//     Lowered(positions, count, passed)        choice() of those that pass(position) is not called for, each lowered by
//                                              `passed` and the calls for lower ones
//
// A loop that goes on to a portable one clears the upper parts of the registers itself: g++ 12 forgets it before such a
// call, and plain loops that follow, of the caller too, then take three times as long.
#ifndef ZQSP_KERNELS_SELECT_BLOCKS_HPP
#define ZQSP_KERNELS_SELECT_BLOCKS_HPP

#include "kernels/tables.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

namespace zqsp {

namespace {

// The loops work on blocks, first the rows of one, then its values: what is moved may overlap its source where it moves
// to a lower place. Up to `room` elements from `to` on may be written, at least as many as are selected; what lies
// behind these is lost.

constexpr unsigned kBlockSize = 1024; // entries; a block stays in the nearest caches between the loops

/// What the next loop will read, asked for in the one before: the processor's own foresight does not see from one block
/// to the next.
struct Next
{
    const std::byte* begin;
    unsigned groupSize; ///< bytes of as many entries as a register has words; 0 for nothing

    [[gnu::always_inline]] void prefetch(unsigned group) const
    {
        const std::byte* const there = begin + std::size_t{group} * groupSize;
        __builtin_prefetch(there);
        __builtin_prefetch(there + groupSize / 2); // two lines at most
    }
};

/// What is selected of one block: for each group of as many entries as a register has a bit for each of these, and
/// above the bits how many are selected before the group.
template <unsigned lanes>
class Selection
{
  public:
    void set(unsigned group, unsigned selected, unsigned before) { words_[group] = before << lanes | selected; }
    [[nodiscard]] unsigned bits(unsigned group) const { return words_[group] & ((1U << lanes) - 1); }
    [[nodiscard]] unsigned before(unsigned group) const { return words_[group] >> lanes; }
    [[nodiscard]] const unsigned* words() const { return words_.data(); }

  private:
    std::array<unsigned, kBlockSize / lanes> words_;
};

/// The choice among ascending positions: each is lowered by the deleted ones before it. Four of these are always
/// compared, so that their number, which nobody can foresee, takes no branch where they are a fifth of the entries or
/// fewer.
template <typename Lanes>
ZQSP_LOOPS inline typename Lanes::Choice chooseOf(const unsigned* rows, unsigned count, DeletedList& deleted)
{
    constexpr unsigned kAlways = 4;
    const unsigned last = rows[std::min(Lanes::kCount, count) - 1];
    typename Lanes::Lowered lowered(rows, count, deleted.passed);
    const unsigned* const next = deleted.positions + deleted.passed;
    if (deleted.count - deleted.passed >= kAlways) {
        for (unsigned i = 0; i < kAlways; ++i) {
            lowered.pass(next[i]);
            deleted.passed += next[i] <= last ? 1U : 0U;
        }
    }
    for (; deleted.passed < deleted.count && deleted.positions[deleted.passed] <= last; ++deleted.passed) {
        lowered.pass(deleted.positions[deleted.passed]);
    }
    return lowered.choice();
}

template <typename Lanes, typename Rows>
ZQSP_LOOPS inline typename Lanes::Choice chooseOf(const unsigned* rows, unsigned count, Rows choice)
{
    return Lanes::choose(rows, count, choice);
}

/// Of `count` values, or kCount if these are more, through a buffer: nothing is read or written behind.
template <typename Lanes, typename Word>
ZQSP_LOOPS inline void pressSome(const Word* from, unsigned count, unsigned selected, Word* to)
{
    std::array<Word, Lanes::kCount> group{};
    std::memcpy(group.data(), from, std::min(Lanes::kCount, count) * sizeof(Word));
    Lanes::press(group.data(), selected, group.data());
    std::memcpy(to, group.data(), countOnesAtOnce(selected) * sizeof(Word));
}

template <typename Lanes>
class BlockMover
{
  public:
    BlockMover(const Entries& from, const Entries& to) : from_(from), to_(to), inPlace_(from.ir == to.ir) {}

    /// Moves what is selected of `size` entries from `begin` on to `at` and behind. Returns how many entries that is.
    /// `choice`: a row choice, or a list of what is deleted.
    template <typename Choice>
    unsigned move(unsigned begin, unsigned size, Choice& choice, unsigned at)
    {
        const std::size_t room = (inPlace_ ? begin + size : to_.capacity) - at;
        const unsigned groupSize = kCount * from_.elementSize;
        const std::size_t offset = std::size_t{begin} * from_.elementSize;
        const Next nextRows{reinterpret_cast<const std::byte*>(from_.ir + begin + size), kCount * sizeof *from_.ir};
        // (Whether the values will be read, as far as one can tell.)
        const Next nextValues{from_.pr + offset, selected_ != 0 ? groupSize : 0};
        const auto moveChosen = [=, this](auto& rows) {
            return this->moveRows(from_.ir + begin, size, rows, to_.ir + at, room, nextValues);
        };
        if constexpr (std::is_same_v<Choice, const RowChoice>) {
            selected_ = std::visit([&](auto rows) { return moveChosen(rows); }, choice);
        } else {
            selected_ = moveChosen(choice);
        }
        if (selected_ == 0) {
            return 0;
        }
        if (from_.pi == nullptr) {
            moveValues(from_.pr, begin, size, to_.pr, at, room, nextRows);
            return selected_;
        }
        moveValues(from_.pr, begin, size, to_.pr, at, room, {from_.pi + offset, groupSize});
        moveValues(from_.pi, begin, size, to_.pi, at, room, nextRows);
        return selected_;
    }

    [[nodiscard]] const Selection<Lanes::kCount>& selection() const { return selection_; }

  private:
    static constexpr unsigned kCount = Lanes::kCount;

    /// How many groups of `count` entries can be taken and written in whole registers.
    static unsigned wholeGroups(unsigned count, std::size_t room) { return room >= count ? count / kCount : 0; }

    /// Learns what is selected, moves its new rows, and returns how many there are.
    template <typename Rows>
    ZQSP_LOOPS unsigned moveRows(const unsigned* rows, unsigned count, Rows& choice, unsigned* to, std::size_t room,
                                 Next next)
    {
        const unsigned whole = wholeGroups(count, room);
        unsigned written = 0;
        for (unsigned g = 0; g < whole; ++g) {
            next.prefetch(g);
            const auto chosen = chooseOf<Lanes>(rows + std::size_t{g} * kCount, kCount, choice);
            selection_.set(g, chosen.selected, written);
            Lanes::storeRows(chosen, to + written, kCount);
            written += countOnesAtOnce(chosen.selected);
        }
        for (unsigned g = whole; g * kCount < count; ++g) {
            const auto chosen = chooseOf<Lanes>(rows + std::size_t{g} * kCount, count - g * kCount, choice);
            selection_.set(g, chosen.selected, written);
            Lanes::storeRows(chosen, to + written, room - written);
            written += countOnesAtOnce(chosen.selected);
        }
        return written;
    }

    template <typename Word>
    ZQSP_LOOPS void moveWords(const Word* values, unsigned count, Word* to, std::size_t room, Next next) const
    {
        const unsigned whole = wholeGroups(count, room);
        for (unsigned g = 0; g < whole; ++g) {
            next.prefetch(g);
            Lanes::press(values + std::size_t{g} * kCount, selection_.bits(g), to + selection_.before(g));
        }
        for (unsigned g = whole; g * kCount < count; ++g) {
            pressSome<Lanes>(values + std::size_t{g} * kCount, count - g * kCount, selection_.bits(g),
                             to + selection_.before(g));
        }
    }

    /// `from` and `to`: whole blocks.
    void moveValues(const std::byte* from, unsigned begin, unsigned count, std::byte* to, unsigned at, std::size_t room,
                    Next next) const
    {
        const auto move = [=, this](const auto* values, auto* places) {
            this->moveWords(values + begin, count, places + at, room, next);
        };
        if (from_.elementSize == 1) {
            move(reinterpret_cast<const std::uint8_t*>(from), reinterpret_cast<std::uint8_t*>(to));
        } else {
            move(reinterpret_cast<const double*>(from), reinterpret_cast<double*>(to));
        }
    }

    const Entries& from_;
    const Entries& to_;
    bool inPlace_;
    unsigned selected_ = 1;
    Selection<Lanes::kCount> selection_;
};

/// Whether the loops serve: few entries, those of one column mostly, are not worth the preparations; and values have 1
/// or 8 bytes.
bool serve(const Entries& entries, unsigned count)
{
    constexpr unsigned kFewEntries = 8;
    return count > kFewEntries && (entries.elementSize == 1 || entries.elementSize == sizeof(double));
}

template <typename Lanes>
unsigned countSelectedBy(const unsigned* rows, unsigned count, const RowChoice& choice)
{
    return std::visit(
        [=](auto known) ZQSP_LOOPS {
            unsigned selected = 0;
            for (unsigned left = count; left > 0; left -= std::min(Lanes::kCount, left)) {
                selected += countOnesAtOnce(Lanes::choose(rows + (count - left), left, known).selected);
            }
            return selected;
        },
        choice);
}

template <typename Lanes>
unsigned moveSelectedBy(const Entries& from, const unsigned* jc, unsigned columns, const RowChoice& choice,
                        const Entries& to, unsigned at, unsigned* ends)
{
    const unsigned last = jc[columns];
    if (!serve(from, last - jc[0])) {
        return portable::moveSelected(from, jc, columns, choice, to, at, ends);
    }
    BlockMover<Lanes> mover(from, to);
    const unsigned* columnEnd = jc + 1;
    for (unsigned begin = jc[0], size = 0; begin < last; begin += size) {
        size = std::min(kBlockSize, last - begin);
        const unsigned selected = mover.move(begin, size, choice, at);
        const unsigned served = Lanes::columnEnds(columnEnd, columns, begin, size, at, mover.selection(), ends);
        columnEnd += served;
        ends += served;
        columns -= served;
        at += selected;
    }
    std::fill_n(ends, columns, at);
    return at;
}

template <typename Lanes>
unsigned closeUpBy(const Entries& entries, unsigned begin, unsigned end, DeletedList& deleted, unsigned kept)
{
    if (!serve(entries, end - begin)) {
        return portable::closeUp(entries, begin, end, deleted, kept);
    }
    BlockMover<Lanes> mover(entries, entries);
    for (unsigned size = 0; begin < end; begin += size) {
        size = std::min(kBlockSize, end - begin);
        kept += mover.move(begin, size, deleted, kept);
    }
    return kept;
}

/// Of the entries begin .. end-1, those in rows of a set, as siftRows() of the kernels says.
template <typename Lanes>
ZQSP_LOOPS unsigned siftBy(const RowWord* rows, const unsigned* ir, unsigned begin, unsigned end, unsigned* found)
{
    unsigned count = 0;
    for (; end - begin >= Lanes::kCount; begin += Lanes::kCount) {
        auto chosen = Lanes::choose(ir + begin, Lanes::kCount, RankedRows{rows});
        chosen.newRows = Lanes::numbersFrom(begin);
        Lanes::storeRows(chosen, found + count, Lanes::kCount);
        count += countOnesAtOnce(chosen.selected);
    }
    _mm256_zeroupper();
    return count + portable::siftRows(rows, nullptr, ir, begin, end, found + count);
}

/// The same of those that a filter lets pass, of which a group of rows has none mostly.
template <typename Lanes>
ZQSP_LOOPS unsigned siftFewBy(const FewRows& few, const RowWord* rows, const unsigned* ir, unsigned begin, unsigned end,
                              unsigned* found)
{
    const typename Lanes::Filter filter(few);
    unsigned count = 0;
    for (; end - begin >= Lanes::kCount; begin += Lanes::kCount) {
        for (unsigned passed = filter.passing(ir + begin); passed != 0; passed &= passed - 1) {
            const unsigned e = begin + static_cast<unsigned>(__builtin_ctz(passed));
            if (rows[ir[e] / RowWord::kBits].has(ir[e])) {
                found[count++] = e;
            }
        }
    }
    _mm256_zeroupper();
    return count + portable::siftRows(rows, nullptr, ir, begin, end, found + count);
}

template <typename Lanes>
ZQSP_LOOPS void rankRowsBy(const unsigned* rows, unsigned count, unsigned* ranks)
{
    const unsigned before = count - std::min(count, 1U); // a register that is all of them stays loaded
    const unsigned whole = before / Lanes::kCount * Lanes::kCount;
    const auto last = Lanes::loadRows(rows + whole, count - whole);
    for (unsigned i = 0; i < count; ++i) {
        const unsigned row = rows[i];
        unsigned rank = countOnesAtOnce(Lanes::below(last, row));
        for (unsigned v = 0; v < whole; v += Lanes::kCount) {
            rank += countOnesAtOnce(Lanes::below(Lanes::loadRows(rows + v, Lanes::kCount), row));
        }
        ranks[i] = rank;
    }
}

template <typename Lanes>
unsigned siftRowsBy(const RowWord* rows, const FewRows* few, const unsigned* ir, unsigned begin, unsigned end,
                    unsigned* found)
{
    if (few == nullptr) {
        return siftBy<Lanes>(rows, ir, begin, end, found);
    }
    return few->count() <= Lanes::Filter::kMost ? siftFewBy<Lanes>(*few, rows, ir, begin, end, found)
                                                : portable::siftRows(rows, few, ir, begin, end, found);
}

template <typename Lanes, typename Word>
ZQSP_LOOPS void spreadWordsBy(const Word* from, std::size_t room, const std::uint8_t* marks, unsigned count, Word* to)
{
    unsigned done = 0;
    for (; count - done >= Lanes::kCount && room >= Lanes::kCount; done += Lanes::kCount) {
        const unsigned taken = Lanes::spread(from, marks + done, to + done);
        from += taken;
        room -= taken;
    }
    _mm256_zeroupper();
    portable::spread(from, room, marks + done, count - done, to + done, sizeof(Word));
}

template <typename Lanes>
void spreadBy(const void* from, std::size_t room, const std::uint8_t* marks, unsigned count, void* to,
              unsigned elementSize)
{
    if (elementSize == sizeof(std::uint64_t)) {
        spreadWordsBy<Lanes>(static_cast<const std::uint64_t*>(from), room, marks, count,
                             static_cast<std::uint64_t*>(to));
    } else if (elementSize == sizeof(unsigned)) {
        spreadWordsBy<Lanes>(static_cast<const unsigned*>(from), room, marks, count, static_cast<unsigned*>(to));
    } else {
        portable::spread(from, room, marks, count, to, elementSize);
    }
}

/// A table with these loops instead of another's.
template <typename Lanes>
constexpr Kernels withEntriesBy(Kernels table)
{
    table.countSelected = countSelectedBy<Lanes>;
    table.moveSelected = moveSelectedBy<Lanes>;
    table.closeUp = closeUpBy<Lanes>;
    table.siftRows = siftRowsBy<Lanes>;
    table.spread = spreadBy<Lanes>;
    table.rankRows = rankRowsBy<Lanes>;
    return table;
}

} // namespace

} // namespace zqsp

#endif
