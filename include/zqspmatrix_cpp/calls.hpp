// The library's calls on runtime arrays, with a failing status told as an Error that names what was wrong.
#ifndef ZQSPMATRIX_CPP_CALLS_HPP
#define ZQSPMATRIX_CPP_CALLS_HPP

#include "subscript.hpp"

#include <zqspmatrix.h>

namespace zqspmatrix::detail {

/// A subscript and what it counts, for messages.
struct Counted
{
    const Index& index;
    const char* noun;     ///< "row"
    std::uint64_t extent; ///< how many there are, or may come to be
};

inline std::uint64_t elementsOf(const kxArray* array)
{
    return std::uint64_t{rowsOf(array)} * columnsOf(array);
}

/// What a status means for these subscripts of A; `B` is what was to be assigned, or null.
inline std::string explained(spStatus status, const kxArray* A, std::initializer_list<Counted> subscripts,
                             const kxArray* B)
{
    const std::string matrix = "the " + shapeText(A) + " matrix";
    std::string selected;
    for (const Counted& subscript : subscripts) {
        selected += (selected.empty() ? "" : " and ") + std::to_string(subscript.index.count(subscript.extent)) + " " +
                    subscript.noun + "(s)";
    }
    switch (status) {
    case spIndexAssignCountMismatch:
    case spAssignDimMismatch:
        return "a " + shapeText(B) + " value does not fit a selection of " + selected;
    case spCannotResize:
        return subscripts.begin()->index.firstOutside(elementsOf(A), "element").value_or("an element") +
               " lies past the end of " + matrix + ", which one subscript cannot grow";
    case spCannotResizeToRowVector:
        return matrix + " has too many elements to lose some of them and become a row";
    default:
        break;
    }
    for (const Counted& subscript : subscripts) {
        if (const auto outside = subscript.index.firstOutside(subscript.extent, subscript.noun)) {
            const std::string nouns = std::string(subscript.noun) + "s";
            if (subscript.extent == 0) {
                return *outside + " does not exist: " + matrix + " has no " + nouns;
            }
            return *outside + " lies outside 0 to " + std::to_string(subscript.extent - 1) + ", the " +
                   (B == nullptr ? nouns + " of " + matrix : "indices that a matrix can have");
        }
    }
    return "a subscript of " + matrix + " is no index";
}

inline void check(spStatus status, const kxArray* A, std::initializer_list<Counted> subscripts,
                  const kxArray* B = nullptr)
{
    if (status != spOK) {
        fail(status, explained(status, A, subscripts, B));
    }
}

/// A(I,J).
inline Array refer(const kxArray* A, const Index& I, const Index& J)
{
    kxArray* result = nullptr;
    spStatus status = spOK;
    if (I.isAll()) {
        status = spRef4(A, J.get(), &result);
    } else if (J.isAll()) {
        status = spRef5(A, I.get(), &result);
    } else {
        status = spRef6(A, I.get(), J.get(), &result);
    }
    check(status, A, {{I, "row", rowsOf(A)}, {J, "column", columnsOf(A)}});
    return Array(result);
}

/// A(K): a column, or a row where A is one.
inline Array refer(const kxArray* A, const Index& K)
{
    kxArray* result = nullptr;
    check(K.isAll() ? spRef2(A, &result) : spRef3(A, K.get(), &result), A, {{K, "element", elementsOf(A)}});
    Array made(result);
    const bool fromRow = rowsOf(A) == 1 && columnsOf(A) != 1;
    if (K.isRange() && !fromRow && rowsOf(result) == 1) {
        spReshape(result, columnsOf(result), 1); // the library takes a range for a row
    }
    return made;
}

/// An assignment; the errors that the library throws instead of answering with a status are explained as well.
template <typename Call>
void assignBy(Call call, const kxArray* A, std::initializer_list<Counted> subscripts, const kxArray* B)
{
    try {
        check(call(), A, subscripts, B);
    } catch (const kxrt::Error& error) {
        for (const Counted& subscript : subscripts) {
            if (subscript.index.firstOutside(subscript.extent, subscript.noun)) {
                fail(spIndexExceedsMaxSize, explained(spIndexExceedsMaxSize, A, subscripts, B));
            }
        }
        const bool countDiffers = subscripts.size() == 1 && subscripts.begin()->index.isAll() && elementsOf(B) != 1 &&
                                  elementsOf(B) != elementsOf(A);
        throw Error(spOK, error.identifier(),
                    countDiffers ? explained(spIndexAssignCountMismatch, A, subscripts, B) : error.what());
    }
}

/// A(I,J) = B, A grows.
inline void assign(kxArray* A, const Index& I, const Index& J, const kxArray* B)
{
    const auto call = [&] {
        if (I.isAll()) {
            return spAss4(A, B, J.get());
        }
        return J.isAll() ? spAss5(A, B, I.get()) : spAss6(A, B, I.get(), J.get());
    };
    const unsigned most = kx::kxGetMaxNumberOfElements();
    assignBy(call, A, {{I, "row", I.isAll() ? rowsOf(A) : most}, {J, "column", J.isAll() ? columnsOf(A) : most}}, B);
}

/// A(K) = B, a row or column grows.
inline void assign(kxArray* A, const Index& K, const kxArray* B)
{
    const std::uint64_t extent = K.isAll() ? elementsOf(A) : kx::kxGetMaxNumberOfElements();
    assignBy([&] { return spAss3(A, B, K.get()); }, A, {{K, "element", extent}}, B);
}

inline void eraseRows(kxArray* A, const Index& I)
{
    check(spDeleteRows(A, I.get()), A, {{I, "row", rowsOf(A)}});
}

inline void eraseColumns(kxArray* A, const Index& J)
{
    check(spDeleteColumns(A, J.get()), A, {{J, "column", columnsOf(A)}});
}

inline void eraseElements(kxArray* A, const Index& K)
{
    check(spDeleteElements(A, K.get()), A, {{K, "element", elementsOf(A)}});
}

inline void reshape(kxArray* A, unsigned m, unsigned n)
{
    if (!spReshapeOk(rowsOf(A), columnsOf(A), m, n)) {
        failOperand("a " + shapeText(A) + " matrix cannot become " + std::to_string(m) + "-by-" + std::to_string(n));
    }
    spReshape(A, m, n);
}

} // namespace zqspmatrix::detail

#endif
