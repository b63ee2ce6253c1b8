#include "reference/linear_hits.hpp"

#include "core/fast_divisor.hpp"
#include "core/place_search.hpp"
#include "core/search.hpp"
#include "kernels/kernels.hpp"
#include "reference/entry_filter.hpp"
#include "reference/entry_positions.hpp"

#include <algorithm>
#include <array>
#include <bit>

namespace zqsp {

namespace {

/// Finds ascending positions by stepping along the columns and galloping within them.
class AscendingFinder
{
  public:
    explicit AscendingFinder(const Columns& a) : a_(a) {}

    /// Where `position`, not below the one before, is stored in its column or would be inserted.
    Slot find(std::uint64_t position)
    {
        if (position >= columnEnd_) {
            const bool isNext = position - columnEnd_ < a_.m && columnEnd_ > 0;
            enterColumn(isNext ? column_ + 1 : static_cast<unsigned>(position / a_.m));
        }
        const unsigned end = a_.jc[column_ + 1];
        const auto row = static_cast<unsigned>(position - (columnEnd_ - a_.m));
        entry_ = gallop(a_.ir, entry_, end, row);
        return {entry_, entry_ < end && a_.ir[entry_] == row};
    }

  private:
    void enterColumn(unsigned column)
    {
        column_ = column;
        columnEnd_ = (std::uint64_t{column} + 1) * a_.m;
        entry_ = a_.jc[column];
    }

    const Columns& a_;
    unsigned column_ = 0;
    std::uint64_t columnEnd_ = 0; // position behind the current column; 0: none entered yet
    unsigned entry_ = 0;
};

template <Selector S>
void findAscending(const Columns& a, const S& positions, HitList& hits)
{
    AscendingFinder finder(a);
    unsigned ordinal = 0;
    positions.forEach([&](unsigned position) { hits.addIfStored(ordinal++, finder.find(position)); });
}

/// Positions in any order: each is searched in its column.
template <typename S>
void findAnywhere(const Columns& a, const S& positions, HitList& hits)
{
    const unsigned count = positions.count();
    const FastDivisor divisor(a.m);
    const auto placeOf = [&](unsigned t) {
        const unsigned position = positions[t];
        const unsigned column = divisor.quotient(position);
        return Place{position - column * a.m, column};
    };
    if (!EntryFilter::pays(a, count)) {
        findPlaces(a, count, placeOf, [&](unsigned t, unsigned entry) { hits.add(t, entry); });
        return;
    }
    const EntryFilter filter(a);
    std::array<unsigned, 1024> left; // of a block of positions, those that may be stored
    for (unsigned done = 0, size = 0; done < count; done += size) {
        size = std::min<unsigned>(left.size(), count - done);
        unsigned leftCount = 0;
        for (unsigned i = 0; i < size; ++i) {
            left[leftCount] = done + i;
            leftCount += filter.mayHold(positions[done + i]) ? 1U : 0U;
        }
        findPlaces(
            a, leftCount, [&](unsigned i) { return placeOf(left[i]); },
            [&](unsigned i, unsigned entry) { hits.add(left[i], entry); });
    }
}

/// Whether ascending positions are found faster by galloping than each by a search of its column, which goes on many
/// columns at a time: a gallop takes about two probes for each doubling of the gap between neighbours, a search one for
/// each halving of the column; and it mispredicts its end, which (measured) is worth eight probes more.
bool gallopIsCheaper(const Columns& a, unsigned count)
{
    const auto gap = static_cast<unsigned>(std::bit_width(a.nnz() / count));
    const auto column = static_cast<unsigned>(std::bit_width(a.nnz() / a.n));
    constexpr unsigned kMisprediction = 8;
    return 2 * gap + kMisprediction <= column;
}

/// A mask that selects much: each entry is asked for its byte, and the ordinals are counted eight bytes at a time.
void findInMask(const Columns& a, const LogicalMask& mask, HitList& hits)
{
    unsigned counted = 0; // bytes before this one are counted in `ordinal`
    unsigned ordinal = 0;
    std::uint64_t start = 0;
    for (unsigned j = 0; j < a.n && start < mask.length; ++j, start += a.m) {
        for (unsigned e = a.jc[j]; e < a.jc[j + 1]; ++e) {
            const std::uint64_t position = start + a.ir[e];
            if (position < mask.length && mask.values[position] != 0) {
                ordinal += countTrue(mask.values + counted, static_cast<unsigned>(position) - counted);
                counted = static_cast<unsigned>(position);
                hits.add(ordinal, e);
            }
        }
    }
}

/// The columns that ascending positions lie in.
struct ColumnSpan
{
    unsigned first;
    unsigned last;
    unsigned entries;

