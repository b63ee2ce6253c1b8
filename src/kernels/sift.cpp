#include "kernels/portable.hpp"

namespace zqsp::portable {

/// Each position is written, and written over by the next one unless its row is there: no branch depends on that. Four
/// at a time, as each has to wait for the count before it.
unsigned siftRows(const RowWord* rows, const FewRows* /*few*/, const unsigned* ir, unsigned begin, unsigned end,
                  unsigned* found)
{
    constexpr unsigned kGroup = 4;
    const auto has = [rows](unsigned row) {
        return (rows[row / RowWord::kBits].members & 1U << row % RowWord::kBits) != 0 ? 1U : 0U;
    };
    unsigned count = 0;
    for (; end - begin >= kGroup; begin += kGroup) {
        const unsigned first = has(ir[begin]);
        const unsigned two = first + has(ir[begin + 1]);
        const unsigned three = two + has(ir[begin + 2]);
        found[count] = begin;
        found[count + first] = begin + 1;
        found[count + two] = begin + 2;
        found[count + three] = begin + 3;
        count += three + has(ir[begin + 3]);
    }
    for (; begin < end; ++begin) {
        found[count] = begin;
        count += has(ir[begin]);
    }
    return count;
}

} // namespace zqsp::portable
