#include "subscript/convert.hpp"

#include "subscript/colon_range.hpp"

#include <algorithm>

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

/// Apart from convertSubscript(), which has most often little to do and should find that out quickly.
[[gnu::noinline]] spStatus convertByKind(const kxArray* subscript, const Extent& extent, Subscript& form)
{
    switch (kindOf(subscript)) {
    case SubscriptKind::kColon:
        form = IndexRange::all(extent.colonCount);
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
    return convertFew(subscript, std::min(extent.limit, kxGetMaxNumberOfElements()), form)
               ? spOK
               : convertByKind(subscript, extent, form);
}

} // namespace zqsp
