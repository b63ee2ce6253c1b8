// Compressed columns out of triplets (row, column, value).
#ifndef ZQSPMATRIX_CPP_TRIPLETS_HPP
#define ZQSPMATRIX_CPP_TRIPLETS_HPP

#include "array.hpp"

#include <algorithm>
#include <numeric>
#include <ranges>
#include <utility>
#include <vector>

namespace zqspmatrix::detail {

/// The place of triplet `k` along one dimension.
template <Integer N>
unsigned placeOf(N index, unsigned extent, const char* noun, std::size_t k)
{
    if (std::cmp_less(index, 0) || std::cmp_greater_equal(index, extent)) {
        fail(spIndexOutOfRange, std::string(noun) + " " + std::to_string(index) + " of triplet " + std::to_string(k) +
                                    " lies outside 0 to " + std::to_string(extent) + " - 1");
    }
    return static_cast<unsigned>(index);
}

/// The sum of two values; of truth values, whether one holds.
template <typename T>
T sum(T a, T b)
{
    if constexpr (std::same_as<T, bool>) {
        return a || b;
    } else {
        return static_cast<T>(a + b);
    }
}

/// Triplets by columns, and within a column by rows; repeated ones in the order they came.
struct OrderedTriplets
{
    struct Entry
    {
        unsigned row;
        unsigned triplet;
    };
    std::vector<unsigned> starts; ///< of the columns, and the end
    std::vector<Entry> entries;

    template <typename Rows, typename Columns>
    OrderedTriplets(unsigned m, unsigned n, const Rows& i, const Columns& j)
        : starts(std::size_t{n} + 1), entries(std::ranges::size(i))
    {
        std::vector<unsigned> columns(entries.size());
        for (std::size_t k = 0; k < columns.size(); ++k) {
            columns[k] = placeOf(std::ranges::data(j)[k], n, "column", k);
            ++starts[columns[k] + 1];
        }
        std::partial_sum(starts.begin(), starts.end(), starts.begin());
        std::vector<unsigned> next(starts.begin(), starts.end() - 1);
        for (std::size_t k = 0; k < columns.size(); ++k) {
            const unsigned row = placeOf(std::ranges::data(i)[k], m, "row", k);
            entries[next[columns[k]]++] = {row, static_cast<unsigned>(k)};
        }
        const auto before = [](const Entry& a, const Entry& b) {
            return a.row != b.row ? a.row < b.row : a.triplet < b.triplet;
        };
        for (unsigned column = 0; column < n; ++column) {
            const std::span<Entry> own =
                std::span(entries).subspan(starts[column], starts[column + 1] - starts[column]);
            if (!std::ranges::is_sorted(own, before)) {
                std::ranges::sort(own, before);
            }
        }
    }
};

/// An m-by-n matrix of triplets in any order. Repeated ones add up in their order; what becomes zero is not stored.
/// Cost: n + triplets * log(triplets of a column).
template <typename T, typename Rows, typename Columns, typename Values>
Array assemble(unsigned m, unsigned n, const Rows& i, const Columns& j, const Values& v)
{
    const std::size_t count = std::ranges::size(v);
    if (std::ranges::size(i) != count || std::ranges::size(j) != count) {
        failOperand("triplets need as many rows and columns as values, not " + std::to_string(std::ranges::size(i)) +
                    " and " + std::to_string(std::ranges::size(j)) + " for " + std::to_string(count));
    }
    sizeOf(count, "triplets");
    auto [starts, entries] = OrderedTriplets(m, n, i, j);

    const auto values = std::make_unique<T[]>(count); // std::vector<bool> has no elements to copy
    unsigned kept = 0;
    for (unsigned column = 0; column < n; ++column) {
        auto entry = entries.begin() + starts[column];
        const auto end = entries.begin() + starts[column + 1];
        starts[column] = kept;
        while (entry != end) {
            const unsigned row = entry->row;
            T value{};
            for (; entry != end && entry->row == row; ++entry) {
                value = sum(value, static_cast<T>(std::ranges::begin(v)[static_cast<std::ptrdiff_t>(entry->triplet)]));
            }
            if (value != T{}) {
                entries[kept].row = row;
                values[kept++] = value;
            }
        }
    }
    starts[n] = kept;

    Array made = newSparse<T>(m, n, kept);
    std::ranges::copy(starts, made->jc);
    std::ranges::transform(entries.begin(), entries.begin() + kept, made->ir, &OrderedTriplets::Entry::row);
    storeValues(made.get(), std::span<const T>(values.get(), kept));
    return made;
}

} // namespace zqspmatrix::detail

#endif
