#include "kernels/portable.hpp"

#include <algorithm>

namespace zqsp::portable {

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
