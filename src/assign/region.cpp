#include "assign/region.hpp"

#include "core/errors.hpp"
#include "core/owners.hpp"
#include "core/values.hpp"

namespace zqsp {

namespace {

/// Rows that a set takes one by one: a mask comes by blocks.
unsigned marksOf(const Subscript& rows)
{
    return std::holds_alternative<LogicalMask>(rows) ? 0 : countOf(rows);
}

/// What a filling changes, known before anything moves: patches in ascending order. Of a patch, what is stored goes,
/// and `length` entries of b from number `source` on come. (Of a dense b: its values, in the target rows from number
/// `row` on.)
class RegionPatches
{
  public:
    /// `rows`: of the region. Raises on exhausted memory.
    RegionPatches(const Columns& a, const Region& region, const RowFilter& filter, const RightSide& b, NumberView rows)
        : a_(a), filter_(filter), b_(b), rows_(rows), rowCount_(region.rows.count()), rowsAreRun_(region.rows.isRun())
    {
        constexpr std::uint64_t kPatchesEach = 2; // of most columns where their rows change one by one
        const std::uint64_t columns = region.columns.count();
        if (rowsAreRun_) {
            patches_.reserve(static_cast<unsigned>(std::min(columns, a.nnz() + region.entriesOf(b))));
        } else {
            patches_.reserve(static_cast<unsigned>(
                std::min({columns * kPatchesEach, filter.looks() + region.entriesOf(b), std::uint64_t{UINT32_MAX}})));
            stored_ = Block<unsigned>::make(std::min<std::uint64_t>(filter.longest(), roomFor(rowCount_)) + 1);
        }
        region.columns.forEach([this](unsigned t, unsigned column) { visitColumn(t, column); });
    }

    [[nodiscard]] std::span<const Patch> list() const { return patches_; }
    /// Entries of the target afterwards.
    [[nodiscard]] std::uint64_t total() const { return a_.nnz() + growth_; }
    /// Entries of the target columns afterwards.
    [[nodiscard]] std::uint64_t inTargetColumns() const { return before_ + growth_; }

  private:
    [[gnu::noinline]] void visitColumn(unsigned t, unsigned column)
    {
        const unsigned source = b_.isMatrix() ? b_.b.jc[t] : b_.isDense() ? t * rowCount_ : 0;
        const unsigned sourceEnd = b_.isMatrix() ? b_.b.jc[t + std::size_t{1}] : b_.isDense() ? source + rowCount_ : 0;
        first_ = source;
        const EntrySpan span = filter_.spanIn(a_, column);
        before_ += column < a_.n ? a_.length(column) : 0;
        if (span.length() == 0 || rowsAreRun_) {
            add({.column = column,
                 .begin = span.begin,
                 .end = span.end,
                 .length = sourceEnd - source,
                 .row = 0,
                 .source = source});
        } else {
            addOneByOne(column, span, source, sourceEnd);
        }
    }

    /// What is stored in target rows goes, each place by itself, and the rest of the column is left alone.
    void addOneByOne(unsigned column, EntrySpan span, unsigned source, unsigned sourceEnd)
    {
        const unsigned* dropped = stored_.get();
        const unsigned* const droppedEnd = findStored(span);
        const auto drop = [&](unsigned end) {
            for (; dropped != droppedEnd && *dropped < end; ++dropped) {
                add({.column = column, .begin = *dropped, .end = *dropped + 1, .length = 0});
            }
        };
        for (unsigned at = span.begin, count = 0; source < sourceEnd; source += count) {
            at = placeAmong(a_, at, span.end, targetRow(source));
            drop(at);
            const unsigned replaced = dropped != droppedEnd && *dropped == at ? 1 : 0;
            count = 1;
            while (replaced == 0 && source + count < sourceEnd &&
                   (at == span.end || targetRow(source + count) < a_.ir[at])) {
                ++count;
            }
            add({.column = column,
                 .begin = at,
                 .end = at + replaced,
                 .length = count,
                 .row = source - first_,
                 .source = source});
            dropped += replaced;
            at += replaced;
        }
        drop(span.end);
    }

    /// The target row of an entry of b.
    [[nodiscard]] unsigned targetRow(unsigned source) const
    {
        return rows_[b_.isDense() ? source - first_ : b_.b.ir[source]];
    }

