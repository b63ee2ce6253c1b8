// The tables of loops that a program of these tests compares.
#ifndef ZQSP_TESTS_KERNELS_TESTED_HPP
#define ZQSP_TESTS_KERNELS_TESTED_HPP

#include "kernels/kernels.hpp"

#include <vector>

namespace zqsp::test {

/// Defined by each of the programs. The last is the portable table, with which the others are compared.
std::vector<const Kernels*> testedTables();

} // namespace zqsp::test

#endif
