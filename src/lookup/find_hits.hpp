// Finding the stored entries at selected positions.
#ifndef ZQSP_LOOKUP_FIND_HITS_HPP
#define ZQSP_LOOKUP_FIND_HITS_HPP

#include "lookup/choose_method.hpp"
#include "lookup/hit_list.hpp"
#include "subscript/forms.hpp"

namespace zqsp {

/// Fills a list with the hits of a converted subscript that does not descend, whose positions A must have; those of a
/// sparse mask may exceed 32 bits. Raises on exhausted memory. Cost: the subscript's length and, for each position, a
/// search of its column; or less.
void findHits(const Columns& a, const Subscript& positions, HitList& hits);

/// The same by a given method, which must be one for such a subscript. (For tests.)
[[gnu::visibility("default")]] void findHitsBy(LookupMethod method, const Columns& a, const Subscript& positions,
                                               HitList& hits);

} // namespace zqsp

#endif
