// Walking a converted subscript of any form: by blocks of its indices, by runs of neighbours among them, or into a set.
// The form is looked at once per block, so that a worker needs one text for all forms and pays next to nothing for it.
#ifndef ZQSP_SUBSCRIPT_WALK_HPP
#define ZQSP_SUBSCRIPT_WALK_HPP

#include "core/row_set.hpp"
#include "subscript/forms.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <span>

namespace zqsp {

/// Delivers the indices of a subscript in its order, a block at a time. A list is looked at where it is; nothing is
/// written out whole.
class IndexWalk
{
  public:
    static constexpr unsigned kBlock = 1024;

    /// The subscript must outlive the walk.
    explicit IndexWalk(const Subscript& subscript) : subscript_(subscript) {}

    /// The next indices, kBlock at most; none at the end. Valid until the next call. (One text for all who walk.)
    [[gnu::noinline]] std::span<const unsigned> next();

  private:
    std::span<const unsigned> fill(const IndexRange& range);
    std::span<const unsigned> fill(const IndexList& list);
    std::span<const unsigned> fill(const LogicalMask& mask);
    std::span<const unsigned> fill(const SparseLogicalMask& mask);

    const Subscript& subscript_;
    unsigned done_ = 0;   // indices, but of a mask the bytes looked at
    unsigned column_ = 0; // of a sparse mask
    std::array<unsigned, kBlock> buffer_;
};

/// f(index) for the indices of the subscript, in its order.
template <typename F>
void forEachIndex(const Subscript& subscript, F&& f)
{
    IndexWalk walk(subscript);
    for (auto indices = walk.next(); !indices.empty(); indices = walk.next()) {
        for (const unsigned index : indices) {
            f(index);
        }
    }
}

/// Writes the indices of the subscript, in its order.
void writeIndices(const Subscript& subscript, unsigned* to);

/// The index that comes first, of a subscript that is not empty.
inline unsigned firstOf(const Subscript& subscript)
{
    if (const auto* mask = std::get_if<LogicalMask>(&subscript)) {
        return nextTrue(mask->values, 0, mask->length); // a block of indices may be a long way
    }
    const auto* range = std::get_if<IndexRange>(&subscript);
    return range != nullptr ? range->first : IndexWalk(subscript).next().front();
}

/// The indices first, first+1, ..., first+length-1; length is at least 1.
struct Run
{
    unsigned first;
    unsigned length;
};

/// Delivers the runs of a subscript, in its order, some at a time (IndexWalk::kBlock at most): a list or mask whose
/// indices are neighbours comes as the blocks it really is.
class RunWalk
{
  public:
    /// The subscript must outlive the walk.
    explicit RunWalk(const Subscript& subscript) : subscript_(subscript), indices_(subscript) {}

    /// The next runs; an empty span at the end. Valid until the next call.
    [[gnu::noinline]] std::span<const Run> next();

  private:
    std::span<const Run> fill(const LogicalMask& mask);

    const Subscript& subscript_;
    IndexWalk indices_;
    unsigned byte_ = 0; // of a mask
    bool isDone_ = false;
    std::array<Run, IndexWalk::kBlock> runs_;
};

/// f(first, length) for every run of the subscript.
template <typename F>
[[gnu::always_inline]] inline void forEachRun(const Subscript& subscript, F&& f)
{
    RunWalk walk(subscript);
    for (auto runs = walk.next(); !runs.empty(); runs = walk.next()) {
        for (const Run run : runs) {
            f(run.first, run.length);
        }
    }
}

/// f(first, end) for the runs first .. end-1 of each 64 bytes of a mask. Where they begin and where they end is read
/// off two words: in a random mask both are a surprise to the processor, the end of a block only is one here.
template <typename F>
[[gnu::always_inline]] inline void forEachTrueRun(const LogicalMask& mask, F&& f)
{
    for (unsigned block = 0; block < mask.length; block += std::min(kMaskBlock, mask.length - block)) {
        const std::uint64_t bits = trueBlock(mask.values + block, mask.length - block);
        std::uint64_t firsts = bits & ~(bits << 1U);
        for (std::uint64_t lasts = bits & ~(bits >> 1U); firsts != 0; firsts &= firsts - 1, lasts &= lasts - 1) {
            const std::size_t first = block + static_cast<std::size_t>(std::countr_zero(firsts));
            f(first, block + static_cast<std::size_t>(std::countr_zero(lasts)) + 1);
        }
    }
}

/// Adds what a subscript selects, all below its extent, to an empty set that is not ranked yet.
void addAll(RowSet& set, const Subscript& subscript);

} // namespace zqsp

#endif
