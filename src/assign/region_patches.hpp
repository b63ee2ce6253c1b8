// What filling a region changes, known before anything moves.
#ifndef ZQSP_ASSIGN_REGION_PATCHES_HPP
#define ZQSP_ASSIGN_REGION_PATCHES_HPP

#include "assign/region_merge.hpp"
#include "core/growing_list.hpp"

#include <optional>

namespace zqsp {

/// The patches of a region fill, in ascending order. What neither loses nor gains an entry has no patch and belongs to
/// the stretches between them, so that one row of a wide matrix is not a rewriting of it all.
class RegionPatches
{
  public:
    /// Raises on exhausted memory.
    RegionPatches(const Columns& a, const Region& region, const RowFilter& filter, const RightSide& b);

    [[nodiscard]] std::span<const RegionPatch> list() const { return patches_.elements(); }
    /// Entries of the target afterwards.
    [[nodiscard]] std::uint64_t total() const { return total_; }
    /// Entries of the target columns afterwards.
    [[nodiscard]] std::uint64_t inTargetColumns() const { return inTargetColumns_; }
    /// New entries of all patches.
    [[nodiscard]] std::uint64_t rewritten() const { return rewritten_; }
    /// Whether old entries stay within a patch.
    [[nodiscard]] bool keepsOthers() const { return keepsOthers_; }

  private:
    void addColumn(unsigned column, EntrySpan span, unsigned sourceBegin, unsigned sourceEnd);
    void addRowByRow(unsigned column, EntrySpan span, unsigned sourceBegin, unsigned sourceEnd);
    void add(const RegionPatch& patch);

    const Columns& a_;
    const Region& region_;
    const RowFilter& filter_;
    const RightSide& b_;
    bool rowsAreRun_;
    std::optional<Numbers> rows_; // once they are searched
    GrowingList<RegionPatch> patches_;
    std::uint64_t total_;
    std::uint64_t inTargetColumns_ = 0;
    std::uint64_t rewritten_ = 0;
    bool keepsOthers_ = false;
};

} // namespace zqsp

#endif
