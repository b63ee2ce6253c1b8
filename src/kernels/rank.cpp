#include "kernels/plain_loops.hpp"
#include "kernels/portable.hpp"

namespace zqsp::portable {

void rankRows(const unsigned* rows, unsigned count, unsigned* ranks)
{
    rankLoop(rows, count, ranks);
}

} // namespace zqsp::portable
