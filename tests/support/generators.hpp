// Random operands, shrinking towards small ones, and the driver of a property. Operands are drawn while a property runs
// (or from another source of draws, see draw.hpp).
//
//     TEST(Rows, Random)
//     {
//         property(2000, [] {
//             const Model a = drawModel();
//             const Subscript i = drawSubscript(wantedRows(a));
//             holds({.callee = Export::Ref5, .a = a, .i = i});
//         });
//     }
//
// The runs of a property are the same each time. ZQSP_PROPERTY_SEED and ZQSP_PROPERTY_RUNS in the environment ask for
// others; a failure prints the seed that repeats it at once.
#ifndef ZQSP_TESTS_SUPPORT_GENERATORS_HPP
#define ZQSP_TESTS_SUPPORT_GENERATORS_HPP

#include "support/operation.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

namespace zqsp::test {

// ---- Matrices ----

Storage drawStorage();

enum class Shape
{
    Small,  ///< up to 7 in each direction, empty ones, vectors and scalars included
    Tall,   ///< hundreds of rows, few entries: the search is chosen over the row map
    Dense,  ///< columns long enough for the search to pay
    AtLimit ///< about 2^31 or 2^32 rows or elements, few entries, in one to six columns or, now and then, 65536
};

/// A matrix with some explicit zeros (where allowed), some spare capacity, some hidden class, and imaginary parts that
/// are often all zero.
Model drawModel(Storage storage, Shape shape, bool explicitZeros = true);
Model drawModel(Storage storage, bool explicitZeros = true); ///< any shape but AtLimit

/// A matrix of this very size.
Model drawModelOfSize(Storage storage, unsigned m, unsigned n, bool explicitZeros = true);

/// A small matrix that is a good subscript of itself more often than not, as in A(A) = []: a mask, or full of small
/// numbers.
Model drawSelfSubscript();

/// A target that is not sparse yet: without a class, or full and empty.
Model drawUnmadeTarget(Storage storage);

// ---- Subscripts ----

/// What a subscript is wanted for.
struct Wanted
{
    std::uint64_t extent = 0;
    Purpose purpose = Purpose::Reference;
    unsigned growth = 0;               ///< how far past the extent a good index may go (assignment)
    std::vector<unsigned> likely = {}; ///< positions to name more often than others
    unsigned most = 8;                 ///< positions it names
    bool mayFail = true;               ///< one in eight is spoilt: a bad value, a position past the extent
};

/// For a dimension of the matrix; what is stored is likely to be named.
Wanted wantedRows(const Model& a, Purpose purpose = Purpose::Reference);
Wanted wantedColumns(const Model& a, Purpose purpose = Purpose::Reference);
Wanted wantedElements(const Model& a, Purpose purpose = Purpose::Reference);

/// A subscript of any form, class and shape.
Subscript drawSubscript(const Wanted& wanted);
/// One of this form.
Subscript drawSubscript(const Wanted& wanted, Form form);
/// A numeric one of which unsigned words can hold every value.
Subscript drawBareList(const Wanted& wanted);

// ---- Right-hand sides ----

/// For a region of m-by-n: mostly what fits it (exact, as a vector the other way, scalar, with more dimensions), of any
/// storage, full or sparse; one in eight does not fit; never the mark of a deletion.
RightSide drawRightSide(unsigned m, unsigned n);
/// For `count` linear positions: as many elements in any shape, or a scalar, or, one in eight, another number.
RightSide drawRightSide(unsigned count);

// ---- Properties ----

/// The number that a variable of the environment gives.
std::uint64_t setting(const char* name, std::uint64_t otherwise);

/// Fails the running property with this text unless it is "".
void requireNone(const std::string& complaint);

/// The same with the text of checkOperation().
void holds(const Operation& operation);

/// Checks a property, which draws its operands and asserts, `runs` times within a gtest test.
void property(unsigned runs, const std::function<void()>& body);

} // namespace zqsp::test

#endif
