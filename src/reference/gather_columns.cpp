#include "core/counts.hpp"
#include "core/entry_moves.hpp"
#include "core/values.hpp"
#include "reference/column_visit.hpp"
#include "reference/gather.hpp"

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

} // namespace

ArrayOwner gatherColumns(const Columns& a, const Subscript& columns)
{
    if (const auto* range = std::get_if<IndexRange>(&columns); range != nullptr && range->isRun()) {
        return gatherNeighbours(a, range->first, range->count());
    }
    ArrayOwner result = createLike(a, a.m, countOf(columns), checkedCount(entriesIn(a, columns)));
    const Columns out(result.get());

    // Neighbouring columns are neighbours in ir, pr and pi as well: a run of columns moves as one block.
    withStorage(a, [&](auto from) {
        const decltype(from) to(out);
        unsigned written = 0;
        unsigned* columnEnd = out.jc + 1;
        forEachColumnRun(a, columns, [&](unsigned first, unsigned length) {
            const unsigned begin = a.jc[first];
            const unsigned size = a.jc[first + length] - begin;
            const unsigned shift = written - begin;
            for (unsigned j = 0; j < length; ++j) {
                *columnEnd++ = a.jc[first + j + 1] + shift;
            }
            copyRun(out.ir + written, a.ir + begin, size);
            to.copyRun(written, from, begin, size);
            written += size;
        });
    });
    return result;
}

} // namespace zqsp
