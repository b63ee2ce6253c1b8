#include "core/growing_list.hpp"
#include "core/search.hpp"
#include "core/values.hpp"
#include "reference/column_visit.hpp"
#include "reference/gather.hpp"
#include "reference/row_methods.hpp"
#include "reference/sorted_rows.hpp"

#include <algorithm>

namespace zqsp {

namespace {

/// One bit for each row.
class RowTable
{
  public:
    explicit RowTable(unsigned m) : bits_(Block<std::uint64_t>::zeroed(m / 64 + std::size_t{1})) {}

    void add(unsigned row) { bits_[row / 64] |= std::uint64_t{1} << (row % 64); }
    [[nodiscard]] bool has(unsigned row) const { return (bits_[row / 64] >> (row % 64) & 1U) != 0; }

  private:
    Block<std::uint64_t> bits_;
};

template <typename Rows>
ArrayOwner gather(const Columns& a, const Rows& rows, bool ascending, const Subscript& columns)
{
    RowTable table(a.m);
    for (unsigned i = 0; i < rows.count(); ++i) {
        table.add(rows[i]);
    }
    // What is found, column by column; the ends of the columns follow once the result is there to hold them.
    GrowingList<Key> found;
    const auto columnEnds = Block<unsigned>::make(countOf(columns));
    unsigned visited = 0;
    forEachColumnRun<Reading::kRows>(a, columns, [&](unsigned first, unsigned length) {
        for (unsigned j = first; j < first + length; ++j) {
            const unsigned begin = found.count();
            for (unsigned e = a.jc[j]; e < a.jc[j + 1]; ++e) {
                if (!table.has(a.ir[e])) {
                    continue;
                }
                for (unsigned i = lowerBound(rows, 0, rows.count(), a.ir[e]); i < rows.count() && rows[i] == a.ir[e];
                     ++i) {
                    found.add(makeKey(rows.newRow(i), e));
                }
            }
            if (!ascending) {
                std::sort(found.data() + begin, found.data() + found.count());
            }
            columnEnds[visited++] = found.count();
        }
    });
    ArrayOwner result = createLike(a, rows.count(), visited, found.count());
    const Columns out(result.get());
    std::copy_n(columnEnds.get(), visited, out.jc + 1);
    withStorage(a, [&](auto from) {
        const decltype(from) to(out);
        unsigned written = 0;
        for (const Key key : found.elements()) {
            out.ir[written] = majorOf(key);
            to.copy(written++, from, minorOf(key));
        }
    });
    return result;
}

} // namespace

ArrayOwner gatherFewByTable(const Columns& a, const Subscript& rows, const Subscript& columns)
{
    return withSortedRows(
        rows, a.m, [&](const auto& selected, bool ascending) { return gather(a, selected, ascending, columns); });
}

} // namespace zqsp
