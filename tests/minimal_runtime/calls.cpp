// Calls every export, also in ways that must fail, and prints what comes of it: the same on any runtime.
#include <kx_runtime.hpp>
#include <zqspmatrix.h>

#include <cstdio>
#include <exception>
#include <initializer_list>
#include <memory>

using namespace matrix::detail::noninlined::kx_array_api;

namespace {

using Array = std::unique_ptr<kxArray, decltype(&kxDestroyArray)>;

Array own(kxArray* array)
{
    return {array, &kxDestroyArray};
}

Array row(std::initializer_list<double> values)
{
    Array array = own(kxCreateDoubleMatrix(1, static_cast<unsigned>(values.size()), kxREAL));
    std::copy(values.begin(), values.end(), static_cast<double*>(array->pr));
    return array;
}

Array range(double start, double step, double stop)
{
    return own(kxCreateColonObject(start, step, stop));
}

Array mask(std::initializer_list<bool> values)
{
    const unsigned dims[] = {1, static_cast<unsigned>(values.size())};
    Array array = own(kxCreateNumericArray(2, dims, kxLOGICAL_CLASS, kxREAL));
    std::copy(values.begin(), values.end(), kxGetLogicals(array.get()));
    return array;
}

/// {1 0 9; 0 6 0; 4 8 12}; a complex one has 4 - 4i for 4.
Array matrix(kxComplexity complexity)
{
    const double values[] = {1, 0, 4, 0, 6, 8, 9, 0, 12};
    const Array full = own(kxCreateDoubleMatrix(3, 3, complexity));
    std::copy(std::begin(values), std::end(values), static_cast<double*>(full->pr));
    if (complexity == kxCOMPLEX) {
        static_cast<double*>(full->pi)[2] = -4;
    }
    return own(kxMustBeSparse(full.get()));
}

void print(const Array& array)
{
    std::printf("%ux%u:", array->get_dimensions()[0], kxGetN(array.get()));
    for (unsigned e = 0, j = 0; e < kxGetNumNonZeroEl(array.get()); ++e) {
        for (; array->jc[j + 1] <= e; ++j) {
        }
        const double im = array->pi != nullptr ? static_cast<double*>(array->pi)[e] : 0;
        std::printf(" (%u,%u)=%g%+gi", array->ir[e], j, static_cast<double*>(array->pr)[e], im);
    }
    std::printf("\n");
}

/// What a call gives or makes of its target, or that it fails.
template <typename Call>
void tell(const Array& target, Call call)
{
    kxArray* out = nullptr;
    try {
        const spStatus status = call(&out);
        std::printf("%d ", status);
        kxHandleSparseSubscriptError(status);
    } catch (const std::exception&) {
        std::printf("raised ");
    }
    const Array result = own(out);
    print(result != nullptr ? result : target);
}

/// Every export with these subscripts; those that change a matrix, on one of their own.
void callWith(const Array& i, const Array& j, const Array& b)
{
    const Array read = matrix(kxCOMPLEX);
    for (const auto reference : {spRef3, spRef4, spRef5}) {
        tell(read, [&](kxArray** out) { return reference(read.get(), i.get(), out); });
    }
    tell(read, [&](kxArray** out) { return spRef6(read.get(), i.get(), j.get(), out); });
    for (const auto assignment : {spAss3, spAss4, spAss5}) {
        const Array a = matrix(kxREAL);
        tell(a, [&](kxArray**) { return assignment(a.get(), b.get(), i.get()); });
    }
    const Array a = matrix(kxREAL);
    tell(a, [&](kxArray**) { return spAss6(a.get(), b.get(), i.get(), j.get()); });
    tell(a, [&](kxArray**) { return spAss4(a.get(), a.get(), j.get()); }); // the target is its own right side
    for (const auto deletion : {spDeleteColumns, spDeleteRows, spDeleteElements}) {
        const Array fewer = matrix(kxCOMPLEX);
        tell(fewer, [&](kxArray**) { return deletion(fewer.get(), i.get()); });
    }
}

void callAll()
{
    const Array subscripts[] = {row({3, 1, 3}),
                                row({2}),
                                row({5, 1}),
                                row({0.5}),
                                row({kxGetMaxNumberOfElements() + 1.0}),
                                range(3, -1, 1),
                                mask({true, false, true}),
                                own(kxCreateColon())};
    const Array values[] = {row({7}), row({0}), row({1, 0, 3}), matrix(kxCOMPLEX)};
    for (const Array& i : subscripts) {
        for (const Array& j : subscripts) {
            for (const Array& b : values) {
                callWith(i, j, b);
            }
        }
    }
    const Array stored = matrix(kxREAL);
    const Array lazy = range(1, 1, 3); // of the class asked for, but held nowhere
    tell(stored, [&](kxArray**) { return spAss6(stored.get(), lazy.get(), row({3}).get(), row({1, 2, 3}).get()); });
    const Array a = matrix(kxCOMPLEX);
    const unsigned rows[] = {2, 0};
    print(own(kxSparseReference(a.get(), rows, 2, nullptr, 0)));
    print(own(kxSparseColonReference(a.get(), 1, 2, 3, 3, -2, 1)));
    spReshape(a.get(), 1, 9);
    print(a);
    tell(a, [&](kxArray** out) { return spRef2(a.get(), out); });
}

} // namespace

int main()
{
    callAll();
    std::printf("%zu blocks left\n", kxrt::live_blocks());
}
