#include "core/columns.hpp"
#include "core/owners.hpp"
#include "core/search.hpp"
#include "lookup/place_search.hpp"

#include <zqspmatrix.h>

#include <algorithm>
#include <cstdint>

namespace zqsp {

namespace {

/// The first of the entries begin .. end-1, of one column, that lies at a row or below it.
unsigned firstFrom(const Columns& a, unsigned begin, unsigned end, unsigned row)
{
    return end - begin <= kComparedRows && canCompare(a, begin) ? begin + rankAmong(a.ir + begin, end - begin, row)
                                                                : gallop(a.ir, begin, end, row);
}

void addToRows(const Columns& a, unsigned begin, unsigned end, unsigned shift)
{
    std::for_each(a.ir + begin, a.ir + end, [shift](unsigned& row) { row += shift; });
}

/// Each old column is cut where new ones begin. No linear position, which may exceed 32 bits, is ever formed.
void reshapeColumns(const Columns& a, unsigned newM, unsigned* newEnd)
{
    unsigned startRow = 0; // of the new column that an old one goes on with
    for (std::size_t j = 0; j < a.n; ++j) {
        unsigned begin = a.jc[j];
        const unsigned end = a.jc[j + 1];
        const unsigned first = newM - startRow; // the row that the next new column begins with
        std::uint64_t next = first;
        if (first < a.m && a.m - first <= newM) {
            // Cut once: where a short column is, nobody can foresee.
            *newEnd++ = firstFrom(a, begin, end, first);
            for (unsigned e = begin; e < end; ++e) {
                a.ir[e] += valueIf(a.ir[e] < first, newM) - first;
            }
            next += newM;
        } else {
            unsigned shift = startRow;
            for (; next < a.m; next += newM) {
                const auto row = static_cast<unsigned>(next);
                const unsigned cut = firstFrom(a, begin, end, row);
                addToRows(a, begin, cut, shift);
                *newEnd++ = begin = cut;
                shift = 0U - row;
            }
            addToRows(a, begin, end, shift);
        }
        startRow = static_cast<unsigned>(newM - (next - a.m));
        if (startRow == newM) {
            *newEnd++ = end;
            startRow = 0;
        }
    }
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
        reshapeColumns(a, newM, newJc.get() + 1);
    }
    kxFreeEx(a.jc);
    kxSetJc(A, newJc.release());
    kxSetM(A, newM);
    kxSetN(A, newN);
}
