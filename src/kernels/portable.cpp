// The loops for any processor, and their table. What has no loop of its own in another table is served by these.
#include "kernels/compare_rows.hpp"
#include "kernels/select_loop.hpp"
#include "kernels/tables.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace zqsp::portable {

/// The processor tells by itself what it cannot convert: it gives the lowest word, whose distance to `highest`
/// overflows, so that one sign bit gathers all that lies outside. Measured: half the time of clamping each value first,
/// as the last ones are.
bool storeIndices(const double* values, unsigned count, double highest, unsigned* indices)
{
    unsigned i = 0;
    bool allGood = true;
#ifdef __SSE2__
    const __m128i top = _mm_set1_epi32(static_cast<int>(highest));
    const __m128i one = _mm_set1_epi32(1);
    __m128i outside = _mm_setzero_si128();
    __m128d fractional = _mm_setzero_pd();
    for (; i + 4 <= count; i += 4) {
        const __m128d low = _mm_loadu_pd(values + i);
        const __m128d high = _mm_loadu_pd(values + i + 2);
        const __m128i lowWords = _mm_cvttpd_epi32(low);
        const __m128i highWords = _mm_cvttpd_epi32(high);
        fractional = _mm_or_pd(fractional, _mm_cmpneq_pd(_mm_cvtepi32_pd(lowWords), low));
        fractional = _mm_or_pd(fractional, _mm_cmpneq_pd(_mm_cvtepi32_pd(highWords), high));
        const __m128i words = _mm_unpacklo_epi64(lowWords, highWords);
        const __m128i found = _mm_sub_epi32(words, one);
        outside = _mm_or_si128(outside, _mm_or_si128(found, _mm_sub_epi32(top, words)));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(indices + i), found);
    }
    allGood = (_mm_movemask_ps(_mm_castsi128_ps(outside)) | _mm_movemask_pd(fractional)) == 0;
#endif
    for (; i < count; ++i) {
        const bool inRange = values[i] >= 1 && values[i] <= highest;
        const double value = inRange ? values[i] : 1;
        const auto word = static_cast<std::int32_t>(value);
        indices[i] = static_cast<unsigned>(word) - 1U;
        allGood &= inRange & (static_cast<double>(word) == value);
    }
    return allGood;
}

Steps highStepsTo(const unsigned* indices, unsigned count, unsigned expected)
{
    Steps steps;
    for (unsigned i = 0; i < count; ++i) {
        const unsigned before = indices[static_cast<std::ptrdiff_t>(i) - 1];
        steps.fall |= indices[i] < before;
        steps.rise |= indices[i] > before;
        steps.irregular |= indices[i] - before != expected;
    }
    return steps;
}

Steps stepsTo(const unsigned* indices, unsigned count, unsigned expected)
{
    return stepsLoop(indices, count, expected);
}

unsigned countSelected(const unsigned* rows, unsigned count, const RowChoice& choice)
{
    return std::visit(
        [=](auto known) {
            unsigned selected = 0;
            for (unsigned i = 0; i < count; ++i) {
                selected += known.selects(rows[i]) ? 1U : 0U;
            }
            return selected;
        },
        choice);
}

unsigned moveSelected(const Entries& from, const unsigned* jc, unsigned columns, const RowChoice& choice,
                      const Entries& to, unsigned at, unsigned* ends)
{
    return std::visit([&](auto known) { return selectColumns(from, jc, columns, known, to, at, ends); }, choice);
}

unsigned closeUp(const Entries& entries, unsigned begin, unsigned end, DeletedList& deleted, unsigned kept)
{
    const std::array<unsigned, 2> all{begin, end};
    Others<DeletedList> others{deleted};
    kept = selectColumns(entries, all.data(), 1, others, entries, kept, &end);
    deleted = others.deleted;
    return kept;
}

namespace {

template <typename Word>
void spreadWords(const void* from, const std::uint8_t* marks, unsigned count, void* to)
{
    const auto* next = static_cast<const Word*>(from);
    auto* const places = static_cast<Word*>(to);
    for (unsigned i = 0; i < count; ++i) { // no branch depends on a mark
        places[i] = *next;
        next += 1 - marks[i];
    }
}

} // namespace

