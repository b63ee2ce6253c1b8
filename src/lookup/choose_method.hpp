// How the stored entries at selected positions are found.
#ifndef ZQSP_LOOKUP_CHOOSE_METHOD_HPP
#define ZQSP_LOOKUP_CHOOSE_METHOD_HPP

#include "kernels/kernels.hpp"
#include "lookup/entry_filter.hpp"

namespace zqsp {

enum class LookupMethod
{
    kByEntries,        ///< each entry asks whether its position is selected: ranges and masks only
    kIntersection,     ///< ascending positions and entries are gone through together
    kSearches,         ///< each position is searched in its column, many at a time
    kFilteredSearches, ///< likewise where a filter of all entries does not rule it out
};

/// What the positions are.
enum class Positions
{
    kRange,
    kMask,
    kAscending, ///< any others that ascend, or descend
    kUnsorted
};

/// What a choice depends on. `columns`, `entries`: of the span from the lowest position to the highest one.
struct LookupCounts
{
    Positions form;
    unsigned positions;
    unsigned columns;
    unsigned entries;
};

inline LookupMethod chooseLookup(const LookupCounts& counts, const Costs& costs)
{
    constexpr unsigned kEntriesPerSearch = 4; ///< a division or a look at a byte takes about a quarter of a search
    constexpr unsigned kLongColumn = 64;
    const auto [form, positions, columns, entries] = counts;
    if (form == Positions::kUnsorted) {
        return EntryFilter::pays(columns, entries, positions) ? LookupMethod::kFilteredSearches
                                                              : LookupMethod::kSearches;
    }
    if (columns > positions) {
        return LookupMethod::kSearches;
    }
    if (form == Positions::kRange) {
        return entries / kEntriesPerSearch <= positions ? LookupMethod::kByEntries : LookupMethod::kSearches;
    }
    if (form == Positions::kMask && entries < positions) {
        return LookupMethod::kByEntries;
    }
    const bool columnsAreLong = entries / kLongColumn >= columns;
    const unsigned factor = columnsAreLong ? costs.intersectLongColumns : costs.intersectShortColumns;
    return entries / factor <= positions ? LookupMethod::kIntersection : LookupMethod::kSearches;
}

} // namespace zqsp

#endif
