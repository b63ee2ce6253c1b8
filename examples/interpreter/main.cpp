// What an interpreter does with the library: it makes a matrix, reads, writes and deletes by subscripts through the C
// interface, handles a status and a thrown error, and frees everything. It asks of the runtime only what kx_array.hpp
// declares, so that it runs on any.
#include <kx_array.hpp>
#include <zqspmatrix.h>

#include <cstdio>
#include <exception>
#include <initializer_list>
#include <memory>

namespace kx = matrix::detail::noninlined::kx_array_api;

namespace {

struct Destroy
{
    void operator()(kxArray* array) const { kx::kxDestroyArray(array); }
};
using Array = std::unique_ptr<kxArray, Destroy>;

/// A full row of numbers: a subscript, or a right-hand side.
Array row(std::initializer_list<double> values)
{
    Array array(kx::kxCreateDoubleMatrix(1, static_cast<unsigned>(values.size()), kxREAL));
    auto* element = static_cast<double*>(array->pr);
    for (const double value : values) {
        *element++ = value;
    }
    return array;
}

/// The n-by-n matrix with 2 on the diagonal and -1 beside it, written column by column.
Array secondDifference(unsigned n)
{
    Array array(kx::kxCreateSparseNumericMatrix(n, n, 3 * n, kxDOUBLE_CLASS, kxREAL));
    auto* values = static_cast<double*>(array->pr);
    unsigned count = 0;
    for (unsigned j = 0; j < n; ++j) {
        for (unsigned i = j > 0 ? j - 1 : 0; i <= j + 1 && i < n; ++i) {
            array->ir[count] = i; // rows ascend within a column
            values[count++] = i == j ? 2.0 : -1.0;
        }
        array->jc[j + 1] = count;
    }
    return array;
}

void print(const char* name, const kxArray* array)
{
    const unsigned n = kx::kxGetN(array);
    std::printf("%s: %u-by-%u, %u entries\n", name, array->get_dimensions()[0], n, array->jc[n]);
    for (unsigned j = 0; j < n; ++j) {
        for (unsigned e = array->jc[j]; e < array->jc[j + 1]; ++e) {
            std::printf("  (%u,%u)  %g\n", array->ir[e] + 1, j + 1, static_cast<const double*>(array->pr)[e]);
        }
    }
}

/// Most calls answer with a status; as an error it leaves by the runtime's own mechanism.
void check(spStatus status)
{
    kxHandleSparseSubscriptError(status);
}

void work()
{
    const Array a = secondDifference(4);
    print("A", a.get());

    // B = A([4 1], [1 2 3]). A result is a new array, ours to free.
    kxArray* result = nullptr;
    const Array rows = row({4, 1});
    const Array columns = row({1, 2, 3});
    check(spRef6(a.get(), rows.get(), columns.get(), &result));
    const Array b(result);
    print("B = A([4 1], [1 2 3])", b.get());

    // A(6, [1 2 3]) = [7 0 9]. The target grows to six rows.
    const Array six = row({6});
    const Array newRow = row({7, 0, 9});
    check(spAss6(a.get(), newRow.get(), six.get(), columns.get()));
    print("A(6, [1 2 3]) = [7 0 9]", a.get());

    // A([4 1], :) = [], in place.
    check(spDeleteRows(a.get(), rows.get()));
    print("A([4 1], :) = []", a.get());

    // A status tells what is wrong with a call, which then has changed nothing.
    const spStatus status = spDeleteRows(a.get(), six.get());
    std::printf("deleting row 6 of 4: status %d, A has %u rows\n", status, a->get_dimensions()[0]);

    // The same status as an error.
    try {
        check(status);
    } catch (const std::exception& error) {
        std::printf("as an error: %s\n", error.what());
    }
}

} // namespace

int main()
{
    try {
        work();
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "interpreter: %s\n", error.what());
        return 1;
    }
}
