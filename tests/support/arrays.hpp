// Operands of the tests: an owner for runtime arrays, the element storages, and access to single elements.
//
//     Array a = toArray(model);            // see model.hpp, subscript.hpp and right_side.hpp for what is built
//     spRef2(a.get(), result.slot());      // a result falls into an empty owner
#ifndef ZQSP_TESTS_SUPPORT_ARRAYS_HPP
#define ZQSP_TESTS_SUPPORT_ARRAYS_HPP

#include <kx_runtime.hpp>

#include <algorithm>
#include <complex>
#include <cstddef>
#include <iosfwd>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace zqsp::test {

using namespace matrix::detail::noninlined::kx_array_api;

/// One element. Every class here holds the small numbers that the tests use exactly.
using Value = std::complex<double>;

inline constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
inline constexpr double kInf = std::numeric_limits<double>::infinity();

/// Owns a runtime array.
class Array
{
  public:
    Array() = default;
    explicit Array(kxArray* adopted) noexcept : array_(adopted) {}
    Array(Array&& other) noexcept : array_(other.release()) {}
    Array& operator=(Array&& other) noexcept
    {
        std::swap(array_, other.array_);
        return *this;
    }
    Array(const Array&) = delete;
    Array& operator=(const Array&) = delete;
    ~Array() { kxDestroyArray(array_); }

    [[nodiscard]] kxArray* get() const noexcept { return array_; }
    kxArray* operator->() const noexcept { return array_; }
    [[nodiscard]] kxArray* release() noexcept { return std::exchange(array_, nullptr); }
    /// Where a call stores its result; what was owned before is destroyed.
    [[nodiscard]] kxArray** slot() noexcept
    {
        kxDestroyArray(std::exchange(array_, nullptr));
        return &array_;
    }

  private:
    kxArray* array_ = nullptr;
};

/// A full row of doubles.
inline Array doubles(const std::vector<double>& values)
{
    Array made(kxCreateDoubleMatrix(1, static_cast<unsigned>(values.size()), kxREAL));
    std::copy(values.begin(), values.end(), static_cast<double*>(made->pr));
    return made;
}

/// Element storage of an array.
struct Storage
{
    kxClassID classId = kxDOUBLE_CLASS;
    bool complex = false;
};

inline constexpr Storage kReal{kxDOUBLE_CLASS, false};
inline constexpr Storage kComplex{kxDOUBLE_CLASS, true};
inline constexpr Storage kLogical{kxLOGICAL_CLASS, false};

/// The storages that the tests of sparse operands go through: logical, double, double complex, and of the generic
/// ones every element size, signed and unsigned, real and complex.
const std::vector<Storage>& sparseStorages();

/// "double complex"
std::string nameOf(Storage storage);
std::ostream& operator<<(std::ostream& out, Storage storage);

/// Whether the class can carry an imaginary part (6..15).
bool isNumeric(kxClassID id);
std::size_t elementSizeOf(kxClassID id);
/// Element `i` of a block of class `id`.
double readElement(const void* block, kxClassID id, std::size_t i);
/// `value` must be one that convertElement() gives.
void writeElement(void* block, kxClassID id, std::size_t i, double value);
/// `value` as the class would store it: rounded to nearest and saturated for integer classes. NaN has no logical
/// value: the caller asks first.
double convertElement(double value, kxClassID id);

/// The true class of an array, hidden or not.
kxClassID classOf(const kxArray* array);
bool isComplex(const kxArray* array);
bool isSparse(const kxArray* array);

} // namespace zqsp::test

#endif
