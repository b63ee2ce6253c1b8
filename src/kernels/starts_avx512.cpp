#include "kernels/avx512.hpp"
#include "kernels/lanes_avx512.hpp"
#include "kernels/portable.hpp"

#include <array>
#include <cstdint>

namespace zqsp::avx512 {

namespace {

ZQSP_AVX512 void writeStarts(const unsigned* columns, unsigned count, unsigned length, unsigned* starts)
{
    // The columns with entries are marked in a table; from sixteen marks at a time follow sixteen starts. How many
    // columns lie between two entries, which nobody can foresee, takes no branch.
    constexpr unsigned kColumns = 4096; // of a table, which stays in the nearest cache
    constexpr unsigned kMarks = 64;     // in a register
    const __m512i one = _mm512_set1_epi32(1);
    const __m512i below = _mm512_sub_epi32(_mm512_sllv_epi32(one, laneNumbers()), one);
    alignas(kMarks) std::array<std::uint8_t, kColumns> marks{};
    unsigned written = 0; // columns
    unsigned entry = 0;   // the first one behind them
    while (length - written >= kColumns) {
        unsigned before = entry;
        for (; entry < count && columns[entry] - written < kColumns; ++entry) {
            marks[columns[entry] - written] = 0xFF;
        }
        for (unsigned c = 0; c < kColumns; c += kMarks) {
            std::uint64_t bits = _mm512_movepi8_mask(_mm512_load_si512(&marks[c]));
            _mm512_store_si512(&marks[c], _mm512_setzero_si512());
            for (unsigned i = 0; i < kMarks; i += kLanes, bits >>= kLanes) {
                const auto group = static_cast<unsigned>(bits & 0xFFFFU);
                const __m512i found = _mm512_and_si512(inAll(group), below);
                const __m512i start = inAll(before);
                _mm512_storeu_si512(starts + written + c + i, _mm512_add_epi32(start, _mm512_popcnt_epi32(found)));
                before += ones(group);
            }
        }
        written += kColumns;
    }
    portable::writeStartsFrom(written, entry, columns, count, length, starts);
}

} // namespace

void setStarts(Kernels& table)
{
    table.writeStarts = writeStarts;
}

} // namespace zqsp::avx512
