#include "core/columns.hpp"
#include "core/owners.hpp"
#include "lookup/entry_positions.hpp"

#include <zqspmatrix.h>

#include <numeric>

namespace zqsp {

namespace {

/// A row of the new shape together with the carry into the next column.
struct WrappedRow
{
    unsigned row;
    unsigned carry;
};

/// (x + y) modulo m for x, y < m, without overflow where x + y does not fit 32 bits.
WrappedRow addModulo(unsigned x, unsigned y, unsigned m)
{
    const unsigned room = m - x;
    return y < room ? WrappedRow{x + y, 0} : WrappedRow{y - room, 1};
}

/// Each old column covers q whole new columns and r rows more; the place where it starts is kept as a new column and
/// row, so that no linear position, which may exceed 32 bits, is ever formed.
void reshapeByDivision(const Columns& a, unsigned newM, unsigned newN, unsigned* newJc)
{
    const unsigned q = a.m / newM;
    const unsigned r = a.m % newM;
    unsigned startRow = 0;
    unsigned startColumn = 0;
    for (unsigned j = 0; j < a.n; ++j) {
        for (unsigned e = a.jc[j]; e < a.jc[j + std::size_t{1}]; ++e) {
            const unsigned row = a.ir[e];
            const WrappedRow wrapped = addModulo(row % newM, startRow, newM);
            a.ir[e] = wrapped.row;
            ++newJc[startColumn + row / newM + wrapped.carry + std::size_t{1}];
        }
        const WrappedRow next = addModulo(startRow, r, newM);
        startRow = next.row;
        startColumn += q + next.carry;
    }
    std::partial_sum(newJc, newJc + newN + 1, newJc);
}

} // namespace

} // namespace zqsp

bool spReshapeOk(unsigned m, unsigned n, unsigned newM, unsigned newN)
{
    const bool empty = m == 0 || n == 0;
    const bool newEmpty = newM == 0 || newN == 0;
    if (empty || newEmpty) {
        return empty && newEmpty;
    }
    // A product of two 32-bit sizes always fits 64 bits.
    return static_cast<unsigned long long>(m) * n == static_cast<unsigned long long>(newM) * newN;
}

void spReshape(kxArray* A, unsigned newM, unsigned newN)
{
    using namespace zqsp;
    checkOperands(A);
    const Columns a(A);
    // The zeroed column starts are all that a reshape allocates; nothing has changed until they are there.
    Block<unsigned> newJc(kxCallocExCheck(static_cast<std::size_t>(newN) + 1, sizeof(unsigned)));
    if (a.nnz() > 0) {
        if (kxCheckMN_nothrow(a.m, a.n, 1, nullptr)) {
            EntryWalk(a).replaceRows(a.nnz());
            cutIntoColumns(a.ir, a.nnz(), newM, newN, newJc.get());
        } else {
            reshapeByDivision(a, newM, newN, newJc.get());
        }
    }
    kxFreeEx(a.jc);
    kxSetJc(A, newJc.release());
    kxSetM(A, newM);
    kxSetN(A, newN);
}
