#include "reference/linear_hits.hpp"

#include "core/fast_divisor.hpp"
#include "core/place_search.hpp"
#include "core/search.hpp"
#include "core/wide_intersection.hpp"
#include "reference/entry_filter.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <type_traits>

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

/// Ascending positions that outnumber the entries of their columns, `first` to `last`: each entry is looked for among
/// them, by galloping from where the one before was.
template <typename S>
void findByEntries(const Columns& a, unsigned first, unsigned last, const S& positions, HitList& hits)
{
    const unsigned count = positions.count();
    unsigned t = 0;
    std::uint64_t start = std::uint64_t{first} * a.m;
    for (unsigned j = first; j <= last; ++j, start += a.m) {
        for (unsigned e = a.jc[j]; e < a.jc[j + 1]; ++e) {
            const std::uint64_t position = start + a.ir[e];
            if (position > positions[count - 1]) {
                return;
            }
            t = gallop(positions, t, count, static_cast<unsigned>(position));
            for (; positions[t] == position; ++t) {
                hits.add(t, e);
                if (t + 1 == count) {
                    return;
                }
            }
        }
    }
}

/// Whether wide registers serve: the list and the entries of its columns are about as long, and the columns not short.
bool intersectionIsCheaper(unsigned entries, unsigned columns, unsigned count)
{
    constexpr unsigned kAtMost = 8; // times as many of one as of the other
    constexpr unsigned kLongColumn = 64;
    return haveAvx512() && entries / kAtMost <= count && count / kAtMost <= entries && entries / kLongColumn >= columns;
}

/// Ascending positions in the columns `first` to `last`, each column intersected with what lies in it.
void findByIntersection(const Columns& a, unsigned first, unsigned last, const IndexList& positions, HitList& hits)
{
    const unsigned count = positions.count();
    unsigned t = 0;
    std::uint64_t start = std::uint64_t{first} * a.m;
    for (unsigned j = first; j <= last && t < count; ++j, start += a.m) {
        const auto isInColumn = [end = start + a.m](unsigned position) { return position < end; };
        const auto inColumn = static_cast<unsigned>(
            std::partition_point(positions.begin() + t, positions.end(), isInColumn) - positions.begin());
        const unsigned begin = a.jc[j];
        wide::Intersection lists(a.ir + begin, a.length(j), positions.begin() + t, inColumn - t,
                                 static_cast<unsigned>(start));
        for (wide::Intersection::Finds finds; lists.next(finds);) {
            for (unsigned i = 0; i < finds.count; ++i) {
                hits.add(t + finds.position[i], begin + finds.row[i]);
            }
        }
        unsigned entry = begin + lists.row();
        for (t += lists.position(); t < inColumn; ++t) {
            const auto row = static_cast<unsigned>(positions[t] - start);
            entry = gallop(a.ir, entry, a.jc[j + 1], row);
            hits.addIfStored(t, {entry, entry < a.jc[j + 1] && a.ir[entry] == row});
        }
    }
}

/// A range or a list of at least one position.
template <typename S>
void findNumbered(const Columns& a, const S& positions, HitList& hits)
{
    const unsigned count = positions.count();
    if (positions.order() == Order::kAscending) {
        const unsigned first = positions[0] / a.m;
        const unsigned last = positions[count - 1] / a.m;
        const unsigned columns = last - first + 1;
        const unsigned entries = a.jc[last + 1] - a.jc[first];
        if constexpr (std::is_same_v<S, IndexList>) {
            if (intersectionIsCheaper(entries, columns, count)) {
                findByIntersection(a, first, last, positions, hits);
                return;
            }
        }
        constexpr unsigned kFewer = 2; // times: with more entries, a search of each position is faster
        if (entries <= count / kFewer && columns <= count) {
            findByEntries(a, first, last, positions, hits);
            return;
        }
        if (gallopIsCheaper(a, count)) {
            findAscending(a, positions, hits);
            return;
        }
    }
    findAnywhere(a, positions, hits);
}

void find(const Columns& a, const IndexRange& range, HitList& hits)
{
    if (range.isRun()) {
        RunHits(a, range).forEach([&](Hit hit) { hits.add(hit.ordinal, hit.source); });
        return;
    }
    findNumbered(a, range, hits);
}

void find(const Columns& a, const IndexList& list, HitList& hits)
{
    findNumbered(a, list, hits);
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
    findAscending(a, mask, hits);
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
