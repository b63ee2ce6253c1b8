#include "assign/linear_indices.hpp"

#include "subscript/colon_range.hpp"

#include <cmath>

namespace zqsp {

namespace {

/// What comes before the values: a wrong number of elements, and a target that is too small.
struct Demands
{
    std::uint64_t valueCount;
    double elements;

    [[nodiscard]] spStatus check(unsigned count, double highest) const
    {
        if (valueCount != 1 && valueCount != count) {
            return spIndexAssignCountMismatch;
        }
        return count > 0 && highest > elements ? spCannotResize : spOK;
    }
};

/// What is known of a subscript that is not valid.
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
    if (const auto refused = range.firstRefused(rules)) {
        return Refusal{range.count(), range.highest(), *refused};
    }
    if (const auto indices = range.indices()) {
        positions = *indices;
        return std::nullopt;
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
    const Demands demands{valueCount, elements};
    const std::optional<Refusal> refusal = convert(K, rules, positions);
    const auto highest = [&] { return refusal ? refusal->highest : highestOf(positions) + 1.0; };
    const spStatus status =
        demands.check(refusal ? refusal->count : countOf(positions), std::isfinite(elements) ? highest() : 0);
    return status == spOK && refusal ? rules.answerTo(refusal->first) : status;
}

} // namespace zqsp
