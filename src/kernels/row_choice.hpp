// Which rows are selected, and the new rows that these become, in the forms that the loops over entries know.
#ifndef ZQSP_KERNELS_ROW_CHOICE_HPP
#define ZQSP_KERNELS_ROW_CHOICE_HPP

#include "kernels/branch_free.hpp"

#include <cstdint>
#include <variant>

namespace zqsp {

/// Thirty-two numbers of a set: the members among them, and how many members lie below the first of them.
struct alignas(8) RowWord
{
    static constexpr unsigned kBits = 32;

    std::uint32_t members;
    std::uint32_t before;

    [[nodiscard]] bool has(unsigned number) const { return (members >> number % kBits & 1U) != 0; }
    /// (Inlined by force, so that callers that may count ones by an instruction do.)
    [[nodiscard, gnu::always_inline]] unsigned rankOf(unsigned number) const
    {
        return before + countOnes(members & ((1U << number % kBits) - 1));
    }
};

// Of rows that are not selected the new row means nothing.

/// The members of a set; the new row is the rank.
struct RankedRows
{
    const RowWord* words;
    [[nodiscard]] bool selects(unsigned row) const { return words[row / RowWord::kBits].has(row); }
    [[nodiscard, gnu::always_inline]] unsigned newRow(unsigned row) const
    {
        return words[row / RowWord::kBits].rankOf(row);
    }
};

/// The members of a set, which keep their numbers.
struct UnmovedRows
{
    const RowWord* words;
    [[nodiscard]] bool selects(unsigned row) const { return words[row / RowWord::kBits].has(row); }
    [[nodiscard]] unsigned newRow(unsigned row) const { return row; }
};

/// The rows first .. first+size-1.
struct RowInterval
{
    unsigned first;
    unsigned size;
    [[nodiscard]] bool selects(unsigned row) const { return row - first < size; }
    [[nodiscard]] unsigned newRow(unsigned row) const { return row - first; }
};

/// All other rows than first .. first+size-1.
struct OtherRows
{
    unsigned first;
    unsigned size;
    [[nodiscard]] bool selects(unsigned row) const { return row - first >= size; }
    [[nodiscard]] unsigned newRow(unsigned row) const { return row - valueIf(row >= first, size); }
};

using RowChoice = std::variant<RankedRows, UnmovedRows, RowInterval, OtherRows>;

} // namespace zqsp

#endif
