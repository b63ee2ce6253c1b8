// The array that a two-subscript assignment works on.
#ifndef ZQSP_ASSIGN_ASSIGNMENT_TARGET_HPP
#define ZQSP_ASSIGN_ASSIGNMENT_TARGET_HPP

#include "core/private_target.hpp"

namespace zqsp {

/// Runs work(target) on A in place, or on a private copy where an operand shares A's data, or on the sparse form of a
/// full array that has elements; a full one without is created afresh by the work. Afterwards an all-zero imaginary
/// part is dropped.
template <typename F>
spStatus onAssignmentTarget(kxArray* A, std::initializer_list<const kxArray*> operands, F&& work)
{
    const bool isFull = !isSparse(A) && !kxIsEmpty(A);
    const spStatus status = isFull ? onSparseForm(A, work) : onPrivateTarget(A, operands, work);
    if (status == spOK) {
        kxFreeImagIfZero(A);
    }
    return status;
}

} // namespace zqsp

#endif
