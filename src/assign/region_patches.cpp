#include "assign/region_methods.hpp"
#include "core/counts.hpp"
#include "core/growing_list.hpp"
#include "core/values.hpp"

namespace zqsp {

namespace {

/// What a filling changes, known before anything moves: patches in ascending order. Of a patch, what is stored goes,
/// and `length` entries of b from number `source` on come. (Of a scalar b: its value, in the target rows from that
/// number on.)
class RegionPatches
{
  public:
    /// `rows`: of the region. Raises on exhausted memory.
    RegionPatches(const Columns& a, const Region& region, const RowFilter& filter, const RightSide& b, NumberView rows)
        : a_(a),
          filter_(filter),
          b_(b),
          rows_(rows),
          rowCount_(region.rows.count()),
          rowsAreRun_(region.rows.isRun()),
          total_(a.nnz())
    {
        patches_.reserve(static_cast<unsigned>(
            std::min<std::uint64_t>(region.columns.count(), a.nnz() + region.entriesOf(b)))); // mostly one for each
        region.columns.forEach([this](unsigned t, unsigned column) { visitColumn(t, column); });
    }

    [[nodiscard]] std::span<const Patch> list() const { return patches_.elements(); }
    /// Entries of the target afterwards.
    [[nodiscard]] std::uint64_t total() const { return total_; }
    /// Entries of the target columns afterwards.
    [[nodiscard]] std::uint64_t inTargetColumns() const { return inTargetColumns_; }

  private:
    [[gnu::noinline]] void visitColumn(unsigned t, unsigned column)
    {
        constexpr std::uint64_t kEntriesPerRow = 16; // from there on a search for each row beats looking at each entry
        const bool isMatrix = b_.kind == RightSide::Kind::kMatrix;
        const unsigned source = isMatrix ? b_.b.jc[t] : 0;
        const unsigned sourceEnd = isMatrix ? b_.b.jc[t + std::size_t{1}] : b_.isScalar() ? rowCount_ : 0;
        const EntrySpan span = filter_.spanIn(a_, column);
        inTargetColumns_ += column < a_.n ? a_.length(column) : 0;
        if (span.length() == 0 || rowsAreRun_) {
            add({.column = column,
                 .begin = span.begin,
                 .end = span.end,
                 .length = sourceEnd - source,
                 .source = source});
        } else if (span.length() > kEntriesPerRow * rowCount_) {
            addRowByRow(column, span, source, sourceEnd);
        } else {
            addEntryByEntry(column, span, source, sourceEnd);
        }
    }

    /// Few rows in a long column leave the rest of it alone.
    void addRowByRow(unsigned column, EntrySpan span, unsigned source, unsigned sourceEnd)
    {
        unsigned at = span.begin;
        for (unsigned i = 0; i < rowCount_; ++i) {
            const unsigned row = rows_[i];
            at = gallop(a_.ir, at, span.end, row);
            const unsigned stored = at < span.end && a_.ir[at] == row ? 1 : 0;
            const unsigned comes = source < sourceEnd && targetRow(source) == row ? 1 : 0;
            add({.column = column, .begin = at, .end = at + stored, .length = comes, .source = source});
            at += stored;
            source += comes;
        }
    }

    void addEntryByEntry(unsigned column, EntrySpan span, unsigned source, unsigned sourceEnd)
    {
        for (unsigned e = span.begin; e < span.end; ++e) {
            const unsigned row = a_.ir[e];
            const unsigned before = source;
            while (source < sourceEnd && targetRow(source) < row) {
                ++source;
            }
            add({.column = column, .begin = e, .end = e, .length = source - before, .source = before});
            if (filter_.targets(row)) {
                const unsigned comes = source < sourceEnd && targetRow(source) == row ? 1 : 0;
                add({.column = column, .begin = e, .end = e + 1, .length = comes, .source = source});
                source += comes;
            }
        }
        add({.column = column, .begin = span.end, .end = span.end, .length = sourceEnd - source, .source = source});
    }

    /// The target row of an entry of b.
    [[nodiscard]] unsigned targetRow(unsigned source) const { return rows_[b_.isScalar() ? source : b_.b.ir[source]]; }

    void add(const Patch& patch)
    {
        const std::uint64_t dropped = patch.end - patch.begin;
        if (patch.length + dropped == 0) {
            return;
        }
        total_ += patch.length;
        total_ -= dropped;
        inTargetColumns_ += patch.length;
        inTargetColumns_ -= dropped;
        patches_.add(patch);
    }

    const Columns& a_;
    const RowFilter& filter_;
    const RightSide& b_;
    NumberView rows_;
    unsigned rowCount_;
    bool rowsAreRun_;
    GrowingList<Patch> patches_;
    std::uint64_t total_;
    std::uint64_t inTargetColumns_ = 0;
};

/// The target rows of `count` entries of b from `begin` on.
void writeRows(NumberView rows, const RightSide& b, unsigned begin, unsigned count, unsigned* out)
{
    const unsigned* const source = b.isScalar() ? nullptr : b.b.ir + begin;
    for (unsigned i = 0; i < count; ++i) {
        out[i] = rows[source == nullptr ? begin + i : source[i]];
    }
}

} // namespace

void fillByPatches(kxArray* A, const Region& region, const RightSide& b, const RowFilter& filter,
                   const FillLimits& limits)
{
    const Columns a(A);
    const Numbers rows(region.rows.form());
    const RegionPatches patches(a, region, filter, b, rows);
    const unsigned total = checkedCount(patches.total());
    if (patches.inTargetColumns() > limits.mostEntries) {
        raiseMaxSize();
    }
    Relay relay(A, needsOf(a, region, b, limits, total, false));
    const Columns after = relay.after();
    withStorage(after, a, b.b, [&](auto to, auto, auto from) {
        relay.commit(patches.list(), [&](const Patch& patch, unsigned at) {
            writeRows(rows, b, patch.source, patch.length, after.ir + at);
            if (b.isScalar()) {
                to.fill(at, from, 0, patch.length);
            } else {
                to.copyRun(at, from, patch.source, patch.length);
            }
        });
    });
}

} // namespace zqsp
