#include "assign/region_patches.hpp"

#include <algorithm>

namespace zqsp {

RegionPatches::RegionPatches(const Columns& a, const Region& region, const RowFilter& filter, const RightSide& b)
    : a_(a), region_(region), filter_(filter), b_(b), rowsAreRun_(region.rows.isRun()), total_(a.nnz())
{
    constexpr std::uint64_t kEntriesPerRow = 16; // from there on a search for each row beats looking at each entry
    const std::uint64_t rowCount = region.rows.count();
    patches_.reserve(static_cast<unsigned>(
        std::min<std::uint64_t>(region.columns.count(), a.nnz() + region.entriesOf(b)))); // mostly one for each
    const bool isMatrix = b.kind == RightSide::Kind::kMatrix;
    const unsigned ofEach = b.isScalar() ? region.rows.count() : 0; // entries of a column of what is no matrix
    region.columns.forEach([&](unsigned t, unsigned column) {
        const unsigned sourceBegin = isMatrix ? b.b.jc[t] : 0;
        const unsigned sourceEnd = isMatrix ? b.b.jc[t + std::size_t{1}] : ofEach;
        const EntrySpan span = filter.spanIn(a, column);
        inTargetColumns_ += column < a.n ? a.length(column) : 0;
        if (!rowsAreRun_ && span.length() > kEntriesPerRow * rowCount) {
            addRowByRow(column, span, sourceBegin, sourceEnd);
        } else {
            addColumn(column, span, sourceBegin, sourceEnd);
        }
    });
}

/// One patch from the lowest to the highest target row of the column.
void RegionPatches::addColumn(unsigned column, EntrySpan span, unsigned sourceBegin, unsigned sourceEnd)
{
    const unsigned others = rowsAreRun_ ? 0 : filter_.countOthers(a_, span);
    const unsigned brought = sourceEnd - sourceBegin;
    if (brought > 0 || others < span.length()) {
        add({{column, span.begin, span.end, others + brought}, sourceBegin, sourceEnd, others > 0});
    }
}

/// A patch for each target row where something is stored or comes: few rows in a long column leave the rest of it
/// alone.
void RegionPatches::addRowByRow(unsigned column, EntrySpan span, unsigned sourceBegin, unsigned sourceEnd)
{
    if (!rows_) { // a mask is not walked for each column
        rows_.emplace(region_.rows.form());
    }
    unsigned at = span.begin;
    unsigned source = sourceBegin;
    for (unsigned i = 0; i < region_.rows.count(); ++i) {
        const unsigned row = (*rows_)[i];
        at = gallop(a_.ir, at, span.end, row);
        const bool stored = at < span.end && a_.ir[at] == row;
        const bool comes = source < sourceEnd && (b_.isScalar() || b_.b.ir[source] == i);
        if (stored || comes) {
            add({{column, at, at + (stored ? 1U : 0U), comes ? 1U : 0U}, source, source + (comes ? 1U : 0U), false});
        }
        at += stored ? 1U : 0U;
        source += comes ? 1U : 0U;
    }
}

void RegionPatches::add(const RegionPatch& patch)
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

} // namespace zqsp
