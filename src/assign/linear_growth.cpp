#include "assign/linear_growth.hpp"

#include "core/counts.hpp"

#include <limits>

namespace zqsp {

unsigned growCapacity(unsigned nzmax, unsigned m, unsigned n)
{
    constexpr unsigned kMost = std::numeric_limits<std::int32_t>::max();
    unsigned elements = 0;
    const bool countable = kxCheckMN_nothrow(m, n, 1, &elements);
    const unsigned cap = countable ? elements : std::numeric_limits<std::uint32_t>::max();
    if (nzmax < kMost - kCapacityStep) {
        return std::min(nzmax + kCapacityStep, cap);
    }
    if (nzmax < kMost) {
        return std::min(nzmax + 1, cap);
    }
    if (!countable) {
        raiseOutOfMemory();
    }
    return cap;
}

void CapacityReplay::insert(unsigned count, const LinearLayout& layout)
{
    while (count > 0) {
        if (stored_ == capacity_) {
            capacity_ = growCapacity(capacity_, layout.m(), layout.n());
        }
        const unsigned fitting = std::min(count, capacity_ - stored_);
        stored_ += fitting;
        count -= fitting;
    }
}

} // namespace zqsp
