// What a subscript may name, and what is answered where it names anything else.
#ifndef ZQSP_SUBSCRIPT_RULES_HPP
#define ZQSP_SUBSCRIPT_RULES_HPP

#include "core/runtime.hpp"

#include <zqspmatrix.h>

#include <cstdint>

namespace zqsp {

/// What a subscript is validated against.
struct Extent
{
    unsigned limit;                              ///< the highest index, 1-based
    unsigned colonCount;                         ///< how many indices the bare colon selects
    spStatus outOfRange = spIndexOutOfRange;     ///< the answer to an index past the limit
    spStatus maskOutOfRange = spIndexOutOfRange; ///< the same for a sparse logical subscript
    /// The limit is no true element count: the indexed matrix has more elements than can be counted.
    bool countOverflowed = false;

    static Extent forReference(unsigned limit) { return {limit, limit}; }
    static Extent forDeletion(unsigned limit)
    {
        return {limit, limit, spIndexToRemoveOutOfRange, spIndexToRemoveOutOfRange};
    }
    /// Targets grow: any index up to the runtime's maximum.
    static Extent forAssignment(unsigned colonCount)
    {
        return {kxGetMaxNumberOfElements(), colonCount, spIndexOutOfRange, spIndexExceedsMaxSize};
    }
};

/// A whole number from 1 to `limit`, below 2^32, as such, and 0 for any other.
inline unsigned wholeNumber(double value, unsigned limit)
{
    if (!(value >= 1 && value <= limit)) {
        return 0;
    }
    const auto whole = static_cast<std::int64_t>(value); // cut off
    return static_cast<double>(whole) < value ? 0 : static_cast<unsigned>(whole);
}

/// The one judge of the numbers of a subscript, 1-based. Everywhere the same ones are accepted: whole numbers from 1 to
/// a limit. What is answered to others differs, as these rules tell. (All classes are judged as doubles: those of 64
/// bits lose digits far above every limit only.)
struct ValueRules
{
    double most;         ///< the maximum number of elements, as the class of the numbers holds it
    unsigned limit;      ///< the highest index, 1-based; at most `most`
    spStatus outOfRange; ///< the answer to whole numbers above the limit
    spStatus zero;       ///< to zero
    spStatus belowOne;   ///< to all else below one
    /// Numbers above the maximum make the runtime raise its size error; else they are spIndexExceedsMaxSize.
    bool mostRaises = false;
    /// A fraction past the extent is out of range; else it is a fraction.
    bool extentFirst = false;

    /// For numeric subscripts of a class.
    static ValueRules forNumbers(kxClassID id, const Extent& extent);
    /// For A(K) = B, and for A(i,j) = B of a single number each.
    static ValueRules forElements();

    [[nodiscard]] bool accepts(double value) const { return wholeNumber(value, limit) != 0; }
    /// The status of a number that is not accepted. Raises the runtime's size error where the rules say so.
    [[nodiscard]] spStatus answerTo(double refused) const;
};

} // namespace zqsp

#endif
