#include "operators.hpp"

#include "error.hpp"

#include <fmt/format.h>

#include <array>

namespace kxsh {

std::string_view symbolOf(BinaryOperator op)
{
    static constexpr std::array<std::string_view, 10> kSymbols = {
        "+", "-", "*", "/", "==", "~=", "<", "<=", ">", ">="}; // as enumerated
    return kSymbols.at(static_cast<std::size_t>(op));
}

void requireMatchingShapes(BinaryOperator op, const Value& left, const Value& right)
{
    if (!left.isScalar() && !right.isScalar() && !left.sameShape(right)) {
        throw Error("kxsh:operand", fmt::format("'{}' cannot combine {}-by-{} with {}-by-{}", symbolOf(op), left.rows(),
                                                left.columns(), right.rows(), right.columns()));
    }
}

} // namespace kxsh
