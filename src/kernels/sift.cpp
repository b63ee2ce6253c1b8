#include "kernels/portable.hpp"

namespace zqsp::portable {

/// Each position is written, and written over by the next one unless its row is there: no branch depends on that.
unsigned siftRows(const RowWord* rows, const FewRows* /*few*/, const unsigned* ir, unsigned begin, unsigned end,
                  unsigned* found)
{
    unsigned count = 0;
    for (unsigned e = begin; e < end; ++e) {
        found[count] = e;
        count += rows[ir[e] / RowWord::kBits].has(ir[e]) ? 1U : 0U;
    }
    return count;
}

} // namespace zqsp::portable
