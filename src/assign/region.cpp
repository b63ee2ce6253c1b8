#include "assign/region.hpp"

#include "assign/region_patches.hpp"
#include "core/counts.hpp"
#include "core/row_selection.hpp"

#include <algorithm>

namespace zqsp {

namespace {

/// Where an in-place fill puts the patches together while the entries that they keep still stand.
struct Scratch
{
    Block<unsigned> ir;
    Block<std::byte> pr;
    Block<std::byte> pi;
    unsigned capacity;

    Scratch(unsigned count, std::size_t elementSize, bool imaginaryPart)
        : ir(Block<unsigned>::make(count)), pr(Block<std::byte>::make(count * elementSize)), capacity(count)
    {
        if (imaginaryPart) {
            pi = Block<std::byte>::make(count * elementSize);
        }
    }

    /// The scratch as columns of the target's kind; its column starts mean nothing.
    [[nodiscard]] Columns viewLike(Columns a) const
    {
        a.nzmax = capacity;
        a.ir = ir.get();
        a.pr = pr.get();
        a.pi = pi.get();
        return a;
    }
};

/// The patches are put together aside, then copied to their places.
void fillThroughScratch(Relay& relay, const Region& region, const RightSide& b, const RowFilter& filter,
                        const RegionPatches& patches, const Scratch& scratch)
{
    const Columns aside = scratch.viewLike(relay.before());
    unsigned at = 0;
    withRegionMerge(relay.before(), aside, region.rows, b, filter, [&](const auto& merge) {
        for (const RegionPatch& patch : patches.list()) {
            merge.write(patch, at);
            at += patch.length;
        }
    });
    const Columns after = relay.after();
    at = 0;
    relay.commit(patches.list(), [&](const RegionPatch& patch, unsigned place) {
        copyEntries(after, place, aside, at, patch.length);
        at += patch.length;
    });
}

/// The patches are written to their places: from the old blocks into fresh ones, or, in place, where they keep nothing
/// of what was there.
void fillDirectly(Relay& relay, const Region& region, const RightSide& b, const RowFilter& filter,
                  const RegionPatches& patches)
{
    withRegionMerge(relay.before(), relay.after(), region.rows, b, filter, [&](const auto& merge) {
        relay.commit(patches.list(), [&](const RegionPatch& patch, unsigned place) { merge.write(patch, place); });
    });
}

/// One forward pass: what stays of a target column, then the columns up to the next one, move to the left.
template <typename Values, typename Test>
void closeUp(const Columns& a, const Region& region, const RowFilter& filter, Values values, Test isTarget)
{
    const TargetIndices& columns = region.columns;
    unsigned* const ir = a.ir;
    unsigned kept = a.jc[columns.first()]; // entries in their places
    unsigned next = kept;                  // first entry not looked at yet
    const auto keep = [&](unsigned end) {
        moveEntries(a, kept, next, end - next);
        kept += end - next;
        next = end;
    };
    EntrySpan span = filter.spanIn(a, columns.first());
    for (unsigned t = 0; t < columns.count(); ++t) {
        keep(span.begin);
        if (region.rows.isRun()) {
            next = span.end;
        }
        for (; next < span.end; ++next) { // written first, kept only if it is no target
            const unsigned row = ir[next];
            ir[kept] = row;
            values.copy(kept, values, next);
            kept += isTarget(row) ? 0U : 1U;
        }
        const unsigned shift = kept - next; // modulo 2^32
        const unsigned following = t + 1 < columns.count() ? columns[t + 1] : a.n;
        if (following < a.n) {
            span = filter.spanIn(a, following); // while its column starts are the old ones
        } else {
            keep(a.nnz());
        }
        for (unsigned j = columns[t]; j < following;) {
            a.jc[++j] += shift;
        }
    }
}

/// Whether a pass over all entries of neighbouring columns beats going from column to column: the target rows are no
/// neighbours, a set of all rows is small beside the pass, and the columns are short or half of their entries lie
/// between the outermost target rows.
bool clearsInOnePass(const Columns& a, const Region& region, const RowFilter& filter)
{
    constexpr unsigned kRowsPerEntry = 64; // of the set
    constexpr unsigned kShortColumn = 64;  // passed over as fast as searched for the outermost rows
    const TargetIndices& columns = region.columns;
    if (!columns.isRun() || !filter.hasTable() || columns.first() >= a.n) {
        return false;
    }
    const unsigned first = columns.first();
    const unsigned end = std::min(columns.highest() + 1, a.n);
    const unsigned entries = a.jc[end] - a.jc[first];
    if (a.m / kRowsPerEntry > entries) {
        return false;
    }
    if (entries / kShortColumn < end - first) {
        return true;
    }
    unsigned between = 0;
    for (unsigned j = first; j < end; ++j) {
        between += filter.spanIn(a, j).length();
    }
    return between >= entries / 2;
}

/// What stays of neighbouring columns, then what lies behind them, moves to the left.
void closeUpColumns(const Columns& a, unsigned first, unsigned count, const RowSet& stays)
{
    const unsigned end = a.jc[first + count];
    const unsigned nnz = a.nnz();
    const unsigned kept = moveSelected(a, first, count, stays.unmoved(), a, a.jc[first], a.jc + first + 1);
    moveEntries(a, kept, end, nnz - end);
    for (unsigned j = first + count + 1; j <= a.n; ++j) {
        a.jc[j] -= end - kept;
    }
}

} // namespace

void fillRegion(kxArray* A, const Region& region, const RightSide& b, const FillLimits& limits)
{
    const Columns a(A);
    const RowFilter filter(a, region.rows, region.columns);
    const RegionPatches patches(a, region, filter, b);
    const unsigned total = checkedCount(patches.total());
    if (patches.inTargetColumns() > limits.mostEntries) {
        raiseMaxSize();
    }
    const bool complex = a.pi != nullptr || b.b.pi != nullptr;
    // Where most entries are merged anew, writing them once into fresh blocks beats putting them together aside.
    const bool rewritesMost = patches.keepsOthers() && patches.rewritten() > total / 2;
    Relay relay(A, {.capacity = limits.capacity != 0 ? limits.capacity : std::max(total, a.nzmax),
                    .columns = std::max(region.n, a.n),
                    .imaginaryPart = complex,
                    .freshBlocks = rewritesMost});
    if (relay.inPlace() && patches.keepsOthers()) {
        const Scratch scratch(checkedCount(patches.rewritten()), a.elementSize, complex);
        fillThroughScratch(relay, region, b, filter, patches, scratch);
    } else {
        fillDirectly(relay, region, b, filter, patches);
    }
    kxSetM(A, region.m);
}

void clearRegion(kxArray* A, const Region& region)
{
    const Columns before(A);
    const RowFilter filter(before, region.rows, region.columns);
    if (clearsInOnePass(before, region, filter)) {
        const RowSet stays = region.rows.others(before.m);
        growColumns(A, region.n); // the last thing that can fail
        closeUpColumns(Columns(A), region.columns.first(), region.columns.count(), stays);
    } else {
        growColumns(A, region.n); // the last thing that can fail
        const Columns a(A);
        withStorage(a, [&](auto values) {
            filter.withTest([&](auto isTarget) { closeUp(a, region, filter, values, isTarget); });
        });
    }
    kxSetM(A, region.m);
}

} // namespace zqsp
