// Records: making, reading, changing and destroying arrays.
#include "minimal_runtime.hpp"

#include <algorithm>
#include <cstring>
#include <new>

using namespace minrt;

namespace {

/// The layout behind the record: dimensions and the values of a range lie in the header itself.
struct Record : kxArray
{
    unsigned dimensions[2];
    double range[3];
    bool bareColon;
};

Record& recordOf(kxArray* array)
{
    return static_cast<Record&>(*array);
}

const Record& recordOf(const kxArray* array)
{
    return static_cast<const Record&>(*array);
}

/// m-by-n, without data.
Record* newRecord(unsigned m, unsigned n, kxClassID id, unsigned flags)
{
    auto* record = new (kxCalloc(1, sizeof(Record))) Record();
    record->class_id = id;
    record->flags = flags;
    record->ndims = 2;
    record->dimensions[0] = m;
    record->dimensions[1] = n;
    return record;
}

unsigned sizeOf(kxClassID id)
{
    return id == kxDOUBLE_CLASS ? sizeof(double) : 1;
}

void* duplicate(const void* block, std::size_t bytes)
{
    return block == nullptr ? nullptr : std::memcpy(kxMalloc(bytes), block, bytes);
}

void freeData(const kxArray* array)
{
    for (void* block : {array->pr, array->pi, static_cast<void*>(array->ir), static_cast<void*>(array->jc)}) {
        kxFree(block);
    }
}

} // namespace

unsigned minrt::countOf(double first, double step, double last)
{
    const double steps = step == 0 ? -1 : (last - first) / step;
    return steps < 0 ? 0 : static_cast<unsigned>(steps) + 1;
}

const unsigned* kxArray::get_dimensions() const
{
    return recordOf(this).dimensions;
}

bool kxArray::is_colon_index() const
{
    return recordOf(this).bareColon;
}

kxClassID kxArray::_get_class_id_non_trivial() const
{
    return class_id; // this runtime hides no class
}

