// Thousands of entries in one call: the loops that work on whole blocks of them, and the choices that only sizes make.
#include "support/draw.hpp"
#include "support/operation.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>

using namespace zqsp::test;

namespace {

/// Columns of all lengths up to twice the average, some of them empty, and one entry in eight an explicit zero.
Model scattered(Storage storage, unsigned m, unsigned n, unsigned perColumn)
{
    Model a = Model::empty(storage, m, n);
    for (unsigned j = 0; j < n; ++j) {
        for (unsigned left = draw(2 * perColumn + 1); left > 0; --left) {
            const double real = draw(8) == 0 ? 0 : storage.classId == kxLOGICAL_CLASS ? 1 : draw(99) + 1;
            const double imaginary = storage.complex ? draw(3) : 0;
            a.entries[{j, draw(m)}] = Value(real, imaginary);
        }
    }
    return a.fit();
}

std::vector<double> sample(unsigned extent, unsigned count)
{
    std::vector<double> numbers(count);
    std::generate(numbers.begin(), numbers.end(), [&] { return draw(extent) + 1.0; });
    return numbers;
}

std::vector<double> ascending(std::vector<double> numbers, bool once)
{
    std::sort(numbers.begin(), numbers.end());
    if (once) {
        numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
    }
    return numbers;
}

/// Of a dimension or of all elements: a few and many numbers in each order, with and without repeats, and masks of both
/// kinds, the longest of them reaching past the extent.
std::vector<Subscript> subscripts(unsigned extent, unsigned many)
{
    std::vector<Subscript> all;
    for (const unsigned count : {10U, 100U, many}) {
        const std::vector<double> numbers = sample(extent, count);
        all.push_back(Subscript::list(numbers));
        all.push_back(Subscript::list(ascending(numbers, false)));
        std::vector<double> once = ascending(numbers, true);
        all.push_back(Subscript::list(once));
        std::vector<double> mask(count == many ? extent + 3000 : extent, 0);
        std::vector<Place> places;
        constexpr unsigned kMaskRows = 37;
        for (const double number : once) {
            const auto p = static_cast<unsigned>(number) - 1;
            mask[p] = 1;
            places.push_back({p / kMaskRows, p % kMaskRows});
        }
        all.push_back(Subscript::mask(mask).shaped(static_cast<unsigned>(mask.size()), 1));
        all.push_back(Subscript::sparseMask(kMaskRows, extent, places));
        std::reverse(once.begin(), once.end());
        all.push_back(Subscript::list(once));
        std::shuffle(once.begin(), once.end(), std::mt19937(1));
        all.push_back(Subscript::list(once));
    }
    all.push_back(Subscript::range(extent / 4 + 1, 1, extent / 4 * 3));
    all.push_back(Subscript::range(extent, -3, 1));
    return all;
}

void expectAllAsPredicted(const Operation& operation)
{
    constexpr long kDoublings = 60; // a growing list takes one more for each, none is taken for a number or an entry
    const Made made = makeAndCheck(Call(operation), operation, predict(operation));
    EXPECT_EQ("", made.complaint.substr(0, 2000)) << nameOf(operation.callee);
    EXPECT_LE(made.allocations, kDoublings) << nameOf(operation.callee);
}

class ManyEntries : public testing::TestWithParam<Storage>
{
};

} // namespace

TEST_P(ManyEntries, RowsAndRegions)
{
    const SeededDraws draws(1);
    for (const auto& [m, n, perColumn] : {std::tuple{7000U, 400U, 12U}, {600U, 30U, 250U}, {300U, 8U, 290U}}) {
        const Model a = scattered(GetParam(), m, n, perColumn);
        for (const Subscript& i : subscripts(m, m / 2)) {
            expectAllAsPredicted({.callee = Export::Ref5, .a = a, .i = i});
            expectAllAsPredicted({.callee = Export::DeleteRows, .a = a, .i = i});
            const Subscript half = Subscript::range(n / 4 + 1, 1, n / 4 * 3);
            expectAllAsPredicted({.callee = Export::Ref6, .a = a, .i = i, .j = half});
            expectAllAsPredicted({.callee = Export::Ass6, .a = a, .b = RightSide::scalar(0), .i = i, .j = half});
        }
    }
}

