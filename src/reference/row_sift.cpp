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

namespace zqsp {

namespace {

/// The rows as the sifting of entries wants them.
class Sieve
{
  public:
    /// `entries`: about so many are to be sifted. Raises on exhausted memory.
    template <typename Numbers>
    Sieve(unsigned m, const Numbers& rows, unsigned count, std::uint64_t entries)
        : rows_(m), filters_(count <= kernels().costs.mostFewRows && entries >= kPaysForFilter)
    {
        for (unsigned i = 0; i < count; ++i) {
            rows_.add(rows[i]);
            if (filters_) {
                few_.add(rows[i]);
            }
        }
    }

    /// visit(e) for those of the entries begin .. end-1 that lie in the rows.
    template <typename F>
    void forEachFound(const unsigned* ir, unsigned begin, unsigned end, F&& visit) const
    {
        std::array<unsigned, kBlock + kKernelSlack> found;
        for (unsigned size = 0; begin < end; begin += size) {
            size = std::min(kBlock, end - begin);
            const unsigned count =
                kernels().siftRows(rows_.words(), filters_ ? &few_ : nullptr, ir, begin, begin + size, found.data());
            for (unsigned i = 0; i < count; ++i) {
                visit(found[i]);
            }
        }
    }

  private:
    static constexpr unsigned kBlock = 8192;              // a call costs about what fifty entries do
    static constexpr std::uint64_t kPaysForFilter = 4096; // entries

    RowSet rows_;
    FewRows few_;
    bool filters_;
};

template <typename Numbers>
ArrayOwner siftColumns(const Columns& a, const Ordered& rows, const Numbers& numbers, const Subscript& columns)
{
    const unsigned k = rows.count();
    const Sieve sieve(a.m, numbers, k, expectedEntriesIn(a, columns));
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
