// Columns whose entries have got new rows, and have to be brought into the order of these.
#ifndef ZQSP_REFERENCE_COLUMN_SORTER_HPP
#define ZQSP_REFERENCE_COLUMN_SORTER_HPP

#include "core/columns.hpp"
#include "core/sort.hpp"
#include "kernels/kernels.hpp"

#include <array>
#include <optional>

namespace zqsp {

/// Sorts columns in place, each through a copy of it; their rows are distinct. Of short columns the rank of each entry
/// is counted, by comparing it with all others in vector registers: a sort mispredicts a branch for every other entry.
/// Measured on columns of ten entries, this halves the time of a row permutation.
class ColumnSorter
{
  public:
    /// Puts the columns first .. first+count-1 into ascending order; always of the same array, or of its like. Raises
    /// on exhausted memory. Workspace: the longest column, twice where it is sorted.
    void sort(const Columns& a, unsigned first, unsigned count);

  private:
    void makeRoom(const Columns& a, unsigned longest);
    template <typename Values>
    void sortColumn(const Columns& a, Values values, unsigned column);

    const Kernels& kernels_ = kernels();
    unsigned room_ = 0; // entries
    ArrayOwner copy_;
    std::array<unsigned, kMostRanked> ranks_;
    Block<Key> keys_; // of columns too long to be ranked
    std::optional<KeySorter> sorter_;
};

} // namespace zqsp

#endif
