#include "core/entry_moves.hpp"
#include "core/operand_check.hpp"
#include "core/target.hpp"
#include "subscript/convert.hpp"
#include "subscript/ordered.hpp"
#include "subscript/runs.hpp"

#include <zqspmatrix.h>

namespace zqsp {

namespace {

/// One forward pass: each stretch of kept columns between two runs of deleted ones moves as one block.
/// Returns the number of columns left.
unsigned compactColumns(const Columns& a, const Subscript& deleted)
{
    unsigned keptColumns = 0;
    unsigned keptEntries = 0;
    unsigned next = 0; // first column not looked at yet
    const auto keep = [&](unsigned end) {
        const unsigned begin = a.jc[next];
        const unsigned size = a.jc[end] - begin;
        moveEntries(a, keptEntries, begin, size);
        const unsigned shift = begin - keptEntries;
        for (; next < end; ++next) {
            a.jc[keptColumns++] = a.jc[next] - shift;
        }
        keptEntries += size;
    };
    forEachRun(deleted, [&](unsigned first, unsigned length) {
        if (next == 0) {
            keptColumns = first; // what lies before the first deleted column stays in place
            keptEntries = a.jc[first];
        } else {
            keep(first);
        }
        next = first + length;
    });
    keep(a.n);
    a.jc[keptColumns] = keptEntries;
    return keptColumns;
}

spStatus deleteColumns(Target& target, const kxArray* J)
{
    Subscript columns;
    const spStatus status = convertSubscript(J, Extent::forDeletion(kxGetN(target.get())), columns);
    if (status != spOK) {
        return status;
    }
    const Ordered deleted(std::move(columns), Repeats::kNone);
    if (deleted.count() > 0) {
        kxArray* const A = target.own();
        kxSetN(A, compactColumns(Columns(A), deleted.form()));
    }
    return spOK;
}

} // namespace

} // namespace zqsp

spStatus spDeleteColumns(kxArray* A, const kxArray* J)
{
    using namespace zqsp;
    checkOperands(A, J);
    if (isColon(J)) {
        becomeEmptySparse(A, rowsOf(A), 0, 1, classOf(A), kxREAL);
        return spOK;
    }
    return onTarget(A, {J}, [J](Target& target) { return deleteColumns(target, J); });
}
