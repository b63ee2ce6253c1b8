// Conversion of runtime subscripts into validated 0-based forms: one classifier, one conversion.
#ifndef ZQSP_SUBSCRIPT_CONVERT_HPP
#define ZQSP_SUBSCRIPT_CONVERT_HPP

#include "core/owners.hpp"
#include "subscript/forms.hpp"
#include "subscript/rules.hpp"

#include <optional>

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

/// Whether it is the bare colon.
inline bool isColon(const kxArray* subscript)
{
    return subscript->is_colon_index();
}

/// The bare colon carries the colon-object flag too, so it is asked for first.
inline SubscriptKind kindOf(const kxArray* subscript)
{
    if (isColon(subscript)) {
        return SubscriptKind::kColon;
    }
    if (hasFlag(subscript, kxFLAG_COLON_OBJECT)) {
        return SubscriptKind::kColonObject;
    }
    if (classOf(subscript) == kxLOGICAL_CLASS) {
        return isSparse(subscript) ? SubscriptKind::kSparseMask : SubscriptKind::kMask;
    }
    return SubscriptKind::kNumeric;
}

/// Whether these are full real numbers in two dimensions. (The bare colon is a colon object, and what is logical cannot
/// be complex.)
inline bool arePlainNumbers(const kxArray* array)
{
    constexpr unsigned kKinds = kxFLAG_SPARSE | kxFLAG_COLON_OBJECT | kxFLAG_MAY_BE_COMPLEX;
    return (array->flags & kKinds) == kxFLAG_MAY_BE_COMPLEX && array->pi == nullptr && array->ndims == 2;
}

/// Whether it is one of them, as most operands of small calls are.
inline bool isPlainNumber(const kxArray* array)
{
    if (!arePlainNumbers(array)) {
        return false;
    }
    const unsigned* dims = array->get_dimensions();
    return dims[0] == 1 && dims[1] == 1;
}

constexpr unsigned kNoIndex = ~0U;

/// The index that one full real number names, where it is a whole one from 1 to `limit`; else kNoIndex.
inline unsigned indexOfNumber(const kxArray* number, unsigned limit)
{
    const bool isDouble = number->class_id == kxDOUBLE_CLASS;
    return wholeNumber(isDouble ? *static_cast<const double*>(number->pr) : kxGetScalar(number), limit) - 1;
}

/// The same of any subscript, where it is a plain number; else kNoIndex: convertSubscript() knows more.
inline unsigned plainIndex(const kxArray* subscript, unsigned limit)
{
    return isPlainNumber(subscript) ? indexOfNumber(subscript, limit) : kNoIndex;
}

/// Views of logical subscripts, not yet validated. (A mask may be longer than the extent as long as nothing out there
/// is true.)
LogicalMask maskOf(const kxArray* subscript);
SparseLogicalMask sparseMaskOf(const kxArray* subscript);

/// Converts any kind of subscript.
///
/// A numeric list that turns out to be an arithmetic progression, and a full mask that is one run, become an
/// IndexRange: what is selected, and in which order, stays the same, and all later work meets the simplest form. Masks
/// are viewed, never copied: the subscript must outlive the result. Returns the status of the first failing check, with
/// `form` untouched and nothing allocated. Raises "pmaxsize" for a colon object that reaches past an uncountable extent
/// or has more values than the runtime allows. Cost: one pass over the subscript; a colon object is written out only
/// where the runtime must say what its last value is.
spStatus convertSubscript(const kxArray* subscript, const Extent& extent, Subscript& form);

/// The same of a plain number, or a few of class double, which are all whole ones from 1 to `limit`. False, with `form`
/// untouched, for any other subscript: convertSubscript() knows more.
bool convertFew(const kxArray* subscript, unsigned limit, Subscript& form);

/// Numeric subscripts (convertSubscript dispatches here).
spStatus convertNumeric(const kxArray* subscript, const Extent& extent, Subscript& form);

/// The steps of that, for other rules. Whether a sparse numeric subscript holds zeros.
inline bool holdsZeros(const kxArray* subscript)
{
    return isSparse(subscript) && kxGetNumNonZeroEl(subscript) < elementsOf(subscript);
}
/// The numbers themselves, in a class that can be read.
Operand readableNumbers(const kxArray* subscript);
/// Converts them; gives the first one that is refused, with `form` untouched.
std::optional<double> convertNumbers(const kxArray* numbers, const ValueRules& rules, Subscript& form);
/// The highest, refused or not; NaN is none.
double highestNumber(const kxArray* numbers);

} // namespace zqsp

#endif
