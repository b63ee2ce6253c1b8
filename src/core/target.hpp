// The array that an in-place call changes. A is it, unless an operand is A or shares its data, or A is full.
#ifndef ZQSP_CORE_TARGET_HPP
#define ZQSP_CORE_TARGET_HPP

#include "core/owners.hpp"

#include <zqspmatrix.h>

namespace zqsp {

/// Replaces the whole content of A; nothing is raised.
inline void replaceContent(kxArray* A, ArrayOwner fresh, kxVariableScope scope = kxTEMPORARY_SCOPE)
{
    kxSetArrayScope(fresh.get(), scope);
    fresh.moveOnto(A);
}

/// A becomes a new m-by-n sparse array without entries. A is unchanged where this raises.
inline void becomeEmptySparse(kxArray* A, unsigned m, unsigned n, unsigned nzmax, kxClassID id, kxComplexity complexity)
{
    replaceContent(A, ArrayOwner(kxCreateSparseNumericMatrix(m, n, nzmax, id, complexity)));
}

/// Whether the two are one array, or have a data block in common.
inline bool sharesData(const kxArray* a, const kxArray* b)
{
    const auto same = [](const void* x, const void* y) { return x == y && x != nullptr; };
    return a == b || same(a->pr, b->pr) || same(a->pi, b->pi) ||
           (isSparse(b) && (same(a->ir, b->ir) || same(a->jc, b->jc)));
}

/// A is asked through get() as long as nothing changes, and changed through own(). What changes nothing thus leaves A
/// as it was, a full array included.
class Target
{
  public:
    template <typename... Operands>
    explicit Target(kxArray* A, const Operands*... operands) : A_(A), isShared_((sharesData(A, operands) || ...))
    {
    }

    [[nodiscard]] const kxArray* get() const { return copy_.get() != nullptr ? copy_.get() : A_; }

    /// The sparse array to change: A, or a copy in A's scope that finish() puts in its place. Either way the operands
    /// keep their values meanwhile. An array without a class is given as it is. Raises the runtime's errors.
    [[nodiscard]] kxArray* own()
    {
        if (copy_.get() != nullptr) {
            return copy_.get();
        }
        return isShared_ || !isSparse(A_) ? ownCopy() : A_;
    }

    /// The content comes about anew.
    void become(ArrayOwner fresh, kxVariableScope scope = kxTEMPORARY_SCOPE)
    {
        replaceContent(A_, std::move(fresh), scope);
    }

    /// What own() gave takes A's place.
    void finish()
    {
        if (copy_.get() != nullptr) {
            copy_.moveOnto(A_);
        }
    }

  private:
    [[gnu::noinline]] kxArray* ownCopy()
    {
        if (!isSparse(A_) && classOf(A_) != kxUNKNOWN_CLASS) {
            copy_ = ArrayOwner(kxMustBeSparse(A_));
        } else if (isShared_) {
            copy_ = ArrayOwner(kxCreateDeepCopy(A_));
        } else {
            return A_;
        }
        kxSetArrayScope(copy_.get(), A_->scope);
        return copy_.get();
    }

    kxArray* A_;
    bool isShared_;
    ArrayOwner copy_;
};

/// work(target) on A, beside the operands; what it changed is A's content once it completes.
template <typename F, typename... Operands>
spStatus onTarget(F&& work, kxArray* A, const Operands*... operands)
{
    Target target(A, operands...);
    const spStatus status = work(target);
    if (status == spOK) {
        target.finish();
    }
    return status;
}

/// The answer of a call that assigns to A: where it succeeded, an imaginary part of zeros is dropped.
inline spStatus assigned(kxArray* A, spStatus status)
{
    if (status == spOK && isComplex(A)) {
        kxFreeImagIfZero(A);
    }
    return status;
}

} // namespace zqsp

#endif
