// The ways of filling a region: in one pass, by a rebuild, or by patches.
#ifndef ZQSP_ASSIGN_REGION_METHODS_HPP
#define ZQSP_ASSIGN_REGION_METHODS_HPP

#include "assign/region.hpp"
#include "assign/row_filter.hpp"
#include "core/owners.hpp"
#include "core/relay.hpp"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace zqsp {

/// Whether clearing `rows` rows of `columns` columns with `looks` entries is best done in one pass over these: not
/// where the columns are so long, and the rows so few, that each is searched.
constexpr bool clearsInOnePass(std::uint64_t looks, std::uint64_t rows, std::uint64_t columns)
{
    constexpr unsigned kShortColumn = 64; // passed over as fast as searched for the outermost rows
    constexpr unsigned kEntriesPerRow = 16;
    return looks / columns < std::max<std::uint64_t>(kShortColumn, kEntriesPerRow * rows);
}

/// Whether columns that are a run are best filled by a rebuild: where most of `entries` lie in them, and are looked at
/// one by one in any case.
constexpr bool rebuildPays(std::uint64_t entries, std::uint64_t looks, std::uint64_t rows, std::uint64_t columns)
{
    return looks > entries / 2 && clearsInOnePass(looks, rows, columns);
}

/// Whether writing most of `total` entries anew, once, into fresh blocks of the present capacity beats putting them
/// together aside: unless most of the blocks would be spare, or their bytes, which 32 bits are to count, too many.
constexpr bool freshBlocksPay(unsigned capacity, unsigned elementSize, unsigned total)
{
    const std::uint64_t bytes = std::uint64_t{capacity} * std::max<std::size_t>(elementSize, sizeof(unsigned));
    return capacity / 2 <= total && bytes <= std::numeric_limits<std::uint32_t>::max();
}

/// What the target needs in order to hold `total` entries, in fresh blocks or where it can in its own.
inline Needs needsOf(const Columns& a, const Region& region, const RightSide& b, const FillLimits& limits,
                     unsigned total, bool freshBlocks)
{
    return {.capacity = limits.capacity != 0 ? limits.capacity : std::max(total, a.nzmax),
            .columns = std::max(region.n, a.n),
            .imaginaryPart = b.isComplex(),
            .freshBlocks = freshBlocks};
}

/// Entries that are put together aside before they come to their places.
class Aside
{
  public:
    /// Room for none.
    Aside() = default;
    /// Raises on exhausted memory.
    Aside(std::uint64_t capacity, std::size_t elementSize, bool imaginaryPart)
        : capacity_(capacity),
          ir_(Block<unsigned>::make(capacity)),
          pr_(Block<std::byte>::make(capacity * elementSize)),
          pi_(imaginaryPart ? Block<std::byte>::make(capacity * elementSize) : Block<std::byte>())
    {
    }

    /// They as columns of the kind of `a`; the column starts mean nothing.
    [[nodiscard]] Columns viewLike(Columns a) const
    {
        a.nzmax = static_cast<unsigned>(std::min<std::uint64_t>(capacity_, std::numeric_limits<unsigned>::max()));
        a.ir = ir_.get();
        a.pr = pr_.get();
        a.pi = pi_.get();
        return a;
    }

  private:
    std::uint64_t capacity_ = 0;
    Block<unsigned> ir_;
    Block<std::byte> pr_;
    Block<std::byte> pi_;
};

// Each is fillRegion(), in a target with the region's columns or fewer.

/// Clears the region where every row is a target, or the filter has the set of the others. One forward pass without a
/// list of patches: what stays of a run of target columns, then the columns up to the next run, move to the left.
void clearInOnePass(kxArray* A, const Region& region, const RowFilter& filter);

/// Fills a region, whose columns are a run, in fresh blocks. Some columns at a time, what stays of them is closed up
/// aside by a kernel, and copied from there between what b brings. False, with nothing changed, where it does not pay.
bool fillByRebuild(kxArray* A, const Region& region, const RightSide& b, const RowFilter& filter,
                   const FillLimits& limits);

/// What neither loses nor gains an entry has no patch and stays, or moves as a whole: one row of a wide matrix is not a
/// rewriting of it all.
void fillByPatches(kxArray* A, const Region& region, const RightSide& b, const RowFilter& filter,
                   const FillLimits& limits);

} // namespace zqsp

#endif
