// The wide loops, here compiled for their emulation, beside those that they leave the rest to.
#include "kernels/tested.hpp"

#include "kernels/tables.hpp"

namespace zqsp::test {

std::vector<const Kernels*> testedTables()
{
    return {&avx512::table, &avx2::table, &portable::table};
}

} // namespace zqsp::test
