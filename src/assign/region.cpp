#include "assign/region.hpp"

#include "assign/region_patches.hpp"
#include "core/counts.hpp"

#include <algorithm>
#include <array>

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
/// of what was there.
void fillDirectly(Relay& relay, NumberView rows, const RightSide& b, const RowFilter& filter,
                  const RegionPatches& patches)
{
    withRegionMerge(relay.before(), relay.after(), b, filter, rows, [&](const auto& merge) {
        relay.commit(patches.list(), [&](const RegionPatch& patch, unsigned place) { merge.write(patch, place); });
    });
}

/// The patches keep what stays, in place: nothing comes, so that none grows.
void clear(Relay& relay, const RowFilter& filter, const RegionPatches& patches)
{
    const Columns& a = relay.before();
    const auto closeUp = [&](auto keep) {
        relay.commit(patches.list(), [keep](const RegionPatch& patch, unsigned at) {
            if (patch.keepsOthers) {
                keep(patch, at);
            }
        });
    };
    if (const RowSet* others = filter.others()) {
        closeUp([stay = RowChoice(others->unmoved()), entries = entriesOf(a)](const RegionPatch& patch, unsigned at) {
            const std::array<unsigned, 2> ends = {patch.begin, patch.end};
            unsigned end = 0;
            kernels().moveSelected(entries, ends.data(), 1, stay, entries, at, &end);
        });
        return;
    }
    withStorage(a, [&](auto values) { // few entries, or a run of rows
        closeUp([&filter, &a, values](const RegionPatch& patch, unsigned at) {
            filter.withTest([=, &a](auto isTarget) mutable {
                for (unsigned e = patch.begin; e < patch.end; ++e) {
                    if (!isTarget(a.ir[e])) {
                        a.ir[at] = a.ir[e];
                        values.copy(at++, values, e);
                    }
                }
            });
        });
    });
}

} // namespace

void fillRegion(kxArray* A, const Region& region, const RightSide& b, const FillLimits& limits)
{
    const Columns a(A);
    const RowFilter filter(a, region.rows, region.columns, region.m);
    const RegionPatches patches(a, region, filter, b);
    const unsigned total = checkedCount(patches.total());
    if (patches.inTargetColumns() > limits.mostEntries) {
        raiseMaxSize();
    }
    // Where most entries are merged anew, writing them once into fresh blocks beats putting them together aside.
    const bool mergesMost = patches.keepsOthers() && patches.rewritten() > total / 2;
    Relay relay(A, {.capacity = limits.capacity != 0 ? limits.capacity : std::max(total, a.nzmax),
                    .columns = std::max(region.n, a.n),
                    .imaginaryPart = b.isComplex(),
                    .freshBlocks = mergesMost && !b.isNothing()});
    if (b.isNothing()) {
        clear(relay, filter, patches);
    } else {
        const Numbers rows(region.rows.form());
        if (relay.inPlace() && patches.keepsOthers()) {
            const Scratch scratch(checkedCount(patches.rewritten()), a.elementSize, a.pi != nullptr || b.isComplex());
            fillThroughScratch(relay, rows, b, filter, patches, scratch);
        } else {
            fillDirectly(relay, rows, b, filter, patches);
        }
    }
    kxSetM(A, region.m);
}

} // namespace zqsp
