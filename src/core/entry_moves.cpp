#include "core/entry_moves.hpp"
#include "core/search.hpp"
#include "core/values.hpp"

#include <algorithm>
#include <array>

namespace zqsp {

namespace {

/// The first column from `first` on that holds anything, of which there is one before `last`.
[[gnu::noinline]] unsigned nextFilled(const unsigned* jc, unsigned first, unsigned last)
{
    return first + gallop(jc + first + 1, 0, last - 1 - first, jc[first] + 1);
}

/// Turns the words of each column round: columns are copied aside by blocks, and written back in whole rounds, which
/// those of the next column write over. How long a short column is, which nobody can foresee, takes no branch.
template <typename Word, typename Map>
void turnColumns(Word* words, const unsigned* jc, unsigned n, Map map)
{
    constexpr unsigned kBlock = 2048;
    constexpr unsigned kFewHold = 16; // entries for less than one column in so many
    std::array<Word, kRound + kBlock> aside;
    std::fill_n(aside.begin(), kRound, Word{0}); // what a round may read before its column
    for (unsigned first = 0; first < n;) {
        const unsigned begin = jc[first];
        unsigned last = first;
        while (last < n && jc[last + 1] - begin <= kBlock) {
            ++last;
        }
        const bool isLong = last == first;
        last += isLong ? 1 : 0;
        const unsigned end = jc[last];
        if (isLong || end - begin < (last - first) / kFewHold) { // one by one, empty ones passed over
            for (; jc[first] < end; ++first) {
                first = nextFilled(jc, first, last);
                std::reverse(words + jc[first], words + jc[first + 1]);
                std::transform(words + jc[first], words + jc[first + 1], words + jc[first], map);
            }
            first = last;
            continue;
        }
        std::copy(words + begin, words + end, aside.begin() + kRound);
        for (; first < last; ++first) {
            const unsigned at = jc[first];
            const unsigned length = jc[first + 1] - at;
            Word* const to = words + at;
            const Word* const back = aside.data() + kRound + (at + length - begin); // behind the column
            if (length <= kRound && end - at >= kRound) {
                for (unsigned i = 0; i < kRound; ++i) {
                    to[i] = map(*(back - 1 - i));
                }
            } else {
                for (unsigned i = 0; i < length; ++i) {
                    to[i] = map(*(back - 1 - i));
                }
            }
        }
    }
}

void turnValues(std::byte* values, unsigned elementSize, const unsigned* jc, unsigned n)
{
    const auto turn = [&](auto word) {
        using Word = decltype(word);
        turnColumns(reinterpret_cast<Word*>(values), jc, n, [](Word value) { return value; });
    };
    switch (elementSize) {
    case sizeof(std::uint8_t):
        return turn(std::uint8_t{});
    case sizeof(std::uint16_t):
        return turn(std::uint16_t{});
    case sizeof(std::uint32_t):
        return turn(std::uint32_t{});
    default:
        return turn(std::uint64_t{});
    }
}

} // namespace

void Spreading::move(unsigned size, const Columns& to, std::size_t at, const Columns& from, std::size_t begin)
{
    if (size == 0) {
        return;
    }
    const auto spread = [&](const std::byte* source, std::byte* target, std::size_t elementSize) {
        kernels().spread(source + begin * elementSize, from.nzmax - begin, marks_.data(), size,
                         target + at * elementSize, static_cast<unsigned>(elementSize));
    };
    spread(reinterpret_cast<const std::byte*>(from.ir), reinterpret_cast<std::byte*>(to.ir), sizeof *to.ir);
    spread(from.pr, to.pr, to.elementSize);
    if (from.pi != nullptr && to.pi != nullptr) {
        spread(from.pi, to.pi, to.elementSize);
    }
    std::fill_n(marks_.begin(), size, std::uint8_t{0});
}

void turnRows(const Columns& a)
{
    turnColumns(a.ir, a.jc, a.n, [last = a.m - 1](unsigned row) { return last - row; });
    turnValues(a.pr, a.elementSize, a.jc, a.n);
    if (a.pi != nullptr) {
        turnValues(a.pi, a.elementSize, a.jc, a.n);
    }
}

void gatherValues(const Columns& target, std::size_t to, const Columns& source, const unsigned* sources, unsigned count)
{
    withStorage(source, [&](auto from) {
        const decltype(from) values(target);
        for (unsigned i = 0; i < count; ++i) {
            values.copy(to + i, from, sources[i]);
        }
    });
}

} // namespace zqsp
