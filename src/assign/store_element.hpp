// One value for one element, values for a few that are stored, and the capacity that one entry more takes.
#ifndef ZQSP_ASSIGN_STORE_ELEMENT_HPP
#define ZQSP_ASSIGN_STORE_ELEMENT_HPP

#include "assign/right_side.hpp"
#include "core/target.hpp"
#include "lookup/place_search.hpp"
#include "subscript/forms.hpp"

namespace zqsp {

/// So many entries more is the capacity that a full target is given for one new entry: a deliberate small step.
constexpr unsigned kCapacityStep = 10;

/// The capacity that a full m-by-n target is given for one more entry where positions are assigned: a step more, as far
/// as the matrix and the signed 32-bit range go, else one more. Raises the out-of-memory error where there is none.
unsigned growCapacity(unsigned nzmax, unsigned m, unsigned n);

/// The capacity of an m-by-n target, filled up to nzmax, for one more entry.
using GrownCapacity = unsigned (*)(unsigned nzmax, unsigned m, unsigned n);

/// A(row,column) = b, one value, 0-based. `before`: of A. The target becomes m-by-n, which cover the element, and which
/// only an empty target may have more of now. A zero is not stored: it removes what is there. Where a new entry finds
/// no room, grown(nzmax, m, n) is the capacity to come. A must be sparse and of b's class; it is unchanged where this
/// raises. Cost: n + the entries behind the element.
void storeElement(kxArray* A, const Columns& before, Place place, unsigned m, unsigned n, const RightSide& b,
                  GrownCapacity grown);

/// A few elements that are all stored, and get values other than zero, are overwritten in the order of the subscripts
/// where they lie: nothing is sorted, B may be full, and the last of repeated ones wins by being last. False, with
/// nothing changed, elsewhere, and where the number of elements may be beyond its maximum. B fits the region.
bool overwriteFew(Target& target, const kxArray* B, const Subscript& rowForm, const Subscript& columnForm);

} // namespace zqsp

#endif
