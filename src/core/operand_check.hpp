// The door: a runtime may check the sparse operands of every call (kxCheckOperand). A broken one is its maker's fault,
// and the library trusts what it is given.
#ifndef ZQSP_CORE_OPERAND_CHECK_HPP
#define ZQSP_CORE_OPERAND_CHECK_HPP

#include "core/runtime.hpp"

namespace zqsp {

/// Raises what the runtime raises for a broken sparse operand, if it checks them at all.
template <typename... Arrays>
void checkOperands(const Arrays*... arrays)
{
    if (kxCheckOperand == nullptr) {
        return;
    }
    const auto check = [](const kxArray* array) {
        if (isSparse(array)) {
            kxCheckOperand(array);
        }
    };
    (check(arrays), ...);
}

} // namespace zqsp

#endif
