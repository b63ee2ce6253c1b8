// The selected rows in ascending order, in the form that costs least to make: rows[i] is the i-th lowest row, and
// rows.newRow(i) the row that it becomes.
#ifndef ZQSP_REFERENCE_SORTED_ROWS_HPP
#define ZQSP_REFERENCE_SORTED_ROWS_HPP

#include "core/sort.hpp"
#include "subscript/forms.hpp"

namespace zqsp {

/// An arithmetic progression takes no memory, however many rows it selects.
struct RangeOfRows
{
    IndexRange ascending;
    bool reversed;

    explicit RangeOfRows(const IndexRange& range) : ascending(range.ascending()), reversed(range.stride < 0) {}

    [[nodiscard]] unsigned count() const { return ascending.count(); }
    unsigned operator[](unsigned i) const { return ascending.first + i * static_cast<unsigned>(ascending.stride); }
    [[nodiscard]] unsigned newRow(unsigned i) const { return reversed ? count() - 1 - i : i; }
};

/// An ascending list, as it is.
struct ListOfRows
{
    const unsigned* rows;
    unsigned size;

    [[nodiscard]] unsigned count() const { return size; }
    unsigned operator[](unsigned i) const { return rows[i]; }
    [[nodiscard]] unsigned newRow(unsigned i) const { return i; }
};

/// Any other list, sorted. Equal rows keep the order of their new rows.
struct SortedRows
{
    Block<Key> keys;
    unsigned size;

    SortedRows(const IndexList& list, unsigned m) : keys(Block<Key>::make(list.count())), size(list.count())
    {
        for (unsigned p = 0; p < size; ++p) {
            keys[p] = makeKey(list[p], p);
        }
        KeySorter(size, m).sort(keys.get(), size);
    }

    [[nodiscard]] unsigned count() const { return size; }
    unsigned operator[](unsigned i) const { return majorOf(keys[i]); }
    [[nodiscard]] unsigned newRow(unsigned i) const { return minorOf(keys[i]); }
};

/// Selected rows equal to another one before. An arithmetic progression has none.
inline unsigned countRepeats(const RangeOfRows&)
{
    return 0;
}

template <typename Rows>
unsigned countRepeats(const Rows& rows)
{
    unsigned repeats = 0;
    for (unsigned i = 1; i < rows.count(); ++i) {
        repeats += rows[i] == rows[i - 1] ? 1U : 0U;
    }
    return repeats;
}

/// Calls f(rows, ascending) with the rows of a subscript below m; `ascending` tells whether new rows ascend with the
/// rows they come from, so that no column has to be sorted. Raises on exhausted memory.
template <typename F>
decltype(auto) withSortedRows(const Subscript& subscript, unsigned m, F&& f)
{
    if (const auto* range = std::get_if<IndexRange>(&subscript)) {
        const RangeOfRows rows(*range);
        return f(rows, !rows.reversed);
    }
    if (const auto* list = std::get_if<IndexList>(&subscript)) {
        return list->order() == Order::kAscending ? f(ListOfRows{list->begin(), list->count()}, true)
                                                  : f(SortedRows(*list, m), false);
    }
    // A mask is searched as the list of what it selects.
    const auto positions = Block<unsigned>::make(countOf(subscript));
    unsigned count = 0;
    std::visit([&](const auto& mask) { mask.forEach([&](unsigned row) { positions[count++] = row; }); }, subscript);
    return f(ListOfRows{positions.get(), count}, true);
}

} // namespace zqsp

#endif
