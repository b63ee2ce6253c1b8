// The right-hand side of an assignment: what it means, and what it is turned into.
#ifndef ZQSP_ASSIGN_RIGHT_SIDE_HPP
#define ZQSP_ASSIGN_RIGHT_SIDE_HPP

#include "core/columns.hpp"
#include "core/owners.hpp"
#include "core/values.hpp"

namespace zqsp {

/// Whether B is the literal [] standing on its own, which turns an assignment into a deletion.
bool isDeletionMarker(const kxArray* B);

/// Gives B two dimensions, which have as many elements. Its data are shared.
void foldToMatrix(Operand& B, unsigned m, unsigned n);

/// Gives B two dimensions by leaving out those of 1: 1-by-1-by-5 becomes 5-by-1, 1-by-4-by-1-by-3 becomes 4-by-3.
/// False, with B as it was, for more than two other dimensions.
bool squeezeToMatrix(Operand& B);

/// The class that the target has, or takes from B where it has none.
kxClassID targetClass(const kxArray* A, const kxArray* B);

/// Gives every true value of a logical operand the byte 1, where an element of it becomes a value of its own. Costs its
/// bytes, and a copy where one of them is neither 0 nor 1. Raises on exhausted memory.
void makeTruthsOne(Operand& B);

/// Whether every value of a scalar, full or sparse, is zero. NaN is not. `b`: of B.
bool isZeroScalar(const kxArray* B, const Columns& b);
inline bool isZeroScalar(const kxArray* B)
{
    return isZeroScalar(B, Columns(B));
}

/// What elements are assigned: the values of a matrix, or of a full one for a region, one value for all, or zeros,
/// which clear them.
struct RightSide
{
    enum class Kind
    {
        kNothing,
        kScalar,
        kMatrix,
        kFull
    };

    Columns b; ///< of nothing: any array
    Kind kind;

    /// B: 1-by-1, of either storage.
    static RightSide scalar(const kxArray* B)
    {
        const Columns b = Columns(B, 1, 1);
        return {b, isZeroScalar(B, b) ? Kind::kNothing : Kind::kScalar};
    }
    /// B: sparse, or full for linear positions. A matrix whose repeats have been resolved to one element is still a
    /// matrix, and may store nothing.
    static RightSide matrix(const kxArray* B) { return {Columns(B), Kind::kMatrix}; }
    /// B: full, of the region's shape, without zeros. Its values are read as entries are.
    static RightSide full(const kxArray* B) { return {Columns(B), Kind::kFull}; }

    [[nodiscard]] bool isNothing() const { return kind == Kind::kNothing; }
    [[nodiscard]] bool isScalar() const { return kind == Kind::kScalar; }
    [[nodiscard]] bool isMatrix() const { return kind == Kind::kMatrix; }
    /// Whether it brings something to each element of a region.
    [[nodiscard]] bool isDense() const { return kind == Kind::kScalar || kind == Kind::kFull; }
    /// Whether it brings an imaginary part.
    [[nodiscard]] bool isComplex() const { return b.pi != nullptr && !isNothing(); }

    /// Which value goes to the t-th of listed elements.
    [[nodiscard]] unsigned source(unsigned t) const { return isMatrix() ? t : 0; }
    /// Whether value t is zero.
    [[nodiscard]] bool isZero(unsigned t) const
    {
        return isMatrix() ? withStorage(b, [t](auto values) { return values.isZero(t); }) : isNothing();
    }
    /// Whether one of the first `count` values is zero.
    [[nodiscard, gnu::noinline]] bool anyZero(unsigned count) const;
};

} // namespace zqsp

#endif
