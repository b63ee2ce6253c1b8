// Right-hand sides of the tests: a full array of any class and number of dimensions, a sparse matrix, or the
// literal [] that marks a deletion.
//
//     RightSide b = RightSide::full({2, 1}, {7, 8});
//     RightSide c = RightSide::of(model);
#ifndef ZQSP_TESTS_SUPPORT_RIGHT_SIDE_HPP
#define ZQSP_TESTS_SUPPORT_RIGHT_SIDE_HPP

#include "support/subscript.hpp"

#include <iosfwd>
#include <vector>

namespace zqsp::test {

struct RightSide
{
    enum class Kind
    {
        Full,
        Sparse,
        EmptyLiteral,    ///< [], the mark of a deletion
        ContainedLiteral ///< [] held inside another value: an ordinary empty array
    };

    Kind kind = Kind::EmptyLiteral;
    std::vector<unsigned> dims = {0, 0};
    Model model = emptyFull(kReal, 0, 0); ///< as a matrix; a full one holds every element as an entry, zeros too

    static RightSide full(std::vector<unsigned> dims, const std::vector<Value>& values, Storage storage = {});
    static RightSide scalar(Value value, Storage storage = {}) { return full({1, 1}, {value}, storage); }
    static RightSide of(const Model& sparse);
    static RightSide literal(Kind kind = Kind::EmptyLiteral);

    [[nodiscard]] bool isDeletion() const { return kind == Kind::EmptyLiteral; }
    /// Whether it carries the literal's flag, whatever holds it.
    [[nodiscard]] bool isLiteral() const { return isDeletion() || kind == Kind::ContainedLiteral; }
    [[nodiscard]] Storage storage() const { return model.storage; }
    [[nodiscard]] std::uint64_t numel() const { return std::uint64_t{m()} * n(); }
    [[nodiscard]] bool isScalar() const { return numel() == 1; }
    /// Rows and columns; the columns of more than two dimensions are their product.
    [[nodiscard]] unsigned m() const { return model.m; }
    [[nodiscard]] unsigned n() const { return model.n; }

    /// With elements of class `id`; a sparse one loses what becomes zero. NaN to logical throws Failure.
    [[nodiscard]] RightSide converted(kxClassID id) const;
    /// Without dimensions of 1 where there are more than two; throws Failure{spAssignDimMismatch}.
    [[nodiscard]] RightSide squeezed() const;
    /// As a sparse matrix; a full array's zeros are not stored, a sparse one's explicit zeros stay.
    [[nodiscard]] Model asSparse() const;
    /// All elements by columns, zeros included.
    [[nodiscard]] std::vector<Value> elements() const;
};

/// A new array holding the right-hand side.
Array toArray(const RightSide& rightSide);

std::ostream& operator<<(std::ostream& out, const RightSide& rightSide);

} // namespace zqsp::test

#endif
