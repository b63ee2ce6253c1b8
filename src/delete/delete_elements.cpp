// A(K) = [].
#include "delete/delete_elements.hpp"

#include "core/entry_moves.hpp"
#include "core/note_method.hpp"
#include "core/search.hpp"
#include "core/target.hpp"
#include "kernels/select_loop.hpp"
#include "lookup/entry_positions.hpp"
#include "lookup/members.hpp"
#include "subscript/convert.hpp"
#include "subscript/ordered.hpp"
#include "subscript/walk.hpp"

#include <zqspmatrix.h>

#include <algorithm>
#include <cstdint>

namespace zqsp {

namespace {

/// Values move in blocks, only where an entry was dropped before them.
unsigned deleteByPositions(const Columns& a, unsigned nnz, const Subscript& deleted)
{
    EntryWalk(a).replaceRows(nnz);
    unsigned next = 0;    // first entry not looked at yet
    unsigned kept = 0;    // entries that stay, of those looked at
    unsigned removed = 0; // positions deleted so far
    const auto keep = [&](unsigned end) {
        for (unsigned e = next; e < end; ++e) {
            a.ir[e] -= removed;
        }
        moveDown(a, kept, next, end - next);
        kept += end - next;
    };
    forEachRun(deleted, [&](unsigned first, unsigned length) {
        const unsigned begin = gallopNear(a.ir, next, nnz, first);
        keep(begin);
        next = length == 1 ? begin + (begin < nnz && a.ir[begin] == first ? 1U : 0U)
                           : gallopNear(a.ir, begin, nnz, first + length);
        removed += length;
    });
    keep(nnz);
    return kept;
}

template <typename Members>
unsigned deleteByEntries(const Columns& a, unsigned nnz, Members deleted)
{
    EntryWalk(a).replaceRows(nnz);
    const std::array<unsigned, 2> all{0, nnz};
    Others<Members> kept{deleted};
    return selectColumns(entriesOf(a), all.data(), 1, kept, entriesOf(a), 0, &nnz);
}

/// The rows of a block become positions just before it is gone through, while it is in the nearest caches.
unsigned deleteByKernel(const Columns& a, unsigned nnz, const IndexList& list)
{
    constexpr unsigned kBlock = 1024;
    EntryWalk walk(a);
    DeletedList deleted{list.begin(), list.count()};
    unsigned kept = 0;
    for (unsigned begin = 0, size = 0; begin < nnz; begin += size) {
        size = std::min(kBlock, nnz - begin);
        walk.replaceRows(begin + size);
        kept = kernels().closeUp(entriesOf(a), begin, begin + size, deleted, kept);
    }
    return kept;
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
    const Columns before(target.get());
    if (before.n != 1 && !kxCheckMN_nothrow(before.m, before.n, before.elementSize, nullptr)) {
        return spCannotResizeToRowVector; // what is left could not be numbered as a row
    }
    const auto elements = static_cast<unsigned>(elementsOf(target.get()));
    Subscript positions;
    const unsigned limit = kxGetNumberOfElements(target.get());
    const spStatus status = convertSubscript(K, Extent::forDeletion(limit), positions);
    if (status != spOK) {
        return status;
    }
    const Ordered deleted(std::move(positions), Repeats::kLast);
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

unsigned deletePositions(DeletionMethod method, const Columns& a, const Subscript& deleted)
{
    const unsigned nnz = a.nnz();
    switch (method) {
    case DeletionMethod::kByEntries:
        if (const auto* mask = std::get_if<LogicalMask>(&deleted)) {
            return deleteByEntries(a, nnz, MaskMembers(*mask));
        }
        return deleteByEntries(a, nnz, RangeMembers(std::get<IndexRange>(deleted)));
    case DeletionMethod::kByKernel:
        return deleteByKernel(a, nnz, std::get<IndexList>(deleted));
    case DeletionMethod::kByPositions:
        break;
    }
    return deleteByPositions(a, nnz, deleted);
}

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
    return onTarget([K](Target& target) { return deleteElements(target, K); }, A, K);
}
