#include "support/subscript.hpp"

#include <algorithm>
#include <cmath>

namespace zqsp::test {

namespace {

/// The maximum as this class compares against it.
double maximumFor(kxClassID id)
{
    const double max = kxGetMaxNumberOfElements();
    return id == kxSINGLE_CLASS ? static_cast<double>(static_cast<float>(max)) : max;
}

spStatus rangeStatus(Purpose purpose)
{
    return purpose == Purpose::Deletion ? spIndexToRemoveOutOfRange : spIndexOutOfRange;
}

/// The status of one 1-based value of a floating-point class.
spStatus floatingStatus(double x, kxClassID id, double limit, Purpose purpose)
{
    if (x < 1) {
        return spIndexBelowOne;
    }
    if (x > maximumFor(id)) {
        return std::isinf(x) ? spIndexNotPositiveInteger : spIndexExceedsMaxSize;
    }
    const double v = std::fmod(x, 4294967296); // 32 bits of it are looked at; a single may be 2^32 itself
    const bool whole = x == std::trunc(v);     // false for NaN
    if (purpose == Purpose::Deletion) {
        if (std::isnan(x)) {
            return spIndexNotPositiveInteger;
        }
        if (v > limit) {
            return spIndexToRemoveOutOfRange;
        }
        return whole ? spOK : spIndexNotPositiveInteger;
    }
    if (!whole) {
        return spIndexNotPositiveInteger;
    }
    return v > limit ? spIndexOutOfRange : spOK;
}

/// The status of one 1-based value of char or an integer class.
spStatus integerStatus(double x, kxClassID id, double limit, Purpose purpose)
{
    const bool wide = id == kxUINT32_CLASS || id == kxINT64_CLASS || id == kxUINT64_CLASS;
    if (x < 1) {
        return spIndexNotPositiveInteger;
    }
    if (wide && x > kxGetMaxNumberOfElements()) {
        return spIndexExceedsMaxSize;
    }
    return x > limit ? rangeStatus(purpose) : spOK;
}

Positions convertNumeric(const Subscript& s, std::uint64_t limit, Purpose purpose)
{
    if (s.form == Form::SparseNumeric && s.storedCount() < s.values.size()) {
        throw Failure(spIndexBelowOne);
    }
    if (s.complex) {
        throw Failure(spIndexNotPositiveInteger);
    }
    const bool floating = s.classId == kxDOUBLE_CLASS || s.classId == kxSINGLE_CLASS;
    Positions positions;
    for (const double x : s.values) {
        const spStatus status =
            (floating ? floatingStatus : integerStatus)(x, s.classId, static_cast<double>(limit), purpose);
        if (status != spOK) {
            throw Failure(status);
        }
        positions.push_back(static_cast<std::uint64_t>(x) - 1);
    }
    return positions;
}

constexpr double kHighestInt32 = 2147483647.0;

bool isInt32(double x)
{
    return x == std::trunc(x) && x >= -kHighestInt32 - 1 && x <= kHighestInt32;
}

/// start, step and stop are whole 32-bit numbers: only the ends are looked at.
void checkWholeRange(const Subscript& s, double limit, Purpose purpose, bool countOverflowed)
{
    if (s.start < 1 || s.stop < 1) {
        throw Failure(spIndexNotPositiveInteger);
    }
    if (s.start > limit || s.stop > limit) {
        if (countOverflowed && s.start != s.stop) {
            throw Failure(kMaxSizeError);
        }
        throw Failure(rangeStatus(purpose));
    }
    if (s.numel() > kxGetMaxNumberOfElements()) {
        throw Failure(kMaxSizeError);
    }
}

Positions convertRange(const Subscript& s, std::uint64_t limit, Purpose purpose, bool countOverflowed)
{
    const bool whole = isInt32(s.start) && isInt32(s.step) && isInt32(s.stop);
    if (whole && s.numel() > 0) {
        checkWholeRange(s, static_cast<double>(limit), purpose, countOverflowed);
    }
    Positions positions;
    const double highest = std::min(static_cast<double>(limit), kHighestInt32); // signed words hold no more
    for (const double x : rangeValues(s)) {
        if (!whole && (x < 1 || x != std::trunc(x))) { // the runtime delivers a fraction as 0
            throw Failure(spIndexNotPositiveInteger);
        }
        if (!whole && x > highest) {
            throw Failure(rangeStatus(purpose));
        }
        positions.push_back(static_cast<std::uint64_t>(x) - 1);
    }
    return positions;
}

Positions convertMask(const Subscript& s, std::uint64_t limit, Purpose purpose)
{
    const Positions positions = maskPositions(s);
    if (!positions.empty() && positions.back() >= limit) {
        const bool tooLarge = purpose == Purpose::Assignment && s.form == Form::SparseMask;
        throw Failure(tooLarge ? spIndexExceedsMaxSize : rangeStatus(purpose));
    }
    return positions;
}

} // namespace

Positions convert(const Subscript& s, std::uint64_t extent, Purpose purpose, bool countOverflowed)
{
    const std::uint64_t limit = purpose == Purpose::Assignment ? kxGetMaxNumberOfElements() : extent;
    switch (s.form) {
    case Form::Numeric:
    case Form::SparseNumeric:
        return convertNumeric(s, limit, purpose);
    case Form::Mask:
    case Form::SparseMask:
        return convertMask(s, limit, purpose);
    case Form::Range:
        return convertRange(s, limit, purpose, countOverflowed);
    case Form::Colon:
        break;
    }
    Positions positions(extent);
    for (std::uint64_t i = 0; i < extent; ++i) {
        positions[i] = i;
    }
    return positions;
}

unsigned namedBy(const Subscript& s, std::uint64_t extent)
{
    if (s.form == Form::Colon) {
        return static_cast<unsigned>(std::min<std::uint64_t>(extent, 0xFFFFFFFFU));
    }
    try {
        return static_cast<unsigned>(convert(s, extent, Purpose::Assignment).size());
    } catch (const Failure&) {
        return 1;
    }
}

} // namespace zqsp::test
