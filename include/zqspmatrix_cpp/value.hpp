// What may be assigned, and the array in which the library is given it.
#ifndef ZQSPMATRIX_CPP_VALUE_HPP
#define ZQSPMATRIX_CPP_VALUE_HPP

#include "array.hpp"

#include <ranges>
#include <vector>

namespace zqspmatrix {

template <Element T>
class BasicView;

namespace detail {

/// Whether elements of type U may be written into a matrix of T: a truth value into numbers, a real number into complex
/// ones, but neither the other way round. Integers are rounded to and saturated.
template <typename U, typename T>
concept ElementInto = Element<U> &&
    (std::same_as<U, T> || (!std::same_as<T, bool> && (isComplexNumber<T> || !isComplexNumber<U>)));

template <typename V, typename T>
concept SequenceInto =
    std::ranges::random_access_range<V> && std::ranges::sized_range<V> && ElementInto<std::ranges::range_value_t<V>, T>;

/// The type of the elements of a view, by overload.
template <Element U>
U elementOf(const BasicView<U>&);
template <typename V, typename T>
concept MatrixInto = requires(const V& value)
{
    requires ElementInto<decltype(elementOf(value)), T>;
};

} // namespace detail

/// What can be assigned to selected elements of a matrix of T: one value; a sequence of values, which is a column (and
/// fits a row as long); a matrix or view. Truth values may become numbers, real numbers complex ones; never the other
/// way round.
template <typename V, typename T>
concept ValueFor = detail::ElementInto<V, T> || detail::SequenceInto<V, T> || detail::MatrixInto<V, T>;

namespace detail {

/// In which type a value of type U is handed over for a matrix of T: converted here where C++ and the runtime agree.
template <typename U, typename T>
using HandedOver =
    std::conditional_t<!std::floating_point<RealPartOf<T>>, U,
                       std::conditional_t<isComplexNumber<U>, std::complex<RealPartOf<T>>, RealPartOf<T>>>;

/// The right-hand side of an assignment to a matrix of T.
template <typename T>
class RightSide
{
  public:
    template <typename U>
    requires ElementInto<U, T>
    explicit RightSide(const U& value) : owned_(newColumn<HandedOver<U, T>>(1)), array_(owned_.get())
    {
        store(0, value);
    }

    template <SequenceInto<T> V>
    explicit RightSide(const V& values)
        : owned_(newColumn<HandedOver<std::ranges::range_value_t<V>, T>>(std::ranges::size(values))),
          array_(owned_.get())
    {
        std::size_t k = 0;
        for (const std::ranges::range_value_t<V> value : values) {
            store(k++, value);
        }
    }

    template <Element U>
    explicit RightSide(const BasicView<U>& matrix) : array_(matrix.array())
    {
        if (matrix.lent()) { // the runtime might count holders of these blocks
            owned_.reset(kx::kxCreateDeepCopy(array_));
            array_ = owned_.get();
        }
    }

    [[nodiscard]] const kxArray* get() const noexcept { return array_; }

  private:
    template <typename U>
    void store(std::size_t place, const U& value)
    {
        const auto handedOver = static_cast<HandedOver<U, T>>(value);
        if constexpr (isComplexNumber<U>) {
            static_cast<RealPartOf<T>*>(owned_->pr)[place] = handedOver.real();
            static_cast<RealPartOf<T>*>(owned_->pi)[place] = handedOver.imag();
        } else {
            static_cast<HandedOver<U, T>*>(owned_->pr)[place] = handedOver;
        }
    }

    Array owned_;
    const kxArray* array_;
};

} // namespace detail
} // namespace zqspmatrix

#endif
