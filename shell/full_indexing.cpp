#include "full_indexing.hpp"

#include "interrupt.hpp"
#include "operators.hpp"

#include <zqspmatrix.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

namespace kxsh {

namespace {

/// The 0-based places that a subscript names: in steps, or one by one.
struct Places
{
    std::uint64_t first = 0;
    std::int64_t step = 1;
    std::uint64_t count = 1;
    std::vector<unsigned> list{};
    bool listed = false;

    [[nodiscard]] std::uint64_t at(std::uint64_t k) const
    {
        return listed ? list[k] : first + k * static_cast<std::uint64_t>(step);
    }
    /// One more than the highest place; 0 for none.
    [[nodiscard]] std::uint64_t extent() const
    {
        return count == 0 ? 0 : 1 + (listed ? *std::ranges::max_element(list) : std::max(at(0), at(count - 1)));
    }
};

/// Raises the library's error for a 1-based subscript that is none.
void checkPlace(double v)
{
    if (!(v >= 1) || v != std::floor(v)) {
        kxHandleSparseSubscriptError(v < 1 ? spIndexBelowOne : spIndexNotPositiveInteger);
    }
    if (v > kx::kxGetMaxNumberOfElements()) {
        kxHandleSparseSubscriptError(std::isinf(v) ? spIndexNotPositiveInteger : spIndexExceedsMaxSize);
    }
}

/// Nothing for a sparse subscript. `all` is how many places the colon names.
std::optional<Places> placesOf(const Value& subscript, std::uint64_t all)
{
    if (subscript.isSparse()) {
        return std::nullopt;
    }
    if (subscript.isColon()) {
        return Places{.count = all};
    }
    const std::uint64_t count = subscript.count();
    if (subscript.isRange()) {
        const RangeBounds bounds = boundsOf(subscript);
        if (count > 0) {
            checkPlace(bounds.start);
        }
        if (count > 1) {
            checkPlace(bounds.start + bounds.step);
            checkPlace(valueAt(bounds, count - 1));
        }
        return Places{.first = static_cast<std::uint64_t>(count > 0 ? bounds.start - 1 : 0),
                      .step = count > 1 ? static_cast<std::int64_t>(bounds.step) : 1,
                      .count = count};
    }
    const bool isMask = subscript.classId() == kxLOGICAL_CLASS;
    if (subscript.isComplex() && !isMask) {
        kxHandleSparseSubscriptError(spIndexNotPositiveInteger);
    }
    Places places{.count = isMask ? nonZeros(subscript) : count, .listed = true};
    places.list.resize(places.count);
    withElementType(subscript.classId(), [&]<typename T>(std::type_identity<T>) {
        const T* data = subscript.data<T>();
        auto next = places.list.begin();
        for (std::size_t k = 0; k < count; ++k) {
            pollAtStep(k);
            if constexpr (!std::is_same_v<T, bool>) {
                checkPlace(static_cast<double>(data[k]));
                *next++ = static_cast<unsigned>(data[k]) - 1;
            } else if (data[k]) {
                *next++ = static_cast<unsigned>(k);
            }
        }
    });
    return places;
}

struct Shape
{
    unsigned m;
    unsigned n;
};

/// The shape of array(subscript) with `count` elements: that of the subscript, or along the array if both are vectors.
Shape linearShape(const Value& array, const Value& subscript, unsigned count)
{
    if (subscript.isColon()) {
        return {count, 1};
    }
    Shape shape{subscript.rows(), subscript.columns()};
    const bool row = array.rows() == 1 && array.columns() != 1;
    const bool column = array.columns() == 1 && array.rows() != 1;
    if (subscript.classId() == kxLOGICAL_CLASS) {
        const bool scalar = shape.m == 1 && shape.n == 1;
        if (count == 0 && ((shape.m == 0 && shape.n == 0) || (scalar && !row && !column))) {
            return {0, 0};
        }
        shape = shape.m == 1 ? Shape{1, count} : Shape{count, 1};
    }
    const bool vector = shape.m == 1 || shape.n == 1;
    return vector && row ? Shape{1, count} : vector && column ? Shape{count, 1} : shape;
}

/// A result of this shape whose element k is the array's at placeOf(k); `columns` are walked one after another.
Value gather(const Value& array, Shape shape, const Places& rows, const Places& columns, std::uint64_t height)
{
    Value result = Value::full(shape.m, shape.n, array.classId(), array.isComplex() ? kxCOMPLEX : kxREAL);
    const bool lazy = array.isRange();
    const RangeBounds bounds = lazy ? boundsOf(array) : RangeBounds{};
    forEachPart(array, result, [&]<typename T>(const T* from, T* to) {
        for (std::uint64_t j = 0; j < columns.count; ++j, to += rows.count) {
            const std::uint64_t base = columns.at(j) * height;
            for (std::uint64_t k = 0; k < rows.count; ++k) {
                pollAtStep(k);
                const std::uint64_t place = base + rows.at(k);
                to[k] = lazy ? static_cast<T>(valueAt(bounds, place)) : from[place];
            }
        }
    });
    kx::kxFreeImagIfZero(result.get());
    return result;
}

/// More columns, or a longer column, in a longer block; everything else in a new one.
void grow(Value& target, unsigned m, unsigned n)
{
    const std::size_t size = kx::kxGetElementSize(target.get());
    const std::size_t before = target.count();
    if (before != 0 && (m == target.rows() || target.columns() == 1) && (n == target.columns() || m == target.rows())) {
        if (!kx::kxCheckMN_nothrow(m, n, 1, nullptr)) {
            kxHandleSparseSubscriptError(spIndexExceedsMaxSize);
        }
        const std::size_t after = std::size_t{m} * n;
        const auto lengthened = [&](void* block) {
            block = kx::kxRealloc(block, after * size);
            std::memset(static_cast<char*>(block) + before * size, 0, (after - before) * size);
            return block;
        };
        kxrt::make_private(target.get());
        kxArray* array = target.get();
        array->pr = lengthened(array->pr);
        if (target.isComplex()) {
            array->pi = lengthened(array->pi);
        }
        kx::kxSetM(array, m);
        kx::kxSetN(array, n);
        return;
    }
    const kxClassID id = target.classId();
    target = concatenate(
        {{target, Value::full(target.rows(), n - target.columns(), id)}, {Value::full(m - target.rows(), n, id)}});
}

/// The size that the target must have to hold a place that is `extent` places down its columns.
Shape linearExtent(const Value& target, std::uint64_t extent)
{
    const unsigned m = target.rows();
    const unsigned n = target.columns();
    if (extent <= target.count()) {
        return {m, n};
    }
    if (m > 1 && n > 1) {
        kxHandleSparseSubscriptError(spCannotResize);
    }
    const auto length = static_cast<unsigned>(extent);
    return n == 1 && m > 1 ? Shape{length, 1} : Shape{1, length};
}

/// Nothing here can fail, nor is interrupted.
void scatter(Value& target, const Value& value, const Places& rows, const Places& columns, std::uint64_t height)
{
    const std::size_t step = value.isScalar() ? 0 : 1;
    forEachPart(value, target, [&]<typename T>(const T* from, T* to) {
        for (std::uint64_t j = 0; j < columns.count; ++j) {
            const std::uint64_t base = columns.at(j) * height;
            const std::uint64_t read = j * rows.count;
            for (std::uint64_t k = 0; k < rows.count; ++k) {
                to[base + rows.at(k)] = from == nullptr ? T{} : from[(read + k) * step];
            }
        }
    });
}

} // namespace

std::optional<Value> referenceFull(const Value& array, std::span<const Value> subscripts)
{
    const bool linear = subscripts.size() == 1;
    const auto rows = placesOf(subscripts[0], linear ? array.count() : array.rows());
    const auto columns = linear ? Places{} : placesOf(subscripts[1], array.columns());
    if (!rows || !columns) {
        return std::nullopt;
    }
    if (rows->extent() > (linear ? array.count() : array.rows()) || (!linear && columns->extent() > array.columns())) {
        kxHandleSparseSubscriptError(spIndexOutOfRange);
    }
    const auto m = static_cast<unsigned>(rows->count);
    const Shape shape = linear ? linearShape(array, subscripts[0], m) : Shape{m, static_cast<unsigned>(columns->count)};
    if (array.isRange() && shape.m == 1) {
        const Places& places = linear ? *rows : *columns;
        const RangeBounds bounds = boundsOf(array);
        const bool whole = std::trunc(bounds.start) == bounds.start && std::trunc(bounds.step) == bounds.step;
        if (whole && !places.listed && shape.n > 1) {
            const double first = valueAt(bounds, places.at(0));
            return Value::range(first, valueAt(bounds, places.at(1)) - first, valueAt(bounds, places.at(shape.n - 1)));
        }
    }
    return gather(array, shape, *rows, *columns, linear ? 0 : array.rows());
}

bool assignFull(Value& target, const Value& value, std::span<const Value> subscripts)
{
    const bool linear = subscripts.size() == 1;
    const bool anyColon = subscripts[0].isColon() || (!linear && subscripts[1].isColon());
    if ((value.get()->flags & kxFLAG_EMPTY_LITERAL) != 0 || (value.isComplex() && !target.isComplex()) ||
        (target.count() == 0 && (anyColon || target.rows() != target.columns()))) {
        return false;
    }
    const auto rows = placesOf(subscripts[0], linear ? target.count() : target.rows());
    const auto columns = linear ? Places{} : placesOf(subscripts[1], target.columns());
    if (!rows || !columns) {
        return false;
    }
    auto m = static_cast<unsigned>(rows->count);
    auto n = static_cast<unsigned>(columns->count);
    if (linear && !value.isScalar() && value.count() != m) {
        if (anyColon) {
            return false;
        }
        kxHandleSparseSubscriptError(spIndexAssignCountMismatch);
    }
    if (!linear &&
        kx::kxMatch2DIndicesForIndexedAssignment(&m, &n, value.rows(), value.columns(), false, nullptr) == 0) {
        kxHandleSparseSubscriptError(spAssignDimMismatch);
    }
    if (m == 0 || n == 0) {
        return false; // it may grow all the same
    }
    const Value elements = asFull(converted(value, target.classId()));
    const Shape shape = linear ? linearExtent(target, rows->extent())
                               : Shape{std::max(target.rows(), static_cast<unsigned>(rows->extent())),
                                       std::max(target.columns(), static_cast<unsigned>(columns->extent()))};
    if (shape.m != target.rows() || shape.n != target.columns()) {
        grow(target, shape.m, shape.n);
    } else {
        kxrt::make_private(target.get());
    }
    scatter(target, elements, *rows, *columns, linear ? 0 : target.rows());
    return true;
}

} // namespace kxsh
