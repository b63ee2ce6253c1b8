#include "kernels/tested.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace zqsp::test {

namespace {

void moveEntry(const Entries& from, unsigned source, const Entries& to, unsigned at, unsigned newRow)
{
    const std::size_t size = from.elementSize;
    to.ir[at] = newRow;
    std::memmove(to.pr + at * size, from.pr + source * size, size);
    if (from.pi != nullptr) {
        std::memmove(to.pi + at * size, from.pi + source * size, size);
    }
}

bool isSelected(const RowChoice& choice, unsigned row)
{
    return std::visit([row](auto known) { return known.selects(row); }, choice);
}

bool storeIndices(const double* values, unsigned count, double highest, unsigned* indices)
{
    for (unsigned i = 0; i < count; ++i) {
        if (!(values[i] >= 1 && values[i] <= highest && std::floor(values[i]) == values[i])) {
            return false;
        }
        indices[i] = static_cast<unsigned>(values[i]) - 1;
    }
    return true;
}

Steps stepsTo(const unsigned* indices, unsigned count, unsigned expected)
{
    Steps steps;
    for (const unsigned* i = indices; i < indices + count; ++i) {
        steps.fall = steps.fall || i[0] < i[-1];
        steps.rise = steps.rise || i[0] > i[-1];
        steps.irregular = steps.irregular || i[0] - i[-1] != expected;
    }
    return steps;
}

unsigned countSelected(const unsigned* rows, unsigned count, const RowChoice& choice)
{
    return static_cast<unsigned>(
        std::count_if(rows, rows + count, [&](unsigned row) { return isSelected(choice, row); }));
}

unsigned moveSelected(const Entries& from, const unsigned* jc, unsigned columns, const RowChoice& choice,
                      const Entries& to, unsigned at, unsigned* ends)
{
    unsigned e = jc[0];
    for (unsigned i = 0; i < columns; ++i) {
        for (const unsigned end = jc[i + 1]; e < end; ++e) {
            if (const unsigned row = from.ir[e]; isSelected(choice, row)) {
                moveEntry(from, e, to, at++, std::visit([row](auto known) { return known.newRow(row); }, choice));
            }
        }
        ends[i] = at;
    }
    return at;
}

unsigned closeUp(const Entries& entries, unsigned begin, unsigned end, DeletedList& deleted, unsigned kept)
{
    const unsigned* const listEnd = deleted.positions + deleted.count;
    for (unsigned e = begin; e < end; ++e) {
        const unsigned position = entries.ir[e];
        const unsigned* const found = std::lower_bound(deleted.positions, listEnd, position);
        if (found == listEnd || *found != position) {
            moveEntry(entries, e, entries, kept++, position - static_cast<unsigned>(found - deleted.positions));
        }
    }
    return kept;
}

void rankRows(unsigned* rows, unsigned count, unsigned* ranks)
{
    for (unsigned i = 0; i < count; ++i) {
        ranks[i] = static_cast<unsigned>(std::count_if(rows, rows + count, [&](unsigned r) { return r < rows[i]; }));
    }
}

unsigned siftRows(const RowWord* rows, const FewRows* /*few*/, const unsigned* ir, unsigned begin, unsigned end,
                  unsigned* found)
{
    unsigned count = 0;
    for (unsigned e = begin; e < end; ++e) {
        if (isSelected(UnmovedRows{rows}, ir[e])) {
            found[count++] = e;
        }
    }
    return count;
}

Common intersect(const unsigned* first, unsigned firstCount, const unsigned* second, unsigned secondCount,
                 unsigned* inFirst, unsigned* inSecond)
{
    unsigned count = 0;
    for (unsigned s = 0; s < secondCount; ++s) {
        const unsigned* const mine = std::find(first, first + firstCount, second[s]);
        if (mine != first + firstCount) {
            inFirst[count] = static_cast<unsigned>(mine - first);
            inSecond[count++] = s;
        }
    }
    return {count, firstCount, secondCount};
}

void writeStarts(const unsigned* columns, unsigned count, unsigned length, unsigned* starts)
{
    for (unsigned j = 0; j <= length; ++j) {
        starts[j] = static_cast<unsigned>(std::lower_bound(columns, columns + count, j) - columns);
    }
}

} // namespace

const Kernels modelTable = {
    .name = "model",
    .costs = {},
    .storeIndices = storeIndices,
    .stepsTo = stepsTo,
    .countSelected = countSelected,
    .moveSelected = moveSelected,
    .closeUp = closeUp,
    .rankRows = rankRows,
    .siftRows = siftRows,
    .intersect = intersect,
    .writeStarts = writeStarts,
};

} // namespace zqsp::test