void spread(const void* from, std::size_t /*room*/, const std::uint8_t* marks, unsigned count, void* to,
            unsigned elementSize)
{
    for (; count > 0 && marks[count - 1] != 0; --count) { // there may be nothing left for these
    }
    switch (elementSize) {
    case sizeof(std::uint8_t):
        return spreadWords<std::uint8_t>(from, marks, count, to);
    case sizeof(std::uint16_t):
        return spreadWords<std::uint16_t>(from, marks, count, to);
    case sizeof(std::uint32_t):
        return spreadWords<std::uint32_t>(from, marks, count, to);
    default:
        return spreadWords<std::uint64_t>(from, marks, count, to);
    }
}

/// Whole registers. Those of the baseline compare signed words: the order of the rows is kept by turning their highest
/// bits. (Of a loop over one register within another, g++ 12 makes sixteen comparisons one by one.)
void rankRows(const unsigned* rows, unsigned count, unsigned* ranks)
{
    constexpr unsigned kSign = 0x80000000U;
    constexpr unsigned kRegisters = 16; // words: whole registers
    std::array<std::int32_t, kMostRanked> ordered;
    const unsigned end = (count + kRegisters - 1) / kRegisters * kRegisters;
    std::transform(rows, rows + count, ordered.begin(),
                   [](unsigned row) { return static_cast<std::int32_t>(row ^ kSign); });
    std::fill(ordered.begin() + count, ordered.begin() + end, std::numeric_limits<std::int32_t>::max());
    for (unsigned i = 0; i < count; ++i) {
        const std::int32_t own = ordered[i];
        int before = 0;
        for (unsigned other = 0; other < end; ++other) {
            before += ordered[other] < own ? 1 : 0;
        }
        ranks[i] = static_cast<unsigned>(before);
    }
}

namespace {

/// Each position is written, and written over by the next one unless its row is there: no branch depends on that. Four
/// at a time, as each has to wait for the count before it.
[[gnu::noinline]] unsigned siftEach(const RowWord* rows, const unsigned* ir, unsigned begin, unsigned end,
                                    unsigned* found)
{
    const auto has = [rows](unsigned row) {
        return (rows[row / RowWord::kBits].members & 1U << row % RowWord::kBits) != 0 ? 1U : 0U;
    };
    unsigned count = 0;
    constexpr unsigned kGroup = 4;
    for (; end - begin >= kGroup; begin += kGroup) {
        const unsigned first = has(ir[begin]);
        const unsigned two = first + has(ir[begin + 1]);
        const unsigned three = two + has(ir[begin + 2]);
        found[count] = begin;
        found[count + first] = begin + 1;
        found[count + two] = begin + 2;
        found[count + three] = begin + 3;
        count += three + has(ir[begin + 3]);
    }
    for (; begin < end; ++begin) {
        found[count] = begin;
        count += has(ir[begin]);
    }
    return count;
}

/// The same of whole groups, of which most have none: those that `mayHave` lets pass. `begin` goes on behind them.
template <unsigned group, typename MayHave>
unsigned siftGroups(const RowWord* rows, const unsigned* ir, unsigned& begin, unsigned end, unsigned* found,
                    MayHave mayHave)
{
    unsigned count = 0;
    for (; end - begin >= group; begin += group) {
        if (mayHave(ir + begin)) {
            count += siftEach(rows, ir, begin, begin + group, found + count);
        }
    }
    return count;
}

#ifdef __SSE2__
/// Compares low halves, eight of them in a register.
unsigned siftByHalves(const FewRows& few, const RowWord* rows, const unsigned* ir, unsigned& begin, unsigned end,
                      unsigned* found)
{
    constexpr unsigned kHalves = FewRows::kHalves;
    const auto load = [](const unsigned* at) {
        const auto low = [](const unsigned* four) { // with a sign, so that packing keeps it
            return _mm_srai_epi32(_mm_slli_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(four)), 16), 16);
        };
        return _mm_packs_epi32(low(at), low(at + kHalves / 2));
    };
    return siftGroups<4 * kHalves>(rows, ir, begin, end, found, [&](const unsigned* at) {
        const __m128i first = load(at);
        const __m128i second = load(at + kHalves);
        const __m128i third = load(at + 2 * kHalves);
        const __m128i fourth = load(at + 3 * kHalves);
        __m128i any = _mm_setzero_si128();
        __m128i more = any;
#pragma GCC unroll 1
        for (unsigned i = 0; i < few.count(); ++i) {
            const __m128i half = _mm_loadu_si128(reinterpret_cast<const __m128i*>(few.lowHalves(i)));
            any = _mm_or_si128(any, _mm_or_si128(_mm_cmpeq_epi16(first, half), _mm_cmpeq_epi16(second, half)));
            more = _mm_or_si128(more, _mm_or_si128(_mm_cmpeq_epi16(third, half), _mm_cmpeq_epi16(fourth, half)));
        }
        return _mm_movemask_epi8(_mm_or_si128(any, more)) != 0;
    });
}
#endif

