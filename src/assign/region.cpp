#include "assign/region.hpp"

#include "assign/region_patches.hpp"
#include "assign/region_rebuild.hpp"
#include "core/counts.hpp"
#include "core/row_selection.hpp"
#include "kernels/select_loop.hpp"
#include "subscript/runs.hpp"

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
void fillThroughScratch(Relay& relay, NumberView rows, const RightSide& b, const RowFilter& filter,
                        const RegionPatches& patches, const Scratch& scratch)
{
    const Columns aside = scratch.viewLike(relay.before());
    unsigned at = 0;
    withRegionMerge(relay.before(), aside, b, filter, rows, [&](const auto& merge) {
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
/// of what was there, or nothing comes.
void fillDirectly(Relay& relay, NumberView rows, const RightSide& b, const RowFilter& filter,
                  const RegionPatches& patches)
{
    withRegionMerge(relay.before(), relay.after(), b, filter, rows, [&](const auto& merge) {
        relay.commit(patches.list(), [&](const RegionPatch& patch, unsigned place) { merge.write(patch, place); });
    });
}

/// One forward pass without a list of patches: what stays of a run of target columns (`others` tells, or null for
/// nothing), then the columns up to the next run, move to the left.
void clearInOnePass(const Columns& a, const Ordered& columns, const RowSet* others)
{
    unsigned column = 0; // the starts up to this one are the new ones
    unsigned next = 0;   // first entry not looked at yet
    unsigned kept = 0;
    const auto keepUpTo = [&](unsigned end) {
        const unsigned stop = column < end ? a.jc[end] : next;
        const unsigned shift = next - kept;
        moveEntries(a, kept, next, stop - next);
        for (unsigned j = shift == 0 ? end : column; j < end; ++j) {
            a.jc[j + std::size_t{1}] -= shift;
        }
        kept += stop - next;
        next = stop;
    };
    forEachRun(columns.form(), [&](unsigned first, unsigned length) {
        if (first >= a.n) {
            return;
        }
        keepUpTo(first);
        column = first + std::min(length, a.n - first);
        const unsigned end = a.jc[column];
        unsigned* const ends = a.jc + first + 1;
        a.jc[first] = next; // as before, for the kernel
        const unsigned at = kept;
        constexpr unsigned kFewEntries = 64; // cost less here than a call
        if (others != nullptr && end - next <= kFewEntries) {
            kept = selectColumns(entriesOf(a), a.jc + first, column - first, others->unmoved(), entriesOf(a), at, ends);
        } else if (others != nullptr) {
            kept = moveSelected(a, first, column - first, others->unmoved(), a, at, ends);
        } else {
            std::fill_n(ends, column - first, at);
        }
        a.jc[first] = at;
        next = end;
    });
    keepUpTo(a.n);
}

/// What the target needs in order to hold `total` entries, in fresh blocks or where it can in its own.
Needs needsOf(const Columns& a, const Region& region, const RightSide& b, const FillLimits& limits, unsigned total,
              bool freshBlocks)
{
    return {.capacity = limits.capacity != 0 ? limits.capacity : std::max(total, a.nzmax),
            .columns = std::max(region.n, a.n),
            .imaginaryPart = b.isComplex(),
            .freshBlocks = freshBlocks};
}

/// Fills columns that are a run by a rebuild, where it pays.
bool rebuild(kxArray* A, const Region& region, const RightSide& b, const RowFilter& filter, const FillLimits& limits)
{
    const Columns a(A);
    if (b.isNothing() || filter.others() == nullptr || !region.columns.isRun() ||
        !rebuildPays(a.nnz(), filter.looks(), region.rows.count(), region.columns.count())) {
        return false;
    }
    const unsigned begin = a.jc[std::min(region.columns.lowest(), a.n)];
    const unsigned end = a.jc[std::min(region.columns.highest() + 1, a.n)];
    const std::uint64_t inColumns =
        std::uint64_t{countSelected(a, begin, end, filter.others()->unmoved())} + region.entriesOf(b);
    const unsigned total = checkedCount(inColumns + (a.nnz() - (end - begin)));
    if (!freshBlocksPay(a.nzmax, a.elementSize, total)) {
        return false;
    }
    if (inColumns > limits.mostEntries) {
        raiseMaxSize();
    }
    Relay relay(A, needsOf(a, region, b, limits, total, true));
    rebuildColumns(relay, region, b, *filter.others());
    kxSetM(A, region.m);
    return true;
}

} // namespace

void fillRegion(kxArray* A, const Region& region, const RightSide& b, const FillLimits& limits)
{
    const Columns a(A);
    const RowFilter filter(a, region.rows, region.columns, region.m);
    if (b.isNothing() &&
        (filter.coversAll() || (filter.others() != nullptr &&
                                clearsInOnePass(filter.looks(), region.rows.count(), region.columns.count())))) {
        growColumns(A, region.n); // the last thing that can fail
        clearInOnePass(Columns(A), region.columns, filter.others());
        kxSetM(A, region.m);
        return;
    }
    if (rebuild(A, region, b, filter, limits)) {
        return;
    }
    const RegionPatches patches(a, region, filter, b);
    const unsigned total = checkedCount(patches.total());
    if (patches.inTargetColumns() > limits.mostEntries) {
        raiseMaxSize();
    }
    const bool mergesMost = patches.keepsOthers() && patches.rewritten() > total / 2 && !b.isNothing();
    Relay relay(A, needsOf(a, region, b, limits, total, mergesMost && freshBlocksPay(a.nzmax, a.elementSize, total)));
    const Numbers rows = b.isNothing() ? Numbers() : Numbers(region.rows.form());
    if (relay.inPlace() && patches.keepsOthers() && !b.isNothing()) {
        const Scratch scratch(checkedCount(patches.rewritten()), a.elementSize, a.pi != nullptr || b.isComplex());
        fillThroughScratch(relay, rows, b, filter, patches, scratch);
    } else {
        fillDirectly(relay, rows, b, filter, patches);
    }
    kxSetM(A, region.m);
}

} // namespace zqsp
