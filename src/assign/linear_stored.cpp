#include "assign/linear_stored.hpp"

#include "core/relay.hpp"
#include "core/search.hpp"
#include "lookup/find_hits.hpp"
#include "subscript/runs.hpp"

#include <algorithm>

namespace zqsp {

bool overwriteInOrder(kxArray* A, const LinearLayout& layout, const AssignedValues& values, NumberView numbers,
                      const Subscript& positions)
{
    constexpr unsigned kBlock = 256; // a miss ends the search
    const Columns a(A);
    const unsigned count = countOf(positions);
    if (layout.placeOf(highestOf(positions)).column >= a.n || values.anyZero(count)) {
        return false;
    }
    const auto entries = Block<unsigned>::make(count);
    for (unsigned done = 0, size = 0; done < count; done += size) {
        size = std::min(kBlock, count - done);
        bool allStored = true;
        searchPlaces(
            a, size, [&](unsigned t) { return layout.placeOf(numbers[std::size_t{done} + t]); },
            [&](unsigned t, Slot slot) {
                entries[done + t] = slot.position;
                allStored &= slot.stored;
            });
        if (!allStored) {
            return false;
        }
    }
    Relay relay(A, {.capacity = a.nzmax, .columns = a.n, .imaginaryPart = values.areComplex()});
    relay.commitGrowth();
    const Columns after(A);
    withStorage(after, after, values.b, [&](auto to, auto, auto from) {
        for (unsigned t = 0; t < count; ++t) {
            to.copy(entries[t], from, values.source(t));
        }
    });
    return true;
}

void removeStored(kxArray* A, const LinearLayout& grown, const Subscript& positions)
{
    const Columns a(A);
    HitList hits(countOf(positions));
    findHits(a, positions, hits);
    auto entries = Block<unsigned>::make(hits.count());
    unsigned count = 0;
    hits.forEachPart([&](const Hits& some) {
        std::copy_n(some.sources, some.count, entries.get() + count);
        count += some.count;
    });
    const bool areSorted = orderOf(positions) != Order::kUnsorted; // they come from the lowest position on
    const Ordered removed(IndexList(std::move(entries), count, areSorted ? Order::kAscending : Order::kUnsorted),
                          Repeats::kNone);
    const auto patches = Block<Patch>::make(count);
    std::size_t size = 0;
    unsigned column = 0;
    forEachRun(removed.form(), [&](unsigned first, unsigned length) {
        for (unsigned e = first, end = first + length; e < end; e = patches[size++].end) {
            column = gallop(a.jc, column + 1, a.n, e + 1) - 1;
            patches[size] = {column, e, std::min(end, a.jc[column + std::size_t{1}]), 0};
        }
    });
    Relay relay(A, {.capacity = a.nzmax, .columns = std::max(grown.n(), a.n)});
    relay.commit(std::span<const Patch>(patches.get(), size), [](const Patch&, unsigned) {});
    kxSetM(A, grown.m());
    kxSetN(A, grown.n());
}

} // namespace zqsp
