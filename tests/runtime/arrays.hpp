// What the tests of the runtime share: owned arrays, their values, and a fixture that demands a tidy end.
#ifndef ZQSP_TESTS_RUNTIME_ARRAYS_HPP
#define ZQSP_TESTS_RUNTIME_ARRAYS_HPP

#include <kx_runtime.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace zqsp::test::runtime {

using namespace matrix::detail::noninlined::kx_array_api;

struct Destroy
{
    void operator()(kxArray* array) const { kxDestroyArray(array); }
};
using Array = std::unique_ptr<kxArray, Destroy>;

struct Free
{
    void operator()(void* block) const { kxFree(block); }
};
using Block = std::unique_ptr<void, Free>;

/// m-by-n full array of class `id` with these elements, and imaginary parts unless `im` is empty.
template <typename T>
Array full(unsigned m, unsigned n, kxClassID id, const std::vector<T>& re, const std::vector<T>& im = {})
{
    const unsigned dims[] = {m, n};
    Array array(kxCreateNumericArray(2, dims, id, im.empty() ? kxREAL : kxCOMPLEX));
    std::copy(re.begin(), re.end(), static_cast<T*>(array->pr));
    std::copy(im.begin(), im.end(), static_cast<T*>(array->pi));
    return array;
}

/// m-by-n double array with zeros in most places, the same for the same seed.
inline Array scattered(unsigned m, unsigned n, bool complex, unsigned seed)
{
    Array array(kxCreateDoubleMatrix(m, n, complex ? kxCOMPLEX : kxREAL));
    for (std::size_t i = 0; i < std::size_t{m} * n; ++i) {
        seed = seed * 1664525U + 1013904223U;
        static_cast<double*>(array->pr)[i] = (seed >> 28) < 5 ? seed >> 20 : 0;
        if (complex) {
            static_cast<double*>(array->pi)[i] = (seed >> 27 & 7) == 1 ? seed >> 22 : 0;
        }
    }
    return array;
}

template <typename T>
std::vector<T> elements(const void* data, std::size_t count)
{
    const auto* values = static_cast<const T*>(data);
    return {values, values + count};
}

inline std::vector<unsigned> dimensions(const kxArray* array)
{
    return elements<unsigned>(array->get_dimensions(), array->ndims);
}

/// The identifier of the error that the call raises; empty when it raises none.
template <typename Call>
std::string errorOf(Call&& call)
{
    try {
        call();
    } catch (const kxrt::Error& error) {
        EXPECT_STRNE(error.what(), "");
        return error.identifier();
    }
    return {};
}

/// Every test gives back all blocks and every setting.
class RuntimeTest : public ::testing::Test
{
  protected:
    void TearDown() override
    {
        kxrt::fail_allocation_after(-1);
        kxrt::set_max_number_of_elements(0x7FFFFFFF);
        kxrt::legacy_errors_raise(true);
        EXPECT_EQ(kxrt::live_blocks(), blocksBefore_);
    }

    /// The function, which gives a new array, must raise kx:outOfMemory and leak nothing whichever of its allocations
    /// fails.
    template <typename Make>
    static void expectAllOrNothing(const char* name, Make&& make)
    {
        const auto call = [&make] { const Array made(make()); };
        SCOPED_TRACE(name);
        const std::size_t blocks = kxrt::live_blocks();
        const long before = kxrt::allocations();
        call();
        const long needed = kxrt::allocations() - before;
        ASSERT_EQ(kxrt::live_blocks(), blocks);
        ASSERT_GT(needed, 0);
        for (long failing = 1; failing <= needed; ++failing) {
            kxrt::fail_allocation_after(failing);
            EXPECT_EQ(errorOf(call), "kx:outOfMemory") << "allocation " << failing;
            EXPECT_EQ(kxrt::live_blocks(), blocks) << "allocation " << failing;
        }
        kxrt::fail_allocation_after(needed + 1);
        EXPECT_EQ(errorOf(call), "");
        kxrt::fail_allocation_after(-1);
    }

  private:
    std::size_t blocksBefore_ = kxrt::live_blocks();
};

} // namespace zqsp::test::runtime

#endif
