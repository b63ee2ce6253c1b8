// Selecting entries one after the other, in one loop over rows and values: the text behind every selection that has no
// registers of its own.
#ifndef ZQSP_KERNELS_SELECT_LOOP_HPP
#define ZQSP_KERNELS_SELECT_LOOP_HPP

#include "kernels/kernels.hpp"

#include <algorithm>
#include <array>
#include <cstring>

namespace zqsp {

/// Elements of a known size.
template <typename Word, bool complex>
struct ElementMoves
{
    Word* pr;
    Word* pi;

    explicit ElementMoves(const Entries& a) : pr(reinterpret_cast<Word*>(a.pr)), pi(reinterpret_cast<Word*>(a.pi)) {}

    [[gnu::always_inline]] void copy(std::size_t to, const ElementMoves& from, std::size_t source) const
    {
        pr[to] = from.pr[source];
        if constexpr (complex) {
            pi[to] = from.pi[source];
        }
    }
};

/// Elements of any size.
struct SizedMoves
{
    std::byte* pr;
    std::byte* pi;
    std::size_t size;

    explicit SizedMoves(const Entries& a) : pr(a.pr), pi(a.pi), size(a.elementSize) {}

    void copy(std::size_t to, const SizedMoves& from, std::size_t source) const
    {
        std::memmove(pr + to * size, from.pr + source * size, size);
        if (pi != nullptr) {
            std::memmove(pi + to * size, from.pi + source * size, size);
        }
    }
};

/// f(from, to) with the moves of the element size at hand.
template <typename F>
[[gnu::always_inline]] inline auto withMoves(const Entries& from, const Entries& to, F&& f)
{
    using Byte = std::uint8_t;
    using Double = std::uint64_t;
    if (from.elementSize == sizeof(Double)) {
        return from.pi != nullptr ? f(ElementMoves<Double, true>(from), ElementMoves<Double, true>(to))
                                  : f(ElementMoves<Double, false>(from), ElementMoves<Double, false>(to));
    }
    if (from.elementSize == sizeof(Byte) && from.pi == nullptr) {
        return f(ElementMoves<Byte, false>(from), ElementMoves<Byte, false>(to));
    }
    return f(SizedMoves(from), SizedMoves(to));
}

/// Moves the selected of the entries begin .. end-1 to `at` and behind, which may be in the same blocks, before them.
/// Returns the end. `room`: whether as many entries can be written as there are. An entry is then written before it is
/// known to be selected; at worst it is written over by the next one, and no branch depends on the answer.
template <typename Choice, typename Moves>
[[gnu::always_inline]] inline unsigned selectEntries(const unsigned* rows, Moves from, unsigned begin, unsigned end,
                                                     Choice&& choice, bool room, unsigned* newRows, Moves to,
                                                     unsigned at)
{
    if (room) {
        for (unsigned e = begin; e < end; ++e) {
            const unsigned row = rows[e];
            const bool selected = choice.selects(row);
            newRows[at] = choice.newRow(row);
            to.copy(at, from, e);
            at += selected ? 1U : 0U;
        }
        return at;
    }
    for (unsigned e = begin; e < end; ++e) {
        if (const unsigned row = rows[e]; choice.selects(row)) {
            newRows[at] = choice.newRow(row);
            to.copy(at++, from, e);
        }
    }
    return at;
}

/// By blocks of entries, whichever columns they lie in: where a short column ends, nobody can foresee. Where the
/// entries of a block went tells the ends of the columns in it. (What the loop reads of records is copied out of them
/// first: its stores might change these, as far as the compiler knows.)
template <typename Choice, typename Moves>
[[gnu::always_inline]] inline unsigned selectColumnsBy(const Entries& from, const unsigned* jc, unsigned columns,
                                                       Choice choice, const Entries& to, Moves source, Moves target,
                                                       unsigned at, unsigned* ends)
{
    constexpr unsigned kBlock = 1024;
    std::array<unsigned, kBlock> places;
    const unsigned* const rows = from.ir;
    unsigned* const newRows = to.ir;
    const unsigned last = jc[columns];
    unsigned column = 0;
    for (unsigned begin = jc[0], size = 0; begin < last; begin += size) {
        size = std::min(kBlock, last - begin);
        if (to.capacity - at >= size) {
            for (unsigned i = 0; i < size; ++i) {
                const unsigned row = rows[begin + i];
                const bool selected = choice.selects(row);
                newRows[at] = choice.newRow(row);
                target.copy(at, source, begin + i);
                places[i] = at;
                at += selected ? 1U : 0U;
            }
        } else {
            for (unsigned i = 0; i < size; ++i) {
                places[i] = at;
                at = selectEntries(rows, source, begin + i, begin + i + 1, choice, false, newRows, target, at);
            }
        }
        for (; column < columns && jc[column + 1] - begin < size; ++column) {
            ends[column] = places[jc[column + 1] - begin];
        }
    }
    std::fill(ends + column, ends + columns, at);
    return at;
}

/// moveSelected() of the kernels for one kind of choice.
template <typename Choice>
[[gnu::always_inline]] inline unsigned selectColumns(const Entries& from, const unsigned* jc, unsigned columns,
                                                     Choice choice, const Entries& to, unsigned at, unsigned* ends)
{
    return withMoves(
        from, to, [&](auto source, auto target) __attribute__((always_inline)) {
            return selectColumnsBy(from, jc, columns, choice, to, source, target, at, ends);
        });
}

/// All other rows or positions than some, lowered by how many of these lie below: `deleted` gives as new rows its
/// members below. (These are counted first: that passes over where the answer is.)
template <typename Members>
struct Others
{
    Members& deleted;
    unsigned below = 0;

    [[gnu::always_inline]] bool selects(unsigned row)
    {
        below = deleted.newRow(row);
        return !deleted.selects(row);
    }
    [[nodiscard]] unsigned newRow(unsigned row) const { return row - below; }
};

} // namespace zqsp

#endif
