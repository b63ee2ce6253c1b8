// What the tests of the runtime share: owned blocks, values, and a fixture that demands a tidy end.
#ifndef ZQSP_TESTS_RUNTIME_ARRAYS_HPP
#define ZQSP_TESTS_RUNTIME_ARRAYS_HPP

#include "support/model.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace zqsp::test::runtime {

struct Free
{
    void operator()(void* block) const { kxFree(block); }
};
using Block = std::unique_ptr<void, Free>;

/// The full array of these rows.
inline Array full(Model model)
{
    model.sparse = false;
    return toArray(model);
}

/// A full row of class `id` with these elements.
template <typename T>
Array fullRow(kxClassID id, const std::vector<T>& values)
{
    const unsigned dims[] = {1, static_cast<unsigned>(values.size())};
    Array array(kxCreateNumericArray(2, dims, id, kxREAL));
    std::copy(values.begin(), values.end(), static_cast<T*>(array->pr));
    return array;
}

template <typename T>
std::vector<T> elements(const void* data, std::size_t count)
{
    const auto* values = static_cast<const T*>(data);
    return {values, values + count};
}

inline std::vector<unsigned> dimensions(const Array& array)
{
    return elements<unsigned>(array->get_dimensions(), array->ndims);
}

/// Whether the runtime has an allocator of its own, or leaves everything to AddressSanitizer's, which touches all it
/// gives and is not ready for forks.
inline bool hasOwnAllocator()
{
    kxFree(kxMalloc(std::size_t{1} << 20));
    return kxrt::fresh_mappings() != 0;
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

  private:
    std::size_t blocksBefore_ = kxrt::live_blocks();
};

} // namespace zqsp::test::runtime

#endif
