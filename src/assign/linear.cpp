// A(K) = B, with A(:) = B and A(K) = [].
#include "assign/linear_plan.hpp"
#include "core/errors.hpp"
#include "core/target.hpp"
#include "subscript/colon_range.hpp"
#include "subscript/convert.hpp"

#include <zqspmatrix.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace zqsp {

namespace {

/// What is known of a subscript that is not valid.
struct Refusal
{
    unsigned count;
    double highest; ///< valid or not
    double first;   ///< the first that is refused
};

void requireRealPositive(const kxArray* numbers)
{
    if (holdsZeros(numbers) || isComplex(numbers)) {
        kxHandleSubscriptError(kxSUBSCRIPT_NOT_POSITIVE_INTEGER);
    }
}

/// A mask reaches too far, perhaps beyond 32 bits.
template <typename Mask>
Refusal refusalOf(const Mask& mask)
{
    const double highest = static_cast<double>(mask.highest()) + 1;
    return {mask.count(), highest, highest};
}

std::optional<Refusal> fromNumeric(const kxArray* K, const ValueRules& rules, Subscript& positions)
{
    requireRealPositive(K);
    Operand numbers(K);
    if (isSparse(K)) {
        numbers.become(kxMustBe(K, kxDOUBLE_CLASS));
        requireRealPositive(numbers.get()); // a stored zero is gone by now
    }
    const Operand readable = readableNumbers(numbers.get());
    if (const auto refused = convertNumbers(readable.get(), rules, positions)) {
        return Refusal{static_cast<unsigned>(elementsOf(K)), highestNumber(readable.get()), *refused};
    }
    return std::nullopt;
}

std::optional<Refusal> convert(const kxArray* K, const ValueRules& rules, Subscript& positions)
{
    if (convertFew(K, rules.limit, positions)) {
        return std::nullopt;
    }
    const SubscriptKind kind = kindOf(K);
    if (kind == SubscriptKind::kNumeric) {
        return fromNumeric(K, rules, positions);
    }
    if (kind == SubscriptKind::kColonObject) {
        const ColonRange range(K);
        const auto refused = range.convert(rules, positions);
        return refused ? std::optional(Refusal{range.count(), range.highest(), *refused}) : std::nullopt;
    }
    if (convertSubscript(K, Extent::forReference(rules.limit), positions) == spOK) {
        return std::nullopt;
    }
    return kind == SubscriptKind::kMask ? refusalOf(maskOf(K)) : refusalOf(sparseMaskOf(K));
}

/// Converts any subscript but the bare colon to 0-based positions. B has `valueCount` elements, a scalar fits any
/// number of positions; the target has `elements`, infinitely many where it grows. In this order: raises the runtime's
/// subscript error 1 for a complex subscript, and for a sparse numeric one that holds zeros;
/// spIndexAssignCountMismatch; spCannotResize where a number, valid or not, is above `elements`; the first bad number
/// decides between spIndexNotPositiveInteger, spIndexBelowOne and the runtime's size error, raised for a finite one
/// above the maximum number of elements. The subscript must outlive the positions.
spStatus convertLinearIndices(const kxArray* K, std::uint64_t valueCount, double elements, Subscript& positions)
{
    const ValueRules rules = ValueRules::forElements();
    const std::optional<Refusal> refusal = convert(K, rules, positions);
    const unsigned count = refusal ? refusal->count : countOf(positions);
    if (valueCount != 1 && valueCount != count) {
        return spIndexAssignCountMismatch;
    }
    if (std::isfinite(elements) && count > 0 && (refusal ? refusal->highest : highestOf(positions) + 1.0) > elements) {
        return spCannotResize;
    }
    return refusal ? rules.answerTo(refusal->first) : spOK;
}

/// A sparse array with the values of B in column-major order, of the class and the shape given.
ArrayOwner reshapedCopy(const kxArray* B, kxClassID id, unsigned m, unsigned n)
{
    Operand source(B);
    if (B->ndims > 2) {
        foldToMatrix(source, rowsOf(B), kxGetN(B));
    }
    source.become(kxMustBe(source.get(), id));
    source.become(kxMustBeSparse(source.get()));
    ArrayOwner copy = source.take();
    spReshape(copy.get(), m, n);
    return copy;
}

/// A(:) = scalar of A's class.
spStatus fillWithScalar(Target& target, const kxArray* scalar)
{
    if (isUnset(target.get())) {
        return spOK;
    }
    const unsigned m = rowsOf(target.get());
    const unsigned n = kxGetN(target.get());
    if (isZeroScalar(scalar)) {
        std::fill_n(target.own()->jc, std::size_t{n} + 1, 0U);
        return spOK;
    }
    unsigned elements = 0;
    if (!kxCheckMN_nothrow(m, n, 1, &elements)) {
        return spIndexExceedsMaxSize;
    }
    ArrayOwner full(kxCreateSparseNumericMatrix(m, n, std::max(elements, 1U), classOf(scalar), complexityOf(scalar)));
    const Columns a(full.get());
    GenericValues(a).fill(0, GenericValues(Columns(scalar)), 0, elements);
    for (unsigned j = 0, e = 0; j < n; ++j) {
        std::iota(a.ir + e, a.ir + e + m, 0U);
        a.jc[j + std::size_t{1}] = e += m;
    }
    target.become(std::move(full), target.get()->scope);
    return spOK;
}

spStatus assignColonFill(Target& target, const kxArray* B)
{
    const kxArray* const A = target.get();
    const kxClassID id = classOf(A);
    const unsigned m = rowsOf(A);
    const unsigned n = kxGetN(A);
    if (id == kxUNKNOWN_CLASS) {
        raiseColonCountMismatch();
    }
    if (!kxIsScalar(B)) {
        if (!spReshapeOk(m, n, rowsOf(B), kxGetN(B))) {
            raiseColonCountMismatch();
        }
        if (!kxIsEmpty(A)) {
            target.become(reshapedCopy(B, id, m, n), A->scope);
        }
        return spOK;
    }
    Operand scalar(B);
    scalar.become(kxMustBe(B, id));
    makeTruthsOne(scalar);
    return fillWithScalar(target, scalar.get());
}

spStatus assignElements(Target& target, const kxArray* originalB, const kxArray* K)
{
    const kxArray* const A = target.get();
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
    makeTruthsOne(B);
    ArrayOwner fresh(isUnset(A) ? kxCreateSparseNumericMatrix(0, 0, 1, id, kxREAL) : nullptr);
    kxArray* const changed = fresh.get() != nullptr ? fresh.get() : target.own();
    const auto* range = std::get_if<IndexRange>(&positions);
    if (isSparse(B.get()) && count > 1 && !isScalar && range != nullptr) {
        assignSparse(changed, m, n, RightSide::matrix(B.get()), *range);
    } else if (count > 0) {
        B.become(kxMustBeFull(B.get()));
        assignPositions(changed, m, n, isScalar ? RightSide::scalar(B.get()) : RightSide::matrix(B.get()), positions);
    }
    if (fresh.get() != nullptr) {
        target.become(std::move(fresh));
    }
    return spOK;
}

} // namespace

} // namespace zqsp

spStatus spAss3(kxArray* A, const kxArray* B, const kxArray* K)
{
    using namespace zqsp;
    checkOperands(A, B, K);
    const auto assign = [=](Target& target) {
        return isColon(K) ? assignColonFill(target, B) : assignElements(target, B, K);
    };
    return assigned(A, isDeletionMarker(B) ? spDeleteElements(A, K) : onTarget(assign, A, B, K));
}