namespace matrix::detail::noninlined::kx_array_api {

unsigned kxGetN(const kxArray* array)
{
    return recordOf(array).dimensions[1];
}

unsigned kxGetNumberOfElements(const kxArray* array)
{
    unsigned product = 0;
    kxCheckMN_nothrow(recordOf(array).dimensions[0], kxGetN(array), 1, &product);
    return product;
}

unsigned kxGetNumNonZeroEl(const kxArray* array)
{
    return array->jc != nullptr ? array->jc[kxGetN(array)] : kxGetNumberOfElements(array);
}

unsigned kxGetElementSize(const kxArray* array)
{
    return sizeOf(array->class_id);
}

bool kxIsEmpty(const kxArray* array)
{
    return recordOf(array).dimensions[0] == 0 || kxGetN(array) == 0;
}

bool kxIsScalar(const kxArray* array)
{
    return recordOf(array).dimensions[0] == 1 && kxGetN(array) == 1;
}

double kxGetScalar(const kxArray* array)
{
    const bool stored = array->jc == nullptr || (array->jc[1] > 0 && array->ir[0] == 0);
    return stored ? *static_cast<const double*>(array->pr) : 0;
}

bool* kxGetLogicals(const kxArray* array)
{
    return static_cast<bool*>(array->pr);
}

void kxGetColonObjValues(const kxArray* colonObject, double values[3])
{
    std::copy_n(recordOf(colonObject).range, 3, values);
}

kxArray* kxCreateColonObject(double start, double step, double stop)
{
    Record* record = newRecord(1, countOf(start, step, stop), kxDOUBLE_CLASS, kxFLAG_COLON_OBJECT);
    const double range[] = {start, step, stop};
    std::copy_n(range, 3, record->range);
    return record;
}

kxArray* kxCreateColon()
{
    kxArray* colon = kxCreateColonObject(1, 1, 1);
    recordOf(colon).bareColon = true;
    return colon;
}

kxArray* kxCreateSparseNumericMatrix(unsigned m, unsigned n, unsigned nzmax, kxClassID id, kxComplexity complexity)
{
    const std::size_t bytes = std::size_t{nzmax} * sizeof(double);
    Record* record = newRecord(m, n, id, kxFLAG_SPARSE | kxFLAG_MAY_BE_COMPLEX);
    record->nzmax = nzmax;
    record->pr = kxMalloc(bytes);
    record->pi = complexity == kxCOMPLEX ? kxMalloc(bytes) : nullptr;
    record->ir = static_cast<unsigned*>(kxMalloc(std::size_t{nzmax} * sizeof(unsigned)));
    record->jc = static_cast<unsigned*>(kxCalloc(std::size_t{n} + 1, sizeof(unsigned)));
    return record;
}

kxArray* kxCreateNumericArray(unsigned /*ndims*/, const unsigned* dims, kxClassID id, kxComplexity complexity)
{
    Record* record = newRecord(dims[0], dims[1], id, id == kxDOUBLE_CLASS ? kxFLAG_MAY_BE_COMPLEX : 0U);
    const std::size_t elements = std::size_t{dims[0]} * dims[1];
    record->pr = kxCalloc(elements, sizeOf(id));
    record->pi = complexity == kxCOMPLEX ? kxCalloc(elements, sizeOf(id)) : nullptr;
    return record;
}

kxArray* kxCreateDoubleMatrix(unsigned m, unsigned n, kxComplexity complexity)
{
    const unsigned dims[] = {m, n};
    return kxCreateNumericArray(2, dims, kxDOUBLE_CLASS, complexity);
}

kxArray* kxCreateEmptyCopy(const kxArray* array)
{
    return array->jc != nullptr ? kxCreateSparseNumericMatrix(0, 0, 0, array->class_id, kxREAL)
                                : kxCreateDoubleMatrix(0, 0, kxREAL);
}

kxArray* kxCreateDeepCopy(const kxArray* array)
{
    auto* copy = static_cast<kxArray*>(std::memcpy(kxMalloc(sizeof(Record)), array, sizeof(Record)));
    const std::size_t stored = array->jc != nullptr ? array->nzmax : kxGetNumberOfElements(array);
    copy->pr = duplicate(array->pr, stored * sizeOf(array->class_id));
    copy->pi = duplicate(array->pi, stored * sizeOf(array->class_id));
    copy->ir = static_cast<unsigned*>(duplicate(array->ir, stored * sizeof(unsigned)));
    copy->jc = static_cast<unsigned*>(duplicate(array->jc, (std::size_t{kxGetN(array)} + 1) * sizeof(unsigned)));
    return copy;
}

kxArray* kxDuplicateArray(const kxArray* array)
{
    return kxCreateDeepCopy(array);
}

kxArray* kxCreateSharedDataCopy(const kxArray* array)
{
    return kxCreateDeepCopy(array); // a copy of one's own serves whoever may share
}

void kxDestroyArray(kxArray* array)
{
    if (array != nullptr) {
        freeData(array);
        kxFree(array);
    }
}

void kxMoveArrayOntoHeader(kxArray* dst, kxArray* src)
{
    freeData(dst);
    std::memcpy(static_cast<void*>(dst), src, sizeof(Record));
    kxFree(src);
}

void kxFreeImagIfZero(kxArray* array)
{
    if (array->pi != nullptr) {
        const auto* values = static_cast<const double*>(array->pi);
        if (std::all_of(values, values + kxGetNumNonZeroEl(array), [](double value) { return value == 0; })) {
            kxFree(array->pi);
            array->pi = nullptr;
        }
    }
}

void kxSetArrayScope(kxArray* array, kxVariableScope scope)
{
    array->scope = scope;
}

void kxSetM(kxArray* array, unsigned m)
{
    recordOf(array).dimensions[0] = m;
}

void kxSetN(kxArray* array, unsigned n)
{
    recordOf(array).dimensions[1] = n;
}

int kxSetDimensions(kxArray* array, const unsigned* dims, unsigned ndims)
{
    if (ndims != 2) {
        return 1;
    }
    std::copy_n(dims, 2, recordOf(array).dimensions);
    return 0;
}

void kxSetData(kxArray* array, void* pr)
{
    array->pr = pr;
}

void kxSetImagData(kxArray* array, void* pi)
{
    array->pi = pi;
    array->flags |= pi != nullptr ? unsigned{kxFLAG_MAY_BE_COMPLEX} : 0U;
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
