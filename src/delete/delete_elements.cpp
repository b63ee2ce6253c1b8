#include "core/note_method.hpp"
#include "core/operand_check.hpp"
#include "core/target.hpp"
#include "delete/delete_positions.hpp"
#include "lookup/entry_positions.hpp"
#include "subscript/convert.hpp"
#include "subscript/ordered.hpp"

#include <zqspmatrix.h>

#include <algorithm>
#include <cstdint>

namespace zqsp {

namespace {

/// Whether the elements can be numbered, so that what is left of them fits a row vector.
bool linearIndexable(const Columns& a)
{
    return a.n == 1 || kxCheckMN_nothrow(a.m, a.n, a.elementSize, nullptr);
}

/// Deletes the elements of A, whose rows become linear positions. Returns the number of entries left.
unsigned compact(const Columns& a, const Subscript& deleted)
{
    const DeletionMethod method = chooseDeletion(deleted, a.nnz(), kernels().costs);
    noteMethod(method);
    return deletePositions(method, a, deleted);
}

spStatus deleteElements(Target& target, const kxArray* K)
{
    if (!linearIndexable(Columns(target.get()))) {
        return spCannotResizeToRowVector;
    }
    const auto elements = static_cast<unsigned>(elementsOf(target.get()));
    Subscript positions;
    const unsigned limit = kxGetNumberOfElements(target.get());
    const spStatus status = convertSubscript(K, Extent::forDeletion(limit), positions);
    if (status != spOK) {
        return status;
    }
    const Ordered deleted(std::move(positions), Repeats::kNone);
    const unsigned left = elements - deleted.count();
    if (left == elements) {
        return spOK;
    }
    kxArray* const A = target.own();
    const Columns a(A);
    if (a.n == 1 && a.m != 1) { // a column stays a column
        a.jc[1] = compact(a, deleted.form());
        kxSetM(A, left);
        return spOK;
    }
    // The last thing that can fail. (A scalar's has two words still.)
    auto newJc = Block<unsigned>::make(std::max(std::size_t{left} + 1, std::size_t{2}));
    cutIntoColumns(a.ir, compact(a, deleted.form()), 1, left, newJc.get());
    kxFree(a.jc);
    kxSetJc(A, newJc.release());
    kxSetN(A, left);
    kxSetM(A, 1);
    return spOK;
}

} // namespace

} // namespace zqsp

spStatus spDeleteElements(kxArray* A, const kxArray* K)
{
    using namespace zqsp;
    checkOperands(A, K);
    if (isColon(K)) {
        ArrayOwner(kxCreateEmptyCopy(A)).moveOnto(A);
        return spOK;
    }
    if (kxIsEmpty(K)) {
        return spOK;
    }
    return onTarget(A, {K}, [K](Target& target) { return deleteElements(target, K); });
}
