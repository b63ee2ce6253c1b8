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

/// Runs from as many of `count` indices as the buffer has room for.
RunWalk::Taken RunWalk::take(const unsigned* indices, std::size_t count, unsigned offset, std::size_t runs)
{
    constexpr std::size_t kTogether = 32;
    std::size_t i = 0;
    while (i < count && runs < kBuffer) {
        const std::size_t end = i + std::min({kTogether, count - i, kBuffer - runs});
        // Mostly, none has a neighbour, which takes no chain of steps from one index to the next.
        unsigned neighbours = 0;
        for (std::size_t k = i + 1; k < end; ++k) {
            neighbours += indices[k] == indices[k - 1] + 1 ? 1U : 0U;
        }
        if (neighbours == 0 && !(runs > 0 && buffer_[runs - 1].end() == indices[i] + offset)) {
            for (; i < end; ++i) {
                buffer_[runs++] = {indices[i] + offset, 1};
            }
            continue;
        }
        // Each index is written as the end of a run, its own or that of the one before: no branch asks which.
        Run run = runs > 0 ? buffer_[--runs] : Run{indices[i] + offset, 0};
        for (; i < end; ++i) {
            const unsigned index = indices[i] + offset;
            const bool goesOn = index == run.end();
            buffer_[runs] = run;
            runs += goesOn ? 0U : 1U;
            run.first = index - valueIf(goesOn, run.length);
            run.length = valueIf(goesOn, run.length) + 1;
        }
        buffer_[runs++] = run;
    }
    return {i, runs};
}

std::size_t RunWalk::fill(const IndexList& list)
{
    const Taken taken = take(list.begin() + position_, list.count() - position_, 0, 0);
    position_ += static_cast<unsigned>(taken.indices);
    return taken.runs;
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
        // Where runs begin and where they end is read off two words: neither waits for the other.
        std::uint64_t firsts = bits & ~(bits << 1U);
        for (std::uint64_t lasts = bits & ~(bits >> 1U); firsts != 0; firsts &= firsts - 1, lasts &= lasts - 1) {
            const auto first = static_cast<unsigned>(std::countr_zero(firsts));
            buffer_[count++] = {block + first, static_cast<unsigned>(std::countr_zero(lasts)) + 1 - first};
        }
    }
    return count;
}

std::size_t RunWalk::fill(const SparseLogicalMask& mask)
{
    std::size_t runs = 0;
    for (const unsigned end = mask.count(); position_ < end && runs < kBuffer;) {
        while (mask.jc[maskColumn_ + 1] <= position_) {
            ++maskColumn_;
        }
        const Taken taken = take(mask.ir + position_, mask.jc[maskColumn_ + 1] - position_, maskColumn_ * mask.m, runs);
        position_ += static_cast<unsigned>(taken.indices);
        runs = taken.runs;
    }
    return runs;
}

} // namespace zqsp
