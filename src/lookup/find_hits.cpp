#include "lookup/find_hits.hpp"

#include "core/fast_divisor.hpp"
#include "core/note_method.hpp"
#include "core/search.hpp"
#include "kernels/kernels.hpp"
#include "kernels/select_loop.hpp"
#include "lookup/members.hpp"
#include "lookup/place_search.hpp"
#include "subscript/walk.hpp"

#include <algorithm>
#include <array>
#include <optional>

namespace zqsp {

namespace {

static_assert(EntryPositions::kBlock <= HitList::kRoom && IndexWalk::kBlock <= HitList::kRoom &&
              IndexWalk::kBlock <= EntryFilter::kBlock);

/// Each entry asks for its own position.
template <typename Members>
void findByEntries(const Columns& a, const PositionSpan& span, Members members, HitList& hits)
{
    for (EntryPositions entries(a, span); entries.count() > 0; entries.advance(entries.count())) {
        const HitList::Room room = hits.room(entries.count());
        const unsigned first = entries.begin();
        unsigned found = 0;
        if constexpr (std::is_same_v<Members, MaskMembers>) { // its bytes are counted up to what is found only
            for (unsigned i = 0; i < entries.count(); ++i) {
                if (const unsigned position = entries.positions()[i]; members.selects(position)) {
                    room.ordinals[found] = members.newRow(position);
                    room.sources[found++] = first + i;
                }
            }
        } else {
            found = selectRows(entries.positions(), entries.count(), members, 0,
                               [=](unsigned i, unsigned place, unsigned ordinal) {
                                   room.ordinals[place] = ordinal;
                                   room.sources[place] = first + i;
                               });
        }
        hits.keep(found);
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
    IndexWalk walk(positions);
    std::span<const unsigned> left; // of a block
    for (unsigned ordinal = 0; entries.count() > 0;) {
        if (left.empty()) {
            left = walk.next();
            if (left.empty()) {
                return;
            }
        }
        const auto count = static_cast<unsigned>(left.size());
        unsigned done = count;
        if (left.back() >= entries.positions()[0]) {
            const HitList::Room room = hits.room(count);
            const Common common = kernels().intersect(entries.positions(), entries.count(), left.data(), count,
                                                      room.sources, room.ordinals);
            for (unsigned i = 0; i < common.count; ++i) {
                room.sources[i] += entries.begin();
                room.ordinals[i] += ordinal;
            }
            hits.keep(common.count);
            done = common.second;
            entries.advance(common.first);
        }
        ordinal += done;
        left = left.subspan(done);
    }
}

/// The places of some positions, at most HitList::kRoom, are searched; ordinalOf(t) is the number of the one at place
/// t.
template <typename PlaceOf, typename OrdinalOf>
void findAtPlaces(const Columns& a, unsigned count, PlaceOf placeOf, OrdinalOf ordinalOf, HitList& hits)
{
    const HitList::Room room = hits.room(count);
    unsigned found = 0;
    searchPlaces<true>(a, count, placeOf, [&](unsigned t, Slot slot) { // is written first, and stays where it is stored
        room.ordinals[found] = t;
        room.sources[found] = slot.position;
        found += slot.stored ? 1U : 0U;
    });
    std::transform(room.ordinals, room.ordinals + found, room.ordinals, ordinalOf); // in the loop it takes registers
    hits.keep(found);
}

/// Positions in any order: each is searched in its column; or, once most of those before held nothing, those only that
/// a filter of the entries in a span lets pass.
void findBySearches(const Columns& a, const Subscript& positions, const PositionSpan* filtered, HitList& hits)
{
    constexpr unsigned kMostHit = 2; // one in so many: a filter that most pass saves nothing
    std::optional<EntryFilter> filter;
    std::array<unsigned, EntryFilter::kBlock> passed; // numbers in a block
    const FastDivisor byRows(a.m);
    IndexWalk walk(positions);
    const unsigned count = countOf(positions);
    for (unsigned done = 0, size = 0; done < count; done += size) {
        const auto block = walk.next();
        size = static_cast<unsigned>(block.size());
        const unsigned searched = filter ? filter->sift(block.data(), size, passed.data()) : size;
        const auto numberOf = [&](unsigned t) { return filter ? passed[t] : t; };
        const auto placeOf = [&](unsigned t) {
            const unsigned position = block[numberOf(t)];
            const unsigned column = byRows.quotient(position);
            return Place{position - column * a.m, column};
        };
        findAtPlaces(
            a, searched, placeOf, [&](unsigned t) { return done + numberOf(t); }, hits);
        if (filtered != nullptr && !filter && hits.count() < (done + size) / kMostHit) {
            filter.emplace(a, *filtered);
        }
    }
}

/// The same for a mask that reaches beyond 32 bits.
void findInLargeMask(const Columns& a, const SparseLogicalMask& mask, HitList& hits)
{
    unsigned maskColumn = 0;
    for (unsigned done = 0, size = 0; done < mask.count(); done += size) {
        size = std::min(HitList::kRoom, mask.count() - done);
        const auto placeOf = [&](unsigned t) { // is asked for each once, in their order
            while (mask.jc[maskColumn + std::size_t{1}] <= done + t) {
                ++maskColumn;
            }
            const std::uint64_t position = std::uint64_t{maskColumn} * mask.m + mask.ir[done + t];
            return Place{static_cast<unsigned>(position % a.m), static_cast<unsigned>(position / a.m)};
        };
        findAtPlaces(
            a, size, placeOf, [done](unsigned t) { return done + t; }, hits);
    }
}

/// The entries that may be meant: of an unsorted list, all at positions of 32 bits.
PositionSpan spanOf(const Columns& a, const Subscript& positions)
{
    if (orderOf(positions) == Order::kUnsorted) {
        return {a, 0, static_cast<unsigned>(std::min<std::uint64_t>(std::uint64_t{a.m} * a.n - 1, UINT32_MAX))};
    }
    return {a, firstOf(positions), highestOf(positions)};
}

void find(LookupMethod method, const Columns& a, const PositionSpan& span, const Subscript& positions, HitList& hits)
{
    switch (method) {
    case LookupMethod::kByEntries:
        if (const auto* mask = std::get_if<LogicalMask>(&positions)) {
            findByEntries(a, span, MaskMembers(*mask), hits);
        } else if (const auto* range = std::get_if<IndexRange>(&positions)) {
            findByEntries(a, span, RangeMembers(*range), hits);
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
    case LookupMethod::kFilteredSearches:
        findBySearches(a, positions, &span, hits);
        break;
    }
}

} // namespace

void findHits(const Columns& a, const Subscript& positions, HitList& hits)
{
    if (countOf(positions) == 0 || a.nnz() == 0) {
        return; // A need not have rows and columns to divide by
    }
    const auto* mask = std::get_if<SparseLogicalMask>(&positions);
    if (mask != nullptr && mask->highest() > UINT32_MAX) {
        findInLargeMask(a, *mask, hits);
    } else if (countOf(positions) <= PlaceBatch::kSize) { // so few are searched at once
        findBySearches(a, positions, nullptr, hits);
    } else {
        const PositionSpan span = spanOf(a, positions);
        const LookupMethod method = chooseLookup(positions, span.columns, span.entries(), kernels().costs);
        noteMethod(method);
        find(method, a, span, positions, hits);
    }
}

void findHitsBy(LookupMethod method, const Columns& a, const Subscript& positions, HitList& hits)
{
    find(method, a, spanOf(a, positions), positions, hits);
}

} // namespace zqsp
