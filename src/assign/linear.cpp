// A(K) = B, with A(:) = B and A(K) = [].
#include "assign/linear_batch.hpp"
#include "assign/linear_indices.hpp"
#include "assign/region.hpp"
#include "core/errors.hpp"
#include "core/operand_check.hpp"
#include "core/private_target.hpp"

#include <zqspmatrix.h>

#include <algorithm>
#include <array>
#include <limits>

namespace zqsp {

namespace {

using ZENTAR::legacy_two_part::colon_index_assign_element_count_mismatch;

/// A sparse array with the values of B in column-major order, of the class and the shape given.
ArrayOwner reshapedCopy(const kxArray* B, kxClassID id, unsigned m, unsigned n)
{
    Operand source(B);
    if (B->ndims > 2) {
        const std::array<unsigned, 2> matrix = {rowsOf(B), kxGetN(B)};
        ArrayOwner folded(kxCreateSharedDataCopy(B));
        kxSetDimensions(folded.get(), matrix.data(), matrix.size());
        source.become(folded.release());
    }
    source.become(kxMustBe(source.get(), id));
    source.become(kxMustBeSparse(source.get()));
    ArrayOwner copy = source.take();
    spReshape(copy.get(), m, n);
    return copy;
}

/// Every element becomes one non-zero value.
spStatus fillWholly(kxArray* A, const kxArray* B)
{
    unsigned elements = 0;
    if (!kxCheckMN_nothrow(rowsOf(A), kxGetN(A), 1, &elements)) {
        return spIndexExceedsMaxSize;
    }
    const TargetIndices rows(IndexRange::all(rowsOf(A)), false);
    const TargetIndices columns(IndexRange::all(kxGetN(A)), false);
    fillRegion(A, {rows, columns, rowsOf(A), kxGetN(A)}, RightSide::scalar(B), {.capacity = elements});
    return spOK;
}

/// A(:) = scalar, of A's class, on a sparse A that is not empty.
spStatus fillWithScalar(kxArray* A, const kxArray* scalar)
{
    if (!isZeroScalar(scalar)) {
        return fillWholly(A, scalar);
    }
    std::fill_n(A->jc, kxGetN(A) + 1, 0U);
    return spOK;
}

spStatus assignColonFill(kxArray* A, const kxArray* B)
{
    const kxClassID id = classOf(A);
    const unsigned m = rowsOf(A);
    const unsigned n = kxGetN(A);
    if (id == kxUNKNOWN_CLASS) {
        raiseMessage<colon_index_assign_element_count_mismatch>();
    }
    if (!kxIsScalar(B)) {
        if (!spReshapeOk(m, n, rowsOf(B), kxGetN(B))) {
            raiseMessage<colon_index_assign_element_count_mismatch>();
        }
        if (!kxIsEmpty(A)) {
            ArrayOwner content = reshapedCopy(B, id, m, n);
            kxSetArrayScope(content.get(), A->scope);
            content.moveOnto(A);
        }
        return spOK;
    }
    Operand scalar(B);
    scalar.become(kxMustBe(B, id));
    if (kxIsEmpty(A)) {
        return spOK;
    }
    const auto fill = [&](kxArray* target) { return fillWithScalar(target, scalar.get()); };
    return isSparse(A) ? fill(A) : onSparseForm(A, fill);
}

/// Gives f a sparse target: A itself, or what A becomes once f is done with it.
template <typename F>
void onSparseTarget(kxArray* A, kxClassID id, F&& f)
{
    if (isSparse(A)) {
        f(A);
        return;
    }
    ArrayOwner target(kxIsEmpty(A) ? kxCreateSparseNumericMatrix(0, 0, 1, id, kxREAL) : kxMustBeSparse(A));
    kxSetArrayScope(target.get(), kxTEMPORARY_SCOPE);
    f(target.get());
    target.moveOnto(A);
}

spStatus assignElements(kxArray* A, const kxArray* originalB, const kxArray* K)
{
    const kxClassID id = targetClass(A, originalB);
    Operand B(originalB);
    B.become(kxMustBe(originalB, id));
    const unsigned m = rowsOf(A);
    const unsigned n = kxGetN(A);
    const bool grows = m < 2 || n < 2;
    const double elements = grows ? std::numeric_limits<double>::infinity() : static_cast<double>(m) * n;
    Subscript positions;
    if (const spStatus status = convertLinearIndices(K, elementsOf(B.get()), elements, positions); status != spOK) {
        return status;
    }
    const unsigned count = countOf(positions);
    const bool isScalar = elementsOf(B.get()) == 1;
    if (count == 0 && classOf(A) != kxUNKNOWN_CLASS) {
        return spOK;
    }
    B.become(kxMustBeFull(B.get()));
    onSparseTarget(A, id, [&](kxArray* target) {
        if (count > 0) {
            assignPositions(target, m, n, Columns(B.get()), isScalar, positions);
        }
    });
    return spOK;
}

spStatus assignFullOrLinear(kxArray* A, const kxArray* B, const kxArray* K)
{
    return isColon(K) ? assignColonFill(A, B) : assignElements(A, B, K);
}

} // namespace

} // namespace zqsp

spStatus spAss3(kxArray* A, const kxArray* B, const kxArray* K)
{
    using namespace zqsp;
    checkOperands(A, B, K);
    const spStatus status =
        isDeletionMarker(B)
            ? spDeleteElements(A, K)
            : onPrivateTarget(A, {B, K}, [=](kxArray* target) { return assignFullOrLinear(target, B, K); });
    if (status == spOK) {
        kxFreeImagIfZero(A);
    }
    return status;
}
