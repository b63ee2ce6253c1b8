#include "assign/region_methods.hpp"
#include "core/counts.hpp"
#include "core/growing_list.hpp"
#include "core/values.hpp"

#include <optional>

namespace zqsp {

namespace {

/// A patch of a region: of the old entries those in target rows go, the others stay; the entries sourceBegin ..
/// sourceEnd-1 of b (of a scalar b: target rows by number) come.
struct RegionPatch : Patch
{
    unsigned sourceBegin;
    unsigned sourceEnd;
    bool keepsOthers; ///< whether old entries stay
};

/// What a filling changes, known before anything moves: patches in ascending order.
class RegionPatches
{
  public:
    /// Raises on exhausted memory.
    RegionPatches(const Columns& a, const Region& region, const RowFilter& filter, const RightSide& b)
        : a_(a), region_(region), filter_(filter), b_(b), rowsAreRun_(region.rows.isRun()), total_(a.nnz())
    {
        patches_.reserve(static_cast<unsigned>(
            std::min<std::uint64_t>(region.columns.count(), a.nnz() + region.entriesOf(b)))); // mostly one for each
        region.columns.forEach([this](unsigned t, unsigned column) { visitColumn(t, column); });
    }

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
    [[gnu::noinline]] void visitColumn(unsigned t, unsigned column)
    {
        constexpr std::uint64_t kEntriesPerRow = 16; // from there on a search for each row beats looking at each entry
        const bool isMatrix = b_.kind == RightSide::Kind::kMatrix;
        const unsigned sourceBegin = isMatrix ? b_.b.jc[t] : 0;
        const unsigned sourceEnd =
            isMatrix ? b_.b.jc[t + std::size_t{1}] : static_cast<unsigned>(b_.isScalar() ? region_.rows.count() : 0);
        const EntrySpan span = filter_.spanIn(a_, column);
        inTargetColumns_ += column < a_.n ? a_.length(column) : 0;
        if (!rowsAreRun_ && span.length() > kEntriesPerRow * region_.rows.count()) {
            addRowByRow(column, span, sourceBegin, sourceEnd);
        } else {
            addColumn(column, span, sourceBegin, sourceEnd);
        }
    }

    /// One patch from the lowest to the highest target row of the column.
    void addColumn(unsigned column, EntrySpan span, unsigned sourceBegin, unsigned sourceEnd)
    {
        const unsigned others = rowsAreRun_ ? 0 : filter_.countOthers(a_, span);
        const unsigned brought = sourceEnd - sourceBegin;
        if (brought > 0 || others < span.length()) {
            add({{column, span.begin, span.end, others + brought}, sourceBegin, sourceEnd, others > 0});
        }
    }

    /// A patch for each target row where something is stored or comes: few rows in a long column leave the rest of it
    /// alone.
    void addRowByRow(unsigned column, EntrySpan span, unsigned sourceBegin, unsigned sourceEnd)
    {
        if (!rows_) { // a mask is not walked for each column
            rows_.emplace(region_.rows.form());
        }
        unsigned at = span.begin;
        unsigned source = sourceBegin;
        for (unsigned i = 0; i < region_.rows.count(); ++i) {
            const unsigned row = (*rows_)[i];
            at = gallop(a_.ir, at, span.end, row);
            const unsigned stored = at < span.end && a_.ir[at] == row ? 1 : 0;
            const unsigned comes = source < sourceEnd && (b_.isScalar() || b_.b.ir[source] == i) ? 1 : 0;
            if (stored + comes > 0) {
                add({{column, at, at + stored, comes}, source, source + comes, false});
            }
            at += stored;
            source += comes;
        }
    }

