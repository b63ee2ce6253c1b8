// Rows in an order of their own, or repeated: entries get their new rows, and columns are put into the order of these.
#ifndef ZQSP_REFERENCE_ROW_ORDER_HPP
#define ZQSP_REFERENCE_ROW_ORDER_HPP

#include "core/columns.hpp"
#include "core/owners.hpp"
#include "core/row_set.hpp"
#include "core/sort.hpp"
#include "kernels/kernels.hpp"
#include "subscript/forms.hpp"

#include <array>
#include <optional>

namespace zqsp {

/// Sorts columns whose rows are distinct. Of short ones the rank of each entry is counted, by comparing it with all
/// others in vector registers: a sort mispredicts a branch for every other entry. Measured on columns of ten entries,
/// this halves the time of a row permutation.
class ColumnSorter
{
  public:
    /// Writes the entries of `from` to `to`, which has its class, complexity and column starts but for a constant, or
    /// is the same array: with their new rows, newRows[old row] or else the old ones, which ascend in each column then.
    /// Always to the same array, or its like. Raises on exhausted memory. Workspace: the longest column, up to three
    /// times.
    void sort(const Columns& from, const Columns& to, const unsigned* newRows = nullptr);

  private:
    template <typename Values>
    void sortColumn(const unsigned* rows, unsigned count, Values from, unsigned begin, const Columns& to, unsigned at);
    void sortKeys(const unsigned* rows, unsigned count, unsigned m);

    const Kernels& kernels_ = kernels();
    unsigned room_ = 0; // entries
    ArrayOwner aside_;  // a block of new rows, and where columns are sorted in place of their values
    std::array<unsigned, kMostRanked> ranks_;
    unsigned keyRoom_ = 0;
    Block<Key> keys_; // of a column too long to be ranked
    std::optional<KeySorter> sorter_;
};

/// Rows in any order, none of them twice: the new rows of what has its rank among the selected rows.
class RowOrder
{
  public:
    /// Both must outlive the order. Raises on exhausted memory. Workspace: a word for each row.
    RowOrder(const IndexList& rows, const RowSet& selected);

    /// Writes the entries of `from` to `to`, as ColumnSorter does, with their new rows and in order. Raises on
    /// exhausted memory. Workspace: the longest column, up to three times, or once and up to one and a quarter words
    /// for each row.
    void apply(const Columns& from, const Columns& to);

  private:
    void readOff(const Columns& from, const Columns& to);
    const unsigned* ranks();

    const IndexList& rows_;
    const RowSet& selected_;
    Block<unsigned> places_;
    Block<unsigned> ranks_; // of the rows, where these are not all there are
    ColumnSorter sorter_;
};

/// Rows in any order, some of them repeated, of an array that has the `selected` ones. Workspace: up to two words for
/// each row and one for each entry; and that of RowOrder.
ArrayOwner repeatRows(const Columns& a, const IndexList& rows, const RowSet& selected);

} // namespace zqsp

#endif
