// Conversion of arrays between element classes.
#include "colon.hpp"
#include "convert_elements.hpp"
#include "create.hpp"
#include "elements.hpp"
#include "errors.hpp"
#include "kx_runtime.hpp"

#include <algorithm>

namespace kxrt {
namespace {

/// What becomes of imaginary parts in a class that has none: true of a logical counts either part, a char
/// refuses a value that is not real.
void foldImaginary(const kxArray* array, kxArray* target, kxClassID id, std::size_t count)
{
    const BlockOwner imaginary(allocate(count, sizeof(Logical)));
    const auto* nonZero = static_cast<const Logical*>(imaginary.get());
    convertRun(array->pi, classOf(array), imaginary.get(), kxLOGICAL_CLASS, count);
    if (id == kxLOGICAL_CLASS) {
        auto* truth = static_cast<Logical*>(target->pr);
        for (std::size_t i = 0; i < count; ++i) {
            truth[i].byte |= nonZero[i].byte;
        }
    } else if (std::any_of(nonZero, nonZero + count, isNonZero<Logical>)) {
        raiseInvalidOperand("A complex value cannot become a character.");
    }
}

/// Converts the first `count` elements of the data.
void convertData(const kxArray* array, kxArray* target, kxClassID id, std::size_t count)
{
    convertRun(array->pr, classOf(array), target->pr, id, count);
    if (!isComplex(array)) {
        return;
    }
    if (mayBeComplex(id)) {
        convertRun(array->pi, classOf(array), target->pi, id, count);
    } else {
        foldImaginary(array, target, id, count);
    }
}

/// Closes the gaps that entries of value zero leave. O(entries + columns).
template <typename T>
void dropZeros(kxArray* array)
{
    auto* re = static_cast<T*>(array->pr);
    auto* im = static_cast<T*>(array->pi);
    const unsigned columns = columnsOf(array);
    unsigned kept = 0;
    unsigned e = 0;
    for (unsigned column = 0; column < columns; ++column) {
        for (const unsigned end = array->jc[column + 1]; e < end; ++e) {
            const bool keep = isNonZero(re[e]) || (im != nullptr && isNonZero(im[e]));
            array->ir[kept] = array->ir[e];
            re[kept] = re[e];
            if (im != nullptr) {
                im[kept] = im[e];
            }
            kept += keep ? 1U : 0U;
        }
        array->jc[column + 1] = kept;
    }
}

ArrayOwner convertSparse(const kxArray* array, kxClassID id, kxComplexity complexity)
{
    const unsigned n = columnsOf(array);
    const unsigned entries = entriesOf(array);
    ArrayOwner made = newSparse(rowsOf(array), n, std::max(entries, 1U), id, complexity);
    copyElements(made->jc, array->jc, std::size_t{n} + 1, sizeof(unsigned));
    copyElements(made->ir, array->ir, entries, sizeof(unsigned));
    convertData(array, made.get(), id, entries);
    withElementType(id, [&]<typename T>(std::type_identity<T>) { dropZeros<T>(made.get()); });
    return made;
}

ArrayOwner convertFull(const kxArray* array, kxClassID id, kxComplexity complexity)
{
    ArrayOwner made = newFull(dimensions(array), id, complexity);
    convertData(array, made.get(), id, elementsOf(array));
    return made;
}

/// Apart from kxMustBe(), which has most often nothing to do and should find that out quickly.
[[gnu::noinline]] ArrayOwner convert(const kxArray* array, kxClassID id)
{
    requireKnownClass(classOf(array));
    if (isColonObject(array)) {
        return valuesOf(array, id);
    }
    const kxComplexity complexity = mayBeComplex(id) ? complexityOf(array) : kxREAL;
    return isSparse(array) ? convertSparse(array, id, complexity) : convertFull(array, id, complexity);
}

} // namespace
} // namespace kxrt

namespace matrix::detail::noninlined::kx_array_api {

using namespace kxrt;

kxArray* kxMustBe(const kxArray* array, kxClassID id)
{
    requireKnownClass(id);
    if (classOf(array) == id && !isColonObject(array)) {
        return const_cast<kxArray*>(array);
    }
    return convert(array, id).release();
}

} // namespace matrix::detail::noninlined::kx_array_api
