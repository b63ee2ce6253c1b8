#include "lookup/entry_positions.hpp"

#include "core/fast_divisor.hpp"
#include "kernels/kernels.hpp"

namespace zqsp {

void cutIntoColumns(unsigned* positions, unsigned count, unsigned m, unsigned n, unsigned* starts)
{
    if (m == 1) {
        kernels().writeStarts(positions, count, n, starts);
        std::fill_n(positions, count, 0U);
        return;
    }
    if (n == 1 || count == 0) { // without elements m may be 0
        std::fill_n(starts + 1, n, count);
        return;
    }
    // The last entry of a column leaves its end behind it. Where a short column ends, nobody can foresee: a division
    // takes less than the branch that is mispredicted.
    const FastDivisor byRows(m);
    for (unsigned e = 0; e < count; ++e) {
        const unsigned column = byRows.quotient(positions[e]);
        positions[e] -= column * m;
        starts[column + std::size_t{1}] = e + 1;
    }
    unsigned end = 0;
    for (std::size_t column = 1; column <= n; ++column) {
        end = std::max(end, starts[column]);
        starts[column] = end;
    }
}

} // namespace zqsp
