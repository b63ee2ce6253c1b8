// Storing one element of a sparse target.
#ifndef ZQSP_ASSIGN_ELEMENT_HPP
#define ZQSP_ASSIGN_ELEMENT_HPP

#include "core/columns.hpp"
#include "core/owners.hpp"

namespace zqsp {

/// A(row,column) = the first value of b (b full, or sparse with that value stored), 0-based. The target becomes m-by-n,
/// which cover the element, and which only an empty target may have more of now. A zero (`isZero`) is not stored: it
/// removes what is there. Where a new entry finds no room, grown(nzmax, m, n) is the capacity to come.
/// A must be sparse and of b's class; it is unchanged where this raises. Cost: n + the entries behind the element.
void storeElement(kxArray* A, unsigned row, unsigned column, unsigned m, unsigned n, const Columns& b, bool isZero,
                  unsigned (*grown)(unsigned nzmax, unsigned m, unsigned n));

} // namespace zqsp

#endif
