#include "kernels/tested.hpp"

#include "kernels/tables.hpp"

namespace zqsp::test {

std::vector<const Kernels*> testedTables()
{
    const auto tables = availableKernels();
    return {tables.begin(), tables.end()};
}

} // namespace zqsp::test
