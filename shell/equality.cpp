#include "equality.hpp"

#include "interrupt.hpp"

#include <limits>

namespace kxsh {

namespace {

static_assert(std::numeric_limits<long double>::digits >= 64, "holds every number of every class");

/// The elements or stored values of one array, real and imaginary.
template <typename T>
struct Elements
{
    const T* re;
    const T* im;

    [[nodiscard]] T imag(std::size_t k) const { return im != nullptr ? im[k] : T{}; }
    [[nodiscard]] bool isZero(std::size_t k) const { return re[k] == T{} && imag(k) == T{}; }
    template <typename B>
    [[nodiscard]] bool sameAs(const Elements<B>& other, std::size_t i, std::size_t k) const
    {
        const auto exact = [](auto v) { return static_cast<long double>(v); };
        return exact(re[i]) == exact(other.re[k]) && exact(imag(i)) == exact(other.imag(k));
    }
};

/// The next stored value from k on that is not zero.
template <typename T>
unsigned skipZeros(const Elements<T>& elements, unsigned k, unsigned stop)
{
    while (k < stop && elements.isZero(k)) {
        ++k;
    }
    return k;
}

/// Column by column; stored zeros count as zeros that are not stored.
template <typename A, typename B>
bool sameSparse(const Value& left, const Elements<A>& a, const Value& right, const Elements<B>& b)
{
    for (unsigned j = 0; j < left.columns(); ++j) {
        pollInterrupt();
        const unsigned iStop = left.starts()[j + 1];
        const unsigned kStop = right.starts()[j + 1];
        for (unsigned i = left.starts()[j], k = right.starts()[j];; ++i, ++k) {
            i = skipZeros(a, i, iStop);
            k = skipZeros(b, k, kStop);
            if (i == iStop && k == kStop) {
                break;
            }
            if (i == iStop || k == kStop || left.rowIndices()[i] != right.rowIndices()[k] || !a.sameAs(b, i, k)) {
                return false;
            }
        }
    }
    return true;
}

template <typename A, typename B>
bool sameFull(const Elements<A>& a, const Elements<B>& b, std::size_t count)
{
    for (std::size_t k = 0; k < count; ++k) {
        pollAtStep(k);
        if (!a.sameAs(b, k, k)) {
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
    const bool full = !left.isSparse() && !right.isSparse();
    const Value a = full ? elementsOf(left) : asSparse(left);
    const Value b = full ? elementsOf(right) : asSparse(right);
    return withElementType(a.classId(), [&]<typename A>(std::type_identity<A>) {
        return withElementType(b.classId(), [&]<typename B>(std::type_identity<B>) {
            const Elements<A> ea{a.data<A>(), a.imagData<A>()};
            const Elements<B> eb{b.data<B>(), b.imagData<B>()};
            return full ? sameFull(ea, eb, a.count()) : sameSparse(a, ea, b, eb);
        });
    });
}

} // namespace kxsh
