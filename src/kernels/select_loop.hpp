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

/// write(i, place, newRow) for each of `count` rows: those that are selected go to the places `at` and behind, `newRow`
/// is their new row. What is not selected is given the place of the next one that is, to be written over: no branch
/// depends on the answer. Returns the end of the places.
template <typename Choice, typename Write>
[[gnu::always_inline]] inline unsigned selectRows(const unsigned* rows, unsigned count, Choice& choice, unsigned at,
                                                  Write write)
{
    unsigned i = 0;
#ifdef __SSE2__
    if constexpr (std::is_same_v<Choice, RankedRows>) {
        constexpr unsigned kFour = 4;
        for (; count - i >= kFour; i += kFour) {
            std::array<unsigned, kFour> ranks;
            unsigned selected = rankFour(rows + i, choice.words, ranks.data());
            for (unsigned k = 0; k < kFour; ++k, selected >>= 1U) {
                write(i + k, at, ranks[k]);
                at += selected & 1U;
            }
        }
    }
#endif
    for (; i < count; ++i) {
        const unsigned row = rows[i];
        const bool selected = choice.selects(row);
        write(i, at, choice.newRow(row));
        at += selected ? 1U : 0U;
    }
    return at;
}

/// The entries of a block, from `begin` on, and where they go.
struct EntryBlock
{
    static constexpr unsigned kMost = 1024;

    unsigned begin;
    unsigned size;
    std::array<unsigned, kMost> places;
};

/// Where to read next is foreseen within a block, not from one to the next.
[[gnu::always_inline]] inline void prefetchBlock(const EntryBlock& block, const std::byte* from,
                                                 std::size_t elementSize)
{
    constexpr std::size_t kLine = 64;
    for (std::size_t i = 0; i < block.size * elementSize; i += kLine) {
        __builtin_prefetch(from + block.begin * elementSize + i);
    }
}

/// Moves the elements of a block to their places before `end`.
[[gnu::noinline]] inline void moveBlock(const EntryBlock& block, const std::byte* from, std::byte* to, unsigned end,
                                        std::size_t elementSize)
{
    const unsigned* const places = block.places.data();
    unsigned count = block.size;
    for (; count > 0 && places[count - 1] == end; --count) {
    }
    from += block.begin * elementSize;
    for (unsigned i = 0; i < count; ++i) {
        if (elementSize == sizeof(double)) {
            std::memcpy(to + places[i] * sizeof(double), from + i * sizeof(double), sizeof(double));
        } else {
            std::memmove(to + places[i] * elementSize, from + i * elementSize, elementSize);
        }
    }
}

/// Moves what is selected of a block, where there is room for all of it, with the elements, of the size of a Word.
template <typename Word, typename Choice>
[[gnu::always_inline]] inline unsigned selectWords(const Entries& from, Choice& choice, const Entries& to, unsigned at,
                                                   EntryBlock& block)
{
    const auto* const old = reinterpret_cast<const Word*>(from.pr) + block.begin;
    auto* const moved = reinterpret_cast<Word*>(to.pr);
    unsigned* const newRows = to.ir;
    unsigned* const places = block.places.data();
    return selectRows(from.ir + block.begin, block.size, choice, at, [=](unsigned i, unsigned place, unsigned row) {
        newRows[place] = row;
        moved[place] = old[i];
        places[i] = place;
    });
}

/// Moves what is selected of a block to the entries `at` and behind of `to`, which may be the same blocks, and then not
/// behind its own. Returns the end.
template <typename Choice>
[[gnu::always_inline]] inline unsigned selectBlock(const Entries& from, Choice& choice, const Entries& to, unsigned at,
                                                   EntryBlock& block)
{
    constexpr bool isQuick = std::is_convertible_v<Choice, RowChoice>; // an answer takes no longer than a move
    const std::size_t elementSize = to.elementSize;
    const bool isRoomy = to.capacity - at >= block.size;
    unsigned end = 0;
    if (from.pi != nullptr) {
        prefetchBlock(block, from.pi, elementSize);
    }
    if (isQuick && isRoomy && elementSize == sizeof(std::uint64_t)) {
        end = selectWords<std::uint64_t>(from, choice, to, at, block);
    } else if (isQuick && isRoomy && elementSize == 1) {
        end = selectWords<std::uint8_t>(from, choice, to, at, block);
    } else {
        prefetchBlock(block, from.pr, elementSize);
        std::array<unsigned, EntryBlock::kMost> newRows;
        unsigned* const places = block.places.data();
        end = selectRows(from.ir + block.begin, block.size, choice, at, [&](unsigned i, unsigned place, unsigned row) {
            newRows[place - at] = row;
            places[i] = place;
        });
        std::copy_n(newRows.data(), end - at, to.ir + at);
        moveBlock(block, from.pr, to.pr, end, elementSize);
    }
    if (to.pi != nullptr) {
        moveBlock(block, from.pi, to.pi, end, elementSize);
    }
    return end;
}

/// moveSelected() of the kernels, by blocks of entries, whichever columns they lie in: where a short column ends,
/// nobody can foresee.
template <typename Choice>
unsigned selectColumns(const Entries& from, const unsigned* jc, unsigned columns, Choice& choice, const Entries& to,
                       unsigned at, unsigned* ends)
{
    Choice own = choice; // in registers
    EntryBlock block;
    const unsigned last = jc[columns];
    unsigned column = 0;
    for (block.begin = jc[0]; block.begin < last; block.begin += block.size) {
        block.size = std::min(EntryBlock::kMost, last - block.begin);
        at = selectBlock(from, own, to, at, block);
        for (; column < columns && jc[column + 1] - block.begin < block.size; ++column) {
            ends[column] = block.places[jc[column + 1] - block.begin];
        }
    }
    std::fill(ends + column, ends + columns, at);
    choice = own;
    return at;
}

/// All other rows or positions than some, lowered by how many of these lie below: `deleted` gives as new rows its
/// members below. (These are counted first: that passes over where the answer is.)
template <typename Members>
struct Others
{
    Members deleted;
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
