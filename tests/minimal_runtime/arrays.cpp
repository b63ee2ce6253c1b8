// Records: making, reading, changing and destroying arrays.
#include "minimal_runtime.hpp"

#include <algorithm>
#include <cstring>
#include <new>
#include <stdexcept>

namespace minrt {
namespace {

Record& recordOf(kxArray* array)
{
    return static_cast<Record&>(*array);
}

const Record& recordOf(const kxArray* array)
{
    return static_cast<const Record&>(*array);
}

void* duplicate(const void* block, std::size_t bytes)
{
    return block == nullptr ? nullptr : std::memcpy(kxMalloc(bytes), block, bytes);
}

void freeData(Record& record)
{
    kxFree(record.pr);
    kxFree(record.pi);
    kxFree(record.ir);
    kxFree(record.jc);
}

Record* newFull(unsigned m, unsigned n, kxClassID id, unsigned flags)
{
    Record* record = newRecord(m, n, id, flags);
    record->pr = kxCalloc(std::size_t{m} * n, sizeOf(id));
    return record;
}

} // namespace

void unsupported(const std::string& what)
{
    throw std::invalid_argument("the minimal runtime has no " + what);
}

unsigned sizeOf(kxClassID id)
{
    if (id != kxDOUBLE_CLASS && id != kxLOGICAL_CLASS) {
        unsupported("class " + std::to_string(id));
    }
    return id == kxDOUBLE_CLASS ? sizeof(double) : 1;
}

Record* newRecord(unsigned m, unsigned n, kxClassID id, unsigned flags)
{
    auto* record = new (kxCalloc(1, sizeof(Record))) Record();
    record->class_id = id;
    record->scope = kxTEMPORARY_SCOPE;
    record->flags = flags;
    record->ndims = 2;
    record->dimensions[0] = m;
    record->dimensions[1] = n;
    return record;
}

kxArray* createRange(double first, double step, double last)
{
    const double steps = step == 0 ? -1 : (last - first) / step;
    Record* record =
        newRecord(1, steps < 0 ? 0 : static_cast<unsigned>(steps) + 1, kxDOUBLE_CLASS, kxFLAG_COLON_OBJECT);
    record->range[0] = first;
    record->range[1] = step;
    record->range[2] = last;
    return record;
}

kxArray* createColon()
{
    Record* record = newRecord(1, 1, kxDOUBLE_CLASS, kxFLAG_COLON_OBJECT);
    record->bareColon = true;
    return record;
}

kxArray* createMask(unsigned m, unsigned n)
{
    return newFull(m, n, kxLOGICAL_CLASS, 0);
}

} // namespace minrt

const unsigned* kxArray::get_dimensions() const
{
    return minrt::recordOf(this).dimensions;
}

bool kxArray::is_colon_index() const
{
    return minrt::recordOf(this).bareColon;
}

kxClassID kxArray::_get_class_id_non_trivial() const
{
    return class_id; // this runtime hides no class
}

namespace matrix::detail::noninlined::kx_array_api {

using minrt::Record;
using minrt::recordOf;

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
    return minrt::sizeOf(array->class_id);
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
    if (kxIsEmpty(array)) {
        minrt::unsupported("first element of an empty array");
    }
    const bool stored = array->jc == nullptr || (array->jc[1] > 0 && array->ir[0] == 0);
    if (!stored) {
        return 0;
    }
    return array->class_id == kxDOUBLE_CLASS ? *static_cast<const double*>(array->pr)
                                             : *static_cast<const unsigned char*>(array->pr);
}

bool* kxGetLogicals(const kxArray* array)
{
    return static_cast<bool*>(array->pr);
}

void kxGetColonObjValues(const kxArray* colonObject, double values[3])
{
    std::copy_n(recordOf(colonObject).range, 3, values);
}

kxArray* kxCreateSparseNumericMatrix(unsigned m, unsigned n, unsigned nzmax, kxClassID id, kxComplexity complexity)
{
    const unsigned size = minrt::sizeOf(id);
    const bool complex = complexity == kxCOMPLEX;
    Record* record =
        minrt::newRecord(m, n, id, kxFLAG_SPARSE | (id == kxDOUBLE_CLASS ? unsigned{kxFLAG_MAY_BE_COMPLEX} : 0U));
    record->nzmax = nzmax;
    record->pr = kxMalloc(std::size_t{nzmax} * size);
    record->pi = complex ? kxMalloc(std::size_t{nzmax} * size) : nullptr;
    record->ir = static_cast<unsigned*>(kxMalloc(std::size_t{nzmax} * sizeof(unsigned)));
    record->jc = static_cast<unsigned*>(kxCalloc(std::size_t{n} + 1, sizeof(unsigned)));
    return record;
}

kxArray* kxCreateDoubleMatrix(unsigned m, unsigned n, kxComplexity complexity)
{
    Record* record = minrt::newFull(m, n, kxDOUBLE_CLASS, kxFLAG_MAY_BE_COMPLEX);
    if (complexity == kxCOMPLEX) {
        record->pi = kxCalloc(std::size_t{m} * n, sizeof(double));
    }
    return record;
}

kxArray* kxCreateEmptyCopy(const kxArray* array)
{
    return array->jc != nullptr ? kxCreateSparseNumericMatrix(0, 0, 0, array->class_id, kxREAL)
                                : minrt::newFull(0, 0, array->class_id, array->flags);
}

kxArray* kxCreateDeepCopy(const kxArray* array)
{
    const Record& source = recordOf(array);
    Record* copy = minrt::newRecord(source.dimensions[0], source.dimensions[1], source.class_id, source.flags);
    copy->nzmax = source.nzmax;
    copy->bareColon = source.bareColon;
    std::copy_n(source.range, 3, copy->range);
    const std::size_t stored = source.jc != nullptr ? source.nzmax : kxGetNumberOfElements(array);
    copy->pr = minrt::duplicate(source.pr, stored * minrt::sizeOf(source.class_id));
    copy->pi = minrt::duplicate(source.pi, stored * minrt::sizeOf(source.class_id));
    copy->ir = static_cast<unsigned*>(minrt::duplicate(source.ir, stored * sizeof(unsigned)));
    copy->jc =
        static_cast<unsigned*>(minrt::duplicate(source.jc, (std::size_t{source.dimensions[1]} + 1) * sizeof(unsigned)));
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
        minrt::freeData(recordOf(array));
        kxFree(array);
    }
}

void kxMoveArrayOntoHeader(kxArray* dst, kxArray* src)
{
    minrt::freeData(recordOf(dst));
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
