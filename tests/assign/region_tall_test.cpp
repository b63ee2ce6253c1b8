// Tall results: the same call on a matrix with millions of rows in between gives the same entries further apart.
#include "assign/region_cases.hpp"
#include "support/draw.hpp"
#include "support/generators.hpp"

#include <algorithm>
#include <functional>
#include <sstream>

using namespace zqsp::test;

namespace {

/// Puts empty rows before the row `split`.
struct Stretcher
{
    unsigned split;
    unsigned by = 0x200001;

    [[nodiscard]] unsigned row(unsigned r) const { return r < split ? r : r + by; }

    [[nodiscard]] Model model(const Model& small) const
    {
        Model tall = small;
        tall.m += by;
        tall.entries.clear();
        for (const auto& [place, value] : small.entries) {
            tall.entries[{place.column, row(place.row)}] = value;
        }
        return tall;
    }

    /// The same rows, by their numbers.
    [[nodiscard]] Subscript rows(const Subscript& small) const
    {
        Subscript tall = small;
        for (double& value : tall.values) {
            value = row(static_cast<unsigned>(value) - 1) + 1.0;
        }
        tall.classId = convertElement(3e6, small.classId) == 3e6 ? small.classId : kxDOUBLE_CLASS;
        return tall;
    }

    /// The same rows, as a mask.
    [[nodiscard]] Subscript maskOf(const Subscript& small) const
    {
        std::vector<Place> stored;
        for (const double value : small.values) {
            stored.push_back({0, row(static_cast<unsigned>(value) - 1)});
        }
        std::sort(stored.begin(), stored.end());
        stored.erase(std::unique(stored.begin(), stored.end()), stored.end());
        return Subscript::sparseMask(0x400000, 1, std::move(stored));
    }
};

/// The call on the tall matrix gives what its prediction on the small one says.
void holdsStretched(const Stretcher& stretched, const Operation& small, const Operation& tall)
{
    const Outcome expected = predict(small);
    const Array target = toArray(tall.a);
    const Array b = toArray(tall.b);
    const Array i = toArray(tall.i);
    const Array j = toArray(tall.j);
    const auto call = [&] {
        switch (tall.callee) {
        case Export::Ass4:
            return spAss4(target.get(), b.get(), i.get());
        case Export::Ass5:
            return spAss5(target.get(), b.get(), i.get());
        default:
            return spAss6(target.get(), b.get(), i.get(), j.get());
        }
    };
    const Ended ended = run(call);
    const Model result = ended.completed() ? stretched.model(expected.result) : tall.a;
    if (ended != expected.ended || !diff(target.get(), result).empty()) {
        std::ostringstream text;
        text << tall << "\n  ended with " << ended << ", expected " << expected.ended << diff(target.get(), result);
        RC_FAIL(text.str());
    }
}

} // namespace

TEST(TallRegions, AgreeWithSmallOnes)
{
    property(4000, [] {
        const Model a = drawModel(drawStorage(), Shape::Small);
        const Stretcher stretched{draw(a.m + 1)};
        const Wanted rows{.extent = a.m, .purpose = Purpose::Assignment, .growth = 2, .mayFail = false};
        const Wanted columns{.extent = a.n, .purpose = Purpose::Assignment, .growth = 2, .mayFail = false};
        Operation small{
            .callee = Export::Ass6, .a = a, .i = drawSubscript(rows, Form::Numeric), .j = drawSubscript(columns)};
        if (drawOneIn(3)) {
            std::sort(small.i.values.begin(), small.i.values.end());
            small.i.values.erase(std::unique(small.i.values.begin(), small.i.values.end()), small.i.values.end());
            small.i = small.i.shaped(1, static_cast<unsigned>(small.i.values.size()));
        }
        const auto height = static_cast<unsigned>(small.i.values.size());
        const auto width = namedBy(small.j, a.n);
        small.b = drawRightSide(height, width);
        Operation tall = small;
        tall.a = stretched.model(a);
        tall.i = stretched.rows(small.i);
        holdsStretched(stretched, small, tall);
        if (height > 1 && std::adjacent_find(small.i.values.begin(), small.i.values.end(), std::greater_equal<>()) ==
                              small.i.values.end()) {
            tall.i = stretched.maskOf(small.i);
            holdsStretched(stretched, small, tall);
        }

        // The rows of the small matrix only have a say where they are named: not those of an empty square one.
        if (!a.isEmpty()) {
            small.callee = tall.callee = Export::Ass5;
            small.b = tall.b = drawRightSide(height, a.n);
            tall.i = stretched.rows(small.i);
            holdsStretched(stretched, small, tall);
        }
    });
}

TEST(TallRegions, WholeColumnsAgreeWithSmallOnes)
{
    property(1500, [] {
        const Storage storage = drawStorage();
        const Model a = drawModel(storage, Shape::Small);
        RC_PRE(a.m > 1 && a.n > 0);
        const Stretcher stretched{draw(a.m + 1)};
        const Wanted columns{.extent = a.n, .purpose = Purpose::Assignment, .growth = 2, .mayFail = false};
        Operation small{.callee = Export::Ass4, .a = a, .i = drawSubscript(columns)};
        const auto width = namedBy(small.i, a.n);
        const Model b = drawModelOfSize(drawStorage(), a.m, width);
        Operation tall = small;
        tall.a = stretched.model(a);
        small.b = RightSide::of(b);
        tall.b = RightSide::of(stretched.model(b));
        holdsStretched(stretched, small, tall);
        small.b = tall.b = RightSide::scalar(0);
        holdsStretched(stretched, small, tall);

        // All rows by a colon, and by a range.
        small = {.callee = Export::Ass6, .a = a, .b = RightSide::of(b), .i = Subscript::colon(), .j = small.i};
        tall = small;
        tall.a = stretched.model(a);
        tall.b = RightSide::of(stretched.model(b));
        holdsStretched(stretched, small, tall);
        tall.i = Subscript::range(1, 1, tall.a.m);
        holdsStretched(stretched, small, tall);
    });
}

TEST(TallRegions, ScalarsFillWholeColumns)
{
    constexpr unsigned kRows = 0x200001;
    const Array a = toArray(Model::empty({kxUINT8_CLASS, false}, kRows, 3));
    const Array seven = toArray(RightSide::scalar(7));
    const Array colon = toArray(Subscript::colon());
    const Array j = toArray(Subscript::list({3, 1}));
    ASSERT_EQ(spAss6(a.get(), seven.get(), colon.get(), j.get()), spOK);
    ASSERT_EQ(brokenInvariant(a.get()), "");
    EXPECT_EQ(a->nzmax, 2 * kRows);
    EXPECT_EQ(a->jc[1], kRows);
    EXPECT_EQ(a->jc[2], kRows);
    EXPECT_EQ(a->jc[3], 2 * kRows);
    const auto* values = static_cast<const unsigned char*>(a->pr);
    EXPECT_TRUE(std::all_of(values, values + 2 * kRows, [](unsigned char value) { return value == 7; }));
}
