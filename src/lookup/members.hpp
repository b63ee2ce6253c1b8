// Whether a position is among those that a subscript names, and how many of these lie below it: for stored entries that
// ask, one after the other, where the subscript names many more positions than there are entries.
#ifndef ZQSP_LOOKUP_MEMBERS_HPP
#define ZQSP_LOOKUP_MEMBERS_HPP

#include "core/fast_divisor.hpp"
#include "subscript/forms.hpp"

#include <algorithm>

namespace zqsp {

/// The neighbours in an ascending progression are as far apart as any others, so that a division finds a position's
/// place among them: nothing is searched.
class RangeMembers
{
  public:
    explicit RangeMembers(const IndexRange& range)
        : first_(range.first), stride_(static_cast<unsigned>(range.stride)), size_(range.size), byStride_(stride_)
    {
    }

    [[nodiscard]] bool selects(unsigned position) const
    {
        const unsigned distance = position - first_; // past all where it lies before the first one
        const unsigned ordinal = byStride_.quotient(distance);
        return static_cast<unsigned>(ordinal * stride_ == distance) & static_cast<unsigned>(ordinal < size_);
    }
    /// Members below the position.
    [[nodiscard]] unsigned newRow(unsigned position) const
    {
        const unsigned distance = position - first_;
        const unsigned ordinal = byStride_.quotient(distance);
        const unsigned below = ordinal + (ordinal * stride_ != distance ? 1U : 0U);
        return position < first_ ? 0 : std::min(below, size_);
    }

  private:
    unsigned first_;
    unsigned stride_;
    unsigned size_;
    FastDivisor byStride_;
};

/// The bytes of a mask between one position asked for and the next are counted eight at a time.
class MaskMembers
{
  public:
    explicit MaskMembers(const LogicalMask& mask) : values_(mask.values), length_(mask.length) {}

    [[nodiscard]] bool selects(unsigned position) const { return position < length_ && values_[position] != 0; }
    /// Members below the position, which is not below the one before.
    unsigned newRow(unsigned position)
    {
        const unsigned end = std::min(position, length_);
        below_ += countTrue(values_, counted_, end);
        counted_ = end;
        return below_;
    }

  private:
    const unsigned char* values_;
    unsigned length_;
    unsigned counted_ = 0;
    unsigned below_ = 0;
};

} // namespace zqsp

#endif
