#include "reference/column_sorter.hpp"

#include "core/entry_moves.hpp"
#include "core/values.hpp"
#include "reference/gather.hpp"

#include <algorithm>

namespace zqsp {

void ColumnSorter::makeRoom(const Columns& a, unsigned longest)
{
    if (longest <= room_) {
        return;
    }
    copy_ = createLike(a, 1, 0, std::max<unsigned>(longest, kRound));
    if (longest > kernels_.costs.mostRanked) {
        keys_ = Block<Key>::make(longest);
        sorter_.emplace(longest, a.m);
    }
    room_ = longest;
}

/// How long a short column is, nobody can foresee: it is copied in one round, where there is one.
template <typename Values>
void ColumnSorter::sortColumn(const Columns& a, Values values, unsigned column)
{
    const unsigned begin = a.jc[column];
    const unsigned count = a.jc[column + 1] - begin;
    makeRoom(a, count);
    const Values copied{Columns(copy_.get())};
    unsigned* const rows = copy_->ir;
    if (count <= kRound && a.nzmax - begin >= kRound) {
        copyRun(rows, a.ir + begin, kRound);
        copied.copyRun(0, values, begin, kRound);
    } else {
        copyRun(rows, a.ir + begin, count);
        copied.copyRun(0, values, begin, count);
    }
    const auto place = [=, to = a.ir + begin](unsigned at, unsigned source, unsigned row) {
        to[at] = row;
        values.copy(begin + at, copied, source);
    };
    if (count == 2) {
        const unsigned falls = rows[0] > rows[1] ? 1 : 0;
        place(falls, 0, rows[0]);
        place(1 - falls, 1, rows[1]);
    } else if (count <= kernels_.costs.mostRanked) {
        kernels_.rankRows(a.ir + begin, count, ranks_.data()); // which were written long ago, other than the copy
        for (unsigned i = 0; i < count; ++i) {
            place(ranks_[i], i, rows[i]);
        }
    } else {
        for (unsigned i = 0; i < count; ++i) {
            keys_[i] = makeKey(rows[i], i);
        }
        sorter_->sort(keys_.get(), count);
        for (unsigned i = 0; i < count; ++i) {
            place(i, minorOf(keys_[i]), majorOf(keys_[i]));
        }
    }
}

void ColumnSorter::sort(const Columns& a, unsigned first, unsigned count)
{
    constexpr unsigned kTogether = 256;
    std::array<unsigned, kTogether> longOnes; // of more than one entry, which no branch asks for each
    withStorage(a, [&](auto values) {
        for (unsigned done = 0, size = 0; done < count; done += size) {
            size = std::min(kTogether, count - done);
            unsigned found = 0;
            for (unsigned j = first + done; j < first + done + size; ++j) {
                longOnes[found] = j;
                found += a.length(j) > 1 ? 1U : 0U;
            }
            for (unsigned i = 0; i < found; ++i) {
                sortColumn(a, values, longOnes[i]);
            }
        }
    });
}

} // namespace zqsp
