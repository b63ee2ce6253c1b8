// Writing the patches of a region: entries that stay among the target rows, merged with what the right-hand side
// brings.
#ifndef ZQSP_ASSIGN_REGION_MERGE_HPP
#define ZQSP_ASSIGN_REGION_MERGE_HPP

#include "assign/region.hpp"
#include "assign/row_filter.hpp"
#include "core/relay.hpp"
#include "core/values.hpp"

namespace zqsp {

/// A patch of a region: of the old entries those in target rows go, the others stay; the entries sourceBegin ..
/// sourceEnd-1 of b (of a scalar b: target rows by number) come.
struct RegionPatch : Patch
{
    unsigned sourceBegin;
    unsigned sourceEnd;
    bool keepsOthers; ///< whether old entries stay
};

/// `Out`, `A` and `B`: the storage policies of the output, the old entries and the right-hand side.
template <typename Out, typename A, typename B>
class RegionMerge
{
  public:
    RegionMerge(const Columns& a, const Columns& out, const RightSide& b, const RowFilter& filter, NumberView rows)
        : oldRows_(a.ir),
          oldValues_(a),
          outRows_(out.ir),
          outValues_(out),
          b_(b),
          values_(b.b),
          filter_(filter),
          rows_(rows)
    {
    }

    /// Writes the new entries of a patch from position `at` of the output on.
    void write(const RegionPatch& patch, unsigned at) const
    {
        if (patch.keepsOthers) {
            merge(patch, at);
            return;
        }
        const unsigned count = patch.length;
        rows_.visit([&, out = outRows_ + at](auto rows) { // what the rows are is asked once, not for each
            const unsigned* const source = b_.isScalar() ? nullptr : b_.b.ir + patch.sourceBegin;
            for (unsigned i = 0; source == nullptr && i < count; ++i) {
                out[i] = rows[patch.sourceBegin + i];
            }
            for (unsigned i = 0; source != nullptr && i < count; ++i) {
                out[i] = rows[source[i]];
            }
        });
        if (b_.isScalar()) {
            outValues_.fill(at, values_, 0, count);
        } else {
            outValues_.copyRun(at, values_, patch.sourceBegin, count);
        }
    }

  private:
    /// The target row of an entry of b.
    [[nodiscard]] unsigned targetRow(unsigned source) const { return rows_[b_.isScalar() ? source : b_.b.ir[source]]; }

    /// Entries that stay and entries of b alternate in order of row. One at a time: the runs of either are short.
    void merge(const RegionPatch& patch, unsigned at) const
    {
        filter_.withTest([&, at](auto isTarget) mutable {
            unsigned source = patch.sourceBegin;
            const auto bring = [&] {
                outRows_[at] = targetRow(source);
                outValues_.copy(at++, values_, b_.isScalar() ? 0 : source);
                ++source;
            };
            for (unsigned e = patch.begin; e < patch.end; ++e) {
                const unsigned row = oldRows_[e];
                if (isTarget(row)) {
                    continue;
                }
                while (source < patch.sourceEnd && targetRow(source) < row) {
                    bring();
                }
                outRows_[at] = row;
                outValues_.copy(at++, oldValues_, e);
            }
            while (source < patch.sourceEnd) {
                bring();
            }
        });
    }

    const unsigned* oldRows_;
    A oldValues_;
    unsigned* outRows_;
    Out outValues_;
    const RightSide& b_;
    B values_;
    const RowFilter& filter_;
    NumberView rows_;
};

/// Calls f(merge) with the merge for the storages at hand.
template <typename F>
void withRegionMerge(const Columns& a, const Columns& out, const RightSide& b, const RowFilter& filter, NumberView rows,
                     F&& f)
{
    withStorage(out, a, b.b, [&](auto outValues, auto aValues, auto bValues) {
        f(RegionMerge<decltype(outValues), decltype(aValues), decltype(bValues)>(a, out, b, filter, rows));
    });
}

} // namespace zqsp

#endif
