#include "assign/element.hpp"

#include "core/relay.hpp"
#include "core/values.hpp"
#include "lookup/place_search.hpp"

#include <algorithm>
#include <array>

namespace zqsp {

void storeElement(kxArray* A, unsigned row, unsigned column, unsigned m, unsigned n, const Columns& b, bool isZero,
                  unsigned (*grown)(unsigned nzmax, unsigned m, unsigned n))
{
    const Columns before(A);
    const Slot slot = findSlot(before, {row, column});
    const unsigned at = slot.position;
    const bool becomesComplex = !isZero && b.pi != nullptr && before.pi == nullptr;
    if (slot.stored && !isZero && !becomesComplex) { // overwritten where it lies, within the present shape
        withStorage(before, before, b, [&](auto values, auto, auto from) { values.copy(at, from, 0); });
        return;
    }
    const bool isFull = !isZero && !slot.stored && before.nnz() == before.nzmax;
    const unsigned capacity = isFull ? grown(before.nzmax, m, n) : before.nzmax;
    if (isFull && before.nzmax > 0 && n <= before.n && !becomesComplex) { // the relay obtains nothing then
        raiseCapacity(A, capacity);
    }
    Relay relay(A, {.capacity = capacity, .columns = std::max(n, before.n), .imaginaryPart = becomesComplex});
    const Patch patch = {column, at, at + (slot.stored ? 1U : 0U), isZero ? 0U : 1U};
    const Columns after = relay.after();
    relay.commit(std::array{patch}, [&](const Patch&, unsigned) {
        if (!isZero) {
            after.ir[at] = row;
            withStorage(after, after, b, [&](auto values, auto, auto from) { values.copy(at, from, 0); });
        }
    });
    kxSetM(A, m);
    kxSetN(A, n);
}

} // namespace zqsp
