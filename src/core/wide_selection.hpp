// The loops of core/row_selection.hpp for registers of 512 bits: sixteen entries go through one at a time.
#ifndef ZQSP_CORE_WIDE_SELECTION_HPP
#define ZQSP_CORE_WIDE_SELECTION_HPP

#include "core/processor.hpp"
#include "core/row_selection.hpp"

namespace zqsp::wide {

/// Whether the loops serve so many entries of an array: few entries, those of one column mostly, are not worth the
/// preparations; and values have 1 or 8 bytes.
bool serve(const Columns& a, unsigned entries);

unsigned countSelected(const Columns& a, unsigned begin, unsigned end, const RowChoice& choice);

unsigned moveSelected(const Columns& from, unsigned first, unsigned count, const RowChoice& choice, const Columns& to,
                      unsigned at, unsigned* ends);

/// Whether deleteListed() serves: not where so few are deleted that the runs between them are better moved whole.
bool serveList(const Columns& a, unsigned entries, unsigned deleted);

/// Deletes strictly ascending linear positions: deleted entries go, the rows of the others become positions that close
/// up, wherever the column starts are. Returns the number of entries left.
unsigned deleteListed(const Columns& a, const unsigned* deleted, unsigned count);

} // namespace zqsp::wide

#endif
