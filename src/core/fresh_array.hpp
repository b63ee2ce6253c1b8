// Replacing the whole content of a target by a newly built sparse array.
#ifndef ZQSP_CORE_FRESH_ARRAY_HPP
#define ZQSP_CORE_FRESH_ARRAY_HPP

#include "core/owners.hpp"

namespace zqsp {

/// A becomes a new m-by-n sparse array without entries. A is unchanged where this raises.
inline void becomeEmptySparse(kxArray* A, unsigned m, unsigned n, unsigned nzmax, kxClassID id, kxComplexity complexity)
{
    ArrayOwner fresh(kxCreateSparseNumericMatrix(m, n, nzmax, id, complexity));
    kxSetArrayScope(fresh.get(), kxTEMPORARY_SCOPE);
    fresh.moveOnto(A);
}

} // namespace zqsp

#endif