TEST_P(ManyEntries, Elements)
{
    const SeededDraws draws(2);
    for (const auto& [m, n, perColumn] : {std::tuple{300U, 80U, 60U}, {20000U, 1U, 9000U}, {50U, 300U, 1U}}) {
        const Model a = scattered(GetParam(), m, n, perColumn);
        std::vector<Subscript> all = subscripts(m * n, m * n / 3);
        std::vector<double> twice(2048); // a progression but for the step from one block of numbers to the next
        std::iota(twice.begin(), twice.begin() + 1024, 1);
        std::iota(twice.begin() + 1024, twice.end(), 1);
        all.push_back(Subscript::list(twice));
        for (const Subscript& k : all) {
            expectAllAsPredicted({.callee = Export::Ref3, .a = a, .i = k});
            if (n == 1) { // rows of one long column, columns of one long row
                expectAllAsPredicted({.callee = Export::Ref5, .a = a, .i = k});
                expectAllAsPredicted({.callee = Export::Ref4, .a = reshaped(a, 1, m), .i = k});
                expectAllAsPredicted({.callee = Export::DeleteColumns, .a = reshaped(a, 1, m), .i = k});
            }
            expectAllAsPredicted({.callee = Export::DeleteElements, .a = a, .i = k});
            expectAllAsPredicted({.callee = Export::Ass3, .a = a, .b = RightSide::scalar(0), .i = k});
            expectAllAsPredicted({.callee = Export::Ass3, .a = a, .b = RightSide::scalar(3), .i = k});
        }
    }
}

TEST_P(ManyEntries, OnBothSidesOfTheSignedRange)
{
    constexpr unsigned kMiddle = 0x80000000U;
    const MaxElements limit(0xFFFFFFFFU);
    const SeededDraws draws(3);
    Model column = Model::empty(GetParam(), 0xF0000000U, 1);
    std::vector<double> some;
    for (unsigned i = 0; i < 500; ++i) {
        const unsigned row = kMiddle - 1000 + draw(2000);
        column.entries[{0, row}] = 1;
        some.push_back(kMiddle - 1000.0 + draw(2000));
    }
    column.fit();
    for (const Subscript& k : {Subscript::list(some), Subscript::list(ascending(some, true))}) {
        expectAllAsPredicted({.callee = Export::DeleteElements, .a = column, .i = k});
        expectAllAsPredicted({.callee = Export::Ref3, .a = column, .i = k});
        expectAllAsPredicted({.callee = Export::Ref5, .a = column, .i = k});
    }
    const Subscript middle = Subscript::range(kMiddle - 500.0, 1, kMiddle + 500.0);
    expectAllAsPredicted({.callee = Export::Ref5, .a = column, .i = middle});
    expectAllAsPredicted({.callee = Export::DeleteRows, .a = column, .i = middle});
}

TEST_P(ManyEntries, EveryStrideOfRows)
{
    const SeededDraws draws(6);
    const Model a = scattered(GetParam(), 1000, 2, 400);
    for (const double stride : {2, 3, 7, 31, 32, 33, 63, 64, 65}) {
        const Subscript rows = Subscript::range(70 + stride, stride, 1000 - stride);
        expectAllAsPredicted({.callee = Export::Ref5, .a = a, .i = rows});
        expectAllAsPredicted({.callee = Export::DeleteRows, .a = a, .i = rows});
    }
}

/// More columns, and longer ones, than are put together at a time; many rows, and a few far apart.
TEST_P(ManyEntries, RowsAssigned)
{
    const SeededDraws draws(5);
    for (const auto& [m, n] : {std::pair(5U, 3000U), {3001U, 4U}, {600U, 30U}, {12000U, 2U}}) {
        const Model a = scattered(GetParam(), m, n, m / 2);
        std::vector<double> odd(m / 2 + 1);
        std::iota(odd.begin(), odd.end(), 1);
        std::for_each(odd.begin(), odd.end(), [](double& row) { row = 2 * row - 1; });
        for (const std::vector<double>& rows : {odd, ascending(sample(m, 10), true)}) {
            const Subscript i = Subscript::list(rows);
            const auto size = static_cast<unsigned>(rows.size());
            const std::vector<Value> ones(std::size_t{size} * n, 1);
            for (const Storage storage : {GetParam(), Storage{GetParam().classId}}) {
                for (const RightSide& b : {RightSide::of(scattered(storage, size, n, size)),
                                           RightSide::full({size, n}, ones, storage), RightSide::scalar(1)}) {
                    expectAllAsPredicted({.callee = Export::Ass5, .a = a, .b = b, .i = i});
                }
            }
            const Subscript most = Subscript::range(2, 1, n + 2);
            expectAllAsPredicted({.callee = Export::Ass6, .a = a, .b = RightSide::scalar(1), .i = i, .j = most});
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Storages, ManyEntries,
                         testing::Values(Storage{}, Storage{.complex = true}, Storage{kxLOGICAL_CLASS},
                                         Storage{kxSINGLE_CLASS}));
