// Values of the language: an owning handle on a runtime array.
#ifndef KXSH_VALUE_HPP
#define KXSH_VALUE_HPP

#include <kx_element_types.hpp>
#include <kx_runtime.hpp>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace kxsh {

namespace kx = matrix::detail::noninlined::kx_array_api;

/// Owns one runtime array. A copy shares the data blocks; whoever changes an array in place first makes it private
/// (kxrt::make_private). A range a:s:b stays a colon object until its elements are needed.
class Value
{
  public:
    Value() noexcept = default;
    /// Takes ownership; null gives the empty handle.
    explicit Value(kxArray* owned) noexcept : array_(owned) {}
    Value(const Value& other) : array_(other.array_ == nullptr ? nullptr : kx::kxCreateSharedDataCopy(other.array_)) {}
    Value(Value&& other) noexcept : array_(std::exchange(other.array_, nullptr)) {}
    Value& operator=(Value other) noexcept
    {
        std::swap(array_, other.array_);
        return *this;
    }
    ~Value() { kx::kxDestroyArray(array_); }

    static Value number(double re);
    static Value complexNumber(double re, double im);
    static Value truth(bool isTrue);
    static Value text(std::string_view utf8);
    static Value range(double start, double step, double stop)
    {
        return Value(kx::kxCreateColonObject(start, step, stop));
    }
    /// Zeroed m-by-n full array.
    static Value full(unsigned m, unsigned n, kxClassID id = kxDOUBLE_CLASS, kxComplexity complexity = kxREAL);
    /// m-by-n sparse array with room for `nzmax` entries, zeroed column starts and unset entries.
    static Value sparse(unsigned m, unsigned n, unsigned nzmax, kxClassID id = kxDOUBLE_CLASS,
                        kxComplexity complexity = kxREAL)
    {
        return Value(kx::kxCreateSparseNumericMatrix(m, n, nzmax, id, complexity));
    }

    [[nodiscard]] kxArray* get() noexcept { return array_; }
    [[nodiscard]] const kxArray* get() const noexcept { return array_; }
    explicit operator bool() const noexcept { return array_ != nullptr; }

    [[nodiscard]] unsigned rows() const { return array_->get_dimensions()[0]; }
    [[nodiscard]] unsigned columns() const { return kx::kxGetN(array_); }
    /// rows times columns, never saturated.
    [[nodiscard]] std::uint64_t count() const { return std::uint64_t{rows()} * columns(); }
    [[nodiscard]] kxClassID classId() const
    {
        return array_->class_id > 16 ? array_->_get_class_id_non_trivial() : array_->class_id;
    }
    [[nodiscard]] bool isSparse() const noexcept { return (array_->flags & kxFLAG_SPARSE) != 0; }
    [[nodiscard]] bool isColon() const { return array_->is_colon_index(); }
    /// A lazily stored range, not the bare colon.
    [[nodiscard]] bool isRange() const { return !isColon() && (array_->flags & kxFLAG_COLON_OBJECT) != 0; }
    [[nodiscard]] bool isComplex() const noexcept
    {
        return (array_->flags & kxFLAG_MAY_BE_COMPLEX) != 0 && array_->pi != nullptr;
    }
    [[nodiscard]] bool isScalar() const { return rows() == 1 && columns() == 1; }
    [[nodiscard]] bool isText() const { return classId() == kxCHAR_CLASS && !isSparse(); }
    [[nodiscard]] bool sameShape(const Value& other) const
    {
        return rows() == other.rows() && columns() == other.columns();
    }

    /// Stored entries of a sparse array.
    [[nodiscard]] unsigned entries() const { return starts()[columns()]; }
    /// Sparse arrays: columns() + 1 column starts, and the row of each entry.
    [[nodiscard]] unsigned* starts() const noexcept { return array_->jc; }
    [[nodiscard]] unsigned* rowIndices() const noexcept { return array_->ir; }
    /// The elements (full) or stored values (sparse) as T, which must be the type of the class.
    template <typename T>
    [[nodiscard]] T* data() const noexcept
    {
        return static_cast<T*>(array_->pr);
    }
    /// Imaginary parts, or null.
    template <typename T>
    [[nodiscard]] T* imagData() const noexcept
    {
        return isComplex() ? static_cast<T*>(array_->pi) : nullptr;
    }

  private:
    kxArray* array_ = nullptr;
};

/// "double", "int8" ...; also for sparse arrays.
std::string_view className(kxClassID id);
/// The class of a name, or kxUNKNOWN_CLASS.
kxClassID classNamed(std::string_view name);
bool isIntegerClass(kxClassID id);

/// Start, step and stop of a range.
struct RangeBounds
{
    double start;
    double step;
    double stop;
};
RangeBounds boundsOf(const Value& range);
/// Value `index`, from 0, of a range: the same that elementsOf() gives there.
double valueAt(const RangeBounds& bounds, std::uint64_t index);

/// The value itself, or the elements of a lazy range as a full double row.
Value elementsOf(const Value& value);
/// Elements converted to another class, sparse staying sparse; a shared copy where nothing changes.
Value converted(const Value& value, kxClassID id);
Value asFull(const Value& value);
/// A number of entries for one sparse array; raises kx:sizeLimit above the maximum number of elements.
unsigned entryCount(std::uint64_t count);
/// Takes or gives up room for entries of a sparse array that is not shared; from now on it is `count`.
void setCapacity(Value& sparse, unsigned count);
Value asSparse(const Value& value);
/// Copies elements, or stored values, to an array of the same class with room for them; a complex one gets imaginary
/// zeros from a real one.
void copyValues(const Value& from, std::size_t first, std::size_t count, Value& to, std::size_t next);
/// "3-by-4"
std::string shapeText(const Value& value);

/// Calls f(std::type_identity<T>{}) with the element type of a class.
template <typename F>
decltype(auto) withElementType(kxClassID id, F&& f)
{
    return kxWithElementType<bool, char16_t>(id, f);
}

/// f(source, target) with the real parts of two arrays of one class, then with the imaginary ones if `to` has some;
/// those of `from` are a null pointer if it has none.
template <typename F>
void forEachPart(const Value& from, Value& to, F f)
{
    withElementType(to.classId(), [&]<typename T>(std::type_identity<T>) {
        f(static_cast<const T*>(from.data<T>()), to.data<T>());
        if (to.isComplex()) {
            f(static_cast<const T*>(from.imagData<T>()), to.imagData<T>());
        }
    });
}

/// Calls f(row, k) for each stored value k of a column of a sparse array, or each element k of that of a full one.
template <typename F>
void forEachInColumn(const Value& array, unsigned column, F&& f)
{
    if (array.isSparse()) {
        const unsigned* rows = array.rowIndices();
        const unsigned stop = array.starts()[column + 1];
        for (unsigned k = array.starts()[column]; k < stop; ++k) {
            f(rows[k], std::size_t{k});
        }
    } else {
        const unsigned m = array.rows();
        for (unsigned i = 0; i < m; ++i) {
            f(i, std::size_t{column} * m + i);
        }
    }
}

std::string utf8Of(const std::u16string& text);
/// The text of a full char array in UTF-8, read in column order.
std::string textOf(const Value& value);
/// First element of a non-empty value as double.
double firstNumber(const Value& value);

} // namespace kxsh

#endif
