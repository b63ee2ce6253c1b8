// The memory that calls take, held against what they are about: every export, with every kind of subscript, on operands
// of a few entries in huge extents.
#include "support/operation.hpp"
#include "support/tables.hpp"

#include <algorithm>
#include <cmath>

using namespace zqsp::test;

namespace {

/// The memory of the costs in zqspmatrix.h, with room: for each entry read or written and for each subscript as it is
/// stored, for each column of an operand or the result, and for a call.
constexpr std::size_t kPerItem = 64;
constexpr std::size_t kPerColumn = 16;
constexpr std::size_t kPerCall = 4096;

constexpr unsigned kHigh = 0x7FFFFFFE;
constexpr unsigned kWide = 200000;
const Model kColumn = withOnes(kReal, kHigh, 1, {{0, 1}, {0, 8}, {0, 1000}, {0, kHigh / 2}, {0, kHigh - 2}});
const Model kTall = withOnes(kReal, kHigh, 3, {{0, 1}, {0, 8}, {1, 2000000}, {1, kHigh - 2}, {2, 0}});
const Model kFlat = withOnes(kReal, 3, kWide, {{1, 1}, {8, 0}, {kWide / 2, 2}, {kWide - 2, 1}});

/// Every kind of subscript of an extent of at least ten.
std::vector<Subscript> subscriptsOf(unsigned extent)
{
    const double last = extent;
    std::vector<double> mask(3000);
    mask[1] = mask[8] = mask[9] = 1;
    mask.resize(std::min(extent, 3000U));
    return {Subscript::list({9}),
            Subscript::list({2, 9, last - 1}),
            Subscript::list({last - 1, 9, 2}),
            Subscript::list({9, 2, 9, last - 1, 2}),
            Subscript::sparseList({9, 2, last - 1}),
            Subscript::range(1, 2, last),
            Subscript::range(last, -2, 1),
            Subscript::range(2, 1, last - 1),
            Subscript::range(last - 1, -1, 2),
            Subscript::range(2, 3, last - 0.5),
            Subscript::mask(mask),
            Subscript::sparseMask(extent, 1, {{0, 1}, {0, 8}, {0, extent - 2}}),
            Subscript::colon()};
}

/// Numbers that it stores; of a mask eight bytes for one.
std::size_t storedIn(const Subscript& s)
{
    return s.form == Form::Mask ? s.values.size() / 8 : s.values.size() + s.stored.size() + 1;
}

/// Positions that it names of the extent.
std::uint64_t countOf(const Subscript& s, unsigned extent)
{
    return s.form == Form::Colon ? extent : s.isLogical() ? maskPositions(s).size() : s.numel();
}

void expectInProportion(const Operation& op)
{
    const Call call(op);
    kxArray* result = nullptr;
    const std::size_t before = kxrt::bytes_requested();
    const Ended ended = run([&] { return call.make(&result); });
    const std::size_t taken = kxrt::bytes_requested() - before;
    const Array owned(result);
    ASSERT_EQ(ended, Ended()) << op;
    const kxArray* made = isReference(op.callee) ? result : call.target();
    const std::size_t items = op.a.nnz() + op.b.model.nnz() + kxGetNumNonZeroEl(made) + storedIn(op.i) + storedIn(op.j);
    const std::size_t columns = std::size_t{op.a.n} + op.b.n() + kxGetN(made);
    EXPECT_LE(taken, kPerCall + kPerItem * items + kPerColumn * columns) << op;
}

/// What may be assigned to a region: zero, a few entries, and as many as there are places where these are few.
std::vector<RightSide> rightSidesOf(std::uint64_t m, std::uint64_t n)
{
    std::vector<RightSide> all = {RightSide::scalar(0)};
    if (n <= kWide && m <= kHigh && m > 0 && n > 0) {
        const auto rows = static_cast<unsigned>(m);
        const auto columns = static_cast<unsigned>(n);
        all.push_back(RightSide::of(withOnes(kReal, rows, columns, {{0, 0}, {columns - 1, rows - 1}})));
    }
    if (m * n <= 100) {
        all.push_back(RightSide::scalar(7));
    }
    return all;
}

void expectAssignmentsInProportion(Operation op, std::uint64_t m, std::uint64_t n)
{
    for (const RightSide& b : rightSidesOf(m, n)) {
        op.b = b;
        expectInProportion(op);
    }
}

/// By rows or columns that `s` names.
void expectLinesInProportion(const Model& a, const Subscript& s, bool rows)
{
    const std::uint64_t count = countOf(s, rows ? a.m : a.n);
    expectInProportion({.callee = rows ? Export::Ref5 : Export::Ref4, .a = a, .i = s});
    expectInProportion({.callee = rows ? Export::DeleteRows : Export::DeleteColumns, .a = a, .i = s});
    expectAssignmentsInProportion({.callee = rows ? Export::Ass5 : Export::Ass4, .a = a, .i = s}, rows ? count : a.m,
                                  rows ? a.n : count);
    const Subscript few = rows ? Subscript::list({1}) : Subscript::list({2, 1});
    for (const Subscript& other : {few, Subscript::colon(), Subscript::range(1, 1, rows ? a.n : a.m)}) {
        const Subscript& i = rows ? s : other;
        const Subscript& j = rows ? other : s;
        expectInProportion({.callee = Export::Ref6, .a = a, .i = i, .j = j});
        expectAssignmentsInProportion({.callee = Export::Ass6, .a = a, .i = i, .j = j}, countOf(i, a.m),
                                      countOf(j, a.n));
        if (s.form == Form::Numeric && other.form != Form::Range) {
            expectInProportion({.callee = Export::ReferenceByLists, .a = a, .i = rows ? s : few, .j = rows ? few : s});
        } else if (s.form == Form::Range && other.form == Form::Range && s.stop == std::trunc(s.stop)) {
            expectInProportion({.callee = Export::ReferenceByRanges, .a = a, .i = i, .j = j});
        }
    }
}

void expectElementsInProportion(const Model& a)
{
    const auto elements = static_cast<unsigned>(a.numel());
    for (const Subscript& k : subscriptsOf(elements)) {
        expectInProportion({.callee = Export::Ref3, .a = a, .i = k});
        expectInProportion({.callee = Export::DeleteElements, .a = a, .i = k});
        expectAssignmentsInProportion({.callee = Export::Ass3, .a = a, .i = k}, countOf(k, elements), 1);
    }
    expectInProportion({.callee = Export::Ref2, .a = a});
}

} // namespace

