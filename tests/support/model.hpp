// The model of a sparse matrix: its size, class, capacity and stored entries in a sorted map. Everything the tests
// expect is computed on models in the plainest way, then compared with what the library made.
//
//     Model a = Model::of(Storage{}, {{1, 0, 2}, {0, 3, 0}});   // by rows, zeros not stored
//     a.nzmax = 10;                                             // capacity to spare
//     a.entries[{1, 0}] = 0;                                    // an explicit zero in column 1, row 0
//     EXPECT_EQ("", diff(result.get(), expected));              // invariants, shape, class, nzmax and entries
#ifndef ZQSP_TESTS_SUPPORT_MODEL_HPP
#define ZQSP_TESTS_SUPPORT_MODEL_HPP

#include "support/arrays.hpp"

#include <compare>
#include <cstdint>
#include <initializer_list>
#include <iosfwd>
#include <map>
#include <string>

namespace zqsp::test {

/// A place in a matrix, 0-based; the order is that of compressed columns.
struct Place
{
    unsigned column = 0;
    unsigned row = 0;
    auto operator<=>(const Place&) const = default;
};

struct Model
{
    /// A capacity that is the runtime's choice: not compared.
    static constexpr unsigned kAnyCapacity = 0xFFFFFFFFU;

    unsigned m = 0;
    unsigned n = 0;
    Storage storage = {};
    unsigned nzmax = 0;
    bool sparse = true;     ///< false: a full array, its non-zero elements the entries; nzmax means nothing
    bool hideClass = false; ///< build it with a class id that must be asked for; not compared
    std::map<Place, Value> entries = {};

    /// A matrix of these rows; nzmax is the number of non-zeros.
    static Model of(Storage storage, std::initializer_list<std::initializer_list<Value>> rows);
    /// m-by-n without entries.
    static Model empty(Storage storage, unsigned m, unsigned n);
    /// A target without a value.
    static Model unset();

    [[nodiscard]] unsigned nnz() const { return static_cast<unsigned>(entries.size()); }
    [[nodiscard]] std::uint64_t numel() const { return std::uint64_t{m} * n; }
    [[nodiscard]] bool isEmpty() const { return m == 0 || n == 0; }
    [[nodiscard]] bool isUnset() const { return isEmpty() && !sparse; }
    [[nodiscard]] bool isScalar() const { return m == 1 && n == 1; }
    /// The linear position of a place, right beyond 32 bits too.
    [[nodiscard]] std::uint64_t linear(Place p) const { return std::uint64_t{p.column} * m + p.row; }
    [[nodiscard]] Place place(std::uint64_t linear) const;
    /// Number of stored entries of each column that stores one.
    [[nodiscard]] std::map<unsigned, unsigned> columnCounts() const;

    /// Makes the capacity cover the entries.
    Model& fit();
};

/// The same without an imaginary part that stores no other value than zero.
Model withoutImagZeros(Model model);

/// The same with this capacity.
inline Model withCapacity(Model model, unsigned nzmax)
{
    model.nzmax = nzmax;
    return model;
}

/// An empty full array.
inline Model emptyFull(Storage storage, unsigned m, unsigned n)
{
    Model model = Model::empty(storage, m, n);
    model.sparse = false;
    return model;
}

// Matrices that look the same each time, for tables of cases.

/// m-by-n with two elements in three stored, all different as far as the class allows, and room for three more.
/// With explicit zeros, one element in seven is stored as zero.
inline Model patterned(Storage storage, unsigned m, unsigned n, bool explicitZeros = true)
{
    Model a = Model::empty(storage, m, n);
    for (unsigned p = 0; p < a.numel(); ++p) {
        const double value = storage.classId == kxLOGICAL_CLASS ? 1 : p + 1;
        if (p % 3 != 1) {
            a.entries[a.place(p)] = {value, storage.complex && p % 2 == 0 ? value + 20 : 0};
        }
        if (explicitZeros && p % 7 == 5) {
            a.entries[a.place(p)] = 0;
        }
    }
    a.nzmax = a.nnz() + 3;
    return a;
}

/// m-by-n with ones at these places.
inline Model withOnes(Storage storage, unsigned m, unsigned n, const std::vector<Place>& places)
{
    Model a = Model::empty(storage, m, n);
    for (const Place place : places) {
        a.entries[place] = 1;
    }
    return a.fit();
}

/// A new array holding the model. Spare capacity is filled with rubbish.
Array toArray(const Model& model);
/// The model of an array whose invariants hold.
Model fromArray(const kxArray* array);

/// How the array differs from the model, invariants (column starts, rows, capacity, flags, class) first; "" when it
/// does not.
std::string diff(const kxArray* array, const Model& expected);

/// Equality of values; NaN equals NaN.
bool sameValue(Value a, Value b);

std::ostream& operator<<(std::ostream& out, const Model& model);

} // namespace zqsp::test

#endif
