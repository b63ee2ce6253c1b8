// Which loops are in use: the one place that asks what the processor can do.
#include "kernels/tables.hpp"

#include <array>
#include <atomic>

namespace zqsp {

namespace {

#ifdef __x86_64__
bool haveAvx2()
{
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("popcnt");
}

/// Registers of 512 bits, with the instructions on bytes and the counting of ones.
bool haveAvx512()
{
    return haveAvx2() && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
           __builtin_cpu_supports("avx512vpopcntdq");
}

constexpr std::array<const Kernels*, 3> kTables = {&avx512::table, &avx2::table, &portable::table};

std::size_t firstAvailable()
{
    return haveAvx512() ? 0 : (haveAvx2() ? 1 : 2);
}
#else
constexpr std::array<const Kernels*, 1> kTables = {&portable::table};

std::size_t firstAvailable()
{
    return 0;
}
#endif

std::atomic<const Kernels*>& inUse()
{
    static std::atomic<const Kernels*> table = availableKernels().front();
    return table;
}

} // namespace

std::span<const Kernels* const> availableKernels()
{
    static const std::size_t first = firstAvailable();
    return std::span(kTables).subspan(first);
}

void useKernels(const Kernels& table)
{
    inUse() = &table;
}

const Kernels& kernels()
{
    return *inUse().load(std::memory_order_relaxed);
}

} // namespace zqsp
