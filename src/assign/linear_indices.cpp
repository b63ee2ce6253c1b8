#include "assign/linear_indices.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

namespace zqsp {

namespace {

/// 1-based positions of what a mask selects. They are formed in 64 bits: a sparse mask may reach beyond 32.
Block<double> maskPositions(const kxArray* K, SubscriptKind kind, unsigned& count)
{
    unsigned written = 0;
    if (kind == SubscriptKind::kMask) {
        const auto* bytes = reinterpret_cast<const unsigned char*>(kxGetLogicals(K));
        const auto length = static_cast<unsigned>(elementsOf(K));
        count = countTrue(bytes, length);
        auto values = Block<double>::make(count);
        forEachTrue(bytes, length, [&](unsigned position) { values[written++] = position + 1.0; });
        return values;
    }
    const unsigned m = rowsOf(K);
    count = kxGetNumNonZeroEl(K);
    auto values = Block<double>::make(count);
    for (unsigned j = 0; j < kxGetN(K); ++j) {
        for (unsigned e = K->jc[j]; e < K->jc[j + 1]; ++e) {
            values[written++] = static_cast<double>(std::uint64_t{j} * m + K->ir[e]) + 1.0;
        }
    }
    return values;
}

/// Raises the runtime's subscript error for a complex subscript, and for a sparse numeric one that holds zeros.
void requireRealPositive(const kxArray* K, SubscriptKind kind)
{
    const bool holdsZeros = kind == SubscriptKind::kNumeric && isSparse(K) && kxGetNumNonZeroEl(K) < elementsOf(K);
    if (holdsZeros || isComplex(K)) {
        kxHandleSubscriptError(kxSUBSCRIPT_NOT_POSITIVE_INTEGER);
    }
}

/// The highest number whose position every conversion gives alike.
unsigned highestPlain()
{
    return std::min(kxGetMaxNumberOfElements(), 0x7FFFFFFFU);
}

} // namespace

LinearIndices::LinearIndices(const kxArray* K) : converted_(K)
{
    const SubscriptKind kind = kindOf(K);
    requireRealPositive(K, kind);
    if (convertAsReference(K, kind)) {
        return;
    }
    if (kind == SubscriptKind::kMask || kind == SubscriptKind::kSparseMask) {
        fromMask_ = maskPositions(K, kind, count_);
        values_ = fromMask_.get();
        return;
    }
    if (kind == SubscriptKind::kColonObject) {
        const auto range = ColonValues(K).values;
        converted_.become(kxColonop(range[0], range[1], range[2], kxDOUBLE_CLASS));
    } else {
        converted_.become(kxMustBe(K, kxDOUBLE_CLASS));
        requireRealPositive(converted_.get(), kind); // a stored zero is gone by now
    }
    values_ = static_cast<const double*>(converted_->pr);
    count_ = static_cast<unsigned>(elementsOf(converted_.get())); // a sparse one holds no zeros
}

/// Whether the conversion of all other exports accepts the subscript. Only what it refuses is looked at value by value:
/// the answers to bad values, and to fractional ranges, are others here.
bool LinearIndices::convertAsReference(const kxArray* K, SubscriptKind kind)
{
    if (kind == SubscriptKind::kColonObject && !ColonValues(K).areIntegral) {
        return false;
    }
    areValid_ = convertSubscript(K, Extent::forReference(highestPlain()), positions_) == spOK;
    if (areValid_) {
        count_ = countOf(positions_);
        highest_ = highestOf(positions_);
    }
    return areValid_;
}

bool LinearIndices::anyAbove(double limit) const
{
    if (areValid_) {
        return count_ > 0 && highest_ + 1.0 > limit;
    }
    bool above = false;
    for (unsigned t = 0; t < count_; ++t) {
        above |= values_[t] > limit;
    }
    return above;
}

spStatus LinearIndices::takePositions(Subscript& positions)
{
    if (areValid_) {
        positions = std::move(positions_);
        return spOK;
    }
    auto list = Block<unsigned>::make(count_);
    for (unsigned t = 0; t < count_; ++t) {
        const double value = values_[t];
        if (!std::isfinite(value)) {
            return spIndexNotPositiveInteger;
        }
        const unsigned index = kxCheckIndex(value);
        if (static_cast<double>(index) != value) {
            return spIndexNotPositiveInteger;
        }
        if (index == 0) {
            return spIndexBelowOne;
        }
        list[t] = index - 1;
    }
    const bool ascends = std::is_sorted(list.get(), list.get() + count_);
    positions = IndexList(std::move(list), count_, ascends ? Order::kAscending : Order::kUnsorted);
    return spOK;
}

} // namespace zqsp
