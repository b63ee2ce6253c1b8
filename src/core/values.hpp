// Storage policies: how the values of a sparse array are copied, moved, filled and tested, one policy for each kind
// of element storage. withStorage() turns the kind of an array into a policy once per call, so that no loop asks.
#ifndef ZQSP_CORE_VALUES_HPP
#define ZQSP_CORE_VALUES_HPP

#include "core/columns.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace zqsp {

/// The first and the last `piece` of `count` elements, which are all there are: a constant size, plain moves.
template <std::size_t piece, typename T>
inline void copyEnds(T* to, const T* from, std::size_t count)
{
    std::memcpy(to, from, piece * sizeof(T));
    std::memcpy(to + count - piece, from + count - piece, piece * sizeof(T));
}

/// Copies `count` elements between disjoint blocks. Short runs, the usual length of a sparse column, are copied in
/// place, in two pieces that may overlap: as often as a loop over random lengths ends, a branch is mispredicted, and
/// more than the run would touch lines that nobody needs.
template <typename T>
inline void copyRun(T* to, const T* from, std::size_t count)
{
    constexpr std::size_t kPiece = 16;
    if (count > 2 * kPiece) {
        std::memcpy(to, from, count * sizeof(T));
    } else if (count > kPiece) {
        copyEnds<kPiece>(to, from, count);
    } else if (count > kPiece / 2) {
        copyEnds<kPiece / 2>(to, from, count);
    } else if (count >= kPiece / 4) {
        copyEnds<kPiece / 4>(to, from, count);
    } else if (count > 1) {
        copyEnds<2>(to, from, count);
    } else if (count == 1) {
        *to = *from;
    }
}

/// Asks for the cache lines at both ends of an array's elements begin .. end-1, and for one in the middle, which is no
/// other than these where there are three at most. (Inlined by force: a function that only prefetches has no effect in
/// the eyes of the compiler, which drops its calls.)
template <typename T>
[[gnu::always_inline]] inline void prefetchRun(const T* from, std::size_t begin, std::size_t end)
{
    __builtin_prefetch(from + begin);
    __builtin_prefetch(from + (begin + end) / 2);
    __builtin_prefetch(from + end);
}

/// Values held in one typed array: logical bytes or real doubles.
template <typename T>
struct PlainValues
{
    T* pr;

    explicit PlainValues(const Columns& a) : pr(reinterpret_cast<T*>(a.pr)) {}

    void copy(std::size_t to, const PlainValues& from, std::size_t source) const { pr[to] = from.pr[source]; }
    void copyRun(std::size_t to, const PlainValues& from, std::size_t source, std::size_t count) const
    {
        zqsp::copyRun(pr + to, from.pr + source, count);
    }
    template <std::size_t count>
    [[gnu::always_inline]] void copyPiece(std::size_t to, const PlainValues& from, std::size_t source) const
    {
        std::memcpy(pr + to, from.pr + source, count * sizeof(T));
    }
    [[gnu::always_inline]] void prefetch(std::size_t begin, std::size_t end) const { prefetchRun(pr, begin, end); }
    [[nodiscard]] bool isZero(std::size_t at) const { return pr[at] == T{}; }
};

using LogicalValues = PlainValues<std::uint8_t>;
using RealValues = PlainValues<double>;

/// Real and imaginary doubles in two arrays. A source may lack the latter, and then gives imaginary zeros.
struct ComplexValues
{
    double* pr;
    double* pi;

    explicit ComplexValues(const Columns& a) : pr(reinterpret_cast<double*>(a.pr)), pi(reinterpret_cast<double*>(a.pi))
    {
    }

