#include "subscript/runs.hpp"

#include "kernels/branch_free.hpp"
#include "kernels/mask_bits.hpp"

#include <algorithm>
#include <bit>

namespace zqsp {

std::span<const Run> RunWalk::next()
{
    const std::size_t count = std::visit([this](const auto& form) { return fill(form); }, subscript_);
    return {buffer_.data(), count};
}

std::size_t RunWalk::fill(const IndexRange& range)
{
    std::size_t count = 0;
    if (range.isRun()) {
        if (position_ == 0) {
            buffer_[count++] = {range.first, range.size};
            position_ = range.size;
        }
        return count;
    }
    unsigned index = range.first + position_ * static_cast<unsigned>(range.stride);
    for (; count < kBuffer && position_ < range.size; ++position_, index += static_cast<unsigned>(range.stride)) {
        buffer_[count++] = {index, 1};
    }
    return count;
}

/// Each index is written as the end of a run, its own or that of the one before: no branch asks which, as in a list
/// that was drawn at random nobody can foresee.
std::size_t RunWalk::fill(const IndexList& list)
{
    const unsigned* const indices = list.begin();
    const unsigned end = list.count();
    if (position_ == end) {
        return 0;
    }
    unsigned first = indices[position_];
    unsigned next = first; // what the run goes on with
    std::size_t count = 1;
    while (position_ < end && count < kBuffer) {
        const auto stop = position_ + static_cast<unsigned>(std::min<std::size_t>(kBuffer - count, end - position_));
        for (; position_ < stop; ++position_) {
            const unsigned index = indices[position_];
            const bool goesOn = index == next;
            count += goesOn ? 0U : 1U;
            first = index - valueIf(goesOn, index - first);
            next = index + 1;
            buffer_[count - 1] = {first, next - first};
        }
    }
    for (; position_ < end && indices[position_] == next; ++position_, ++next) {
        ++buffer_[count - 1].length;
    }
    return count;
}

std::size_t RunWalk::fill(const LogicalMask& mask)
{
    // Runs are cut out of 64 bits at a time, not found byte by byte: in a random mask both ends of each are a surprise
    // to the processor, the end of a block only is one here. Measured: 5 ns a run instead of 25.
    constexpr std::size_t kMostRuns = kMaskBlock / 2;
    std::size_t count = 0;
    while (position_ < mask.length && count + kMostRuns <= kBuffer) {
        const unsigned block = position_;
        std::uint64_t bits = trueBlock(mask.values + block, mask.length - block);
        position_ += std::min(kMaskBlock, mask.length - block);
        if ((bits & 1U) != 0 && count > 0 && buffer_[count - 1].first + buffer_[count - 1].length == block) {
            buffer_[count - 1].length += static_cast<unsigned>(std::countr_one(bits)); // goes on from the last block
            bits &= bits + 1;
        }
        while (bits != 0) {
            const auto first = static_cast<unsigned>(std::countr_zero(bits));
            const auto length = static_cast<unsigned>(std::countr_one(bits >> first));
            buffer_[count++] = {block + first, length};
            bits &= bits + (std::uint64_t{1} << first); // the carry runs through the run and clears it
        }
    }
    return count;
}

std::size_t RunWalk::fill(const SparseLogicalMask& mask)
{
    std::size_t count = 0;
    const unsigned end = mask.count();
    while (position_ < end) {
        while (mask.jc[maskColumn_ + 1] <= position_) {
            ++maskColumn_;
        }
        const unsigned index = maskColumn_ * mask.m + mask.ir[position_];
        if (count > 0 && buffer_[count - 1].first + buffer_[count - 1].length == index) {
            ++buffer_[count - 1].length;
        } else if (count < kBuffer) {
            buffer_[count++] = {index, 1};
        } else {
            break;
        }
        ++position_;
    }
    return count;
}

} // namespace zqsp
