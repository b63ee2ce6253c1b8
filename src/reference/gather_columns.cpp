#include "core/counts.hpp"
#include "core/values.hpp"
#include "reference/column_visit.hpp"
#include "reference/gather.hpp"

namespace zqsp {

ArrayOwner createLike(const Columns& a, unsigned m, unsigned n, unsigned nzmax)
{
    return ArrayOwner(kxCreateSparseNumericMatrix(m, n, nzmax, a.classId, a.complexity()));
}

ArrayOwner gatherColumns(const Columns& a, const Subscript& columns)
{
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
            for (unsigned j = 1; j <= length; ++j) {
                *columnEnd++ = a.jc[first + j] + shift;
            }
            copyRun(out.ir + written, a.ir + begin, size);
            to.copyRun(written, from, begin, size);
            written += size;
        });
    });
    return result;
}

} // namespace zqsp
