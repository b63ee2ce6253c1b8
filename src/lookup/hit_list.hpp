// Which stored entries lie at selected positions: the plan of A(K).
#ifndef ZQSP_LOOKUP_HIT_LIST_HPP
#define ZQSP_LOOKUP_HIT_LIST_HPP

#include "core/owners.hpp"
#include "kernels/kernels.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

namespace zqsp {

/// Entries at selected positions, ascending: number ordinals()[i] of the positions, counted from the first one, is
/// where entry sources()[i] is stored. The list grows with what is found, not with what is asked for: most positions of
/// a sparse matrix hold nothing, and a few hits take no memory. Its ordinals can become the rows of a result, so that
/// beside it only the sources take memory: four bytes a hit. What room there is to spare, up to a quarter where there
/// are many hits, is given back.
class HitList
{
  public:
    static constexpr unsigned kRoom = 1024;

    /// Hardly for more than `most` hits.
    explicit HitList(unsigned most) : most_(most) {}
    HitList(const HitList&) = delete;
    HitList& operator=(const HitList&) = delete;

    /// Where the next hits are to be written.
    struct Room
    {
        unsigned* ordinals;
        unsigned* sources;
    };

    /// Room for `size` hits, at most kRoom, and for kKernelSlack more words behind. Raises on exhausted memory.
    Room room(unsigned size)
    {
        if (size > capacity_ - count_) {
            grow(size);
        }
        return {ordinals_ + count_, sources_ + count_};
    }
    /// The first `count` of what was written to the last room are hits.
    void keep(unsigned count) { count_ += count; }

    [[nodiscard]] unsigned count() const { return count_; }
    [[nodiscard]] const unsigned* ordinals() const { return ordinals_; }
    [[nodiscard]] unsigned* sources() { return sources_; }
    /// For who needs no further room. Raises on exhausted memory.
    void cutSources()
    {
        if (sourceBlock_) {
            sourceBlock_ = cut(sourceBlock_);
            sources_ = sourceBlock_.get();
        }
    }
    /// The block itself, of more than kFew hits. Raises on exhausted memory.
    [[nodiscard]] Block<unsigned> takeOrdinals() { return cut(ordinalBlock_); }

    static constexpr unsigned kFew = 64;

  private:
    [[gnu::noinline]] void grow(unsigned size)
    {
        constexpr unsigned kFewHits = 1U << 14U; // hits: a small block will do
        constexpr unsigned kMany = 1U << 18U;    // takes no second thought
        const std::size_t needed = std::size_t{count_} + size;
        const std::size_t further =
            count_ < kMany ? std::min(most_, ordinalBlock_ ? kMany : kFewHits) : std::size_t{count_} + count_ / 4;
        capacity_ = std::max(needed, further);
        ordinals_ = enlarge(ordinalBlock_, ordinals_);
        sources_ = enlarge(sourceBlock_, sources_);
    }
    unsigned* enlarge(Block<unsigned>& block, const unsigned* few) const
    {
        const bool wereFew = !block;
        block.resize(capacity_ + kKernelSlack);
        if (wereFew) {
            std::copy_n(few, count_, block.get());
        }
        return block.get();
    }
    /// A block that is mostly room is worth more to the next call whole.
    Block<unsigned> cut(Block<unsigned>& block) const
    {
        const unsigned size = std::max(count_, 1U); // no runtime is asked for a block of nothing
        if (capacity_ - count_ <= kRoom) {
            return std::move(block);
        }
        if (size < capacity_ / 2) {
            auto small = Block<unsigned>::make(size);
            std::copy_n(block.get(), count_, small.get());
            block = std::move(small);
        } else {
            block.resize(size);
        }
        return std::move(block);
    }

    unsigned most_;
    unsigned count_ = 0;
    std::size_t capacity_ = kFew;
    std::array<unsigned, kFew + kKernelSlack> fewOrdinals_;
    std::array<unsigned, kFew + kKernelSlack> fewSources_;
    unsigned* ordinals_ = fewOrdinals_.data();
    unsigned* sources_ = fewSources_.data();
    Block<unsigned> ordinalBlock_; // of more than a few
    Block<unsigned> sourceBlock_;
};

} // namespace zqsp

#endif
