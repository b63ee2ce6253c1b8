// Transposition.
#include "colon.hpp"
#include "create.hpp"
#include "elements.hpp"
#include "errors.hpp"
#include "kx_runtime.hpp"

#include <algorithm>
#include <utility>

namespace kxrt {
namespace {

/// Row-major order of an m-by-n block of elements, in tiles that stay in the cache. Nothing for null.
template <typename T>
void transposeTiles(const void* from, void* to, std::size_t m, std::size_t n)
{
    constexpr std::size_t kTile = 32;
    const auto* source = static_cast<const T*>(from);
    auto* target = static_cast<T*>(to);
    for (std::size_t column = 0; column < n; column += kTile) {
        const std::size_t columnEnd = std::min(column + kTile, n);
        for (std::size_t row = 0; row < m; row += kTile) {
            const std::size_t rowEnd = std::min(row + kTile, m);
            for (std::size_t i = row; i < rowEnd; ++i) {
                for (std::size_t j = column; j < columnEnd; ++j) {
                    target[i * n + j] = source[j * m + i];
                }
            }
        }
    }
}

ArrayOwner transposeFull(const kxArray* array)
{
    const unsigned m = rowsOf(array);
    const unsigned n = columnsOf(array);
    const kxClassID id = classOf(array);
    const unsigned dims[] = {n, m};
    ArrayOwner made = newFull(dims, id, complexityOf(array));
    const auto move = [&](const void* from, void* to) {
        if (m == 1 || n == 1) {
            copyElements(to, from, elementsOf(array), elementSize(id));
            return;
        }
        withElementWidth(id, [&]<typename T>(std::type_identity<T>) { transposeTiles<T>(from, to, m, n); });
    };
    move(array->pr, made->pr);
    if (isComplex(array)) {
        move(array->pi, made->pi);
    }
    return made;
}

/// Leaves in starts[r + 1] where the entries of row r begin; starts[0] is 0. O(entries + rows).
void rowStarts(const kxArray* array, unsigned* starts)
{
    const unsigned entries = entriesOf(array);
    for (unsigned e = 0; e < entries; ++e) {
        ++starts[array->ir[e] + 1];
    }
    unsigned begin = 0;
    for (unsigned* start = starts + 1; start != starts + rowsOf(array) + 1; ++start) {
        begin += std::exchange(*start, begin);
    }
}

/// Moves each entry behind those of its row already moved; starts[r + 1] ends where row r ends, as column starts do.
template <typename T, bool kComplex>
void scatterEntries(const kxArray* from, kxArray* to)
{
    const auto* re = static_cast<const T*>(from->pr);
    const auto* im = static_cast<const T*>(from->pi);
    auto* reTo = static_cast<T*>(to->pr);
    auto* imTo = static_cast<T*>(to->pi);
    unsigned* next = to->jc + 1;
    const unsigned columns = columnsOf(from);
    for (unsigned column = 0; column < columns; ++column) {
        for (unsigned e = from->jc[column]; e < from->jc[column + 1]; ++e) {
            const unsigned at = next[from->ir[e]]++;
            to->ir[at] = column;
            reTo[at] = re[e];
            if constexpr (kComplex) {
                imTo[at] = im[e];
            }
        }
    }
}

ArrayOwner transposeSparse(const kxArray* array)
{
    const kxClassID id = classOf(array);
    const unsigned nzmax = std::max(entriesOf(array), 1U);
    ArrayOwner made = newSparse(columnsOf(array), rowsOf(array), nzmax, id, complexityOf(array));
    rowStarts(array, made->jc);
    withElementWidth(id, [&]<typename T>(std::type_identity<T>) {
        if (isComplex(array)) {
            scatterEntries<T, true>(array, made.get());
        } else {
            scatterEntries<T, false>(array, made.get());
        }
    });
    return made;
}

} // namespace
} // namespace kxrt

namespace matrix::detail::noninlined::kx_array_api {

using namespace kxrt;

kxArray* kxTranspose(const kxArray* array)
{
    requireKnownClass(classOf(array));
    if (array->ndims > 2) {
        raiseInvalidOperand("Only a matrix can be transposed.");
    }
    if (isColonObject(array)) {
        ArrayOwner values = valuesOf(array, kxDOUBLE_CLASS);
        const unsigned dims[] = {columnsOf(values.get()), 1};
        storeDimensions(values.get(), dims);
        return values.release();
    }
    return (isSparse(array) ? transposeSparse(array) : transposeFull(array)).release();
}

} // namespace matrix::detail::noninlined::kx_array_api
