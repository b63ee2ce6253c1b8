// Every method finds the same entries, takes the same ones out of rows and deletes the same ones, wherever it is
// allowed; the choice between them is a function of counts.
#include "delete/delete_elements.hpp"
#include "lookup/find_hits.hpp"
#include "reference/row_methods.hpp"
#include "support/draw.hpp"
#include "support/model_operations.hpp"
#include "support/tables.hpp"

#include <gtest/gtest.h>

#include <algorithm>

using namespace zqsp;
using zqsp::test::Array;
using zqsp::test::draw;
using zqsp::test::Model;

namespace {

/// A matrix that stores about one element in `each`.
Model randomMatrix(unsigned m, unsigned n, unsigned each)
{
    Model a = Model::empty({}, m, n);
    for (unsigned i = 0; i < m * n / each; ++i) {
        a.entries[a.place(draw(m * n))] = i + 1.0;
    }
    a.nzmax = a.nnz() + draw(3) * 20;
    return a;
}

/// Positions in one of the forms of a subscript, and what the form looks at.
struct Named
{
    std::vector<unsigned> positions;
    Order order = Order::kAscending;
    std::vector<unsigned char> bytes = {};
    std::vector<unsigned> jc = {};

    [[nodiscard]] unsigned count() const { return static_cast<unsigned>(positions.size()); }
    [[nodiscard]] Subscript list() const { return IndexList(positions.data(), count(), order); }
    [[nodiscard]] Subscript range() const
    {
        const int stride = static_cast<int>(positions[1]) - static_cast<int>(positions[0]);
        return IndexRange(positions.front(), positions.back(), stride, count());
    }
    Subscript mask()
    {
        bytes.assign(positions.back() + 1U, 0);
        for (const unsigned p : positions) {
            bytes[p] = 1;
        }
        return LogicalMask{bytes.data(), positions.back() + 1, count()};
    }
    Subscript sparseMask() // of one column
    {
        jc = {0, count()};
        return SparseLogicalMask{positions.data(), jc.data(), positions.back() + 1, 1};
    }
};

/// `count` positions below `end`, with a few repeats.
Named drawn(unsigned count, unsigned end, Order order)
{
    Named named{std::vector<unsigned>(count), order};
    std::generate(named.positions.begin(), named.positions.end(), [end] { return draw(end); });
    if (order != Order::kUnsorted) {
        std::sort(named.positions.begin(), named.positions.end());
    }
    return named;
}

Named withoutRepeats(Named named)
{
    named.positions.erase(std::unique(named.positions.begin(), named.positions.end()), named.positions.end());
    return named;
}

Named strided(unsigned first, unsigned stride, unsigned end)
{
    Named named;
    for (unsigned p = first; p < end; p += stride) {
        named.positions.push_back(p);
    }
    return named;
}

/// The same 1-based, for the models.
test::Subscript oneBased(const std::vector<unsigned>& positions)
{
    std::vector<double> values(positions.size());
    std::transform(positions.begin(), positions.end(), values.begin(), [](unsigned p) { return p + 1.0; });
    return test::Subscript::list(values);
}

/// By column and row; every value is another.
using Found = std::vector<std::pair<std::uint64_t, double>>;

Found entriesOf(const Model& a)
{
    Found entries;
    for (const auto& [place, value] : a.entries) {
        entries.emplace_back(a.linear(place), value.real());
    }
    return entries;
}

double valueOf(const Array& array, unsigned entry)
{
    return static_cast<const double*>(array->pr)[entry];
}

void expectFinds(const Model& a, const Named& named, const Subscript& form, std::initializer_list<LookupMethod> methods)
{
    const Array array = toArray(a);
    const Found expected = entriesOf(refLinear(a, oneBased(named.positions)));
    for (const LookupMethod method : methods) {
        Found found;
        HitList hits(named.count());
        findHitsBy(method, Columns(array.get()), form, hits);
        for (unsigned i = 0; i < hits.count(); ++i) {
            found.emplace_back(hits.ordinals()[i], valueOf(array, hits.sources()[i]));
        }
        if (orderOf(form) == Order::kDescending) { // positions are counted from the lowest
            std::reverse(found.begin(), found.end());
            std::ranges::for_each(found, [last = named.count() - 1](auto& hit) { hit.first = last - hit.first; });
        }
        EXPECT_EQ(found, expected) << static_cast<int>(method) << " of " << named.count();
    }
}

void expectDeletes(const Model& a, const Named& named, const Subscript& form,
                   std::initializer_list<DeletionMethod> methods)
{
    const Found expected = entriesOf(deleteElements(a, oneBased(named.positions)));
    for (const DeletionMethod method : methods) {
        const Array array = toArray(a);
        const unsigned left = deletePositions(method, Columns(array.get()), form);
        Found found;
        for (unsigned e = 0; e < left; ++e) {
            found.emplace_back(array->ir[e], valueOf(array, e));
        }
        EXPECT_EQ(found, expected) << static_cast<int>(method) << " of " << named.count();
    }
}

void expectTakesRows(const Model& a, const Named& named, const Subscript& form, const std::vector<unsigned>& columns)
{
    using enum RowMethod;
    Model expected = refGeneral(a, oneBased(named.positions), oneBased(columns));
    expected.nzmax = expected.nnz();
    const Array array = toArray(a);
    const Subscript list = IndexList(columns.data(), static_cast<unsigned>(columns.size()), Order::kUnsorted);
    for (const RowMethod method : {kSearch, kSift, kTable}) {
        const ArrayOwner made = gatherBy(method, Columns(array.get()), form, list, Capacity::kExact);
        EXPECT_EQ("", diff(made.get(), expected)) << static_cast<int>(method) << " of " << named.count();
    }
}

} // namespace

