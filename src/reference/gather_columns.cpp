#include "core/entry_moves.hpp"
#include "core/errors.hpp"
#include "core/values.hpp"
#include "reference/column_visit.hpp"
#include "reference/gather.hpp"
#include "reference/row_methods.hpp"

namespace zqsp {

namespace {

/// A(:,first:last): one block.
ArrayOwner gatherNeighbours(const Columns& a, unsigned first, unsigned count)
{
    const unsigned begin = a.jc[first];
    const unsigned size = a.jc[first + count] - begin;
    ArrayOwner result = createLike(a, a.m, count, size);
    const Columns out(result.get());
    for (unsigned j = 0; j < count; ++j) {
        out.jc[j + 1] = a.jc[first + j + 1] - begin;
    }
    copyEntries(out, 0, a, begin, size);
    return result;
}

/// Neighbouring columns are neighbours in ir, pr and pi as well: a run of columns moves as one block.
template <typename Values>
void copyColumns(const Columns a, Values from, const Subscript& columns, const Columns& out, RowOrder* order)
{
    constexpr unsigned kOrdered = 4096; // entries that are put into order together, while a cache has them
    const Values to(out);
    unsigned written = 0;
    unsigned* columnEnd = out.jc + 1;
    unsigned* ordered = out.jc;
    const auto putInOrder = [&] {
        const auto last = columnEnd - 1;
        order->apply(out, static_cast<unsigned>(ordered - out.jc), static_cast<unsigned>(last - ordered));
        ordered = last;
    };
    const auto copy = [&](unsigned first, unsigned length) __attribute__((always_inline))
    {
        const unsigned begin = a.jc[first];
        const unsigned size = a.jc[first + length] - begin;
        const unsigned shift = written - begin;
        for (unsigned j = 0; j < length; ++j) {
            *columnEnd++ = a.jc[first + j + 1] + shift;
        }
        if (size == 0) {
            return;
        }
        copyRun(out.ir + written, a.ir + begin, size);
        to.copyRun(written, from, begin, size);
        written += size;
    };
    if (order == nullptr) {
        forEachColumnRun(a, columns, copy);
        return;
    }
    forEachColumnBlock(a, columns, kOrdered, [&](unsigned first, unsigned length) {
        copy(first, length);
        if (written - *ordered >= kOrdered) {
            putInOrder();
        }
    });
    putInOrder();
}

} // namespace

ArrayOwner gatherColumns(const Columns& a, const Subscript& columns, RowOrder* order)
{
    const auto* range = std::get_if<IndexRange>(&columns);
    if (order == nullptr && range != nullptr && range->isRun()) {
        return gatherNeighbours(a, range->first, range->count());
    }
    ArrayOwner result = createLike(a, a.m, countOf(columns), checkedCount(entriesIn(a, columns)));
    withStorage(a, [&](auto from) { copyColumns(a, from, columns, Columns(result.get()), order); });
    return result;
}

} // namespace zqsp
