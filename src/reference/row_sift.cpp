#include "core/growing_list.hpp"
#include "core/row_set.hpp"
#include "core/search.hpp"
#include "core/sort.hpp"
#include "core/values.hpp"
#include "kernels/kernels.hpp"
#include "reference/column_visit.hpp"
#include "reference/gather.hpp"
#include "reference/row_methods.hpp"

#include <algorithm>
#include <array>
#include <optional>

namespace zqsp {

namespace {

/// The rows as the sifting of entries wants them: a few in a filter, which lets others pass now and then, more in a
/// table.
class Sieve
{
  public:
    /// Raises on exhausted memory.
    template <typename Numbers>
    Sieve(unsigned m, const Numbers& rows, unsigned count) : areFew_(count <= kernels().costs.mostFewRows)
    {
        if (!areFew_) {
            table_.emplace(m);
        }
        for (unsigned i = 0; i < count; ++i) {
            areFew_ ? few_.add(rows[i]) : table_->add(rows[i]);
        }
    }

    /// visit(e) for those of the entries begin .. end-1 that lie in the rows, and others.
    template <typename F>
    void forEachFound(const unsigned* ir, unsigned begin, unsigned end, F&& visit) const
    {
        if (!areFew_) {
            sift(ir, begin, end, visit);
            return;
        }
        std::array<unsigned, kBlock> found;
        for (unsigned size = 0; begin < end; begin += size) {
            size = std::min(kBlock, end - begin);
            const unsigned count = kernels().siftRows(few_, ir, begin, begin + size, found.data());
            for (unsigned i = 0; i < count; ++i) {
                visit(found[i]);
            }
        }
    }

  private:
    static constexpr unsigned kBlock = 8192; // a call costs about what fifty entries do
    static constexpr unsigned kGroup = 8;    // most have none: a branch for all of them is seldom taken

    template <typename F>
    void sift(const unsigned* ir, unsigned begin, unsigned end, F&& visit) const
    {
        const UnmovedRows table = table_->unmoved();
        for (unsigned size = 0; begin < end; begin += size) {
            size = std::min(kGroup, end - begin);
            bool any = size < kGroup;
            if (size == kGroup) {
                for (unsigned i = 0; i < kGroup; ++i) {
                    any |= table.selects(ir[begin + i]);
                }
            }
            for (unsigned e = begin; any && e < begin + size; ++e) {
                if (table.selects(ir[e])) {
                    visit(e);
                }
            }
        }
    }

    bool areFew_;
    std::optional<RowSet> table_;
    FewRows few_;
};

template <typename Numbers>
ArrayOwner siftColumns(const Columns& a, const Ordered& rows, const Numbers& numbers, const Subscript& columns)
{
    const unsigned k = rows.count();
    const Sieve sieve(a.m, numbers, k);
    // What is found, column by column; the ends of the columns follow once the result is there to hold them.
    GrowingList<Key> found;
    const auto columnEnds = Block<unsigned>::make(countOf(columns));
    const bool sorts = rows.sources() != nullptr;
    unsigned visited = 0;
    unsigned begin = 0;                              // what is found in the column at hand
    const auto finishColumns = [&](unsigned count) { // the one at hand, and those behind it that have nothing
        if (sorts) {
            std::sort(found.data() + begin, found.data() + found.count());
        }
        begin = found.count();
        std::fill_n(columnEnds.get() + visited, count, begin);
        visited += count;
    };
    // Neighbouring columns are searched as one: between entries that are found nobody looks where columns end.
    forEachColumnRun<Reading::kRows>(a, columns, [&](unsigned first, unsigned length) {
        const unsigned* const ends = a.jc + first + 1;
        unsigned column = 0;
        sieve.forEachFound(a.ir, a.jc[first], ends[length - 1], [&](unsigned e) {
            if (ends[column] <= e) {
                const unsigned next = gallop(ends, column + 1, length, e + 1);
                finishColumns(next - column);
                column = next;
            }
            for (unsigned i = lowerBound(numbers, 0, k, a.ir[e]); i < k && numbers[i] == a.ir[e]; ++i) {
                found.add(makeKey(rows.source(i), e));
            }
        });
        finishColumns(length - column);
    });
    ArrayOwner result = createLike(a, k, visited, found.count());
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

ArrayOwner gatherBySifting(const Columns& a, const Ordered& rows, const Subscript& columns)
{
    const Numbers numbers(rows.form());
    return numbers.visit([&](auto known) { return siftColumns(a, rows, known, columns); });
}

} // namespace zqsp
