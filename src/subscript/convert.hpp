// Conversion of runtime subscripts into validated 0-based forms: one classifier, one conversion.
#ifndef ZQSP_SUBSCRIPT_CONVERT_HPP
#define ZQSP_SUBSCRIPT_CONVERT_HPP

#include "subscript/forms.hpp"

#include <zqspmatrix.h>

#include <array>

namespace zqsp {

/// The kinds of subscript a caller may hand in.
enum class SubscriptKind
{
    kColon,       ///< the bare colon
    kColonObject, ///< first:stride:last
    kMask,        ///< full logical
    kSparseMask,  ///< sparse logical
    kNumeric      ///< any other class, full or sparse
};

/// The bare colon carries the colon-object flag too, so it is asked for first.
SubscriptKind kindOf(const kxArray* subscript);

/// The start, step and stop of a colon object.
struct ColonValues
{
    std::array<double, 3> values{};
    std::array<int, 3> integers{}; ///< the same, where they are integral
    bool areIntegral = true;       ///< whether all three are signed 32-bit integers

    explicit ColonValues(const kxArray* colon);
};

/// What a subscript is validated against.
struct Extent
{
    unsigned limit;                              ///< indices are below this
    spStatus outOfRange = spIndexOutOfRange;     ///< the answer to an index past the limit
    spStatus maskOutOfRange = spIndexOutOfRange; ///< the same for a sparse logical subscript
    /// The limit is no true element count: the indexed matrix has more elements than can be counted.
    bool countOverflowed = false;

    [[nodiscard]] bool deleting() const { return outOfRange == spIndexToRemoveOutOfRange; }

    static Extent forReference(unsigned limit) { return {limit}; }
    static Extent forDeletion(unsigned limit) { return {limit, spIndexToRemoveOutOfRange, spIndexToRemoveOutOfRange}; }
};

/// Converts any kind of subscript; the bare colon selects 0 .. limit-1.
///
/// A numeric list that turns out to be an arithmetic progression, and a full mask that is one run, become an
/// IndexRange: what is selected, and in which order, stays the same, and all later work meets the simplest form. Masks
/// are viewed, never copied: the subscript must outlive the result. Returns the status of the first failing check, with
/// `form` untouched and nothing allocated. Raises "pmaxsize" for a colon object that reaches past an uncountable extent
/// or has more values than the runtime allows. Cost: one pass over the subscript; a colon object with integral values
/// is never materialised.
spStatus convertSubscript(const kxArray* subscript, const Extent& extent, Subscript& form);

/// The same for an integral range start:step:stop, 1-based.
spStatus convertIntegralRange(int start, int step, int stop, const Extent& extent, IndexRange& range);

/// Numeric subscripts (convertSubscript dispatches here).
spStatus convertNumeric(const kxArray* subscript, const Extent& extent, Subscript& form);

/// For assignment, whose targets grow: any subscript up to the runtime's maximum. The bare colon selects what is there
/// now, 0 .. current-1.
spStatus convertForAssignment(const kxArray* subscript, unsigned current, Subscript& form);

/// Whether a sparse logical subscript selects nothing at or past `limit` (spOK), else `answer`.
spStatus checkSparseMask(const SparseLogicalMask& mask, unsigned limit, spStatus answer);

} // namespace zqsp

#endif
