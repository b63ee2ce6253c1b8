// Small calls, for callgrind to count their instructions (see check.sh): of each, one dump with its name. Elsewhere the
// requests do nothing.
#include "kernels/tables.hpp"
#include "support/arrays.hpp"

#include <kx_runtime.hpp>
#include <zqspmatrix.h>

#include <valgrind/callgrind.h>

#include <algorithm>
#include <initializer_list>

using namespace zqsp::test;

namespace {

/// n-by-n, real, `perColumn` entries in each column at equal distances, those of the next column a row further down,
/// and room for some more.
Array sparse(unsigned n, unsigned perColumn, unsigned spare)
{
    Array made(kxCreateSparseNumericMatrix(n, n, n * perColumn + spare, kxDOUBLE_CLASS, kxREAL));
    for (unsigned j = 0, e = 0; j < n; ++j) {
        for (unsigned k = 0; k < perColumn; ++k, ++e) {
            made->ir[e] = k * (n / perColumn) + (j % (n / perColumn));
            static_cast<double*>(made->pr)[e] = 1.0 + e;
        }
        made->jc[j + 1] = e;
    }
    return made;
}

/// Counts call(a copy of A), behind some calls that are not counted: the runtime then has the blocks at hand.
template <typename F>
void count(const char* name, const Array& A, F&& call)
{
    constexpr int kCallsBefore = 3;
    for (int i = 0; i < kCallsBefore; ++i) {
        call(Array(kxDuplicateArray(A.get())).get());
    }
    const Array target(kxDuplicateArray(A.get()));
    CALLGRIND_ZERO_STATS;
    CALLGRIND_TOGGLE_COLLECT;
    call(target.get());
    CALLGRIND_TOGGLE_COLLECT;
    CALLGRIND_DUMP_STATS_AT(name);
}

/// The same of a call that changes its target; a status is looked at as an interpreter would.
template <typename F>
void countChange(const char* name, const Array& A, F&& change)
{
    count(name, A, [&](kxArray* target) { kxHandleSparseSubscriptError(change(target)); });
}

/// The same of a call that gives a new array, which its caller frees.
template <typename F>
void countReference(const char* name, const Array& A, F&& refer)
{
    count(name, A, [&](const kxArray* source) {
        kxArray* result = nullptr;
        kxHandleSparseSubscriptError(refer(source, &result));
        kxDestroyArray(result);
    });
}

void countSingles(const Array& A)
{
    const Array i = doubles({41});
    const Array j = doubles({51});
    const Array value = doubles({7});
    const Array none = doubles({42});
    countReference("read", A, [&](const kxArray* a, kxArray** r) { return spRef6(a, i.get(), j.get(), r); });
    countReference("read-zero", A, [&](const kxArray* a, kxArray** r) { return spRef6(a, none.get(), j.get(), r); });
    countReference("column", A, [&](const kxArray* a, kxArray** r) { return spRef4(a, j.get(), r); });
    countChange("write", A, [&](kxArray* a) { return spAss6(a, value.get(), i.get(), j.get()); });
    countChange("insert", A, [&](kxArray* a) { return spAss6(a, value.get(), none.get(), j.get()); });
}

void countExports(const Array& A)
{
    const Array I = doubles({2, 9, 5});
    const Array K = doubles({12, 99, 55});
    const Array b = doubles({7, 8, 9});
    const Array value = doubles({7});
    const unsigned rows[] = {1, 8, 4};
    countReference("spRef2", A, [](const kxArray* a, kxArray** r) { return spRef2(a, r); });
    countReference("spRef3", A, [&](const kxArray* a, kxArray** r) { return spRef3(a, K.get(), r); });
    countReference("spRef4", A, [&](const kxArray* a, kxArray** r) { return spRef4(a, I.get(), r); });
    countReference("spRef5", A, [&](const kxArray* a, kxArray** r) { return spRef5(a, I.get(), r); });
    countReference("spRef6", A, [&](const kxArray* a, kxArray** r) { return spRef6(a, I.get(), I.get(), r); });
    count("kxSparseReference", A, [&](const kxArray* a) { kxDestroyArray(kxSparseReference(a, rows, 3, rows, 3)); });
    count("kxSparseColonReference", A,
          [](const kxArray* a) { kxDestroyArray(kxSparseColonReference(a, 2, 1, 6, 3, 1, 7)); });
    countChange("spAss3", A, [&](kxArray* a) { return spAss3(a, b.get(), K.get()); });
    countChange("spAss4", A, [&](kxArray* a) { return spAss4(a, value.get(), I.get()); });
    countChange("spAss5", A, [&](kxArray* a) { return spAss5(a, value.get(), I.get()); });
    countChange("spAss6", A, [&](kxArray* a) { return spAss6(a, value.get(), I.get(), I.get()); });
    countChange("spDeleteColumns", A, [&](kxArray* a) { return spDeleteColumns(a, I.get()); });
    countChange("spDeleteRows", A, [&](kxArray* a) { return spDeleteRows(a, I.get()); });
    countChange("spDeleteElements", A, [&](kxArray* a) { return spDeleteElements(a, K.get()); });
    count("spReshape", A, [](kxArray* a) {
        if (spReshapeOk(10, 10, 5, 20)) {
            spReshape(a, 5, 20);
        }
    });
}

/// Columns that hold nothing cost next to nothing, however many rows are asked for, and in which order.
void countEmptyColumns(const Array& A)
{
    const Array I = doubles({2, 9, 5, 300, 20, 41, 777, 6, 55, 999, 100, 3, 1, 60, 61, 8, 400, 500, 31, 32});
    const Array down = doubles({300, 5});
    countReference("empty-columns", A, [&](const kxArray* a, kxArray** r) { return spRef5(a, I.get(), r); });
    countReference("empty-columns-down", A, [&](const kxArray* a, kxArray** r) { return spRef5(a, down.get(), r); });
}

} // namespace

int main()
{
    // callgrind's processor lacks 512-bit registers whatever the real one has, but has the 256-bit ones where that has
    // them: with the portable loops the counts are the same everywhere.
    zqsp::useKernels(*zqsp::availableKernels().back());
    countSingles(sparse(100, 10, 4));
    countExports(sparse(10, 5, 40));
    countEmptyColumns(sparse(1000, 0, 16));
}
