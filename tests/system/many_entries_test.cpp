// Thousands of entries in one call: the loops that work on whole blocks of them, and the choices that only sizes make.
#include "support/call.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>

using namespace zqsp::test;

namespace {

/// Numbers below a bound, the same each time.
class Random
{
  public:
    explicit Random(unsigned seed) : engine_(seed) {}
    unsigned below(unsigned bound) { return static_cast<unsigned>(engine_() % bound); }
    std::mt19937& engine() { return engine_; }

  private:
    std::mt19937 engine_;
};

/// Columns of all lengths up to twice the average, some of them empty, and one entry in eight an explicit zero.
Model scattered(Random& random, Storage storage, unsigned m, unsigned n, unsigned perColumn)
{
    Model a = Model::empty(storage, m, n);
    for (unsigned j = 0; j < n; ++j) {
        for (unsigned left = random.below(2 * perColumn + 1); left > 0; --left) {
            const double real = random.below(8) == 0                 ? 0
                                : storage.classId == kxLOGICAL_CLASS ? 1
                                                                     : random.below(99) + 1;
            const double imaginary = storage.complex ? random.below(3) : 0;
            a.entries[{j, random.below(m)}] = Value(real, imaginary);
        }
    }
    return a.fit();
}

std::vector<double> sample(Random& random, unsigned extent, unsigned count)
{
    std::vector<double> numbers(count);
    std::generate(numbers.begin(), numbers.end(), [&] { return random.below(extent) + 1.0; });
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

/// Of a dimension or of all elements: a few and many numbers in each order, with and without repeats, and masks, the
/// longest of them reaching past the extent.
std::vector<Subscript> subscripts(Random& random, unsigned extent, unsigned many)
{
    std::vector<Subscript> all;
    for (const unsigned count : {10U, 100U, many}) {
        const std::vector<double> numbers = sample(random, extent, count);
        all.push_back(Subscript::list(numbers));
        all.push_back(Subscript::list(ascending(numbers, false)));
        std::vector<double> once = ascending(numbers, true);
        all.push_back(Subscript::list(once));
        std::vector<double> mask(count == many ? extent + 3000 : extent, 0);
        for (const double number : once) {
            mask[static_cast<std::size_t>(number) - 1] = 1;
        }
        all.push_back(Subscript::mask(mask).shaped(static_cast<unsigned>(mask.size()), 1));
        std::reverse(once.begin(), once.end());
        all.push_back(Subscript::list(once));
        std::shuffle(once.begin(), once.end(), random.engine());
        all.push_back(Subscript::list(once));
    }
    all.push_back(Subscript::range(extent / 4 + 1, 1, extent / 4 * 3));
    all.push_back(Subscript::range(extent, -3, 1));
    return all;
}

void expectAllAsPredicted(const Operation& operation)
{
    const std::string complaint = checkOperation(operation);
    EXPECT_EQ("", complaint.substr(0, 2000)) << "(the text is cut off)";
}

class ManyEntries : public testing::TestWithParam<Storage>
{
};

} // namespace

TEST_P(ManyEntries, RowsAndRegions)
{
    Random random(1);
    for (const auto& [m, n, perColumn] : {std::tuple{7000U, 400U, 12U}, {600U, 30U, 250U}, {300U, 8U, 290U}}) {
        const Model a = scattered(random, GetParam(), m, n, perColumn);
        for (const Subscript& i : subscripts(random, m, m / 2)) {
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
    Random random(2);
    for (const auto& [m, n, perColumn] : {std::tuple{300U, 80U, 60U}, {20000U, 1U, 9000U}, {50U, 300U, 1U}}) {
        const Model a = scattered(random, GetParam(), m, n, perColumn);
        std::vector<Subscript> all = subscripts(random, m * n, m * n / 3);
        std::vector<double> twice(2048); // a progression but for the step from one block of numbers to the next
        std::iota(twice.begin(), twice.begin() + 1024, 1);
        std::iota(twice.begin() + 1024, twice.end(), 1);
        all.push_back(Subscript::list(twice));
        for (const Subscript& k : all) {
            expectAllAsPredicted({.callee = Export::Ref3, .a = a, .i = k});
            if (n == 1) { // rows of one long column
                expectAllAsPredicted({.callee = Export::Ref5, .a = a, .i = k});
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
    Random random(3);
    Model column = Model::empty(GetParam(), 0xF0000000U, 1);
    std::vector<double> some;
    for (unsigned i = 0; i < 500; ++i) {
        const unsigned row = kMiddle - 1000 + random.below(2000);
        column.entries[{0, row}] = 1;
        some.push_back(kMiddle - 1000.0 + random.below(2000));
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

TEST_P(ManyEntries, AlmostAllRows)
{
    for (unsigned left = 1; left <= 16; ++left) { // so many rows less than a register takes
        Model column = Model::empty(GetParam(), 96, 1);
        std::vector<double> rows;
        for (unsigned row = 0; row < column.m; ++row) {
            column.entries[{0, row}] = 1;
            if (row != 9 && row + left < column.m) {
                rows.push_back(row + 1.0);
            }
        }
        expectAllAsPredicted({.callee = Export::Ref5, .a = column.fit(), .i = Subscript::list(rows)});
    }
}

TEST_P(ManyEntries, EveryStrideOfRows)
{
    Random random(6);
    const Model a = scattered(random, GetParam(), 1000, 2, 400);
    for (const double stride : {2, 3, 7, 31, 32, 33, 63, 64, 65}) {
        const Subscript rows = Subscript::range(70 + stride, stride, 1000 - stride);
        expectAllAsPredicted({.callee = Export::Ref5, .a = a, .i = rows});
        expectAllAsPredicted({.callee = Export::DeleteRows, .a = a, .i = rows});
    }
}

/// More columns, and longer ones, than are put together at a time.
TEST_P(ManyEntries, RowsAssigned)
{
    Random random(5);
    for (const auto& [m, n] : {std::pair(5U, 3000U), std::pair(3001U, 4U)}) {
        const Model a = scattered(random, GetParam(), m, n, m);
        const Subscript odd = Subscript::range(1, 2, m);
        for (const Storage storage : {GetParam(), Storage{GetParam().classId}}) {
            const RightSide b = RightSide::of(scattered(random, storage, m / 2 + 1, n, m));
            expectAllAsPredicted({.callee = Export::Ass5, .a = a, .b = b, .i = odd});
        }
        const Subscript most = Subscript::range(2, 1, n + 2);
        expectAllAsPredicted({.callee = Export::Ass6, .a = a, .b = RightSide::scalar(1), .i = odd, .j = most});
    }
}

TEST_P(ManyEntries, ZerosInRowsFarApart)
{
    Random random(4);
    const LargestBlock small(1U << 16);
    for (const unsigned m : {100U, 1000000000U}) { // growing to fifty times the rows, and two rows of very many
        const Model a = scattered(random, GetParam(), m, 20, 10);
        const double row = a.entries.begin()->first.row + 1.0;
        expectAllAsPredicted({.callee = Export::Ass6,
                              .a = a,
                              .b = RightSide::scalar(0),
                              .i = Subscript::list({row, m == 100 ? 5000 : row + 2}),
                              .j = Subscript::range(1, 1, 15)});
    }
}

INSTANTIATE_TEST_SUITE_P(Storages, ManyEntries,
                         testing::Values(Storage{}, Storage{.complex = true}, Storage{kxLOGICAL_CLASS},
                                         Storage{kxSINGLE_CLASS}));