TEST(Proportion, Rows)
{
    forEachTable([](const zqsp::Kernels&) {
        for (const Model& a : {kTall, kColumn}) {
            for (const Subscript& i : subscriptsOf(a.m)) {
                expectLinesInProportion(a, i, true);
            }
        }
    });
}

TEST(Proportion, Columns)
{
    for (const Subscript& j : subscriptsOf(kFlat.n)) {
        expectLinesInProportion(kFlat, j, false);
    }
    for (const Subscript& few :
         {Subscript::list({2}), Subscript::list({3, 1}), Subscript::mask({0, 1, 1}),
          Subscript::sparseMask(3, 1, {{0, 2}}), Subscript::range(3, -2, 1), Subscript::colon()}) {
        expectLinesInProportion(kTall, few, false);
        expectLinesInProportion(kFlat, few, true);
    }
}

TEST(Proportion, Elements)
{
    forEachTable([](const zqsp::Kernels&) {
        expectElementsInProportion(kColumn);
        expectElementsInProportion(kFlat);
    });
}

TEST(Proportion, Reshape)
{
    expectInProportion({.callee = Export::Reshape, .a = kColumn, .newM = kHigh / 2, .newN = 2});
    expectInProportion({.callee = Export::Reshape, .a = kFlat, .newM = kWide, .newN = 3});
    expectInProportion({.callee = Export::Reshape, .a = kTall, .newM = kHigh / 2, .newN = 6});
}
