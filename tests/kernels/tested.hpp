// The tables of loops that a program of these tests compares, and the model that it compares them with.
#ifndef ZQSP_TESTS_KERNELS_TESTED_HPP
#define ZQSP_TESTS_KERNELS_TESTED_HPP

#include "kernels/kernels.hpp"

#include <vector>

namespace zqsp::test {

/// Defined by each of the programs.
std::vector<const Kernels*> testedTables();

/// What the contracts say, as plainly as it can be written. Nothing is written beyond results.
extern const Kernels modelTable;

} // namespace zqsp::test

#endif
