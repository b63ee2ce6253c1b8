// Reading an array.
#include "convert_elements.hpp"
#include "elements.hpp"
#include "errors.hpp"
#include "kx_runtime.hpp"
#include "record.hpp"

#include <limits>

namespace matrix::detail::noninlined::kx_array_api {

using namespace kxrt;

namespace {

[[noreturn, gnu::cold, gnu::noinline]] void raiseWithoutValue()
{
    raiseInvalidOperand("A value was asked of an array that has none.");
}

unsigned saturated(std::uint64_t value, unsigned most)
{
    return value < most ? static_cast<unsigned>(value) : most;
}

} // namespace

unsigned kxGetN(const kxArray* array)
{
    const std::span<const unsigned> dims = dimensions(array);
    return dims.size() == 2 ? dims[1] : saturated(productOf(dims.subspan(1)), std::numeric_limits<unsigned>::max());
}

unsigned kxGetNumberOfElements(const kxArray* array)
{
    return saturated(elementsOf(array), kxGetMaxNumberOfElements());
}

unsigned kxGetNumNonZeroEl(const kxArray* array)
{
    return isSparse(array) ? entriesOf(array) : kxGetNumberOfElements(array);
}

unsigned kxGetElementSize(const kxArray* array)
{
    return static_cast<unsigned>(elementSize(classOf(array)));
}

bool kxIsEmpty(const kxArray* array)
{
    return elementsOf(array) == 0;
}

bool kxIsScalar(const kxArray* array)
{
    return elementsOf(array) == 1;
}

double kxGetScalar(const kxArray* array)
{
    const bool isPlain = (array->flags & (kxFLAG_SPARSE | kxFLAG_COLON_OBJECT)) == 0;
    if (isPlain && array->class_id == kxDOUBLE_CLASS && elementsOf(array) != 0) {
        return *static_cast<const double*>(array->pr);
    }
    if (kxIsEmpty(array) || array->is_colon_index()) {
        raiseWithoutValue();
    }
    if (isColonObject(array)) {
        return record(array)->range.start;
    }
    if (isSparse(array) && (array->jc[1] == 0 || array->ir[0] != 0)) {
        return 0;
    }
    double value = 0;
    convertRun(array->pr, classOf(array), &value, kxDOUBLE_CLASS, 1);
    return value;
}

bool* kxGetLogicals(const kxArray* array)
{
    return static_cast<bool*>(array->pr);
}

void kxGetColonObjValues(const kxArray* colonObject, double values[3])
{
    const Range& range = record(colonObject)->range;
    values[0] = range.start;
    values[1] = range.step;
    values[2] = range.stop;
}

} // namespace matrix::detail::noninlined::kx_array_api
