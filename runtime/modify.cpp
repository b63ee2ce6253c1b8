// Changing and destroying arrays.
#include "elements.hpp"
#include "kx_runtime.hpp"
#include "record.hpp"

#include <limits>
#include <utility>

namespace matrix::detail::noninlined::kx_array_api {

using namespace kxrt;

namespace {

/// Looks at whole pieces, in which the compiler can compare several elements at a time.
template <typename T>
bool allZero(const T* values, std::size_t count)
{
    constexpr std::size_t kPiece = 64;
    std::size_t i = 0;
    if (count != 0 && isNonZero(values[0])) {
        return false;
    }
    for (; i + kPiece <= count; i += kPiece) {
        unsigned any = 0;
        for (std::size_t k = 0; k < kPiece; ++k) {
            any |= isNonZero(values[i + k]) ? 1U : 0U;
        }
        if (any != 0) {
            return false;
        }
    }
    for (; i < count; ++i) {
        if (isNonZero(values[i])) {
            return false;
        }
    }
    return true;
}

} // namespace

void kxMoveArrayOntoHeader(kxArray* dst, kxArray* src)
{
    if (dst == src) {
        return;
    }
    freeContent(dst);
    ArrayRecord* to = record(dst);
    ArrayRecord* from = record(src);
    to->class_id = from->class_id;
    to->scope = from->scope;
    to->flags = from->flags;
    to->ndims = from->ndims;
    to->nzmax = from->nzmax;
    to->pr = std::exchange(from->pr, nullptr);
    to->pi = std::exchange(from->pi, nullptr);
    to->ir = std::exchange(from->ir, nullptr);
    to->jc = std::exchange(from->jc, nullptr);
    to->matrixDims[0] = from->matrixDims[0];
    to->matrixDims[1] = from->matrixDims[1];
    to->manyDims = std::exchange(from->manyDims, nullptr);
    to->range = from->range;
    to->bareColon = from->bareColon;
    kxDestroyArray(src);
}

void kxDestroyArray(kxArray* array)
{
    ArrayOwner(array).reset();
}

void kxFreeImagIfZero(kxArray* array)
{
    if (!isComplex(array)) {
        return;
    }
    const std::size_t count = isSparse(array) ? entriesOf(array) : elementsOf(array);
    const bool zero = withElementType(classOf(array), [&]<typename T>(std::type_identity<T>) {
        return allZero(static_cast<const T*>(array->pi), count);
    });
    if (zero) {
        release(std::exchange(array->pi, nullptr));
    }
}

void kxSetArrayScope(kxArray* array, kxVariableScope scope)
{
    array->scope = scope;
}

void kxSetM(kxArray* array, unsigned m)
{
    ArrayRecord* target = record(array);
    (array->ndims > 2 ? target->manyDims : target->matrixDims)[0] = m;
}

void kxSetN(kxArray* array, unsigned n)
{
    if (array->ndims == 2) {
        record(array)->matrixDims[1] = n;
        return;
    }
    // With all dimensions but the first replaced by one, no block is needed for them, so this cannot fail.
    const unsigned dims[] = {rowsOf(array), n};
    storeDimensions(array, dims);
}

int kxSetDimensions(kxArray* array, const unsigned* dims, unsigned ndims)
{
    constexpr unsigned kMostElements = std::numeric_limits<unsigned>::max();
    if (ndims < 2) {
        return 1;
    }
    const std::span<const unsigned> wanted(dims, ndims);
    const bool fits = isSparse(array) ? productOf(wanted.subspan(2)) == 1 : productOf(wanted) <= kMostElements;
    return fits && storeDimensions(array, wanted) ? 0 : 1;
}

void kxSetData(kxArray* array, void* pr)
{
    array->pr = pr;
}

void kxSetImagData(kxArray* array, void* pi)
{
    array->pi = pi;
    if (pi != nullptr) {
        array->flags |= kxFLAG_MAY_BE_COMPLEX;
    }
}

void kxSetPi(kxArray* array, double* pi)
{
    kxSetImagData(array, pi);
}

void kxSetIr(kxArray* array, unsigned* ir)
{
    array->ir = ir;
}

void kxSetJc(kxArray* array, unsigned* jc)
{
    array->jc = jc;
}

} // namespace matrix::detail::noninlined::kx_array_api
