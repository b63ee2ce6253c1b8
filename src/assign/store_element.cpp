#include "assign/store_element.hpp"

#include "core/errors.hpp"
#include "core/relay.hpp"
#include "subscript/walk.hpp"

#include <algorithm>
#include <array>
#include <limits>

namespace zqsp {

unsigned growCapacity(unsigned nzmax, unsigned m, unsigned n)
{
    constexpr unsigned kMost = std::numeric_limits<std::int32_t>::max();
    unsigned elements = 0;
    const bool countable = kxCheckMN_nothrow(m, n, 1, &elements);
    const unsigned cap = countable ? elements : std::numeric_limits<std::uint32_t>::max();
    if (nzmax < kMost - kCapacityStep) {
        return std::min(nzmax + kCapacityStep, cap);
    }
    if (nzmax < kMost) {
        return std::min(nzmax + 1, cap);
    }
    if (!countable) {
        raiseOutOfMemory();
    }
    return cap;
}

void storeElement(kxArray* A, const Columns& before, Place place, unsigned m, unsigned n, const RightSide& b,
                  GrownCapacity grown)
{
    const bool isZero = b.isNothing();
    const bool becomesComplex = b.isComplex() && before.pi == nullptr;
    const Slot slot = findSlot(before, place);
    if (slot.stored && !isZero && !becomesComplex) { // overwritten where it lies, within the present shape
        GenericValues(before).copy(slot.position, GenericValues(b.b), 0);
        return;
    }
    const unsigned at = slot.position;
    const bool isFull = !isZero && !slot.stored && before.nnz() == before.nzmax;
    const unsigned capacity = isFull ? grown(before.nzmax, m, n) : before.nzmax;
    if (isFull && before.nzmax > 0 && n <= before.n && !becomesComplex) { // the relay obtains nothing then
        raiseCapacity(A, capacity);
    }
    Relay relay(A, {.capacity = capacity, .columns = std::max(n, before.n), .imaginaryPart = becomesComplex});
    const Patch patch = {place.column, at, at + (slot.stored ? 1U : 0U), isZero ? 0U : 1U};
    const Columns after = relay.after();
    relay.commit(std::array{patch}, [&](const Patch&, unsigned) {
        if (!isZero) {
            after.ir[at] = place.row;
            GenericValues(after).copy(at, GenericValues(b.b), 0);
        }
    });
    kxSetM(A, m);
    kxSetN(A, n);
}

bool overwriteFew(Target& target, const kxArray* B, const Subscript& rowForm, const Subscript& columnForm)
{
    constexpr unsigned kFew = 256;
    const Columns a(target.get());
    const unsigned rowCount = countOf(rowForm);
    const unsigned columnCount = countOf(columnForm);
    const std::uint64_t count = std::uint64_t{rowCount} * columnCount;
    const RightSide b = kxIsScalar(B) ? RightSide::scalar(B) : RightSide::matrix(B);
    const unsigned most = kxGetMaxNumberOfElements() / 4;
    if (count == 0 || count > kFew || columnCount > most ||
        a.nnz() > most * std::uint64_t{4} / std::max(a.elementSize, 4U) ||
        (b.isMatrix() && (isSparse(B) ? b.b.nnz() != count : hasFlag(B, kxFLAG_COLON_OBJECT))) ||
        (b.isComplex() && a.pi == nullptr) || b.anyZero(static_cast<unsigned>(count))) {
        return false;
    }
    std::array<unsigned, kFew> rows;
    std::array<unsigned, kFew> columns;
    std::array<unsigned, kFew> entries;
    writeIndices(rowForm, rows.data());
    writeIndices(columnForm, columns.data());
    for (unsigned t = 0, i = 0, j = 0; t < count; ++t) {
        const Slot slot = findSlot(a, {rows[i], columns[j]});
        if (!slot.stored) {
            return false;
        }
        entries[t] = slot.position;
        i = i + 1 == rowCount ? 0 : i + 1;
        j += i == 0 ? 1 : 0;
    }
    const Columns own(target.own());
    const auto overwrite = [&](unsigned t)
        __attribute__((noinline)) // a loop for each kind of values is not worth while
    {
        GenericValues(own).copy(entries[t], GenericValues(b.b), b.source(t));
    };
    for (unsigned t = 0; t < count; ++t) {
        overwrite(t);
    }
    return true;
}

} // namespace zqsp