    ColumnSpan(const Columns& a, unsigned lowest, unsigned highest)
        : first(lowest / a.m), last(highest / a.m), entries(a.jc[last + 1] - a.jc[first])
    {
    }
    [[nodiscard]] unsigned columns() const { return last - first + 1; }
};

/// Ascending positions that outnumber the entries of their columns: each entry is looked for among them, from where the
/// one before was.
void findByEntries(const Columns& a, ColumnSpan span, const IndexList& positions, HitList& hits)
{
    const unsigned count = positions.count();
    unsigned t = 0;
    std::uint64_t start = std::uint64_t{span.first} * a.m;
    for (unsigned j = span.first; j <= span.last; ++j, start += a.m) {
        for (unsigned e = a.jc[j]; e < a.jc[j + 1]; ++e) {
            const std::uint64_t position = start + a.ir[e];
            if (position > positions[count - 1]) {
                return;
            }
            t = gallopNear(positions.begin(), t, count, static_cast<unsigned>(position));
            for (; positions[t] == position; ++t) {
                hits.add(t, e);
                if (t + 1 == count) {
                    return;
                }
            }
        }
    }
}

/// Whether the lists are alike enough in length to be gone through together: not where one of them is much longer, or
/// where each position is found in a short column as fast.
bool intersectionIsCheaper(ColumnSpan span, unsigned count)
{
    constexpr unsigned kLongColumn = 64;
    const Costs& costs = kernels().costs;
    const bool columnsAreLong = span.entries / kLongColumn >= span.columns();
    const unsigned factor = columnsAreLong ? costs.intersectLongColumns : costs.intersectShortColumns;
    return span.entries / factor <= count && count / costs.positionsPerGallop <= span.entries;
}

/// Ascending positions by blocks of the entries that may be meant.
void findByIntersection(const Columns& a, ColumnSpan span, const IndexList& list, HitList& hits)
{
    constexpr unsigned kBlock = EntryPositions::kBlock;
    std::array<unsigned, kBlock + kKernelSlack> inEntries;
    std::array<unsigned, kBlock + kKernelSlack> inList;
    const unsigned count = list.count();
    EntryPositions entries(a, span.first, span.last, list[count - 1]);
    entries.advance(0);
    for (unsigned t = 0; entries.count() > 0 && t < count;) {
        const Common common = kernels().intersect(entries.positions(), entries.count(), list.begin() + t,
                                                  std::min(kBlock, count - t), inEntries.data(), inList.data());
        for (unsigned i = 0; i < common.count; ++i) {
            hits.add(t + inList[i], entries.begin() + inEntries[i]);
        }
        t += common.second;
        entries.advance(common.first);
    }
}

/// The neighbours in an ascending progression are as far apart as any others, so that a division finds an entry's
/// place among them, or that it has none: nothing is searched.
void findInProgression(const Columns& a, ColumnSpan span, const IndexRange& range, HitList& hits)
{
    const auto stride = static_cast<unsigned>(range.stride);
    const FastDivisor divisor(stride);
    EntryPositions entries(a, span.first, span.last, range.last);
    std::array<Hit, EntryPositions::kBlock> found;
    for (entries.advance(0); entries.count() > 0; entries.advance(entries.count())) {
        const unsigned* const positions = entries.positions();
        unsigned count = 0;
        for (unsigned i = 0; i < entries.count(); ++i) { // written first, kept only if it is one: nothing to predict
            const unsigned distance = positions[i] - range.first; // past all where it lies before the first one
            const unsigned ordinal = divisor.quotient(distance);
            found[count] = {ordinal, entries.begin() + i};
            count += ordinal * stride == distance && ordinal < range.size ? 1U : 0U;
        }
        hits.add({found.data(), count});
    }
}

void find(const Columns& a, const IndexRange& range, HitList& hits)
{
    if (range.isRun()) {
        RunHits(a, range).forEach([&](Hit hit) { hits.add(hit.ordinal, hit.source); });
        return;
    }
    const IndexRange ascending = range.ascending();
    const ColumnSpan span(a, ascending.first, ascending.last);
    constexpr unsigned kMore = 4; // times: with more entries, a search of each position is faster
    if (span.columns() <= range.size && span.entries / kMore <= range.size) {
        findInProgression(a, span, ascending, hits);
    } else if (gallopIsCheaper(a, range.size)) {
        findAscending(a, ascending, hits);
    } else {
        findAnywhere(a, ascending, hits);
    }
    if (range.order() == Order::kDescending) {
        hits.reverse(range.size);
    }
}

void findInAscendingList(const Columns& a, const IndexList& list, HitList& hits)
{
    const unsigned count = list.count();
    const ColumnSpan span(a, list[0], list[count - 1]);
    constexpr unsigned kFewer = 2; // times: with more entries, a search of each position is faster
    if (span.columns() <= count && intersectionIsCheaper(span, count)) {
        findByIntersection(a, span, list, hits);
    } else if (span.columns() <= count && span.entries <= count / kFewer) {
        findByEntries(a, span, list, hits);
    } else if (gallopIsCheaper(a, count)) {
        findAscending(a, list, hits);
    } else {
        findAnywhere(a, list, hits);
    }
}

void find(const Columns& a, const IndexList& list, HitList& hits)
{
    if (list.order() == Order::kAscending) {
        findInAscendingList(a, list, hits);
    } else if (list.order() == Order::kDescending) { // an ascending list, read from its end
        auto reversed = Block<unsigned>::make(list.count());
        std::reverse_copy(list.begin(), list.end(), reversed.get());
        findInAscendingList(a, IndexList(std::move(reversed), list.count(), Order::kAscending), hits);
        hits.reverse(list.count());
    } else {
        findAnywhere(a, list, hits);
    }
}

void find(const Columns& a, const LogicalMask& mask, HitList& hits)
{
    if (mask.count() > a.nnz()) {
        findInMask(a, mask, hits);
    } else {
        findAscending(a, mask, hits);
    }
}

void find(const Columns& a, const SparseLogicalMask& mask, HitList& hits)
{
    auto positions = Block<unsigned>::make(mask.count());
    unsigned count = 0;
    mask.forEach([&](unsigned position) { positions[count++] = position; });
    find(a, IndexList(std::move(positions), count, Order::kAscending), hits);
}

} // namespace

RunHits::RunHits(const Columns& a, const IndexRange& run) : a_(a), first_(run.first)
{
    if (run.count() > 0) {
        AscendingFinder finder(a);
        begin_ = finder.find(run.first).position;
        column_ = run.first / a.m;
        const Slot last = finder.find(run.last);
        end_ = last.position + (last.stored ? 1U : 0U);
    }
}

HitList findHits(const Columns& a, const Subscript& positions)
{
    HitList hits;
    if (countOf(positions) > 0 && a.nnz() > 0) { // and so A has rows and columns to divide by
        std::visit([&](const auto& form) { find(a, form, hits); }, positions);
    }
    return hits;
}

bool findLargeMaskHits(const Columns& a, const SparseLogicalMask& mask, HitList& hits)
{
    const std::uint64_t elements = std::uint64_t{a.m} * a.n;
    AscendingFinder finder(a);
    unsigned ordinal = 0;
    std::uint64_t start = 0;
    for (unsigned c = 0; c < mask.n; ++c, start += mask.m) {
        for (unsigned e = mask.jc[c]; e < mask.jc[c + 1]; ++e, ++ordinal) {
            const std::uint64_t position = start + mask.ir[e];
            if (position >= elements) {
                return false;
            }
            hits.addIfStored(ordinal, finder.find(position));
        }
    }
    return true;
}

} // namespace zqsp
