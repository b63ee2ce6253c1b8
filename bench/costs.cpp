// zqsp_costs: measures what the choosers of methods go by, and prints it for each table of loops that this processor
// can run, as src/kernels has it, with the source's own figures behind. Where a cost hardly matters, runs differ by a
// step.
#include "core/sort.hpp"
#include "delete/delete_elements.hpp"
#include "kernels/tables.hpp"
#include "lookup/find_hits.hpp"
#include "matrices.hpp"
#include "reference/row_methods.hpp"

#include <fmt/core.h>
#include <kx_runtime.hpp>

#include <algorithm>
#include <array>
#include <chrono>
#include <functional>
#include <memory>

namespace zqsp::bench {

namespace {

using namespace matrix::detail::noninlined::kx_array_api;
using Words = std::vector<unsigned>;

struct DestroyArray
{
    void operator()(kxArray* array) const { kxDestroyArray(array); }
};
using Array = std::unique_ptr<kxArray, DestroyArray>;

const Kernels* inUse = nullptr; ///< the table that is measured

Words draws(unsigned count, unsigned below)
{
    Random random(count + below);
    Words all(count);
    std::ranges::generate(all, [&] { return random.below(below); });
    return all;
}

Array toArray(const Matrix& matrix)
{
    Array array(kxCreateSparseNumericMatrix(matrix.m, matrix.n, matrix.entries(), kxDOUBLE_CLASS, kxREAL));
    std::ranges::copy(matrix.jc, array->jc);
    std::ranges::copy(matrix.ir, array->ir);
    std::ranges::fill_n(static_cast<double*>(array->pr), matrix.entries(), 1.0);
    return array;
}

struct Work
{
    std::function<void()> run;
    std::function<void()> prepare = [] {};
};

/// Whether the first is faster than the second by more than chance: the medians of runs in turns, after a warming one.
bool isFaster(const Work& first, const Work& second)
{
    constexpr std::size_t kRuns = 9;
    std::array<std::vector<double>, 2> times;
    for (std::size_t run = 0; run <= kRuns; ++run) {
        for (std::size_t side = 0; side < 2; ++side) {
            const Work& work = side == 0 ? first : second;
            work.prepare();
            const auto start = std::chrono::steady_clock::now();
            work.run();
            times[side].push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        }
    }
    for (auto& each : times) {
        each.erase(each.begin());
        std::ranges::nth_element(each, each.begin() + kRuns / 2);
    }
    return times[0][kRuns / 2] <= 0.97 * times[1][kRuns / 2];
}

/// The last of the values for which it holds, of those from the first on for which it does; else `otherwise`.
unsigned lastFor(std::initializer_list<unsigned> values, unsigned otherwise, const std::function<bool(unsigned)>& holds)
{
    unsigned last = otherwise;
    for (const unsigned value : values) {
        if (!holds(value)) {
            break;
        }
        last = value;
    }
    return last;
}

/// Columns of this length, ranked and put in place, or sorted.
bool ranks(unsigned length)
{
    const unsigned columns = (1U << 16) / length;
    constexpr unsigned kRows = 1U << 20;
    const Words rows = draws(columns * length, kRows);
    Words column(length + kKernelSlack), places(length + kKernelSlack), sorted(length);
    std::vector<Key> keys(length);
    const KeySorter sorter(length, kRows);
    const Work byRanks{[&] {
        for (unsigned begin = 0; begin < rows.size(); begin += length) {
            std::copy_n(&rows[begin], length, column.begin());
            inUse->rankRows(column.data(), length, places.data());
            for (unsigned i = 0; i < length; ++i) {
                sorted[places[i]] = column[i];
            }
        }
    }};
    const Work bySorting{[&] {
        for (unsigned begin = 0; begin < rows.size(); begin += length) {
            for (unsigned i = 0; i < length; ++i) {
                keys[i] = makeKey(rows[begin + i], i);
            }
            sorter.sort(keys.data(), length);
            for (unsigned i = 0; i < length; ++i) {
                sorted[i] = majorOf(keys[i]);
            }
        }
    }};
    return isFaster(byRanks, bySorting);
}

/// Entries sifted for so many rows through the filter of few. (Of fewer entries, the processor would learn by heart
/// which pass.)
bool filters(unsigned count)
{
    constexpr unsigned kRows = 100000; // their set stays in the nearest cache
    const Words entries = draws(1000000, kRows);
    std::vector<RowWord> set(kRows / RowWord::kBits + 1);
    FewRows few;
    for (const unsigned row : draws(count, kRows)) {
        set[row / RowWord::kBits].members |= 1U << row % RowWord::kBits;
        few.add(row);
    }
    Words found(entries.size() + kKernelSlack);
    const auto sift = [&](const FewRows* filter) {
        return Work{[&, filter] {
            inUse->siftRows(set.data(), filter, entries.data(), 0, static_cast<unsigned>(entries.size()), found.data());
        }};
    };
    return isFaster(sift(&few), sift(nullptr));
}

/// One in so many rows of 400,000 entries in columns of ten, sifted or moved.
bool sifts(unsigned each)
{
    constexpr unsigned kRows = 40000;
    const Array array = toArray(uniformMatrix(kRows, kRows, 10));
    Words rows;
    for (unsigned row = 0; row < kRows; row += each) {
        rows.push_back(row);
    }
    const Subscript list = IndexList(rows.data(), static_cast<unsigned>(rows.size()), Order::kAscending);
    const auto by = [&](RowMethod method) {
        return Work{
            [&, method] { gatherBy(method, Columns(array.get()), list, IndexRange::all(kRows), Capacity::kExact); }};
    };
    return isFaster(by(RowMethod::kSift), by(RowMethod::kTable));
}

/// One in so many of 10^6 entries deleted, entry by entry or by the runs between them.
bool deletesByEntry(unsigned each)
{
    constexpr unsigned kHeight = 10000000;
    const Matrix matrix = uniformMatrix(kHeight, 1, 1000000);
    const Array source = toArray(matrix);
    Words deleted;
    for (unsigned e = 0; e < matrix.entries(); e += each) {
        deleted.push_back(matrix.ir[e]);
    }
    const Subscript list = IndexList(deleted.data(), static_cast<unsigned>(deleted.size()), Order::kAscending);
    Array target;
    const auto by = [&](DeletionMethod method) {
        return Work{[&, method] { deletePositions(method, Columns(target.get()), list); },
                    [&] { target.reset(kxDuplicateArray(source.get())); }};
    };
    return isFaster(by(DeletionMethod::kByKernel), by(DeletionMethod::kByPositions));
}

/// 10^6 entries in columns of this length, and as many ascending positions or a fraction of them.
bool intersects(unsigned column, unsigned timesAsMany)
{
    constexpr unsigned kEntries = 1000000;
    const Matrix matrix = uniformMatrix(column * 20, kEntries / column, column);
    const Array array = toArray(matrix);
    Words positions = draws(kEntries / timesAsMany, static_cast<unsigned>(matrix.cells()));
    std::ranges::sort(positions);
    const Subscript list = IndexList(positions.data(), static_cast<unsigned>(positions.size()), Order::kAscending);
    const auto by = [&](LookupMethod method) {
        return Work{[&, method] {
            HitList hits(countOf(list));
            findHitsBy(method, Columns(array.get()), list, hits);
        }};
    };
    return isFaster(by(LookupMethod::kIntersection), by(LookupMethod::kSearches));
}

/// As with the table in use.
Costs measured()
{
    const auto factors = {2U, 4U, 8U, 16U};
    return {.mostRanked = lastFor({8, 16, 32, 48, 64, 96, 112, kMostRanked}, 0, ranks),
            .mostFewRows = lastFor({1, 4, 16, 32, 64, 128, 256}, 0, filters),
            .rowsPerSifted = lastFor({128, 64, 32, 16, 8, 4, 3, 2}, 256, sifts),
            .entriesPerDeleted = lastFor({2, 4, 8, 16, 32, 64, 128}, 0, deletesByEntry),
            .intersectShortColumns = lastFor(factors, 1, [](unsigned factor) { return intersects(10, factor); }),
            .intersectLongColumns = lastFor(factors, 1, [](unsigned factor) { return intersects(10000, factor); })};
}

void run()
{
    for (const Kernels* table : availableKernels()) {
        useKernels(*table);
        inUse = table;
        const Costs found = measured();
        const Costs& source = table->costs;
        fmt::print("{}\n", table->name);
        const auto print = [&](const char* name, unsigned Costs::*cost) {
            fmt::print("    .{} = {}, // {}\n", name, found.*cost, source.*cost);
        };
        print("mostRanked", &Costs::mostRanked);
        print("mostFewRows", &Costs::mostFewRows);
        print("rowsPerSifted", &Costs::rowsPerSifted);
        print("entriesPerDeleted", &Costs::entriesPerDeleted);
        print("intersectShortColumns", &Costs::intersectShortColumns);
        print("intersectLongColumns", &Costs::intersectLongColumns);
    }
}

} // namespace

} // namespace zqsp::bench

int main()
{
    zqsp::bench::run();
}
