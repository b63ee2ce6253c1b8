// Stands in for the compiler's header of this name: the intrinsics of 256 and 512 bits that src/kernels uses, emulated
// by SIMDe or, where Debian's version of it lacks them, here. Nothing is loaded or stored in lanes that a mask leaves
// out.
#ifndef ZQSP_TESTS_KERNELS_EMULATED_IMMINTRIN_H
#define ZQSP_TESTS_KERNELS_EMULATED_IMMINTRIN_H

#define SIMDE_ENABLE_NATIVE_ALIASES
#include <simde/x86/avx512.h>

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <functional>

#define ZQSP_LOOPS // nothing to be allowed, nor in python/
#define ZQSP_AVX2
#define ZQSP_AVX512

using __mmask8 = simde__mmask8;
using __mmask16 = simde__mmask16;

namespace zqsp::emulated {

template <typename T, unsigned lanes = 16>
using Lanes = std::array<T, lanes>;

using Words = Lanes<std::uint32_t>;
using Doubles = Lanes<double, 8>;

/// Lanes that are not set stay `other`.
template <typename L>
L load(L other, unsigned lanes, const void* from)
{
    for (unsigned i = 0; i < other.size(); ++i) {
        if ((lanes >> i & 1U) != 0) {
            std::memcpy(&other[i], static_cast<const char*>(from) + i * sizeof other[i], sizeof other[i]);
        }
    }
    return other;
}

template <typename L>
void store(void* to, unsigned lanes, L values)
{
    for (unsigned i = 0; i < values.size(); ++i) {
        if ((lanes >> i & 1U) != 0) {
            std::memcpy(static_cast<char*>(to) + i * sizeof values[i], &values[i], sizeof values[i]);
        }
    }
}

template <typename Compare>
__mmask16 compare(__mmask16 lanes, __m512i a, __m512i b, Compare holds)
{
    const auto mine = std::bit_cast<Words>(a);
    const auto theirs = std::bit_cast<Words>(b);
    unsigned result = 0;
    for (unsigned i = 0; i < mine.size(); ++i) {
        result |= (holds(mine[i], theirs[i]) ? 1U : 0U) << i;
    }
    return static_cast<__mmask16>(result & lanes);
}

/// Each lane by f.
template <typename To, typename From, typename F>
auto convert(From from, F f)
{
    Lanes<To, std::tuple_size_v<From>> to;
    for (unsigned i = 0; i < from.size(); ++i) {
        to[i] = f(from[i]);
    }
    return to;
}

/// The lowest word for what is not one.
inline std::int32_t truncated(double value)
{
    return value > -2147483649.0 && value < 2147483648.0 ? static_cast<std::int32_t>(value) : INT32_MIN;
}

inline __mmask16 kand(__mmask16 a, __mmask16 b)
{
    return static_cast<__mmask16>(a & b);
}
inline __mmask16 kandn(__mmask16 a, __mmask16 b)
{
    return static_cast<__mmask16>(~a & b);
}
inline __mmask16 kor(__mmask16 a, __mmask16 b)
{
    return static_cast<__mmask16>(a | b);
}

inline __m512i loadWords(__mmask16 lanes, const void* from)
{
    return std::bit_cast<__m512i>(load(Words{}, lanes, from));
}
inline __m512i loadWords(__m512i other, __mmask16 lanes, const void* from)
{
    return std::bit_cast<__m512i>(load(std::bit_cast<Words>(other), lanes, from));
}
inline __m512d loadDoubles(__m512d other, __mmask8 lanes, const void* from)
{
    return std::bit_cast<__m512d>(load(std::bit_cast<Doubles>(other), lanes, from));
}

/// A bit for each lane of 256 bits whose highest bit is set.
template <typename T>
unsigned signsOf(__m256i lanes)
{
    return static_cast<unsigned>(sizeof(T) == sizeof(float) ? _mm256_movemask_ps(_mm256_castsi256_ps(lanes))
                                                            : _mm256_movemask_pd(_mm256_castsi256_pd(lanes)));
}
template <typename T, typename Register>
Register loadLanes(const void* from, __m256i lanes)
{
    return std::bit_cast<Register>(load(Lanes<T, sizeof lanes / sizeof(T)>{}, signsOf<T>(lanes), from));
}
template <typename T, typename Register>
void storeLanes(void* to, __m256i lanes, Register a)
{
    store(to, signsOf<T>(lanes), std::bit_cast<Lanes<T, sizeof lanes / sizeof(T)>>(a));
}

template <typename Register>
Register product(Register a, Register b)
{
    auto words = std::bit_cast<Lanes<std::uint32_t, sizeof a / 4>>(a);
    const auto others = std::bit_cast<decltype(words)>(b);
    for (unsigned i = 0; i < words.size(); ++i) {
        words[i] *= others[i];
    }
    return std::bit_cast<Register>(words);
}
inline __m512d toDoubles(__m256i words)
{
    return std::bit_cast<__m512d>(
        convert<double>(std::bit_cast<Lanes<std::int32_t, 8>>(words), [](std::int32_t w) { return double{1} * w; }));
}
inline __m256i truncated(__m512d values)
{
    return std::bit_cast<__m256i>(
        convert<std::int32_t>(std::bit_cast<Doubles>(values), [](double value) { return truncated(value); }));
}
inline __m512i widened(__m128i bytes)
{
    return std::bit_cast<__m512i>(
        convert<std::uint32_t>(std::bit_cast<Lanes<std::uint8_t>>(bytes), [](std::uint8_t b) { return b; }));
}
inline __m128i narrowed(__m512i words)
{
    return std::bit_cast<__m128i>(convert<std::uint8_t>(std::bit_cast<Words>(words),
                                                        [](std::uint32_t w) { return static_cast<std::uint8_t>(w); }));
}

/// The words of `low` from number `first` on, and behind them those of `high`.
inline __m512i joined(__mmask16 lanes, __m512i high, __m512i low, unsigned first)
{
    const auto front = std::bit_cast<Words>(low);
    const auto back = std::bit_cast<Words>(high);
    Words words{};
    for (unsigned i = 0; i < words.size(); ++i) {
        const unsigned at = first + i;
        words[i] = (lanes >> i & 1U) == 0 ? 0 : at < front.size() ? front[at] : back[at - front.size()];
    }
    return std::bit_cast<__m512i>(words);
}
/// The lowest lanes of `from`, one after the other, in those that are set; zero in others.
template <typename L, typename Register>
Register spread(unsigned lanes, Register from)
{
    const auto all = std::bit_cast<L>(from);
    L to{};
    for (unsigned i = 0, next = 0; i < to.size(); ++i) {
        to[i] = (lanes >> i & 1U) != 0 ? all[next++] : 0;
    }
    return std::bit_cast<Register>(to);
}
inline bool isLessSigned(std::uint32_t a, std::uint32_t b)
{
    return static_cast<std::int32_t>(a) < static_cast<std::int32_t>(b);
}

inline constexpr __mmask16 kAll = 0xFFFF;

} // namespace zqsp::emulated

