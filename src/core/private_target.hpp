// In-place work on a target that one of its own operands is, or shares data blocks with: A(A) = 5, A(:,J) = A.
#ifndef ZQSP_CORE_PRIVATE_TARGET_HPP
#define ZQSP_CORE_PRIVATE_TARGET_HPP

#include "core/owners.hpp"

#include <zqspmatrix.h>

#include <algorithm>
#include <initializer_list>

namespace zqsp {

/// Whether the two are one array, or have a data block in common.
inline bool sharesData(const kxArray* a, const kxArray* b)
{
    const auto same = [](const void* x, const void* y) { return x != nullptr && x == y; };
    return a == b || same(a->pr, b->pr) || same(a->pi, b->pi) || same(a->ir, b->ir) || same(a->jc, b->jc);
}

/// Runs work(target) on A, or, where an operand shares data with A, on a private copy that replaces A's content once
/// the work is done. Either way the operands keep their values while A is rewritten.
template <typename F>
spStatus onPrivateTarget(kxArray* A, std::initializer_list<const kxArray*> operands, F&& work)
{
    if (std::none_of(operands.begin(), operands.end(), [A](const kxArray* b) { return sharesData(A, b); })) {
        return work(A);
    }
    ArrayOwner copy(kxCreateDeepCopy(A));
    kxSetArrayScope(copy.get(), A->scope);
    const spStatus status = work(copy.get());
    if (status == spOK) {
        copy.moveOnto(A);
    }
    return status;
}

/// Runs work(target) on the sparse form of a full A, whose content it replaces once the work is done.
template <typename F>
spStatus onSparseForm(kxArray* A, F&& work)
{
    ArrayOwner sparse(kxMustBeSparse(A));
    kxSetArrayScope(sparse.get(), A->scope);
    const spStatus status = work(sparse.get());
    if (status == spOK) {
        sparse.moveOnto(A);
    }
    return status;
}

} // namespace zqsp

#endif
