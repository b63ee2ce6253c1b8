#include "core/growing_list.hpp"
#include "core/search.hpp"
#include "core/values.hpp"
#include "core/wide_few_rows.hpp"
#include "reference/column_visit.hpp"
#include "reference/gather.hpp"
#include "reference/row_methods.hpp"
#include "reference/sorted_rows.hpp"

#include <algorithm>
#include <bit>

namespace zqsp {

namespace {

/// One bit for each row.
class RowTable
{
  public:
    /// `count` rows will be added; about so many entries are to be looked up.
    RowTable(unsigned m, unsigned count, std::uint64_t entries)
        : bits_(Block<std::uint64_t>::zeroed(m / 64 + std::size_t{1})),
          filters_(wide::kCompiled && haveAvx512() && count <= wide::FewRows::kMost && entries >= kMany)
    {
    }

    void add(unsigned row)
    {
        bits_[row / 64] |= std::uint64_t{1} << (row % 64);
        if constexpr (wide::kCompiled) {
            if (filters_) {
                few_.add(row);
            }
        }
    }

    /// visit(e) for the entries begin .. end-1 whose rows the table has.
    template <typename F>
    void forEachFound(const unsigned* ir, unsigned begin, unsigned end, F&& visit) const
    {
        if constexpr (wide::kCompiled) {
            while (filters_) {
                unsigned lanes = 0;
                begin = few_.firstGroup(ir, begin, end, lanes);
                if (lanes == 0) {
                    break;
                }
                for (; lanes != 0; lanes &= lanes - 1) {
                    const unsigned e = begin + static_cast<unsigned>(std::countr_zero(lanes));
                    if (has(ir[e])) {
                        visit(e);
                    }
                }
                begin += wide::kLanes;
            }
        }
        for (unsigned e = begin; e < end;) {
            const unsigned groupEnd = end - e > kGroup ? e + kGroup : end;
            if (groupEnd - e == kGroup && !hasAny(ir + e)) { // a branch for all of them, which is seldom taken
                e = groupEnd;
                continue;
            }
            for (; e < groupEnd; ++e) {
                if (has(ir[e])) {
                    visit(e);
                }
            }
        }
    }

  private:
    static constexpr unsigned kGroup = 8;
    static constexpr std::uint64_t kMany = 4096; // entries that pay for the filter

    [[nodiscard]] std::uint64_t bitOf(unsigned row) const { return bits_[row / 64] >> (row % 64) & 1U; }
    [[nodiscard]] bool has(unsigned row) const { return bitOf(row) != 0; }
    [[nodiscard]] bool hasAny(const unsigned* rows) const
    {
        std::uint64_t any = 0;
        for (unsigned i = 0; i < kGroup; ++i) {
            any |= bitOf(rows[i]);
        }
        return any != 0;
    }

    Block<std::uint64_t> bits_;
    wide::FewRows few_;
    bool filters_;
};

template <typename Rows>
ArrayOwner gather(const Columns& a, const Rows& rows, bool ascending, const Subscript& columns)
{
    RowTable table(a.m, rows.count(), std::uint64_t{a.nnz()} * countOf(columns) / std::max(a.n, 1U));
    for (unsigned i = 0; i < rows.count(); ++i) {
        table.add(rows[i]);
    }
    // What is found, column by column; the ends of the columns follow once the result is there to hold them.
    GrowingList<Key> found;
    const auto columnEnds = Block<unsigned>::make(countOf(columns));
    unsigned visited = 0;
    unsigned begin = 0; // what is found in the column at hand
    const auto finishColumn = [&] {
        if (!ascending) {
            std::sort(found.data() + begin, found.data() + found.count());
        }
        begin = found.count();
        columnEnds[visited++] = begin;
    };
    // Neighbouring columns are searched as one: between entries that are found nobody looks where columns end.
    forEachColumnRun<Reading::kRows>(a, columns, [&](unsigned first, unsigned length) {
        unsigned column = first;
        table.forEachFound(a.ir, a.jc[first], a.jc[first + length], [&](unsigned e) {
            for (; a.jc[column + 1] <= e; ++column) {
                finishColumn();
            }
            for (unsigned i = lowerBound(rows, 0, rows.count(), a.ir[e]); i < rows.count() && rows[i] == a.ir[e]; ++i) {
                found.add(makeKey(rows.newRow(i), e));
            }
        });
        for (; column < first + length; ++column) {
            finishColumn();
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
