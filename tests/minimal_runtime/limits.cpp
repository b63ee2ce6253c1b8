// Sizes, the fit of a right-hand side, and errors.
#include "minimal_runtime.hpp"

#include <fl_except.hpp>

#include <cstdint>
#include <stdexcept>

namespace matrix::detail::noninlined::kx_array_api {

unsigned kxGetMaxNumberOfElements()
{
    return minrt::kMaxElements;
}

bool kxCheckMN_nothrow(unsigned m, unsigned n, unsigned /*elementSize*/, unsigned* product)
{
    const std::uint64_t elements = std::uint64_t{m} * n;
    const bool fits = elements <= minrt::kMaxElements; // then the bytes of any class fit as well
    if (product != nullptr) {
        *product = fits ? static_cast<unsigned>(elements) : minrt::kMaxElements;
    }
    return fits;
}

bool kxCheckMNForIndexing_nothrow(unsigned m, unsigned n, unsigned* product)
{
    return kxCheckMN_nothrow(m, n, 1, product);
}

unsigned kxCheckMN(unsigned a, unsigned b, unsigned c)
{
    unsigned product = 0;
    const bool fits = !__builtin_mul_overflow(a, b, &product) && !__builtin_mul_overflow(product, c, &product);
    return fits ? product : throw std::length_error("minimal runtime: a size above 32 bits");
}

unsigned kxCheckIndex(double value)
{
    if (value > minrt::kMaxElements && value - value == 0) {
        throw std::length_error("minimal runtime: a subscript above the limit");
    }
    return value >= 1 && value <= minrt::kMaxElements ? static_cast<unsigned>(value) : 0;
}

int kxMatch2DIndicesForIndexedAssignment(unsigned* mI, unsigned* nJ, unsigned mB, unsigned nB, bool rowsFollowB,
                                         bool* columnsFollowB)
{
    if (rowsFollowB) {
        *mI = mB;
    }
    if (columnsFollowB != nullptr && *columnsFollowB) {
        *nJ = nB;
    }
    if ((mB == 1 && nB == 1) || (*mI == mB && *nJ == nB)) {
        return 1;
    }
    const bool bothVectors = (*mI == 1 || *nJ == 1) && (mB == 1 || nB == 1);
    const std::uint64_t selected = std::uint64_t{*mI} * *nJ;
    const std::uint64_t offered = std::uint64_t{mB} * nB;
    return (bothVectors || selected == 0) && selected == offered ? 1 : 0;
}

void kxHandleSubscriptError(kxSubscriptErrorCode code)
{
    throw std::out_of_range("minimal runtime: subscript error " + std::to_string(code));
}

void do_legacy_kx_error(const fl::except::IUserException& /*error*/)
{
    // No error mechanism of its own: the library goes on and throws the exception by its class.
}

} // namespace matrix::detail::noninlined::kx_array_api
