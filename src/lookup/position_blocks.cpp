#include "lookup/position_blocks.hpp"

#include <algorithm>
#include <bit>

namespace zqsp {

PositionBlock PositionBlocks::next()
{
    PositionBlock block = std::visit([this](const auto& form) { return fill(form); }, subscript_);
    block.ordinal = ordinal_;
    ordinal_ += block.count;
    return block;
}

PositionBlock PositionBlocks::fill(const IndexRange& range)
{
    const IndexRange ascending = range.ascending();
    const unsigned count = std::min(kBlock, range.size - ordinal_);
    for (unsigned i = 0; i < count; ++i) {
        buffer_[i] = ascending[std::size_t{ordinal_} + i];
    }
    return {.positions = buffer_.data(), .count = count};
}

PositionBlock PositionBlocks::fill(const IndexList& list)
{
    const unsigned count = std::min(kBlock, list.count() - ordinal_);
    if (list.order() != Order::kDescending) {
        return {.positions = list.begin() + ordinal_, .count = count};
    }
    const unsigned* const end = list.end() - ordinal_;
    std::reverse_copy(end - count, end, buffer_.begin());
    return {.positions = buffer_.data(), .count = count};
}

PositionBlock PositionBlocks::fill(const LogicalMask& mask)
{
    unsigned count = 0;
    while (byte_ < mask.length && count + kMaskBlock <= kBlock) {
        const unsigned left = mask.length - byte_;
        for (std::uint64_t bits = trueBlock(mask.values + byte_, left); bits != 0; bits &= bits - 1) {
            buffer_[count++] = byte_ + static_cast<unsigned>(std::countr_zero(bits));
        }
        byte_ += std::min(kMaskBlock, left);
    }
    return {.positions = buffer_.data(), .count = count};
}

PositionBlock PositionBlocks::fill(const SparseLogicalMask& mask)
{
    const unsigned end = ordinal_ + std::min(kBlock, mask.count() - ordinal_);
    unsigned count = 0;
    for (unsigned e = ordinal_; e < end; ++column_) {
        const std::uint64_t start = std::uint64_t{column_} * mask.m;
        for (const unsigned columnEnd = std::min(end, mask.jc[column_ + std::size_t{1}]); e < columnEnd; ++e) {
            std::uint64_t offset = start + mask.ir[e] - base_;
            if (offset > UINT32_MAX) { // a block keeps its base
                if (count > 0) {
                    return {.base = base_, .positions = buffer_.data(), .count = count};
                }
                base_ = start;
                offset = mask.ir[e];
            }
            buffer_[count++] = static_cast<unsigned>(offset);
        }
        if (e == end) {
            break; // the column may have more
        }
    }
    return {.base = base_, .positions = buffer_.data(), .count = count};
}

} // namespace zqsp
