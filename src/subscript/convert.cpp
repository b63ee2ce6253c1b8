#include "subscript/convert.hpp"

#include "core/errors.hpp"

#include <cstdint>
#include <limits>

namespace zqsp {

namespace {

/// Whether a value is one of the signed 32-bit integers, which it then gives.
bool isInt32(double value, int& integer)
{
    if (!(value >= std::numeric_limits<int>::min() && value <= std::numeric_limits<int>::max())) {
        return false; // NaN and infinities included
    }
    integer = static_cast<int>(value);
    return static_cast<double>(integer) == value;
}

/// A colon object some of whose values are not integral is materialised by the runtime and tested value by value.
spStatus convertMaterialisedColon(const ColonValues& colon, const Extent& extent, Subscript& form)
{
    const auto [start, step, stop] = colon.values;
    unsigned count = 0;
    Block<unsigned> indices(kxSignedIndexColonop(start, step, stop, &count));
    const int* signedValues = reinterpret_cast<const int*>(indices.get());
    for (unsigned i = 0; i < count; ++i) {
        const int value = signedValues[i];
        if (value < 1) {
            return spIndexNotPositiveInteger;
        }
        // The runtime delivers what lies past the signed range as its end, which may itself be inside the extent.
        const bool clamped = value == std::numeric_limits<int>::max() && start + i * step > value;
        if (clamped || value > static_cast<std::int64_t>(extent.limit)) {
            return extent.outOfRange;
        }
        indices[i] = static_cast<unsigned>(value) - 1;
    }
    form = IndexList(std::move(indices), count, step < 0 ? Order::kDescending : Order::kAscending);
    return spOK;
}

spStatus convertColonObject(const kxArray* subscript, const Extent& extent, Subscript& form)
{
    const ColonValues colon(subscript);
    if (!colon.areIntegral) {
        return convertMaterialisedColon(colon, extent, form);
    }
    const auto [start, step, stop] = colon.integers;
    IndexRange range;
    const spStatus status = convertIntegralRange(start, step, stop, extent, range);
    if (status == spOK) {
        form = range;
    }
    return status;
}

spStatus convertMask(const kxArray* subscript, const Extent& extent, Subscript& form)
{
    const auto* values = reinterpret_cast<const unsigned char*>(kxGetLogicals(subscript));
    const auto length = static_cast<unsigned>(elementsOf(subscript));
    // A mask may be longer than the extent as long as nothing out there is true.
    if (length > extent.limit && nextTrue(values, extent.limit, length) != length) {
        return extent.outOfRange;
    }
    const LogicalMask mask{values, length, countTrue(values, length)};
    if (mask.trueCount == 0) {
        form = IndexRange();
        return spOK;
    }
    const unsigned first = nextTrue(values, 0, length);
    const unsigned last = mask.highest();
    if (last - first == mask.trueCount - 1) {
        form = IndexRange(first, last, 1, mask.trueCount);
    } else {
        form = mask;
    }
    return spOK;
}

spStatus convertSparseMask(const kxArray* subscript, const Extent& extent, Subscript& form)
{
    const SparseLogicalMask mask{subscript->ir, subscript->jc, rowsOf(subscript), kxGetN(subscript)};
    const spStatus status = checkSparseMask(mask, extent.limit, extent.maskOutOfRange);
    if (status == spOK) {
        form = mask;
    }
    return status;
}

} // namespace

SubscriptKind kindOf(const kxArray* subscript)
{
    if (subscript->is_colon_index()) {
        return SubscriptKind::kColon;
    }
    if (hasFlag(subscript, kxFLAG_COLON_OBJECT)) {
        return SubscriptKind::kColonObject;
    }
    if (classOf(subscript) == kxLOGICAL_CLASS) {
        return isSparse(subscript) ? SubscriptKind::kSparseMask : SubscriptKind::kMask;
    }
    return SubscriptKind::kNumeric;
}

ColonValues::ColonValues(const kxArray* colon)
{
    kxGetColonObjValues(colon, values.data());
    for (std::size_t i = 0; i < values.size(); ++i) {
        areIntegral &= isInt32(values[i], integers[i]);
    }
}

spStatus convertSubscript(const kxArray* subscript, const Extent& extent, Subscript& form)
{
    switch (kindOf(subscript)) {
    case SubscriptKind::kColon:
        form = IndexRange::all(extent.limit);
        return spOK;
    case SubscriptKind::kColonObject:
        return convertColonObject(subscript, extent, form);
    case SubscriptKind::kMask:
        return convertMask(subscript, extent, form);
    case SubscriptKind::kSparseMask:
        return convertSparseMask(subscript, extent, form);
    case SubscriptKind::kNumeric:
        break;
    }
    return convertNumeric(subscript, extent, form);
}

spStatus convertForAssignment(const kxArray* subscript, unsigned current, Subscript& form)
{
    if (subscript->is_colon_index()) {
        form = IndexRange::all(current);
        return spOK;
    }
    return convertSubscript(subscript, {kxGetMaxNumberOfElements(), spIndexOutOfRange, spIndexExceedsMaxSize}, form);
}

spStatus convertIntegralRange(int start, int step, int stop, const Extent& extent, IndexRange& range)
{
    range = IndexRange();
    if (step == 0 || (step > 0 && start > stop) || (step < 0 && stop > start)) {
        return spOK;
    }
    if (start < 1 || stop < 1) {
        return spIndexNotPositiveInteger;
    }
    // The stop is tested as written, also where the step passes over it.
    if (static_cast<unsigned>(start) > extent.limit || static_cast<unsigned>(stop) > extent.limit) {
        if (extent.countOverflowed && start != stop) {
            raiseMaxSize();
        }
        return extent.outOfRange;
    }
    const unsigned count = static_cast<unsigned>((stop - start) / step) + 1;
    if (count > kxGetMaxNumberOfElements()) {
        raiseMaxSize();
    }
    const unsigned first = static_cast<unsigned>(start) - 1;
    // One index has no direction: stride 1, so that every stride can be negated.
    range = IndexRange(first, first + (count - 1) * static_cast<unsigned>(step), count == 1 ? 1 : step, count);
    return spOK;
}

spStatus checkSparseMask(const SparseLogicalMask& mask, unsigned limit, spStatus answer)
{
    if (mask.m == 0) {
        return spOK;
    }
    const unsigned column = limit / mask.m;
    const unsigned row = limit % mask.m;
    if (column >= mask.n) {
        return spOK;
    }
    const bool columnReachesLimit = mask.jc[column + 1] > mask.jc[column] && mask.ir[mask.jc[column + 1] - 1] >= row;
    const bool laterColumnsSelect = mask.jc[mask.n] > mask.jc[column + 1];
    return columnReachesLimit || laterColumnsSelect ? answer : spOK;
}

} // namespace zqsp
