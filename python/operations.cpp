#include "operations.hpp"

#include <zqspmatrix.h>

namespace zqsp::python {
namespace {

bool isColon(const Array& subscript)
{
    return subscript->is_colon_index();
}

/// Something like the entries that a call has to look at.
std::size_t workOf(const kxArray* array, const Subscripts& subscripts)
{
    std::size_t work = entriesOf(array);
    for (const Array* subscript : {&subscripts.first, &subscripts.second}) {
        work += *subscript ? kx::kxGetNumberOfElements(subscript->get()) : 0U;
    }
    return work;
}

} // namespace

Array reference(const kxArray* array, const Subscripts& subscripts)
{
    const Array& I = subscripts.first;
    const Array& J = subscripts.second;
    kxArray* result = nullptr;
    spStatus status = spOK;
    {
        const Unlocked unlocked(workOf(array, subscripts));
        if (!J) {
            status = isColon(I) ? spRef2(array, &result) : spRef3(array, I.get(), &result);
        } else if (isColon(I)) {
            status = spRef4(array, J.get(), &result);
        } else if (isColon(J)) {
            status = spRef5(array, I.get(), &result);
        } else {
            status = spRef6(array, I.get(), J.get(), &result);
        }
    }
    kxHandleSparseSubscriptError(status);
    return Array(result);
}

void assign(kxArray* array, const kxArray* values, const Subscripts& subscripts)
{
    const Array& I = subscripts.first;
    const Array& J = subscripts.second;
    spStatus status = spOK;
    {
        const Unlocked unlocked(workOf(array, subscripts) + kx::kxGetNumNonZeroEl(values));
        if (!J) {
            status = spAss3(array, values, I.get());
        } else if (isColon(I)) {
            status = spAss4(array, values, J.get());
        } else if (isColon(J)) {
            status = spAss5(array, values, I.get());
        } else {
            status = spAss6(array, values, I.get(), J.get());
        }
    }
    kxHandleSparseSubscriptError(status);
}

void growTo(kxArray* array, unsigned m, unsigned n)
{
    if (m <= rowsOf(array) && n <= columnsOf(array)) {
        return;
    }
    const Array zero(kx::kxCreateDoubleMatrix(1, 1, kxREAL));
    const auto last = [](unsigned size, unsigned atLeast) {
        Array subscript = newWords(1, 1);
        *wordsOf(subscript) = std::max(size, atLeast);
        return subscript;
    };
    assign(array, zero.get(), {last(m, rowsOf(array)), last(n, columnsOf(array)), false});
}

void erase(kxArray* array, const Subscripts& subscripts)
{
    const Array& I = subscripts.first;
    const Array& J = subscripts.second;
    spStatus status = spOK;
    {
        const Unlocked unlocked(workOf(array, subscripts));
        if (!J) {
            status = spDeleteElements(array, I.get());
        } else if (isColon(I)) {
            status = spDeleteColumns(array, J.get());
        } else if (isColon(J)) {
            status = spDeleteRows(array, I.get());
        } else { // allowed where nothing is selected
            const Array nothing(kx::kxCreateEmptyLiteral());
            status = spAss6(array, nothing.get(), I.get(), J.get());
        }
    }
    kxHandleSparseSubscriptError(status);
}

Subscripts erasedBy(Selection&& selection, unsigned storedRows, bool byRows)
{
    const bool rows = selection.column.bare;
    const bool columns = selection.row.bare;
    if (selection.form != Selection::Form::region || !(rows || columns)) {
        throw py::value_error("only whole rows or columns can be deleted: del M[rows], del M[:, columns]");
    }
    makeList(rows ? selection.row : selection.column); // so that it is no colon; of two colons, all rows go
    return subscriptsOf(std::move(selection), storedRows, byRows);
}

void reshape(kxArray* array, py::ssize_t m, py::ssize_t n)
{
    const unsigned oldM = rowsOf(array);
    const unsigned oldN = columnsOf(array);
    if (!spReshapeOk(oldM, oldN, sizeOf(m), sizeOf(n))) {
        throw py::value_error("cannot reshape a matrix of shape " + shapeText(oldM, oldN) + " into shape " +
                              shapeText(m, n));
    }
    const Unlocked unlocked(std::size_t{entriesOf(array)} + static_cast<std::size_t>(n));
    spReshape(array, sizeOf(m), sizeOf(n));
}

} // namespace zqsp::python
