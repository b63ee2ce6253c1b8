#include "reference/column_sorter.hpp"

#include "kernels/kernels.hpp"

#include <algorithm>

namespace zqsp {

ColumnSorter::ColumnSorter(unsigned longest, unsigned highest, bool sorts)
    : mostRanked_(std::min(kernels().costs.mostRanked, kMostRanked)),
      rows_(Block<unsigned>::make(std::size_t{longest} + kKernelSlack)),
      sources_(Block<unsigned>::make(std::size_t{longest} + kKernelSlack)),
      sorter_(sorts && longest > mostRanked_ ? longest : 0, highest)
{
    if (sorts && longest > mostRanked_) {
        keys_ = Block<Key>::make(longest);
    }
}

void ColumnSorter::rank(unsigned count)
{
    kernels().rankRows(rows_.get(), count, ranks_.data());
}

} // namespace zqsp