unsigned siftFew([[maybe_unused]] const FewRows& few, const RowWord* rows, const unsigned* ir, unsigned& begin,
                 unsigned end, unsigned* found)
{
#ifdef __SSE2__
    if (few.count() <= FewRows::kCompared) {
        return siftByHalves(few, rows, ir, begin, end, found);
    }
#endif
    constexpr unsigned kGroup = 8;
    return siftGroups<kGroup>(rows, ir, begin, end, found, [rows](const unsigned* at) {
        unsigned any = 0;
        for (unsigned i = 0; i < kGroup; ++i) {
            any |= rows[at[i] / RowWord::kBits].members >> at[i] % RowWord::kBits;
        }
        return any % 2 != 0;
    });
}

} // namespace

unsigned siftRows(const RowWord* rows, const FewRows* few, const unsigned* ir, unsigned begin, unsigned end,
                  unsigned* found)
{
    const unsigned count = few != nullptr ? siftFew(*few, rows, ir, begin, end, found) : 0;
    return count + siftEach(rows, ir, begin, end, found + count);
}

/// One step along one of the lists or the other at a time, without a branch on the outcome: where the lists are about
/// as long, it would mostly be mispredicted.
Common intersectRest(const unsigned* first, unsigned firstCount, const unsigned* second, unsigned secondCount,
                     Common found, unsigned* inFirst, unsigned* inSecond)
{
    unsigned f = found.first;
    unsigned s = found.second;
    unsigned count = found.count;
    while (f < firstCount && s < secondCount) {
        const unsigned mine = first[f];
        const unsigned theirs = second[s];
        inFirst[count] = f;
        inSecond[count] = s;
        count += mine == theirs ? 1U : 0U;
        f += mine < theirs ? 1U : 0U;
        s += mine >= theirs ? 1U : 0U;
    }
    return {count, f, s};
}

/// Eight of the one list are compared with eight of the other at a time, and gone through step by step only where they
/// have some in common. Measured on lists that mostly differ: a quarter of the time of steps alone.
Common intersect(const unsigned* first, unsigned firstCount, const unsigned* second, unsigned secondCount,
                 unsigned* inFirst, unsigned* inSecond)
{
    Common found{0, 0, 0};
    auto& [count, f, s] = found;
    while (firstCount - f >= kCompared && secondCount - s >= kCompared) {
        if (haveCommon(first + f, second + s)) {
            found = intersectRest(first, f + kCompared, second, s + kCompared, found, inFirst, inSecond);
            continue;
        }
        const bool secondEnds = second[s + kCompared - 1] < first[f + kCompared - 1];
        s += valueIf(secondEnds, kCompared);
        f += valueIf(!secondEnds, kCompared);
    }
    return intersectRest(first, firstCount, second, secondCount, found, inFirst, inSecond);
}

void writeStartsFrom(unsigned column, unsigned entry, const unsigned* columns, unsigned count, unsigned length,
                     unsigned* starts)
{
    // In whole rounds, which those that follow write over: how many columns lie between two entries is nothing that a
    // processor could predict.
    constexpr unsigned kRound = 16;
    std::uint64_t next = column;
    unsigned e = entry;
    for (; e < count && columns[e] + std::uint64_t{kRound} <= length; ++e) {
        const std::uint64_t end = std::uint64_t{columns[e]} + 1;
        for (; next < end; next += kRound) {
            std::fill_n(starts + next, kRound, e);
        }
        next = end;
    }
    for (; e < count; ++e) {
        for (; next <= columns[e]; ++next) {
            starts[next] = e;
        }
    }
    std::fill(starts + next, starts + std::size_t{length} + 1, count);
}

void writeStarts(const unsigned* columns, unsigned count, unsigned length, unsigned* starts)
{
    writeStartsFrom(0, 0, columns, count, length, starts);
}

} // namespace zqsp::portable
