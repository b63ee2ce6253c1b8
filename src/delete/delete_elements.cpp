#include "core/entry_moves.hpp"
#include "core/operand_check.hpp"
#include "core/row_selection.hpp"
#include "core/search.hpp"
#include "core/target.hpp"
#include "core/values.hpp"
#include "subscript/convert.hpp"
#include "subscript/ordered.hpp"
#include "subscript/runs.hpp"

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

/// Deletes ascending positions from entries 0 .. nnz-1, whose ir are positions of one column: deleted entries go, the
/// positions of the others close up. Values move in blocks, only where an entry was dropped before them.
/// Returns the number of entries left.
unsigned compactElements(const Columns& a, unsigned nnz, const Subscript& deleted)
{
    unsigned next = 0;    // first entry not looked at yet
    unsigned kept = 0;    // entries that stay, of those looked at
    unsigned removed = 0; // positions deleted so far
    const auto keep = [&](unsigned end) {
        moveEntries(a, kept, next, end - next, removed);
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

/// How many deleted positions lie before ascending ones, and whether these are deleted themselves: for a mask the bytes
/// passed over are counted eight at a time, in a list the next one is found by galloping.
class MaskRank
{
  public:
    explicit MaskRank(const LogicalMask& mask) : mask_(mask) {}

    bool isDeleted(unsigned position)
    {
        const unsigned end = std::min(position, mask_.length);
        before_ += countTrue(mask_.values + counted_, end - counted_);
        counted_ = end;
        return position < mask_.length && mask_.values[position] != 0;
    }
    [[nodiscard]] unsigned before() const { return before_; }

  private:
    const LogicalMask& mask_;
    unsigned counted_ = 0;
    unsigned before_ = 0;
};

class ListRank
{
  public:
    explicit ListRank(const IndexList& list) : list_(list) {}

    bool isDeleted(unsigned position)
    {
        before_ = gallop(list_, before_, list_.count(), position);
        return before_ < list_.count() && list_[before_] == position;
    }
    [[nodiscard]] unsigned before() const { return before_; }

  private:
    const IndexList& list_;
    unsigned before_ = 0;
};

/// compactElements() for deleted positions that outnumber the entries: each entry asks for its own.
template <typename Rank>
unsigned compactByEntries(const Columns& a, unsigned nnz, Rank rank)
{
    unsigned kept = 0;
    withStorage(a, [&](auto values) {
        for (unsigned e = 0; e < nnz; ++e) {
            const unsigned position = a.ir[e];
            const bool isDeleted = rank.isDeleted(position);
            a.ir[kept] = position - rank.before();
            values.copy(kept, values, e);
            kept += isDeleted ? 0U : 1U;
        }
    });
    return kept;
}

/// Whether listed positions are best deleted entry by entry: not where so few are that the runs between them are better
/// moved whole.
bool deletesListed(unsigned entries, unsigned deleted)
{
    const unsigned each = kernels().costs.entriesPerDeleted;
    return each != 0 && deleted > entries / each;
}

/// Strictly ascending positions that are not many more than the entries. The rows of a block become positions just
/// before it is gone through, while it is in the nearest caches.
unsigned deleteListed(const Columns& a, const IndexList& list)
{
    constexpr unsigned kBlock = 1024;
    Linearizer linearizer(a);
    DeletedList deleted{list.begin(), list.count()};
    unsigned kept = 0;
    const unsigned entries = a.nnz();
    for (unsigned begin = 0, size = 0; begin < entries; begin += size) {
        size = std::min(kBlock, entries - begin);
        linearizer.goOn(begin + size);
        kept = kernels().closeUp(entriesOf(a), begin, begin + size, deleted, kept);
    }
    return kept;
}

/// Deletes the elements of A, whose rows become linear positions. Returns the number of entries left.
unsigned compact(const Columns& a, const Ordered& deleted)
{
    const unsigned nnz = a.nnz();
    const auto* list = std::get_if<IndexList>(&deleted.form());
    if (list != nullptr && list->count() <= nnz && deletesListed(nnz, list->count())) {
        return deleteListed(a, *list);
    }
    Linearizer(a).goOn(nnz);
    if (deleted.count() > nnz) {
        if (const auto* mask = std::get_if<LogicalMask>(&deleted.form())) {
            return compactByEntries(a, nnz, MaskRank(*mask));
        }
        if (list != nullptr) {
            return compactByEntries(a, nnz, ListRank(*list));
        }
    }
    return compactElements(a, nnz, deleted.form());
}

/// The column starts of a row vector of `length` columns, whose entries' ir are their columns; these become row 0.
void columnToRow(const Columns& a, unsigned count, unsigned length, unsigned* newJc)
{
    kernels().writeStarts(a.ir, count, length, newJc);
    std::fill_n(a.ir, count, 0U);
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
        a.jc[1] = compact(a, deleted);
        kxSetM(A, left);
        return spOK;
    }
    // The last thing that can fail. (A scalar's has two words still.)
    auto newJc = Block<unsigned>::make(std::max(std::size_t{left} + 1, std::size_t{2}));
    columnToRow(a, compact(a, deleted), left, newJc.get());
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
