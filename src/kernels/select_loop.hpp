// Selecting entries one after the other, in one loop over rows and values: the text behind every selection that has no
// registers of its own.
#ifndef ZQSP_KERNELS_SELECT_LOOP_HPP
#define ZQSP_KERNELS_SELECT_LOOP_HPP

#include "kernels/kernels.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <type_traits>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

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

#ifdef __SSE2__
/// A bit for each of four rows that is in a set, and their ranks: ones are counted in a register of four words,
/// measured in half the time of counting them word by word where there is no instruction for it.
[[gnu::always_inline]] inline unsigned rankFour(const unsigned* rows, const RowWord* set, unsigned* ranks)
{
    const auto two = [set](const unsigned* pair) __attribute__((always_inline))
    {
        const auto* const first = reinterpret_cast<const __m128i*>(set + pair[0] / RowWord::kBits);
        const auto* const second = reinterpret_cast<const __m64*>(set + pair[1] / RowWord::kBits);
        return _mm_loadh_pi(_mm_castsi128_ps(_mm_loadl_epi64(first)), second);
    };
    const auto inAll = [](int word) { return _mm_set1_epi32(word); };
    const __m128 low = two(rows);
    const __m128 high = two(rows + 2);
    const __m128i members = _mm_castps_si128(_mm_shuffle_ps(low, high, _MM_SHUFFLE(2, 0, 2, 0)));
    const __m128i before = _mm_castps_si128(_mm_shuffle_ps(low, high, _MM_SHUFFLE(3, 1, 3, 1)));
    // Powers of two by the exponents of floats: there is no shift of each word by a count of its own.
    const __m128i own = _mm_loadu_si128(reinterpret_cast<const __m128i*>(rows));
    const __m128i exponents = _mm_add_epi32(_mm_and_si128(own, inAll(RowWord::kBits - 1)), inAll(127));
    const __m128i bit = _mm_cvttps_epi32(_mm_castsi128_ps(_mm_slli_epi32(exponents, 23)));
    const __m128i isMember = _mm_cmpeq_epi32(_mm_and_si128(members, bit), bit);
    __m128i ones = _mm_and_si128(members, _mm_add_epi32(bit, inAll(-1))); // countOnes() of four words
    ones = _mm_sub_epi32(ones, _mm_and_si128(_mm_srli_epi32(ones, 1), inAll(0x55555555)));
    ones = _mm_add_epi32(_mm_and_si128(ones, inAll(0x33333333)),
                         _mm_and_si128(_mm_srli_epi32(ones, 2), inAll(0x33333333)));
    ones = _mm_and_si128(_mm_add_epi32(ones, _mm_srli_epi32(ones, 4)), inAll(0x0F0F0F0F));
    ones = _mm_add_epi32(ones, _mm_srli_epi32(ones, 8));
    ones = _mm_and_si128(_mm_add_epi32(ones, _mm_srli_epi32(ones, 16)), inAll(63));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(ranks), _mm_add_epi32(before, ones));
    return static_cast<unsigned>(_mm_movemask_ps(_mm_castsi128_ps(isMember)));
}
#endif

/// By blocks of entries, whichever columns they lie in: where a short column ends, nobody can foresee. Where the
/// entries of a block went tells the ends of the columns in it. (What the loop reads of records is copied out of them
/// first: its stores might change these, as far as the compiler knows.)
template <typename Choice, typename Moves>
[[gnu::always_inline]] inline unsigned selectColumnsBy(const Entries& from, const unsigned* jc, unsigned columns,
                                                       Choice choice, const Entries& to, Moves source, Moves target,
                                                       unsigned at, unsigned* ends)
{
    constexpr unsigned kBlock = 1024;
    alignas(64) std::array<unsigned, kBlock> places;
    const unsigned* const rows = from.ir;
    unsigned* const newRows = to.ir;
    const unsigned last = jc[columns];
    unsigned column = 0;
    for (unsigned begin = jc[0], size = 0; begin < last; begin += size) {
        size = std::min(kBlock, last - begin);
        if (to.capacity - at >= size) {
            unsigned done = 0;
#ifdef __SSE2__
            if constexpr (std::is_same_v<Choice, RankedRows>) {
                constexpr unsigned kFour = 4;
                for (; size - done >= kFour; done += kFour) {
                    std::array<unsigned, kFour> ranks;
                    unsigned selected = rankFour(rows + begin + done, choice.words, ranks.data());
                    for (unsigned i = 0; i < kFour; ++i, selected >>= 1U) {
                        newRows[at] = ranks[i];
                        target.copy(at, source, begin + done + i);
                        places[done + i] = at;
                        at += selected & 1U;
                    }
                }
            }
#endif
            for (unsigned i = done; i < size; ++i) {
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
