#include "arrays.hpp"

#include <algorithm>
#include <numeric>

namespace zqsp::bench {

namespace {

/// Sparse logical m-by-1 array that is true at these rows.
Array sparseMask(const Subscript& subscript)
{
    Matrix mask{subscript.extent, 1, {0, static_cast<unsigned>(subscript.values.size())}, subscript.values, {}, {}};
    setValues(mask, Values::logical);
    return toArray(mask, Values::logical);
}

Array fullMask(const Subscript& subscript)
{
    const unsigned dims[] = {subscript.extent, 1};
    Array mask(kxCreateNumericArray(2, dims, kxLOGICAL_CLASS, kxREAL));
    for (const unsigned value : subscript.values) {
        kxGetLogicals(mask.get())[value] = true;
    }
    return mask;
}

Array range(const Subscript& subscript)
{
    const std::vector<unsigned>& values = subscript.values;
    const double step = values.size() < 2 ? 1 : values[1] - values[0];
    return Array(kxCreateColonObject(values.front() + 1.0, step, values.back() + 1.0));
}

} // namespace

Array toArray(const Matrix& matrix, Values values, unsigned spare)
{
    const bool isLogical = values == Values::logical;
    Array array(kxCreateSparseNumericMatrix(matrix.m, matrix.n, matrix.entries() + spare,
                                            isLogical ? kxLOGICAL_CLASS : kxDOUBLE_CLASS,
                                            values == Values::complex ? kxCOMPLEX : kxREAL));
    std::copy(matrix.jc.begin(), matrix.jc.end(), array->jc);
    std::copy(matrix.ir.begin(), matrix.ir.end(), array->ir);
    if (isLogical) {
        std::fill_n(static_cast<bool*>(array->pr), matrix.entries(), true);
    } else {
        std::copy(matrix.re.begin(), matrix.re.end(), static_cast<double*>(array->pr));
        std::copy(matrix.im.begin(), matrix.im.end(), static_cast<double*>(array->pi));
    }
    return array;
}

Array toArray(const Subscript& subscript)
{
    switch (subscript.form) {
    case Subscript::Form::list:
        return listArray(subscript.values);
    case Subscript::Form::range:
        return range(subscript);
    case Subscript::Form::mask:
        return fullMask(subscript);
    case Subscript::Form::sparseMask:
        return sparseMask(subscript);
    case Subscript::Form::colon:
        break;
    }
    return Array(kxCreateColon());
}

Array toArray(const RightSide& B, Values values)
{
    switch (B.form) {
    case RightSide::Form::scalar:
        return scalarArray(2);
    case RightSide::Form::zero:
        return scalarArray(0);
    case RightSide::Form::sparse:
    case RightSide::Form::denseRow:
        return toArray(B.sparse, values);
    case RightSide::Form::full: {
        Array full(kxCreateDoubleMatrix(B.m, B.n, kxREAL));
        std::fill_n(doubles(full), std::size_t{B.m} * B.n, 2.0);
        return full;
    }
    case RightSide::Form::none:
        break;
    }
    return nullptr;
}

Array scalarArray(double value)
{
    Array array(kxCreateDoubleMatrix(1, 1, kxREAL));
    *doubles(array) = value;
    return array;
}

Array listArray(const std::vector<unsigned>& values)
{
    Array array(kxCreateDoubleMatrix(1, static_cast<unsigned>(values.size()), kxREAL));
    std::transform(values.begin(), values.end(), doubles(array), [](unsigned value) { return value + 1.0; });
    return array;
}

double* doubles(const Array& array)
{
    return static_cast<double*>(array->pr);
}

Fingerprint fingerprintOf(const kxArray* array, bool asVector)
{
    Fingerprint print;
    const bool isLogical = array->class_id == kxLOGICAL_CLASS;
    const auto* im = static_cast<const double*>(array->pi);
    for (unsigned j = 0; j < kxGetN(array); ++j) {
        for (unsigned e = array->jc[j]; e < array->jc[j + 1]; ++e) {
            const double re =
                isLogical ? static_cast<const bool*>(array->pr)[e] : static_cast<const double*>(array->pr)[e];
            print.add(asVector ? array->ir[e] + j : array->ir[e], asVector ? 0 : j, re, im == nullptr ? 0 : im[e]);
        }
    }
    return print;
}

double bytesOf(const kxArray* array)
{
    const double perEntry = sizeof(unsigned) + kxGetElementSize(array) * (array->pi == nullptr ? 1.0 : 2.0);
    return perEntry * kxGetNumNonZeroEl(array) + 4.0 * (kxGetN(array) + 1.0);
}

} // namespace zqsp::bench