TEST(Lookup, EveryMethodGivesOneAnswer)
{
    const test::SeededDraws draws(1);
    using enum LookupMethod;
    const std::pair<unsigned, unsigned> shapes[] = {{90, 120}, {12000, 1}, {3, 4000}};
    test::forEachTable([&](const Kernels& table) {
        SCOPED_TRACE(table.name);
        for (const auto& [m, n] : shapes) {
            for (const unsigned each : {1U, 5U, 400U}) {
                const Model a = randomMatrix(m, n, each);
                for (const unsigned count : {2U, 70U, 3000U, 20000U}) {
                    const unsigned end = m * n - draw(m * n / 2);
                    const Named unsorted = drawn(count, end, Order::kUnsorted);
                    expectFinds(a, unsorted, unsorted.list(), {kSearches, kFilteredSearches});
                    const Named sorted = drawn(count, end, Order::kAscending);
                    expectFinds(a, sorted, sorted.list(), {kByEntries, kIntersection, kSearches, kFilteredSearches});
                    Named once = withoutRepeats(drawn(count, end, Order::kAscending));
                    expectFinds(a, once, once.mask(), {kByEntries, kIntersection, kSearches, kFilteredSearches});
                    expectFinds(a, once, once.sparseMask(), {kIntersection, kSearches, kFilteredSearches});
                }
                for (const unsigned stride : {1U, 3U, 1000U}) {
                    const Named steps = strided(draw(100), stride, m * n - draw(1000));
                    expectFinds(a, steps, steps.range(), {kByEntries, kIntersection, kSearches, kFilteredSearches});
                }
            }
        }
    });
}

TEST(Rows, EveryMethodGivesOneAnswer)
{
    const test::SeededDraws draws(1);
    test::forEachTable([&](const Kernels& table) {
        SCOPED_TRACE(table.name);
        for (const unsigned each : {1U, 5U, 400U}) {
            const Model a = randomMatrix(600, 40, each);
            std::vector<unsigned> columns = {3, 39, 3, 0, 1, 2}; // and so many more that short ones are copied first
            while (columns.size() < 20) {
                columns.push_back((columns.back() + 9) % 40);
            }
            for (const unsigned count : {2U, 9U, 70U, 2000U}) {
                for (const Order order : {Order::kAscending, Order::kUnsorted}) {
                    const Named rows = drawn(count, 500, order);
                    expectTakesRows(a, rows, rows.list(), columns);
                }
                Named once = withoutRepeats(drawn(count, 600, Order::kAscending));
                expectTakesRows(a, once, once.mask(), columns);
            }
            for (const unsigned stride : {2U, 150U}) {
                const Named steps = strided(1, stride, 600);
                expectTakesRows(a, steps, steps.range(), columns);
            }
        }
    });
}

TEST(Deletion, EveryMethodGivesOneAnswer)
{
    const test::SeededDraws draws(1);
    using enum DeletionMethod;
    test::forEachTable([&](const Kernels& table) {
        SCOPED_TRACE(table.name);
        for (const unsigned each : {1U, 5U, 400U}) {
            const Model a = randomMatrix(90, 120, each);
            for (const unsigned count : {2U, 70U, 3000U, 20000U}) {
                Named once = withoutRepeats(drawn(count, 10000, Order::kAscending));
                expectDeletes(a, once, once.list(), {kByPositions, kByKernel});
                expectDeletes(a, once, once.mask(), {kByPositions, kByEntries});
            }
            for (const unsigned stride : {1U, 3U, 1000U}) {
                const Named steps = strided(draw(100), stride, 10000);
                expectDeletes(a, steps, steps.range(), {kByPositions, kByEntries});
            }
        }
    });
}

