// Filling a region that most entries lie beside: its columns are put together anew.
#ifndef ZQSP_ASSIGN_REGION_REBUILD_HPP
#define ZQSP_ASSIGN_REGION_REBUILD_HPP

#include "assign/region.hpp"
#include "core/relay.hpp"
#include "core/row_set.hpp"

namespace zqsp {

/// Fills a region, whose columns are a run, in the fresh blocks of a relay. Some columns at a time, what stays of them
/// is closed up aside by a kernel, and copied from there between what b brings. `others`: the rows that stay. Raises
/// on exhausted memory, before anything is changed.
void rebuildColumns(Relay& relay, const Region& region, const RightSide& b, const RowSet& others);

} // namespace zqsp

#endif
