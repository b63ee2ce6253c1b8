// Builds that check operands (ZQSP_CHECK_OPERANDS, on in debug builds) stop at the first export that is handed a sparse
// array with broken invariants. Such an array is its maker's fault; a release build trusts it.
#ifndef ZQSP_CORE_OPERAND_CHECK_HPP
#define ZQSP_CORE_OPERAND_CHECK_HPP

#include "core/runtime.hpp"

#ifdef ZQSP_CHECK_OPERANDS
#include <kx_runtime.hpp>

#include <cstdio>
#include <cstdlib>
#endif

namespace zqsp {

/// Aborts with the violation named, in builds that check operands.
template <typename... Arrays>
void checkOperands([[maybe_unused]] const Arrays*... arrays)
{
#ifdef ZQSP_CHECK_OPERANDS
    const auto check = [](const kxArray* array) {
        const std::string violation = isSparse(array) ? kxCheckSparse(array) : std::string();
        if (!violation.empty()) {
            std::fprintf(stderr, "zqspmatrix: broken operand: %s\n", violation.c_str());
            std::abort();
        }
    };
    (check(arrays), ...);
#endif
}

} // namespace zqsp

#endif