/// One position of a wide range in each block of entries, and at the end many entries in a few blocks: the list of what
/// is found grows by little and often.
TEST(Lookup, FindsThatComeOneByOne)
{
    constexpr unsigned kStride = 1024;
    constexpr unsigned kFound = 70000;
    constexpr unsigned kAlone = 69800; // beyond, every row is stored
    constexpr unsigned kEntries = kAlone + (kFound - kAlone) * kStride;
    const Array column(kxCreateSparseNumericMatrix(kFound * kStride, 1, kEntries, kxDOUBLE_CLASS, kxREAL));
    for (unsigned e = 0; e < kEntries; ++e) {
        column->ir[e] = e < kAlone ? e * kStride : kAlone * kStride + (e - kAlone);
    }
    column->jc[1] = kEntries;
    HitList hits(kFound);
    findHitsBy(LookupMethod::kByEntries, Columns(column.get()), IndexRange(0, (kFound - 1) * kStride, kStride, kFound),
               hits);
    unsigned next = 0;
    const auto wrong = std::count_if(hits.ordinals(), hits.ordinals() + hits.count(),
                                     [&](unsigned ordinal) { return ordinal != next++; });
    EXPECT_EQ(std::pair(next, wrong), std::pair(kFound, std::ptrdiff_t{0}));
}

/// The costs follow what is there: not the positions of a range, nor the entries where few positions are asked for.
TEST(Lookup, TheChoice)
{
    using enum LookupMethod;
    constexpr unsigned kHuge = 2000000000;
    for (const Kernels* table : availableKernels()) {
        const Costs& costs = table->costs;
        const auto choose = [&costs](const Subscript& form, unsigned columns, unsigned entries) {
            return chooseLookup(form, columns, entries, costs);
        };
        const auto list = [](unsigned count, Order order) { return IndexList(nullptr, count, order); };
        const IndexRange few(0, 2000, 2, 1000);
        EXPECT_EQ(choose(IndexRange::all(kHuge), 1, 3), kByEntries);
        EXPECT_EQ(choose(few, 1, kHuge), kSearches);
        EXPECT_EQ(choose(few, kHuge, 3), kSearches); // steps over columns
        EXPECT_EQ(choose(LogicalMask{nullptr, kHuge, kHuge}, 1000, 3), kByEntries);
        EXPECT_EQ(choose(list(1000000, Order::kAscending), 1000, 3), kByEntries);
        EXPECT_EQ(choose(list(1000000, Order::kAscending), 1000, 1000000), kIntersection);
        const unsigned jc[] = {0, 1000000};
        EXPECT_EQ(choose(SparseLogicalMask{nullptr, jc, kHuge, 1}, 1000, 1000), kIntersection);
        EXPECT_EQ(choose(list(1000, Order::kAscending), 1000, 1000000), kSearches);
        EXPECT_EQ(choose(list(1000000, Order::kUnsorted), 1000, 1000), kFilteredSearches);
        EXPECT_EQ(choose(list(1000000, Order::kUnsorted), 1000, kHuge), kSearches);
        EXPECT_EQ(chooseDeletion(IndexRange(0, kHuge, 2, kHuge / 2), 3, costs), DeletionMethod::kByEntries);
        EXPECT_EQ(chooseDeletion(IndexRange(0, kHuge, 1, kHuge), 3, costs), DeletionMethod::kByPositions); // one block
        EXPECT_EQ(chooseDeletion(IndexRange(0, 20, 2, 10), kHuge, costs), DeletionMethod::kByPositions);
    }
}

/// By the rows selected of all; tables are worth making only where there is something to look up in them.
TEST(Rows, TheChoice)
{
    using enum RowMethod;
    constexpr unsigned kRows = 1000000;
    EXPECT_EQ(chooseRowMethod(Capacity::kSearched, {kRows, kRows / 2, kRows / 2, kRows}), kSearch);
    EXPECT_EQ(chooseRowMethod(Capacity::kExact, {10, 10, 10, kRows}), kSearch);
    EXPECT_EQ(chooseRowMethod(Capacity::kExact, {10, kRows / 2, 0, kRows}), kSearch); // a range, not gone through
    EXPECT_EQ(chooseRowMethod(Capacity::kExact, {10, kRows / 2, kRows / 2, kRows}), kTable);
    EXPECT_EQ(chooseRowMethod(Capacity::kExact, {kRows, 10, 10, kRows}), kSift);
}
