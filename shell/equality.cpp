#include "equality.hpp"

#include "interrupt.hpp"

#include <cmath>
#include <type_traits>

namespace kxsh {

namespace {

/// Exact comparison of numbers of any two element types.
template <typename A, typename B>
bool sameNumber(A a, B b)
{
    if constexpr (std::is_floating_point_v<A> == std::is_floating_point_v<B>) {
        if constexpr (std::is_floating_point_v<A> || std::is_same_v<A, bool> || std::is_same_v<B, bool> ||
                      std::is_same_v<A, char16_t> || std::is_same_v<B, char16_t>) {
            return static_cast<std::common_type_t<A, B>>(a) == static_cast<std::common_type_t<A, B>>(b);
        } else {
            return std::cmp_equal(a, b);
        }
    } else if constexpr (std::is_floating_point_v<B>) {
        return sameNumber(b, a);
    } else {
        // a is floating, b is whole: a must be whole and within b's 64 bits before it can be compared as such.
        const auto wide = static_cast<double>(a);
        if (wide != std::trunc(wide) || !(wide >= -0x1p63 && wide < 0x1p64)) {
            return false;
        }
        return wide < 0 ? sameNumber(static_cast<std::int64_t>(wide), b)
                        : sameNumber(static_cast<std::uint64_t>(wide), b);
    }
}

/// The elements or stored values of one array, real and imaginary.
template <typename T>
struct Elements
{
    const T* re;
    const T* im;

    [[nodiscard]] T imag(std::size_t k) const { return im != nullptr ? im[k] : T{}; }
    [[nodiscard]] bool isZero(std::size_t k) const { return re[k] == T{} && imag(k) == T{}; }
};

template <typename A, typename B>
bool sameElement(const Elements<A>& a, std::size_t i, const Elements<B>& b, std::size_t k)
{
    return sameNumber(a.re[i], b.re[k]) && sameNumber(a.imag(i), b.imag(k));
}

template <typename A, typename B>
bool sameFull(const Elements<A>& a, const Elements<B>& b, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        if (!sameElement(a, i, b, i)) {
            return false;
        }
    }
    return true;
}

/// Column by column; stored zeros count as zeros that are not stored.
template <typename A, typename B>
bool sameSparse(const Value& left, const Elements<A>& a, const Value& right, const Elements<B>& b)
{
    for (unsigned j = 0; j < left.columns(); ++j) {
        if (j % 65536 == 0) {
            pollInterrupt();
        }
        unsigned i = left.starts()[j];
        unsigned k = right.starts()[j];
        const unsigned iStop = left.starts()[j + 1];
        const unsigned kStop = right.starts()[j + 1];
        for (;;) {
            while (i < iStop && a.isZero(i)) {
                ++i;
            }
            while (k < kStop && b.isZero(k)) {
                ++k;
            }
            if (i == iStop || k == kStop) {
                break;
            }
            if (left.rowIndices()[i] != right.rowIndices()[k] || !sameElement(a, i, b, k)) {
                return false;
            }
            ++i;
            ++k;
        }
        if (i != iStop || k != kStop) {
            return false;
        }
    }
    return true;
}

} // namespace

bool equalValues(const Value& left, const Value& right)
{
    if (!left.sameShape(right)) {
        return false;
    }
    Value a = elementsOf(left);
    Value b = elementsOf(right);
    if (a.isSparse() != b.isSparse()) {
        a = asSparse(a);
        b = asSparse(b);
    }
    return withElementType(a.classId(), [&]<typename A>(std::type_identity<A>) {
        return withElementType(b.classId(), [&]<typename B>(std::type_identity<B>) {
            const Elements<A> ea{a.data<A>(), a.imagData<A>()};
            const Elements<B> eb{b.data<B>(), b.imagData<B>()};
            return a.isSparse() ? sameSparse(a, ea, b, eb) : sameFull(ea, eb, a.count());
        });
    });
}

} // namespace kxsh
