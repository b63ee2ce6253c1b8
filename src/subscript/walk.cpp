#include "subscript/walk.hpp"

#include "kernels/branch_free.hpp"
#include "kernels/mask_bits.hpp"

#include <algorithm>
#include <bit>

namespace zqsp {

/// (Not inlined: it is called for a block at a time, from many places.)
[[gnu::noinline]] std::span<const unsigned> IndexWalk::next()
{
    return std::visit([this](const auto& form) { return fill(form); }, subscript_);
}

[[gnu::noinline]] void writeIndices(const Subscript& subscript, unsigned* to)
{
    if (const auto* list = std::get_if<IndexList>(&subscript)) {
        std::copy_n(list->begin(), list->count(), to);
        return;
    }
    forEachIndex(subscript, [&to](unsigned index) { *to++ = index; });
}

std::span<const unsigned> IndexWalk::fill(const IndexRange& range)
{
    const unsigned count = std::min(kBlock, range.size - done_);
    unsigned index = range[done_];
    for (unsigned i = 0; i < count; ++i, index += static_cast<unsigned>(range.stride)) {
        buffer_[i] = index;
    }
    done_ += count;
    return {buffer_.data(), count};
}

std::span<const unsigned> IndexWalk::fill(const IndexList& list)
{
    const unsigned begin = done_;
    done_ += std::min(kBlock, list.count() - begin);
    return {list.begin() + begin, list.begin() + done_};
}

std::span<const unsigned> IndexWalk::fill(const LogicalMask& mask)
{
    std::size_t count = 0;
    while (done_ < mask.length && count + kMaskBlock <= kBlock) {
        const unsigned left = mask.length - done_;
        for (std::uint64_t bits = trueBlock(mask.values + done_, left); bits != 0; bits &= bits - 1) {
            buffer_[count++] = done_ + static_cast<unsigned>(std::countr_zero(bits));
        }
        done_ += std::min(kMaskBlock, left);
    }
    return {buffer_.data(), count};
}

std::span<const unsigned> IndexWalk::fill(const SparseLogicalMask& mask)
{
    const unsigned begin = done_;
    const unsigned end = begin + std::min(kBlock, mask.count() - begin);
    for (unsigned* to = buffer_.data(); done_ < end;) {
        const unsigned columnEnd = mask.jc[column_ + std::size_t{1}];
        const unsigned pieceEnd = std::min(end, columnEnd);
        to = std::transform(mask.ir + done_, mask.ir + pieceEnd, to,
                            [start = column_ * mask.m](unsigned row) { return start + row; });
        done_ = pieceEnd;
        column_ += done_ == columnEnd ? 1U : 0U;
    }
    return {buffer_.data(), end - begin};
}

std::span<const Run> RunWalk::next()
{
    const auto* range = std::get_if<IndexRange>(&subscript_);
    if (range != nullptr && range->isRun()) {
        runs_[0] = {range->first, range->size};
        return {runs_.data(), std::exchange(isDone_, true) ? 0U : 1U};
    }
    if (const auto* mask = std::get_if<LogicalMask>(&subscript_)) {
        return fill(*mask);
    }
    const std::span<const unsigned> indices = indices_.next();
    if (range != nullptr) {
        std::ranges::transform(indices, runs_.begin(), [](unsigned index) { return Run{index, 1}; });
        return {runs_.data(), indices.size()};
    }
    constexpr std::size_t kTogether = 32;
    std::size_t count = 0;
    for (std::size_t i = 0; i < indices.size();) {
        const std::size_t end = i + std::min(kTogether, indices.size() - i);
        // Mostly, none has a neighbour, which takes no chain of steps from one index to the next.
        unsigned neighbours = 0;
        for (std::size_t k = std::max<std::size_t>(i, 1); k < end; ++k) {
            neighbours += indices[k] == indices[k - 1] + 1 ? 1U : 0U;
        }
        if (neighbours == 0) {
            for (; i < end; ++i) {
                runs_[count++] = {indices[i], 1};
            }
            continue;
        }
        // Each index is written as the end of a run, its own or that of the one before: no branch asks which.
        unsigned first = count == 0 ? indices[i] : runs_[count - 1].first;
        unsigned next = count == 0 ? indices[i] : indices[i - 1] + 1; // what the run goes on with
        count += count == 0 ? 1 : 0;
        for (; i < end; ++i) {
            const unsigned index = indices[i];
            const bool goesOn = index == next;
            count += goesOn ? 0U : 1U;
            first = index - valueIf(goesOn, index - first);
            next = index + 1;
            runs_[count - 1] = {first, next - first};
        }
    }
    return {runs_.data(), count};
}

/// Runs are cut out of 64 bits at a time, not found byte by byte: in a random mask both ends of each are a surprise to
/// the processor, the end of a block only is one here. Measured: 5 ns a run instead of 25.
std::span<const Run> RunWalk::fill(const LogicalMask& mask)
{
    constexpr std::size_t kMostRuns = kMaskBlock / 2;
    std::size_t count = 0;
    while (byte_ < mask.length && count + kMostRuns <= runs_.size()) {
        const unsigned block = byte_;
        std::uint64_t bits = trueBlock(mask.values + block, mask.length - block);
        byte_ += std::min(kMaskBlock, mask.length - block);
        if ((bits & 1U) != 0 && count > 0 && runs_[count - 1].first + runs_[count - 1].length == block) {
            runs_[count - 1].length += static_cast<unsigned>(std::countr_one(bits)); // goes on from the last block
            bits &= bits + 1;
        }
        // Where runs begin and where they end is read off two words: neither waits for the other.
        std::uint64_t firsts = bits & ~(bits << 1U);
        for (std::uint64_t lasts = bits & ~(bits >> 1U); firsts != 0; firsts &= firsts - 1, lasts &= lasts - 1) {
            const auto first = static_cast<unsigned>(std::countr_zero(firsts));
            runs_[count++] = {block + first, static_cast<unsigned>(std::countr_zero(lasts)) + 1 - first};
        }
    }
    return {runs_.data(), count};
}

namespace {

/// By blocks of 64 numbers. (Milliseconds for every other one of 10^8 rows: 12, number by number 50.)
void addRange(RowSet& set, const IndexRange& range)
{
    const auto stride = static_cast<unsigned>(range.stride);
    std::uint64_t every = 0;
    for (unsigned i = 0; i < kMaskBlock; i += stride) {
        every |= std::uint64_t{1} << i;
    }
    for (std::uint64_t number = range.first; number <= range.last;) {
        const std::uint64_t block = number / kMaskBlock * kMaskBlock;
        std::uint64_t numbers = every << (number - block);
        number = block + static_cast<unsigned>(std::bit_width(numbers)) - 1 + stride;
        if (range.last - block < kMaskBlock - 1) {
            numbers &= (std::uint64_t{2} << (range.last - block)) - 1;
        }
        set.addAll(static_cast<unsigned>(block), numbers);
    }
}

} // namespace

/// Numbers that ascend or descend are gathered in a register, and each word written anew with each number: no number
/// waits for the one before to be read back, and no branch asks whether the word is another.
void addAll(RowSet& set, const Subscript& subscript)
{
    if (const auto* mask = std::get_if<LogicalMask>(&subscript)) {
        for (unsigned i = 0; i < mask->length; i += std::min(kMaskBlock, mask->length - i)) {
            set.addAll(i, trueBlock(mask->values + i, mask->length - i));
        }
        return;
    }
    if (const auto* range = std::get_if<IndexRange>(&subscript)) {
        if (range->size > 0) {
            addRange(set, range->ascending());
        }
        return;
    }
    if (orderOf(subscript) == Order::kUnsorted) {
        forEachIndex(subscript, [&set](unsigned number) { set.add(number); });
        return;
    }
    unsigned word = 0;
    std::uint32_t members = 0;
    IndexWalk walk(subscript);
    for (auto numbers = walk.next(); !numbers.empty(); numbers = walk.next()) {
        for (const unsigned number : numbers) { // (in a function that it calls, what it gathers would live in memory)
            const unsigned own = number / RowWord::kBits;
            members = valueIf(own == word, members) | 1U << number % RowWord::kBits;
            word = own;
            set.setWord(word, members);
        }
    }
}

} // namespace zqsp
