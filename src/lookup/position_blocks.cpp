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
    const unsigned count = std::min(kBlock, range.size - ordinal_);
    for (unsigned i = 0; i < count; ++i) {
        buffer_[i] = range[std::size_t{ordinal_} + i];
    }
    return {.positions = buffer_.data(), .count = count};
}

PositionBlock PositionBlocks::fill(const IndexList& list)
{
    return {.positions = list.begin() + ordinal_, .count = std::min(kBlock, list.count() - ordinal_)};
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
    for (unsigned e = ordinal_; e < end;) {
        const unsigned columnEnd = mask.jc[column_ + std::size_t{1}];
        const unsigned pieceEnd = std::min(end, columnEnd);
        const std::uint64_t start = std::uint64_t{column_} * mask.m;
        if (e < pieceEnd && start - base_ + mask.ir[pieceEnd - 1] > UINT32_MAX) {
            if (count > 0) {
                break; // a block keeps its base
            }
            base_ = start;
        }
        for (const auto offset = static_cast<unsigned>(start - base_); e < pieceEnd; ++e) {
            buffer_[count++] = offset + mask.ir[e];
        }
        column_ += e == columnEnd ? 1U : 0U;
    }
    return {.base = base_, .positions = buffer_.data(), .count = count};
}

} // namespace zqsp
