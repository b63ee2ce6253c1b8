#include "core/entry_moves.hpp"
#include "core/errors.hpp"
#include "core/owners.hpp"
#include "lookup/place_search.hpp"
#include "reference/column_visit.hpp"
#include "reference/gather.hpp"
#include "reference/row_methods.hpp"

namespace zqsp {

namespace {

/// f(first, count, areLong) for neighbouring columns that are long or short. Two searches in a long one and a copy take
/// less than a pass over its entries; but among short ones, the pass is interrupted for very long ones only.
template <typename F>
[[gnu::always_inline]] inline void forEachPiece(const Columns& a, const Subscript& columns, F&& f)
{
    constexpr std::uint64_t kShort = 24; // entries
    constexpr unsigned kLongBits = 14;   // 16384 entries and more are very long
    constexpr unsigned kSome = 256;      // columns that are looked at together: mostly, none of them is very long
    forEachColumnRun(a, columns, [&](unsigned first, unsigned length) {
        const unsigned last = first + length;
        if (a.jc[last] - a.jc[first] > length * kShort) {
            f(first, length, true);
            return;
        }
        for (unsigned j = first; j < last;) {
            const unsigned end = j + std::min(last - j, kSome);
            unsigned lengths = 0;
            for (unsigned i = j; i < end; ++i) {
                lengths |= a.length(i);
            }
            if (lengths >> kLongBits == 0) {
                j = end;
                continue;
            }
            for (; j < end; ++j) {
                if (a.length(j) >> kLongBits != 0) {
                    f(first, j - first, false);
                    f(j, 1, true);
                    first = j + 1;
                }
            }
        }
        f(first, last - first, false);
    });
}

/// Where a row, or what is below it, begins in columns that are searched together: their cache misses overlap.
Block<unsigned> placesOf(const Columns& a, unsigned row, std::span<const unsigned> columns)
{
    const auto count = static_cast<unsigned>(columns.size());
    auto places = Block<unsigned>::make(count);
    searchPlaces(
        a, count,
        [&](unsigned t) {
            return Place{row, columns[t]};
        },
        [&](unsigned t, Slot slot) { places[t] = slot.position; });
    return places;
}

} // namespace

ArrayOwner gatherByInterval(const Columns& a, const IndexRange& range, const Subscript& columns, Capacity capacity)
{
    const RowInterval rows{range.first, range.count()};
    const bool counts = capacity == Capacity::kExact;
    List<unsigned> longOnes;
    std::uint64_t total = 0;
    forEachPiece(a, columns, [&](unsigned first, unsigned count, bool areLong) {
        if (areLong) {
            for (unsigned j = first; j < first + count; ++j) {
                longOnes.push_back(j);
            }
        } else if (counts) {
            total += countSelected(a, a.jc[first], a.jc[first + count], rows);
        }
    });
    const auto begins = placesOf(a, rows.first, longOnes);
    const auto ends = placesOf(a, rows.first + rows.size, longOnes);
    for (unsigned t = 0; t < longOnes.size(); ++t) {
        total += ends[t] - begins[t];
    }
    const unsigned room = counts ? checkedCount(total) : searchCapacity(a, columns, rows.size, 0);
    ArrayOwner result = createLike(a, rows.size, countOf(columns), room);
    if (room == 0) {
        return result;
    }
    const Columns out(result.get());
    unsigned written = 0;
    unsigned* columnEnd = out.jc + 1;
    const auto moveShort = [&](unsigned first, unsigned count) {
        written = moveSelected(a, first, count, rows, out, written, columnEnd);
        columnEnd += count;
    };
    if (longOnes.empty()) {
        forEachColumnRun(a, columns, moveShort);
        return result;
    }
    unsigned t = 0; // long ones
    forEachPiece(a, columns, [&](unsigned first, unsigned count, bool areLong) {
        if (!areLong) {
            moveShort(first, count);
            return;
        }
        for (; count > 0; --count, ++t) {
            const unsigned size = ends[t] - begins[t];
            copyValues(out, written, a, begins[t], size);
            std::transform(a.ir + begins[t], a.ir + ends[t], out.ir + written,
                           [first = rows.first](unsigned row) { return row - first; });
            *columnEnd++ = written += size;
        }
    });
    return result;
}

} // namespace zqsp
