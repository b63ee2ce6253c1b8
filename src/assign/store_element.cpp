#include "assign/store_element.hpp"

#include "core/errors.hpp"
#include "core/relay.hpp"

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
    Slot slot = place.column < before.n ? findStored(before, place) : Slot{before.nnz(), false};
    if (slot.stored && !isZero && !becomesComplex) { // overwritten where it lies, within the present shape
        GenericValues(before).copy(slot.position, GenericValues(b.b), 0);
        return;
    }
    if (!slot.stored) {
        slot = findSlot(before, place);
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

} // namespace zqsp