    void add(const RegionPatch& patch)
    {
        const std::uint64_t dropped = patch.end - patch.begin;
        total_ += patch.length;
        total_ -= dropped;
        inTargetColumns_ += patch.length;
        inTargetColumns_ -= dropped;
        rewritten_ += patch.length;
        keepsOthers_ |= patch.keepsOthers;
        patches_.add(patch);
    }

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

/// The target rows of `count` entries of b from `begin` on.
void writeRows(NumberView rows, const RightSide& b, unsigned begin, unsigned count, unsigned* out)
{
    rows.visit([&](auto known) { // what the rows are is asked once, not for each
        const unsigned* const source = b.isScalar() ? nullptr : b.b.ir + begin;
        for (unsigned i = 0; source == nullptr && i < count; ++i) {
            out[i] = known[begin + i];
        }
        for (unsigned i = 0; source != nullptr && i < count; ++i) {
            out[i] = known[source[i]];
        }
    });
}

/// Writes the new entries of patches: entries that stay among the target rows, merged with what b brings.
template <typename Values>
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
          targets_(filter.targets()),
          rows_(rows)
    {
    }

    /// Writes the new entries of a patch from position `at` of the output on.
    [[gnu::noinline]] void write(const RegionPatch& patch, unsigned at) const
    {
        if (patch.keepsOthers) {
            merge(patch, at);
            return;
        }
        writeRows(rows_, b_, patch.sourceBegin, patch.length, outRows_ + at);
        if (b_.isScalar()) {
            outValues_.fill(at, values_, 0, patch.length);
        } else {
            outValues_.copyRun(at, values_, patch.sourceBegin, patch.length);
        }
    }

  private:
    /// The target row of an entry of b.
    [[nodiscard]] unsigned targetRow(unsigned source) const { return rows_[b_.isScalar() ? source : b_.b.ir[source]]; }

    /// Entries that stay and entries of b alternate in order of row. One at a time: the runs of either are short.
    void merge(const RegionPatch& patch, unsigned at) const
    {
        const TargetRows targets = targets_;
        unsigned source = patch.sourceBegin;
        const auto bring = [&] {
            outRows_[at] = targetRow(source);
            outValues_.copy(at++, values_, b_.isScalar() ? 0 : source);
            ++source;
        };
        for (unsigned e = patch.begin; e < patch.end; ++e) {
            const unsigned row = oldRows_[e];
            if (targets.has(row)) {
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
    }

    const unsigned* oldRows_;
    Values oldValues_;
    unsigned* outRows_;
    Values outValues_;
    const RightSide& b_;
    Values values_;
    TargetRows targets_;
    NumberView rows_;
};

} // namespace

void fillByPatches(kxArray* A, const Region& region, const RightSide& b, const RowFilter& filter,
                   const FillLimits& limits)
{
    const Columns a(A);
    const RegionPatches patches(a, region, filter, b);
    const unsigned total = checkedCount(patches.total());
    if (patches.inTargetColumns() > limits.mostEntries) {
        raiseMaxSize();
    }
    const bool merges = patches.keepsOthers() && !b.isNothing();
    const bool mergesMost = merges && patches.rewritten() > total / 2;
    Relay relay(A, needsOf(a, region, b, limits, total, mergesMost && freshBlocksPay(a.nzmax, a.elementSize, total)));
    const Numbers rows = b.isNothing() ? Numbers() : Numbers(region.rows.form());
    // Entries that stay in place may be written over before they are read: the patches are put together aside then.
    const bool isApart = merges && relay.inPlace();
    const Aside aside =
        isApart ? Aside(checkedCount(patches.rewritten()), a.elementSize, a.pi != nullptr || b.isComplex()) : Aside();
    const Columns after = relay.after();
    const Columns out = isApart ? aside.viewLike(a) : after;
    withStorage(out, a, b.b, [&](auto values, auto, auto) {
        const RegionMerge<decltype(values)> merge(a, out, b, filter, rows);
        if (!isApart) {
            relay.commit(patches.list(), [&](const RegionPatch& patch, unsigned place) { merge.write(patch, place); });
            return;
        }
        unsigned at = 0;
        for (const RegionPatch& patch : patches.list()) {
            merge.write(patch, at);
            at += patch.length;
        }
    });
    if (isApart) {
        unsigned at = 0;
        relay.commit(patches.list(), [&](const RegionPatch& patch, unsigned place) {
            copyEntries(after, place, out, at, patch.length);
            at += patch.length;
        });
    }
}

} // namespace zqsp
