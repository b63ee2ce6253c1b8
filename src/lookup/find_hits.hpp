// Finding the stored entries at selected positions.
#ifndef ZQSP_LOOKUP_FIND_HITS_HPP
#define ZQSP_LOOKUP_FIND_HITS_HPP

#include "kernels/kernels.hpp"
#include "lookup/entry_filter.hpp"
#include "lookup/hit_list.hpp"
#include "subscript/forms.hpp"

namespace zqsp {

/// Each with a row of the benchmark and its milliseconds, with the method and without it, on a processor with registers
/// of 512 bits.
enum class LookupMethod
{
    kByEntries,        ///< each entry asks whether its position is selected; not for sparse masks.
                       ///< A list (it gallops) skew/linear.sorted 0.46, 0.81; a mask (it looks at its byte)
                       ///< cells/linear.mask50 1.9, 7.8; a range (it divides) cells/linear.strided 1.5, 24
    kIntersection,     ///< ascending positions and entries are gone through together: uniform/linear.sorted 1.6, 4.0
    kSearches,         ///< each position is searched in its column, many at a time: the one method for any positions
    kFilteredSearches, ///< likewise where a filter of all entries does not rule it out: tall/linear.random 3.7, 12
};

/// `form`: does not descend. `columns`, `entries`: of the span from the lowest position to the highest one.
inline LookupMethod chooseLookup(const Subscript& form, unsigned columns, unsigned entries, const Costs& costs)
{
    constexpr unsigned kEntriesPerSearch = 4;    ///< a division or a look at a byte takes about a quarter of a search
    constexpr unsigned kPositionsPerGallop = 32; ///< are intersected while an entry gallops to its place among them
    constexpr unsigned kLongColumn = 64;
    const unsigned positions = countOf(form);
    if (orderOf(form) == Order::kUnsorted) {
        return EntryFilter::pays(columns, entries, positions) ? LookupMethod::kFilteredSearches
                                                              : LookupMethod::kSearches;
    }
    if (columns > positions) {
        return LookupMethod::kSearches;
    }
    if (std::holds_alternative<IndexRange>(form)) {
        return entries / kEntriesPerSearch <= positions ? LookupMethod::kByEntries : LookupMethod::kSearches;
    }
    const unsigned each = std::holds_alternative<LogicalMask>(form) ? 1 : kPositionsPerGallop;
    if (!std::holds_alternative<SparseLogicalMask>(form) && entries < positions / each) {
        return LookupMethod::kByEntries;
    }
    const bool columnsAreLong = entries / kLongColumn >= columns;
    const unsigned factor = columnsAreLong ? costs.intersectLongColumns : costs.intersectShortColumns;
    return entries / factor <= positions ? LookupMethod::kIntersection : LookupMethod::kSearches;
}

/// Fills a list with the hits of a converted subscript that does not descend, whose positions A must have; those of a
/// sparse mask may exceed 32 bits. Raises on exhausted memory. Cost: the subscript's length and, for each position, a
/// search of its column; or less.
void findHits(const Columns& a, const Subscript& positions, HitList& hits);

/// The same by a given method, which must be one for such a subscript. (For tests.)
[[gnu::visibility("default")]] void findHitsBy(LookupMethod method, const Columns& a, const Subscript& positions,
                                               HitList& hits);

} // namespace zqsp

#endif
