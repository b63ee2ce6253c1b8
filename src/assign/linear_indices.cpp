#include "assign/linear_indices.hpp"

#include "subscript/colon_range.hpp"

#include <cmath>

namespace zqsp {

namespace {

/// What is known of a subscript that is not valid: a wrong number of elements and a target that is too small are
/// reported before its values.
struct Refusal
{
    unsigned count;
    double highest; ///< valid or not
    double first;   ///< the first that is refused
};

void requireRealPositive(const kxArray* numbers)
{
    if (holdsZeros(numbers) || isComplex(numbers)) {
        kxHandleSubscriptError(kxSUBSCRIPT_NOT_POSITIVE_INTEGER);
    }
}

/// A mask reaches too far, perhaps beyond 32 bits.
template <typename Mask>
Refusal refusalOf(const Mask& mask)
{
    const double highest = static_cast<double>(mask.highest()) + 1;
    return {mask.count(), highest, highest};
}

std::optional<Refusal> fromNumbers(const kxArray* numbers, const ValueRules& rules, Subscript& positions)
{
    if (const auto refused = convertNumbers(numbers, rules, positions)) {
        return Refusal{static_cast<unsigned>(elementsOf(numbers)), highestNumber(numbers), *refused};
    }
    return std::nullopt;
}

std::optional<Refusal> fromNumeric(const kxArray* K, const ValueRules& rules, Subscript& positions)
{
    requireRealPositive(K);
    Operand numbers(K);
    if (isSparse(K)) {
        numbers.become(kxMustBe(K, kxDOUBLE_CLASS));
        requireRealPositive(numbers.get()); // a stored zero is gone by now
    }
    const Operand readable = readableNumbers(numbers.get());
    return fromNumbers(readable.get(), rules, positions);
}

std::optional<Refusal> fromRange(const kxArray* K, const ValueRules& rules, Subscript& positions)
{
    const ColonRange range(K);
    if (range.isCounted()) {
        if (const auto refused = range.firstRefused(rules)) {
            return Refusal{range.count(), range.highest(), *refused};
        }
        if (const auto indices = range.indices()) {
            positions = *indices;
            return std::nullopt;
        }
    }
    return fromNumbers(range.written().get(), rules, positions);
}

std::optional<Refusal> convert(const kxArray* K, const ValueRules& rules, Subscript& positions)
{
    const SubscriptKind kind = kindOf(K);
    if (kind == SubscriptKind::kNumeric) {
        return fromNumeric(K, rules, positions);
    }
    if (kind == SubscriptKind::kColonObject) {
        return fromRange(K, rules, positions);
    }
    if (convertSubscript(K, Extent::forReference(rules.limit), positions) == spOK) {
        return std::nullopt;
    }
    return kind == SubscriptKind::kMask ? refusalOf(maskOf(K)) : refusalOf(sparseMaskOf(K));
}

} // namespace

spStatus convertLinearIndices(const kxArray* K, std::uint64_t valueCount, double elements, Subscript& positions)
{
    const ValueRules rules = ValueRules::forElements();
    const std::optional<Refusal> refusal = convert(K, rules, positions);
    const unsigned count = refusal ? refusal->count : countOf(positions);
    if (valueCount != 1 && valueCount != count) {
        return spIndexAssignCountMismatch;
    }
    const auto highest = [&] { return refusal ? refusal->highest : highestOf(positions) + 1.0; };
    if (count > 0 && std::isfinite(elements) && highest() > elements) {
        return spCannotResize;
    }
    return refusal ? rules.answerTo(refusal->first) : spOK;
}

} // namespace zqsp
