// Which loops are in use: the one place that asks what the processor can do.
#include "kernels/tables.hpp"

#include <array>
#include <atomic>

#ifdef __x86_64__
#include <cpuid.h>
#include <immintrin.h>
#endif

namespace zqsp {

namespace {

#ifdef __x86_64__
constexpr std::array<const Kernels*, 3> kTables = {&avx512::table, &avx2::table, &portable::table};

/// The instructions of a table must be there, and the system must keep its registers for a program while another one
/// runs. (The compiler's own question brings 5 KB that tell all processors apart.)
[[gnu::target("xsave")]] std::size_t firstAvailable()
{
    constexpr unsigned kAll256 = 0x06; // what the system keeps: parts of the registers, a bit each
    constexpr unsigned kAll512 = 0xE6;
    constexpr unsigned kBasic = bit_OSXSAVE | bit_AVX | bit_POPCNT;
    unsigned a = 0;
    unsigned b = 0;
    unsigned c = 0;
    unsigned d = 0;
    if (__get_cpuid(1, &a, &b, &c, &d) == 0 || (c & kBasic) != kBasic || __get_cpuid_count(7, 0, &a, &b, &c, &d) == 0) {
        return 2;
    }
    const auto kept = static_cast<unsigned>(_xgetbv(0));
    if ((kept & kAll256) != kAll256 || (b & bit_AVX2) == 0) {
        return 2;
    }
    constexpr unsigned kWide = bit_AVX512F | bit_AVX512BW;
    return (kept & kAll512) == kAll512 && (b & kWide) == kWide && (c & bit_AVX512VPOPCNTDQ) != 0 ? 0 : 1;
}
#else
constexpr std::array<const Kernels*, 1> kTables = {&portable::table};

std::size_t firstAvailable()
{
    return 0;
}
#endif

std::atomic<const Kernels*> inUse = nullptr; // until it is asked for

/// (Apart, as callers have kernels() itself in their own text.)
[[gnu::noinline, gnu::cold]] const Kernels& useFirst()
{
    const Kernels& first = *availableKernels().front();
    useKernels(first);
    return first;
}

} // namespace

std::span<const Kernels* const> availableKernels()
{
    return std::span(kTables).subspan(firstAvailable());
}

void useKernels(const Kernels& table)
{
    inUse = &table;
}

const Kernels& kernels()
{
    const Kernels* const table = inUse.load(std::memory_order_relaxed);
    return table != nullptr ? *table : useFirst();
}

} // namespace zqsp