#define _mm256_zeroupper() static_cast<void>(0)
#define _kand_mask16 zqsp::emulated::kand
#define _kandn_mask16 zqsp::emulated::kandn
#define _kor_mask16 zqsp::emulated::kor
#define _mm512_maskz_loadu_epi32 zqsp::emulated::loadWords
#define _mm512_mask_loadu_epi32 zqsp::emulated::loadWords
#define _mm512_mask_loadu_pd zqsp::emulated::loadDoubles
#define _mm512_maskz_loadu_pd(lanes, from) zqsp::emulated::loadDoubles(_mm512_setzero_pd(), lanes, from)
#define _mm512_mask_storeu_epi32(to, lanes, a) zqsp::emulated::store(to, lanes, std::bit_cast<zqsp::emulated::Words>(a))
#define _mm512_mask_storeu_pd(to, lanes, a) zqsp::emulated::store(to, lanes, std::bit_cast<zqsp::emulated::Doubles>(a))
#undef _mm256_maskload_epi32 // that version's read all lanes
#define _mm256_maskload_epi32(from, lanes) zqsp::emulated::loadLanes<std::uint32_t, __m256i>(from, lanes)
#undef _mm256_maskload_pd
#define _mm256_maskload_pd(from, lanes) zqsp::emulated::loadLanes<double, __m256d>(from, lanes)
#undef _mm256_maskstore_epi32
#define _mm256_maskstore_epi32(to, lanes, a) zqsp::emulated::storeLanes<std::uint32_t>(to, lanes, a)
#undef _mm256_maskstore_pd
#define _mm256_maskstore_pd(to, lanes, a) zqsp::emulated::storeLanes<double>(to, lanes, a)
#undef _mm512_mullo_epi32 // that version's overflow, as the sanitizers say
#define _mm512_mullo_epi32 zqsp::emulated::product
#undef _mm256_mullo_epi32
#define _mm256_mullo_epi32 zqsp::emulated::product
#undef _mm512_mask_cmpge_epu32_mask // that version's takes four arguments
#define _mm512_mask_cmpge_epu32_mask(lanes, a, b) zqsp::emulated::compare(lanes, a, b, std::greater_equal<>())
#define _mm512_mask_cmplt_epu32_mask(lanes, a, b) zqsp::emulated::compare(lanes, a, b, std::less<>())
#define _mm512_mask_cmpgt_epu32_mask(lanes, a, b) zqsp::emulated::compare(lanes, a, b, std::greater<>())
#define _mm512_mask_cmpneq_epi32_mask(lanes, a, b) zqsp::emulated::compare(lanes, a, b, std::not_equal_to<>())
#define _mm512_cmpneq_epi32_mask(a, b) _mm512_mask_cmpneq_epi32_mask(zqsp::emulated::kAll, a, b)
#define _mm512_cmplt_epi32_mask(a, b) zqsp::emulated::compare(zqsp::emulated::kAll, a, b, zqsp::emulated::isLessSigned)
#define _mm512_maskz_alignr_epi32 zqsp::emulated::joined
#define _mm512_maskz_expand_epi32 zqsp::emulated::spread<zqsp::emulated::Words>
#define _mm512_maskz_expand_pd zqsp::emulated::spread<zqsp::emulated::Doubles>
#define _mm_popcnt_u32(word) std::popcount(word)
#define _mm_popcnt_u64(word) static_cast<long long>(std::popcount(word))
#define _mm512_cmplt_epu32_mask(a, b) _mm512_mask_cmplt_epu32_mask(zqsp::emulated::kAll, a, b)
#define _mm512_cmpgt_epu32_mask(a, b) _mm512_mask_cmpgt_epu32_mask(zqsp::emulated::kAll, a, b)
#define _mm512_cvtepi32_pd zqsp::emulated::toDoubles
#define _mm512_cvttpd_epi32 zqsp::emulated::truncated
#define _mm512_cvtepu8_epi32 zqsp::emulated::widened
#define _mm512_cvtepi32_epi8 zqsp::emulated::narrowed

#endif
