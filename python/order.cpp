#include "order_parts.hpp"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace zqsp::python {
namespace {

void requireStarts(const Examined& columns)
{
    unsigned signs = columns.starts[0] != 0 || columns.starts[columns.n] != columns.entries ? ~0U : 0;
    for (std::size_t j = 0; j < columns.n; ++j) {
        signs |= columns.starts[j] | (columns.starts[j + 1] - columns.starts[j]);
    }
    if (static_cast<int>(signs) < 0) {
        raiseStarts(columns, columns.n);
    }
}

/// Where columns begin is marked, and entries are compared with the one before them regardless of columns. Nothing is
/// branched on, so that the compiler looks at several entries at a time.
Order orderByMarks(const Examined& columns)
{
    copyWords(columns.starts, columns.startsFrom, 0, columns.n + std::size_t{1});
    requireStarts(columns);
    const unsigned* start = columns.starts;
    const unsigned* const end = start + columns.n;
    unsigned inside[kPiece]; // all bits set for an entry that begins no column
    unsigned descents = 0;   // by the sign, as what lies outside
    for (std::size_t first = 0; first < columns.entries; first += kPiece) {
        const std::size_t last = std::min<std::size_t>(first + kPiece, columns.entries);
        copyWords(columns.rows, columns.rowsFrom, first, last);
        std::fill_n(inside, last - first, ~0U);
        for (; start != end && *start < last; ++start) {
            inside[*start - first] = 0;
        }
        const unsigned* rows = columns.rows + first;
        const unsigned top = columns.m - 1U;
        unsigned outside = rows[0] | (top - rows[0]);
        descents |= first == 0 ? 0 : inside[0] & ~(columns.rows[first - 1] - rows[0]);
        for (std::size_t e = 1; e < last - first; ++e) {
            outside |= rows[e] | (top - rows[e]); // negative, as a signed word, or above the top
            descents |= inside[e] & ~(rows[e - 1] - rows[e]);
        }
        if (static_cast<int>(outside) < 0) {
            raiseOutside(columns.m);
        }
    }
    return static_cast<int>(descents) >= 0 ? Order::sound : Order::unsorted;
}

} // namespace

void raiseStarts(const Examined& columns, std::size_t last)
{
    const unsigned* starts = columns.starts;
    std::size_t j = 0;
    if (starts[0] == 0) {
        while (j + 1 < last && starts[j] <= starts[j + 1] && starts[j + 1] <= columns.entries) {
            ++j;
        }
    }
    throw std::invalid_argument(
        "broken matrix: column " + std::to_string(j) + " has entries " + std::to_string(starts[j]) + " to " +
        std::to_string(starts[std::min<std::size_t>(j + 1, columns.n)]) + " of " + std::to_string(columns.entries));
}

void raiseOutside(unsigned m)
{
    throw std::invalid_argument("broken matrix: an entry lies outside a size of " + std::to_string(m));
}

std::span<const OrderMethod> orderMethods()
{
    static constexpr OrderMethod all[] = {
#if defined(__x86_64__)
        {"avx512", orderByAvx512},
        {"avx2", orderByAvx2},
#endif
        {"portable", orderByMarks},
    };
    std::span<const OrderMethod> methods = all;
#if defined(__x86_64__)
    const bool has256 = __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("bmi2") != 0 &&
                        __builtin_cpu_supports("popcnt") != 0;
    if (!has256) {
        return methods.last(1);
    }
    if (__builtin_cpu_supports("avx512f") == 0) {
        return methods.last(2);
    }
#endif
    return methods;
}

Order orderOf(const Examined& columns)
{
    static const OrderMethod best = orderMethods().front();
    return best.find(columns);
}

} // namespace zqsp::python
