// Conversion between full and sparse storage.
#include "colon.hpp"
#include "create.hpp"
#include "elements.hpp"
#include "errors.hpp"
#include "kx_runtime.hpp"

#include <algorithm>

namespace kxrt {
namespace {

/// Calls sink(row, position) for each non-zero element of the column that begins at `position`.
template <typename T, typename Sink>
void forEachNonZero(const kxArray* array, std::size_t position, Sink&& sink)
{
    const auto* re = static_cast<const T*>(array->pr);
    const auto* im = isComplex(array) ? static_cast<const T*>(array->pi) : nullptr;
    const unsigned m = rowsOf(array);
    for (unsigned row = 0; row < m; ++row, ++position) {
        if (isNonZero(re[position]) || (im != nullptr && isNonZero(im[position]))) {
            sink(row, position);
        }
    }
}

template <typename T>
unsigned countNonZeros(const kxArray* array)
{
    const auto* re = static_cast<const T*>(array->pr);
    const auto* im = isComplex(array) ? static_cast<const T*>(array->pi) : re;
    const std::size_t elements = elementsOf(array);
    unsigned count = 0;
    for (std::size_t i = 0; i < elements; ++i) {
        count += unsigned{isNonZero(re[i])} | unsigned{isNonZero(im[i])};
    }
    return count;
}

template <typename T>
ArrayOwner compress(const kxArray* array)
{
    const unsigned nzmax = std::max(countNonZeros<T>(array), 1U);
    const std::size_t m = rowsOf(array);
    const unsigned n = columnsOf(array);
    ArrayOwner made = newSparse(rowsOf(array), n, nzmax, classOf(array), complexityOf(array));
    unsigned entry = 0;
    for (unsigned column = 0; column < n; ++column) {
        forEachNonZero<T>(array, column * m, [&](unsigned row, std::size_t position) {
            made->ir[entry] = row;
            static_cast<T*>(made->pr)[entry] = static_cast<const T*>(array->pr)[position];
            if (made->pi != nullptr) {
                static_cast<T*>(made->pi)[entry] = static_cast<const T*>(array->pi)[position];
            }
            ++entry;
        });
        made->jc[column + 1] = entry;
    }
    return made;
}

template <typename T>
void expand(const kxArray* array, const void* from, void* to)
{
    const auto* source = static_cast<const T*>(from);
    auto* column = static_cast<T*>(to);
    for (unsigned j = 0; j < columnsOf(array); ++j, column += rowsOf(array)) {
        for (unsigned e = array->jc[j]; e < array->jc[j + 1]; ++e) {
            column[array->ir[e]] = source[e];
        }
    }
}

ArrayOwner expandAll(const kxArray* array)
{
    const kxClassID id = classOf(array);
    ArrayOwner made = newZeroedFull(dimensions(array), id, complexityOf(array));
    withElementWidth(id, [&]<typename T>(std::type_identity<T>) {
        expand<T>(array, array->pr, made->pr);
        if (isComplex(array)) {
            expand<T>(array, array->pi, made->pi);
        }
    });
    return made;
}

} // namespace
} // namespace kxrt

namespace matrix::detail::noninlined::kx_array_api {

using namespace kxrt;

kxArray* kxMustBeSparse(const kxArray* array)
{
    if (isSparse(array)) {
        return const_cast<kxArray*>(array);
    }
    requireKnownClass(classOf(array));
    if (array->ndims > 2) {
        raiseInvalidOperand("A sparse array has two dimensions, not " + std::to_string(array->ndims) + ".");
    }
    const ArrayOwner values = isColonObject(array) ? valuesOf(array, kxDOUBLE_CLASS) : nullptr;
    const kxArray* full = values != nullptr ? values.get() : array;
    return withElementType(classOf(full),
                           [full]<typename T>(std::type_identity<T>) { return compress<T>(full).release(); });
}

kxArray* kxMustBeFull(const kxArray* array)
{
    if (isColonObject(array)) {
        return valuesOf(array, kxDOUBLE_CLASS).release();
    }
    return isSparse(array) ? expandAll(array).release() : const_cast<kxArray*>(array);
}

} // namespace matrix::detail::noninlined::kx_array_api
