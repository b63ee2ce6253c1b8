// Running a test with each table of loops that the processor has.
#ifndef ZQSP_TESTS_SUPPORT_TABLES_HPP
#define ZQSP_TESTS_SUPPORT_TABLES_HPP

#include "kernels/tables.hpp"

#include <gtest/gtest.h>

namespace zqsp::test {

/// body(table) with each table in use, until one fails; the best one is in use again afterwards.
template <typename F>
void forEachTable(F&& body)
{
    for (const Kernels* table : availableKernels()) {
        useKernels(*table);
        body(*table);
        if (::testing::Test::HasFatalFailure()) {
            break;
        }
    }
    useKernels(*availableKernels().front());
}

} // namespace zqsp::test

#endif
