#include "lookup/find_hits.hpp"

#include "core/fast_divisor.hpp"
#include "core/note_method.hpp"
#include "core/search.hpp"
#include "kernels/kernels.hpp"
#include "kernels/select_loop.hpp"
#include "lookup/entry_filter.hpp"
#include "lookup/members.hpp"
#include "lookup/place_search.hpp"
#include "lookup/position_blocks.hpp"

#include <algorithm>
#include <array>

namespace zqsp {

namespace {

/// Moves numbers instead of elements: element i is first + i.
struct NumberMoves
{
    unsigned* numbers;
    unsigned first;

    void copy(std::size_t to, const NumberMoves& from, std::size_t source) const
    {
        numbers[to] = from.first + static_cast<unsigned>(source);
    }
};

static_assert(EntryPositions::kBlock <= HitList::kRoom && PositionBlocks::kBlock <= HitList::kRoom);

/// Each entry asks for its own position. `branches`: few of them find it.
template <typename Members>
void findByEntries(const Columns& a, const PositionSpan& span, Members members, bool branches, HitList& hits)
{
    for (EntryPositions entries(a, span); entries.count() > 0; entries.advance(entries.count())) {
        const HitList::Room room = hits.room(entries.count());
        const NumberMoves moves{room.sources, entries.begin()};
        hits.keep(
            selectEntries(entries.positions(), moves, 0, entries.count(), members, !branches, room.ordinals, moves, 0));
    }
}

/// Each entry is looked for in a list, from where the one before was.
void findInList(const Columns& a, const PositionSpan& span, const IndexList& list, HitList& hits)
{
    const unsigned count = list.count();
    unsigned t = 0;
    for (EntryPositions entries(a, span); entries.count() > 0; entries.advance(entries.count())) {
        for (unsigned i = 0; i < entries.count(); ++i) {
            const unsigned position = entries.positions()[i];
            for (t = gallop(list, t, count, position); t < count && list[t] == position; ++t) {
                const HitList::Room room = hits.room(1);
                *room.ordinals = t;
                *room.sources = entries.begin() + i;
                hits.keep(1);
            }
        }
    }
}

void findByIntersection(const Columns& a, const PositionSpan& span, const Subscript& positions, HitList& hits)
{
    EntryPositions entries(a, span);
    PositionBlocks blocks(positions);
    PositionBlock block;
    for (unsigned done = 0; entries.count() > 0;) {
        if (done == block.count) {
            block = blocks.next();
            done = 0;
            if (block.count == 0) {
                return;
            }
        }
        if (block.positions[block.count - 1] < entries.positions()[0]) {
            done = block.count;
            continue;
        }
        const unsigned left = block.count - done;
        const HitList::Room room = hits.room(left);
        const Common common = kernels().intersect(entries.positions(), entries.count(), block.positions + done, left,
                                                  room.sources, room.ordinals);
        for (unsigned i = 0; i < common.count; ++i) {
            room.sources[i] += entries.begin();
            room.ordinals[i] += block.ordinal + done;
        }
        hits.keep(common.count);
        done += common.second;
        entries.advance(common.first);
    }
}

/// Positions in any order: each is searched in its column, or those only that a filter lets pass.
void findBySearches(const Columns& a, const Subscript& positions, const EntryFilter* filter, HitList& hits)
{
    std::array<unsigned, PositionBlocks::kBlock> passed;
    std::array<unsigned, PositionBlocks::kBlock> ordinals;
    const FastDivisor byRows(a.m);
    PositionBlocks blocks(positions);
    for (PositionBlock block = blocks.next(); block.count > 0; block = blocks.next()) {
        if (filter != nullptr) {
            const NumberMoves moves{ordinals.data(), 0};
            block.count = selectEntries(block.positions, moves, 0, block.count, *filter, true, passed.data(), moves, 0);
            block.positions = passed.data();
        }
        const auto placeOf = [&](unsigned t) {
            const std::uint64_t position = block.base + block.positions[t];
            const unsigned column =
                block.base == 0 ? byRows.quotient(block.positions[t]) : static_cast<unsigned>(position / a.m);
            return Place{static_cast<unsigned>(position - std::uint64_t{column} * a.m), column};
        };
        const HitList::Room room = hits.room(block.count);
        unsigned found = 0;
        findPlaces(a, block.count, placeOf, [&](unsigned t, unsigned entry) {
            room.ordinals[found] = block.ordinal + (filter != nullptr ? ordinals[t] : t);
            room.sources[found++] = entry;
        });
        hits.keep(found);
    }
}

Positions formOf(const Subscript& positions)
{
    if (std::holds_alternative<IndexRange>(positions)) {
        return Positions::kRange;
    }
    if (std::holds_alternative<LogicalMask>(positions)) {
        return Positions::kMask;
    }
    if (std::holds_alternative<SparseLogicalMask>(positions)) {
        return Positions::kSparseMask;
    }
    return orderOf(positions) == Order::kUnsorted ? Positions::kUnsorted : Positions::kSorted;
}

/// The lowest position, or for a mask 0.
unsigned lowestOf(const Subscript& positions)
{
    if (const auto* range = std::get_if<IndexRange>(&positions)) {
        return range->first;
    }
    const auto* list = std::get_if<IndexList>(&positions);
    return list == nullptr ? 0 : *list->begin();
}

/// The entries that may be meant: of an unsorted list, all at positions of 32 bits.
PositionSpan spanOf(const Columns& a, const Subscript& positions)
{
    if (orderOf(positions) == Order::kUnsorted) {
        return {a, 0, static_cast<unsigned>(std::min<std::uint64_t>(std::uint64_t{a.m} * a.n - 1, UINT32_MAX))};
    }
    return {a, lowestOf(positions), highestOf(positions)};
}

void find(LookupMethod method, const Columns& a, const PositionSpan& span, const Subscript& positions, HitList& hits)
{
    switch (method) {
    case LookupMethod::kByEntries:
        if (const auto* mask = std::get_if<LogicalMask>(&positions)) {
            findByEntries(a, span, MaskMembers(*mask), true, hits);
        } else if (const auto* range = std::get_if<IndexRange>(&positions)) {
            findByEntries(a, span, RangeMembers(*range), false, hits);
        } else {
            findInList(a, span, std::get<IndexList>(positions), hits);
        }
        break;
    case LookupMethod::kIntersection:
        findByIntersection(a, span, positions, hits);
        break;
    case LookupMethod::kSearches:
        findBySearches(a, positions, nullptr, hits);
        break;
    case LookupMethod::kFilteredSearches: {
        const EntryFilter filter(a, span);
        findBySearches(a, positions, &filter, hits);
        break;
    }
    }
}

bool exceedsWords(const Subscript& positions)
{
    const auto* mask = std::get_if<SparseLogicalMask>(&positions);
    return mask != nullptr && mask->highest() > UINT32_MAX;
}

} // namespace

void findHits(const Columns& a, const Subscript& positions, HitList& hits)
{
    if (countOf(positions) == 0 || a.nnz() == 0) {
        return; // A need not have rows and columns to divide by
    }
    if (countOf(positions) <= PlaceBatch::kSize || exceedsWords(positions)) { // so few are searched at once
        findBySearches(a, positions, nullptr, hits);
    } else {
        const PositionSpan span = spanOf(a, positions);
        const LookupMethod method =
            chooseLookup({formOf(positions), countOf(positions), span.columns, span.entries()}, kernels().costs);
        noteMethod(method);
        find(method, a, span, positions, hits);
    }
}

void findHitsBy(LookupMethod method, const Columns& a, const Subscript& positions, HitList& hits)
{
    find(method, a, spanOf(a, positions), positions, hits);
}

} // namespace zqsp
