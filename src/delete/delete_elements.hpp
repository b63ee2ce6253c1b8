// Closing up the entries of a matrix whose elements are deleted.
#ifndef ZQSP_DELETE_DELETE_ELEMENTS_HPP
#define ZQSP_DELETE_DELETE_ELEMENTS_HPP

#include "core/columns.hpp"
#include "kernels/kernels.hpp"
#include "subscript/forms.hpp"

namespace zqsp {

enum class DeletionMethod
{
    kByPositions, ///< the entries between deleted positions move in blocks
    kByEntries,   ///< each entry asks whether it goes, and how far down: ranges and masks only
    kByKernel,    ///< entries and deleted positions are gone through together: lists only
};

/// `form`: strictly ascending.
inline DeletionMethod chooseDeletion(const Subscript& form, unsigned entries, const Costs& costs)
{
    constexpr unsigned kEntriesPerBlock = 4; ///< a block moves in about the time that so many entries ask
    const unsigned deleted = countOf(form);
    if (const auto* range = std::get_if<IndexRange>(&form)) {
        return !range->isRun() && entries / kEntriesPerBlock <= deleted ? DeletionMethod::kByEntries
                                                                        : DeletionMethod::kByPositions;
    }
    if (std::holds_alternative<LogicalMask>(form)) {
        return entries < deleted ? DeletionMethod::kByEntries : DeletionMethod::kByPositions;
    }
    const unsigned each = costs.entriesPerDeleted;
    const bool isList = std::holds_alternative<IndexList>(form);
    return isList && (deleted > entries || (each != 0 && deleted > entries / each)) ? DeletionMethod::kByKernel
                                                                                    : DeletionMethod::kByPositions;
}

/// Deletes strictly ascending positions. The rows of the entries that stay become their new positions. Returns their
/// number.
[[gnu::visibility("default")]] unsigned deletePositions(DeletionMethod method, const Columns& a,
                                                        const Subscript& deleted);

} // namespace zqsp

#endif
