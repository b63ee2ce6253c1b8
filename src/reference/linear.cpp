// A(:) and A(K): finds the stored entries at the selected linear positions (a plan), then builds the result.
#include "core/entry_moves.hpp"
#include "core/errors.hpp"
#include "lookup/entry_positions.hpp"
#include "lookup/find_hits.hpp"
#include "reference/gather.hpp"
#include "subscript/convert.hpp"

#include <zqspmatrix.h>

#include <algorithm>

namespace zqsp {

namespace {

struct Shape
{
    unsigned m;
    unsigned n;

    [[nodiscard]] bool isVector() const { return m == 1 || n == 1; }
};

/// An array of such a shape with room for `capacity` entries. The column starts of a row are still to be written, as
/// cutIntoColumns() does; those of others are 0.
ArrayOwner createShaped(const Columns& a, Shape shape, unsigned capacity)
{
    if (shape.m != 1 || shape.n == 1) {
        return createLike(a, shape.m, shape.n, capacity);
    }
    ArrayOwner result = createLike(a, 1, 1, capacity);
    auto starts = Block<unsigned>::make(shape.n + std::size_t{1});
    kxFree(result->jc);
    kxSetJc(result.get(), starts.release());
    kxSetN(result.get(), shape.n);
    return result;
}

/// The entries at neighbouring positions from `first` on, all from the first to the last.
ArrayOwner gatherSpan(const Columns& a, const PositionSpan& span, unsigned first, Shape shape)
{
    const unsigned count = span.entries();
    ArrayOwner result = createShaped(a, shape, count);
    const Columns out(result.get());
    copyValues(out, 0, a, span.begin, count);
    EntryWalk(a, span.column, span.begin, first).write(span.end, out.ir, count);
    cutIntoColumns(out.ir, count, shape.m, shape.n, out.jc);
    return result;
}

/// The result of a given shape, the selected positions laid out in it in column-major order: in that order the rows of
/// every column come out sorted, whatever the order of the subscript. `turned`: the hits are of positions that descend,
/// counted from the last.
ArrayOwner buildFromHits(const Columns& a, Shape shape, unsigned capacity, HitList& hits, bool turned)
{
    const unsigned count = hits.count();
    if (count == 0) {
        return createLike(a, shape.m, shape.n, capacity);
    }
    constexpr unsigned kFewHits = 256; // their ordinals are copied in less time than blocks change hands
    hits.cutSources();
    ArrayOwner result = createShaped(a, shape, count <= kFewHits ? capacity : 1);
    if (count <= kFewHits) {
        std::copy_n(hits.ordinals(), count, result->ir);
    } else {
        Block<unsigned> ordinals = hits.takeOrdinals();
        kxFree(result->ir);
        kxSetIr(result.get(), ordinals.release());
        setCapacity(result.get(), capacity);
    }
    const Columns out(result.get());
    if (turned) {
        const unsigned last = shape.m * shape.n - 1; // position
        std::reverse(hits.sources(), hits.sources() + count);
        std::reverse(out.ir, out.ir + count);
        std::transform(out.ir, out.ir + count, out.ir, [last](unsigned ordinal) { return last - ordinal; });
    }
    gatherValues(out, 0, a, hits.sources(), count);
    cutIntoColumns(out.ir, count, shape.m, shape.n, out.jc);
    return result;
}

/// The shape a mask stands for: a row where it has one row, else a column.
Shape maskShape(const Columns& a, const kxArray* mask, unsigned selected)
{
    const Shape shape{rowsOf(mask), kxGetN(mask)};
    const bool isScalar = shape.m == 1 && shape.n == 1;
    const bool targetIsVector = (a.m == 1) != (a.n == 1);
    const bool isNothing = shape.m == 0 && shape.n == 0;
    if (selected == 0 && (isNothing || (isScalar && !targetIsVector))) {
        return {0, 0};
    }
    return shape.m == 1 ? Shape{1, selected} : Shape{selected, 1};
}

/// The shape of A(K) before the orientation of A is looked at.
Shape subscriptShape(const Columns& a, const kxArray* subscript, unsigned selected)
{
    switch (kindOf(subscript)) {
    case SubscriptKind::kMask:
    case SubscriptKind::kSparseMask:
        return maskShape(a, subscript, selected);
    case SubscriptKind::kNumeric:
        return {rowsOf(subscript), kxGetN(subscript)};
    case SubscriptKind::kColon:
    case SubscriptKind::kColonObject:
        break;
    }
    return {1, selected};
}

ArrayOwner referenceConverted(const Columns& a, const kxArray* subscript, Subscript positions)
{
    const unsigned k = countOf(positions);
    Shape shape = subscriptShape(a, subscript, k);
    if (shape.isVector() && a.m == 1 && a.n != 1) {
        return gatherColumns(a, positions); // each position of a row vector is a column
    }
    if (shape.isVector() && a.n == 1 && a.m != 1) {
        shape = {k, 1};
    }
    const auto* range = std::get_if<IndexRange>(&positions);
    if (range != nullptr && range->isRun() && a.nnz() > 0) {
        return gatherSpan(a, {a, range->first, range->last}, range->first, shape);
    }
    const bool turned = turnIfDescending(positions);
    HitList hits(std::min(k, a.nnz()));
    findHits(a, positions, hits);
    return buildFromHits(a, shape, hits.count(), hits, turned);
}

/// A sparse mask over a matrix with more elements than a linear position can number. The capacity is the lesser of the
/// two entry counts.
spStatus referenceByLargeMask(const Columns& a, const kxArray* subscript, ArrayOwner& result)
{
    const SparseLogicalMask mask = sparseMaskOf(subscript);
    const unsigned selected = mask.count();
    if (selected == 0 || kxCheckMN_nothrow(mask.m, mask.n, 1, nullptr)) {
        result = referenceConverted(a, subscript, mask);
        return spOK;
    }
    if (mask.highest() >= std::uint64_t{a.m} * a.n) {
        return spIndexOutOfRange;
    }
    HitList hits(std::min(selected, a.nnz()));
    findHits(a, mask, hits);
    result = buildFromHits(a, maskShape(a, subscript, selected), std::min(selected, a.nnz()), hits, false);
    return spOK;
}

} // namespace

} // namespace zqsp

spStatus spRef2(const kxArray* A, kxArray** result)
{
    using namespace zqsp;
    checkOperands(A);
    const Columns a(A);
    unsigned length = 0;
    if (!kxCheckMNForIndexing_nothrow(a.m, a.n, &length)) {
        raiseTooLargeForLinearIndex();
    }
    *result = gatherSpan(a, PositionSpan(a), 0, {length, 1}).release();
    return spOK;
}

spStatus spRef3(const kxArray* A, const kxArray* K, kxArray** result)
{
    using namespace zqsp;
    checkOperands(A, K);
    if (isColon(K)) {
        return spRef2(A, result);
    }
    const Columns a(A);
    unsigned limit = 0;
    const bool countable = kxCheckMN_nothrow(a.m, a.n, 1, &limit);
    ArrayOwner selected;
    if (!countable && kindOf(K) == SubscriptKind::kSparseMask) {
        const spStatus status = referenceByLargeMask(a, K, selected);
        if (status != spOK) {
            return status;
        }
    } else {
        Extent extent = Extent::forReference(limit);
        extent.countOverflowed = !countable;
        Subscript positions;
        const spStatus status = convertSubscript(K, extent, positions);
        if (status != spOK) {
            return status;
        }
        selected = referenceConverted(a, K, std::move(positions));
    }
    kxFreeImagIfZero(selected.get());
    *result = selected.release();
    return spOK;
}
