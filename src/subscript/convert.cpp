#include "subscript/convert.hpp"

#include "subscript/colon_range.hpp"

namespace zqsp {

namespace {

spStatus convertMask(const LogicalMask& mask, const Extent& extent, Subscript& form)
{
    if (mask.length > extent.limit) {
        return extent.outOfRange;
    }
    const unsigned first = nextTrue(mask.values, 0, mask.length);
    if (mask.length - first == mask.trueCount) {
        form = IndexRange(first, mask.highest(), 1, mask.trueCount);
    } else {
        form = mask;
    }
    return spOK;
}

spStatus convertSparseMask(const SparseLogicalMask& mask, const Extent& extent, Subscript& form)
{
    if (mask.count() > 0 && mask.highest() >= extent.limit) {
        return extent.maskOutOfRange;
    }
    form = mask;
    return spOK;
}

/// Whether it is one full real double: most subscripts of small calls.
bool isPlainNumber(const kxArray* subscript)
{
    constexpr unsigned kOthers = kxFLAG_SPARSE | kxFLAG_COLON_OBJECT;
    if ((subscript->flags & kOthers) != 0 || subscript->class_id != kxDOUBLE_CLASS || subscript->pi != nullptr ||
        isColon(subscript)) {
        return false;
    }
    const unsigned* dims = subscript->get_dimensions();
    return dims[0] == 1 && columnsOf(subscript, dims) == 1;
}

/// Apart from convertSubscript(), which has most often little to do and should find that out quickly.
[[gnu::noinline]] spStatus convertByKind(const kxArray* subscript, const Extent& extent, Subscript& form)
{
    switch (kindOf(subscript)) {
    case SubscriptKind::kColon:
        form = IndexRange::all(extent.current);
        return spOK;
    case SubscriptKind::kColonObject:
        return convertColonObject(subscript, extent, form);
    case SubscriptKind::kMask:
        return convertMask(maskOf(subscript), extent, form);
    case SubscriptKind::kSparseMask:
        return convertSparseMask(sparseMaskOf(subscript), extent, form);
    case SubscriptKind::kNumeric:
        break;
    }
    return convertNumeric(subscript, extent, form);
}

} // namespace

LogicalMask maskOf(const kxArray* subscript)
{
    const auto* values = reinterpret_cast<const unsigned char*>(kxGetLogicals(subscript));
    const auto length = static_cast<unsigned>(elementsOf(subscript));
    const unsigned trueCount = countTrue(values, 0, length);
    return {values, trueCount == 0 ? 0 : lastTrue(values, length) + 1, trueCount};
}

SparseLogicalMask sparseMaskOf(const kxArray* subscript)
{
    return {subscript->ir, subscript->jc, rowsOf(subscript), kxGetN(subscript)};
}

spStatus convertSubscript(const kxArray* subscript, const Extent& extent, Subscript& form)
{
    if (isPlainNumber(subscript)) {
        const double value = *static_cast<const double*>(subscript->pr);
        if (ValueRules::forNumbers(kxDOUBLE_CLASS, extent).accepts(value)) {
            form = IndexRange::single(static_cast<unsigned>(value) - 1);
            return spOK;
        }
    }
    return convertByKind(subscript, extent, form);
}

} // namespace zqsp