    /// The entries of a span in target rows: each row is searched, or each entry asked. Returns their end.
    unsigned* findStored(EntrySpan span) const
    {
        unsigned* found = stored_.get();
        if (span.length() <= roomFor(rowCount_)) {
            return filter_.find(a_, span, found);
        }
        for (unsigned i = 0, at = span.begin; i < rowCount_; ++i) {
            at = gallop(a_.ir, at, span.end, rows_[i]);
            if (at < span.end && a_.ir[at] == rows_[i]) {
                *found++ = at++;
            }
        }
        return found;
    }

    /// Entries that are asked one by one in the time that so many rows are searched.
    static std::uint64_t roomFor(unsigned rows)
    {
        constexpr std::uint64_t kEntriesPerRow = 16;
        return kEntriesPerRow * rows;
    }

    void add(const Patch& patch)
    {
        const std::uint64_t dropped = patch.end - patch.begin;
        if (patch.length + dropped == 0) {
            return;
        }
        growth_ += patch.length - dropped;
        patches_.push_back(patch);
    }

    const Columns& a_;
    const RowFilter& filter_;
    const RightSide& b_;
    NumberView rows_;
    unsigned rowCount_;
    bool rowsAreRun_;
    Block<unsigned> stored_; // entries of a column in target rows
    List<Patch> patches_;
    unsigned first_ = 0;       // entry of b in the column
    std::uint64_t before_ = 0; // entries of the target columns
    std::uint64_t growth_ = 0; // modulo 2^64
};

/// The target rows of what a patch brings.
void writeRows(NumberView rows, const RightSide& b, const Patch& patch, unsigned* out)
{
    const unsigned* const source = b.isDense() ? nullptr : b.b.ir + patch.source;
    const unsigned count = patch.length;
    const unsigned begin = patch.row;
    for (unsigned i = 0; i < count; ++i) {
        out[i] = rows[source == nullptr ? begin + i : source[i]];
    }
}

} // namespace

RowFilter::RowFilter(const Columns& a, const Ordered& rows, const Ordered& columns, unsigned m)
    : rows_(rows),
      lowest_(rows.lowest()),
      highest_(rows.highest()),
      coversAll_(rows.isRun() && lowest_ == 0 && highest_ + 1 >= a.m),
      isScattered_(!rows.isRun())
{
    if (!isScattered_) {
        return;
    }
    const auto look = [&](unsigned column) {
        looks_ += a.length(column);
        longest_ = std::max(longest_, a.length(column));
    };
    if (columns.isRun()) {
        for (unsigned column = columns.lowest(); column <= columns.highest() && column < a.n; ++column) {
            look(column);
        }
    } else { // looking for runs takes longer (uniform1/set-region.zero 0.034, 0.036)
        columns.forEach([&](unsigned, unsigned column) {
            if (column < a.n) {
                look(column);
            }
        });
    }
    if (setOfRowsPays(m, marksOf(rows.form()), looks_, rows.count())) {
        others_ = RowSet::emptyOrNone(m);
        if (others_) {
            addAll(*others_, rows.form());
            others_->rankOthers();
        }
    }
}

void fillByPatches(kxArray* A, const Region& region, const RightSide& b, const RowFilter& filter)
{
    const Columns a(A);
    const Numbers rows(region.rows.form());
    const RegionPatches patches(a, region, filter, b, rows);
    const unsigned total = checkedCount(patches.total());
    if (patches.inTargetColumns() > region.mostEntries) {
        raiseMaxSize();
    }
    Relay relay(A, {.capacity = std::max(total, a.nzmax), .columns = region.n, .imaginaryPart = b.isComplex()});
    const Columns after = relay.after();
    const GenericValues to(after);
    const GenericValues from(b.b);
    relay.commit(patches.list(), [&](const Patch& patch, unsigned at) {
        writeRows(rows, b, patch, after.ir + at);
        if (b.isScalar()) {
            to.fill(at, from, 0, patch.length);
        } else {
            to.copyRun(at, from, patch.source, patch.length);
        }
    });
}

void fillRegion(kxArray* A, const Region& region, const RightSide& b)
{
    const RowFilter filter(Columns(A), region.rows, region.columns, region.m);
    if (!fillInOnePass(A, region, b, filter)) {
        fillByPatches(A, region, b, filter);
    }
    kxSetM(A, region.m);
}

} // namespace zqsp
