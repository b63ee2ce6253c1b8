// The array that a deletion works on.
#ifndef ZQSP_DELETE_DELETION_TARGET_HPP
#define ZQSP_DELETE_DELETION_TARGET_HPP

#include "core/private_target.hpp"

namespace zqsp {

/// Runs work(target) on A in place; on a private copy where the subscript shares A's data; and on its sparse form where
/// a full array comes in, as the first assignment to it would have found it.
template <typename F>
spStatus onDeletionTarget(kxArray* A, const kxArray* subscript, F&& work)
{
    return isSparse(A) || classOf(A) == kxUNKNOWN_CLASS ? onPrivateTarget(A, {subscript}, work) : onSparseForm(A, work);
}

} // namespace zqsp

#endif
