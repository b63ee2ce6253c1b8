#include "kernels/portable.hpp"

#include <algorithm>
#include <limits>

namespace zqsp::portable {

/// Rounds of a known length, in vector registers. Those of the baseline compare signed words: the order of the rows is
/// kept by turning their highest bits.
void rankRows(unsigned* rows, unsigned count, unsigned* ranks)
{
    constexpr unsigned kSign = 0x80000000U;
    std::fill_n(rows + count, kKernelSlack, std::numeric_limits<unsigned>::max());
    const auto ordered = [](unsigned row) { return static_cast<std::int32_t>(row ^ kSign); };
    for (unsigned i = 0; i < count; ++i) {
        const std::int32_t own = ordered(rows[i]);
        int before = 0;
        for (unsigned v = 0; v < count; v += kKernelSlack) {
            for (unsigned lane = v; lane < v + kKernelSlack; ++lane) {
                before += ordered(rows[lane]) < own ? 1 : 0;
            }
        }
        ranks[i] = static_cast<unsigned>(before);
    }
}

} // namespace zqsp::portable
