// The positions that a subscript names, a block at a time, whatever its form.
#ifndef ZQSP_LOOKUP_POSITION_BLOCKS_HPP
#define ZQSP_LOOKUP_POSITION_BLOCKS_HPP

#include "subscript/forms.hpp"

#include <array>
#include <cstdint>

namespace zqsp {

/// Positions base + positions[i]. The first one is number `ordinal` of them all.
struct PositionBlock
{
    std::uint64_t base = 0; ///< 0 except in sparse masks that reach beyond 32 bits
    const unsigned* positions = nullptr;
    unsigned count = 0;
    unsigned ordinal = 0;
};

/// Positions in the order of the subscript. A list is looked at where it is; nothing is written out whole.
class PositionBlocks
{
  public:
    static constexpr unsigned kBlock = 1024;

    /// The subscript must outlive the blocks.
    explicit PositionBlocks(const Subscript& subscript) : subscript_(subscript) {}

    /// The next block; an empty one at the end. Valid until the next call.
    PositionBlock next();

  private:
    PositionBlock fill(const IndexRange& range);
    PositionBlock fill(const IndexList& list);
    PositionBlock fill(const LogicalMask& mask);
    PositionBlock fill(const SparseLogicalMask& mask);

    const Subscript& subscript_;
    unsigned ordinal_ = 0;   // of the next position
    unsigned byte_ = 0;      // of a mask
    unsigned column_ = 0;    // of a sparse mask
    std::uint64_t base_ = 0; // likewise
    std::array<unsigned, kBlock> buffer_;
};

} // namespace zqsp

#endif
