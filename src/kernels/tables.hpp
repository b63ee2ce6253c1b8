// The tables there are, for choose.cpp and for tests, which run each of them.
#ifndef ZQSP_KERNELS_TABLES_HPP
#define ZQSP_KERNELS_TABLES_HPP

#include "kernels/kernels.hpp"

#include <span>

namespace zqsp {

namespace portable {
extern const Kernels table;
}
namespace avx2 {
extern const Kernels table; ///< x86-64 only
Kernels makeTable();        ///< for other tables to begin with
} // namespace avx2
namespace avx512 {
extern const Kernels table; ///< x86-64 only
}

/// Those that the processor at hand can run, best first; the portable one is always the last.
[[gnu::visibility("default")]] std::span<const Kernels* const> availableKernels();

/// Makes a table the one in use, for tests. No call of the library may be under way.
[[gnu::visibility("default")]] void useKernels(const Kernels& table);

} // namespace zqsp

#endif
