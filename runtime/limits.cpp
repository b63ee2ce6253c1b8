// The largest number of elements, and the checks of sizes against it.
#include "errors.hpp"
#include "kx_runtime.hpp"

#include <atomic>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

namespace kxrt {
namespace {

constinit std::atomic<unsigned> maxNumberOfElements{0x7FFFFFFF};

constexpr std::uint64_t kLargestWord = std::numeric_limits<std::uint32_t>::max();

} // namespace

void set_max_number_of_elements(unsigned limit)
{
    maxNumberOfElements.store(limit, std::memory_order_relaxed);
}

} // namespace kxrt

namespace matrix::detail::noninlined::kx_array_api {

unsigned kxGetMaxNumberOfElements()
{
    return kxrt::maxNumberOfElements.load(std::memory_order_relaxed);
}

bool kxCheckMN_nothrow(unsigned m, unsigned n, unsigned elementSize, unsigned* product)
{
    const unsigned most = kxGetMaxNumberOfElements();
    const std::uint64_t elements = std::uint64_t{m} * n;
    const bool fits = elements <= most && elements * elementSize <= kxrt::kLargestWord;
    if (product != nullptr) {
        *product = fits ? static_cast<unsigned>(elements) : most;
    }
    return fits;
}

bool kxCheckMNForIndexing_nothrow(unsigned m, unsigned n, unsigned* product)
{
    return kxCheckMN_nothrow(m, n, 1, product);
}

unsigned kxCheckMN(unsigned a, unsigned b, unsigned c)
{
    std::uint64_t product = 0;
    if (__builtin_mul_overflow(std::uint64_t{a} * b, c, &product) || product > kxrt::kLargestWord) {
        kxrt::raiseSizeLimit("The size " + std::to_string(a) + " * " + std::to_string(b) + " * " + std::to_string(c) +
                             " does not fit 32 bits.");
    }
    return static_cast<unsigned>(product);
}

namespace {

[[noreturn, gnu::cold, gnu::noinline]] void raiseAboveMaximum(double value, unsigned most)
{
    kxrt::raiseSizeLimit("The subscript " + kxrt::textOf(value) + " is above the largest number of elements, " +
                         std::to_string(most) + ".");
}

} // namespace

unsigned kxCheckIndex(double value)
{
    if (!(value >= 1) || value == std::numeric_limits<double>::infinity()) {
        return 0;
    }
    const unsigned most = kxGetMaxNumberOfElements();
    if (value > most) {
        raiseAboveMaximum(value, most);
    }
    return static_cast<unsigned>(value);
}

int kxMatch2DIndicesForIndexedAssignment(unsigned* mI, unsigned* nJ, unsigned mB, unsigned nB, bool rowsFollowB,
                                         bool* columnsFollowB)
{
    // A vector laid along a region of the other orientation lends it its length.
    if (rowsFollowB) {
        *mI = mB == 1 && *nJ == 1 ? nB : mB;
    }
    if (columnsFollowB != nullptr && *columnsFollowB) {
        *nJ = nB == 1 && *mI == 1 ? mB : nB;
    }
    const bool scalar = mB == 1 && nB == 1;
    const bool sameShape = *mI == mB && *nJ == nB;
    const bool vectors =
        (*mI == 1 || *nJ == 1) && (mB == 1 || nB == 1) && std::uint64_t{*mI} * *nJ == std::uint64_t{mB} * nB;
    const bool bothEmpty = (*mI == 0 || *nJ == 0) && (mB == 0 || nB == 0);
    return scalar || sameShape || vectors || bothEmpty ? 1 : 0;
}

} // namespace matrix::detail::noninlined::kx_array_api