    void copy(std::size_t to, const ComplexValues& from, std::size_t source) const
    {
        pr[to] = from.pr[source];
        pi[to] = from.imaginary(source);
    }
    void copyRun(std::size_t to, const ComplexValues& from, std::size_t source, std::size_t count) const
    {
        zqsp::copyRun(pr + to, from.pr + source, count);
        if (from.pi != nullptr) {
            zqsp::copyRun(pi + to, from.pi + source, count);
        } else {
            std::fill_n(pi + to, count, 0.0);
        }
    }
    /// From a source that is complex.
    template <std::size_t count>
    [[gnu::always_inline]] void copyPiece(std::size_t to, const ComplexValues& from, std::size_t source) const
    {
        std::memcpy(pr + to, from.pr + source, count * sizeof *pr);
        std::memcpy(pi + to, from.pi + source, count * sizeof *pi);
    }
    [[gnu::always_inline]] void prefetch(std::size_t begin, std::size_t end) const
    {
        prefetchRun(pr, begin, end);
        if (pi != nullptr) {
            prefetchRun(pi, begin, end);
        }
    }
    [[nodiscard]] bool isZero(std::size_t at) const { return pr[at] == 0.0 && imaginary(at) == 0.0; }

  private:
    [[nodiscard]] double imaginary(std::size_t at) const { return pi != nullptr ? pi[at] : 0.0; }
};

/// Any other class: elements of a size known at run time, real or complex.
struct GenericValues
{
    std::byte* pr;
    std::byte* pi;
    std::size_t size;
    bool isSingle; // the one class here whose zero has two representations

    explicit GenericValues(const Columns& a)
        : pr(a.pr), pi(a.pi), size(a.elementSize), isSingle(a.classId == kxSINGLE_CLASS)
    {
    }

    /// The element may be its own source.
    void copy(std::size_t to, const GenericValues& from, std::size_t source) const { copyRun(to, from, source, 1); }
    void copyRun(std::size_t to, const GenericValues& from, std::size_t source, std::size_t count) const
    {
        if (count == 0) {
            return; // arrays without capacity may lack the blocks
        }
        std::memmove(pr + to * size, from.pr + source * size, count * size);
        if (pi != nullptr && from.pi != nullptr) {
            std::memmove(pi + to * size, from.pi + source * size, count * size);
        } else if (pi != nullptr) {
            std::memset(pi + to * size, 0, count * size);
        }
    }
    [[gnu::always_inline]] void prefetch(std::size_t begin, std::size_t end) const
    {
        prefetchRun(pr, begin * size, end * size);
        if (pi != nullptr) {
            prefetchRun(pi, begin * size, end * size);
        }
    }
    void fill(std::size_t to, const GenericValues& from, std::size_t source, std::size_t count) const
    {
        constexpr std::size_t kTogether = 1024; // elements, which the nearest cache holds
        copyRun(to, from, source, std::min<std::size_t>(count, 1));
        for (std::size_t done = 1, some = 0; done < count; done += some) { // what is filled is copied behind itself
            some = std::min({done, count - done, kTogether});
            copyRun(to + done, *this, to, some);
        }
    }
    [[nodiscard]] bool isZero(std::size_t at) const
    {
        return isZeroElement(pr + at * size) && (pi == nullptr || isZeroElement(pi + at * size));
    }

  private:
    [[nodiscard]] bool isZeroElement(const std::byte* element) const
    {
        if (isSingle) {
            float value = 0;
            std::memcpy(&value, element, sizeof value);
            return value == 0.0F;
        }
        return std::all_of(element, element + size, [](std::byte b) { return b == std::byte{0}; });
    }
};

/// Calls f(values) with the policy of the array's storage.
template <typename F>
decltype(auto) withStorage(const Columns& a, F&& f)
{
    if (a.classId == kxDOUBLE_CLASS) {
        return a.pi != nullptr ? f(ComplexValues(a)) : f(RealValues(a));
    }
    return a.classId == kxLOGICAL_CLASS ? f(LogicalValues(a)) : f(GenericValues(a));
}

/// Calls f(outValues, aValues, bValues) with one policy for an output that is filled from two sources of its class; it
/// must be complex where a source is.
template <typename F>
decltype(auto) withStorage(const Columns& out, const Columns& a, const Columns& b, F&& f)
{
    return withStorage(out, [&](auto values) { return f(values, decltype(values)(a), decltype(values)(b)); });
}

} // namespace zqsp

#endif
