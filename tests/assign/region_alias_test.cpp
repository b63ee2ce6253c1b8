// Targets that one of their own operands is, or shares data with: the result is what private copies would give.
#include "assign/region_cases.hpp"
#include "support/draw.hpp"
#include "support/generators.hpp"
#include "support/patterns.hpp"

using namespace zqsp::test;

namespace {

/// `count` indices below `extent`, 1-based, in any order and with repeats.
Subscript drawList(unsigned count, unsigned extent)
{
    std::vector<double> indices;
    for (const unsigned index : drawMany(count, extent)) {
        indices.push_back(index + 1.0);
    }
    return Subscript::list(std::move(indices));
}

/// A matrix without zeros that names rows or columns.
Model drawIndexMatrix()
{
    Model a = Model::empty({drawFrom<kxClassID>({kxDOUBLE_CLASS, kxUINT8_CLASS, kxINT32_CLASS, kxSINGLE_CLASS}), false},
                           1 + draw(3), 1 + draw(3));
    for (unsigned p = 0; p < a.numel(); ++p) {
        a.entries[a.place(p)] = draw(5) + 1;
    }
    a.nzmax = a.nnz() + draw(3);
    return a;
}

Alias drawAlias()
{
    return drawFrom<Alias>({Alias::None, Alias::Target, Alias::SharesTarget});
}

} // namespace

TEST(RegionAlias, TheRightSide)
{
    property(3000, [] {
        const Model a = drawModel(drawStorage(), Shape::Small);
        RC_PRE(!a.isEmpty());
        const Subscript i = drawList(a.m, a.m + draw(3));
        const Subscript j = drawList(a.n, a.n + draw(3));
        const Alias is = drawFrom<Alias>({Alias::Target, Alias::SharesTarget});
        holds({.callee = Export::Ass4, .a = a, .i = j, .bIs = is});
        holds({.callee = Export::Ass5, .a = a, .i = i, .bIs = is});
        holds({.callee = Export::Ass6, .a = a, .i = i, .j = j, .bIs = is});
        // Where it does not fit, the target stays as it is.
        holds({.callee = Export::Ass6, .a = a, .i = drawList(a.m + 1, a.m), .j = j, .bIs = is});
    });
}

TEST(RegionAlias, TheSubscripts)
{
    property(3000, [] {
        const Model a = drawOneIn(3) ? drawModel({kxLOGICAL_CLASS, false}, Shape::Small) : drawIndexMatrix();
        const Subscript own = Subscript::ofModel(a);
        const Subscript other = drawList(draw(4), 6);
        const Alias iIs = drawFrom<Alias>({Alias::Target, Alias::SharesTarget});
        const Alias jIs = drawAlias();
        const unsigned j = namedBy(jIs == Alias::None ? other : own, 0);
        holds({.callee = Export::Ass6,
               .a = a,
               .b = drawRightSide(namedBy(own, 0), j),
               .i = other,
               .j = other,
               .iIs = iIs,
               .jIs = jIs});
        holds({.callee = Export::Ass6,
               .a = a,
               .b = drawRightSide(namedBy(other, 0), namedBy(own, 0)),
               .i = other,
               .jIs = iIs});
        holds(
            {.callee = Export::Ass4, .a = a, .b = drawRightSide(a.m, namedBy(own, 0)), .bIs = drawAlias(), .iIs = iIs});
        holds(
            {.callee = Export::Ass5, .a = a, .b = drawRightSide(namedBy(own, 0), a.n), .bIs = drawAlias(), .iIs = iIs});
    });
}

TEST(RegionAlias, TheSameSubscriptTwice)
{
    const RightSide b = RightSide::of(patterned({}, 3, 3));
    const Subscript lists[] = {Subscript::list({4, 1, 4}), Subscript::mask({1, 0, 1, 1}), Subscript::list({2}),
                               Subscript::sparseList({5, 3, 1}), Subscript::list({})};
    for (const Subscript& s : lists) {
        for (const RightSide& rightSide : {b, RightSide::scalar(7)}) {
            EXPECT_EQ("", checkOperation({.callee = Export::Ass6,
                                          .a = patterned({}, 4, 4),
                                          .b = rightSide,
                                          .i = s,
                                          .jIs = Alias::SharesSubscript}));
        }
    }
}

TEST(RegionAlias, TheOtherHolderKeepsItsValues)
{
    const Subscript reversed = Subscript::list({3, 2, 1});
    const Subscript tooMany = Subscript::list({1, 2, 3, 4});
    for (const Storage storage : sparseStorages()) {
        const Model model = patterned(storage, 3, 3, false);
        const Array list = toArray(reversed);
        const Array misfit = toArray(tooMany);
        const Array seven = toArray(RightSide::scalar(1, storage));
        const auto check = [&](const std::function<spStatus(kxArray*, const kxArray*)>& call, spStatus status) {
            const Array target = toArray(model);
            kxSetArrayScope(target.get(), kxELEMENT_SCOPE);
            const Array holder(kxCreateSharedDataCopy(target.get()));
            const Snapshot before(holder.get());
            EXPECT_EQ(call(target.get(), holder.get()), status) << storage;
            EXPECT_EQ(before.changes(), "") << storage;
            EXPECT_EQ("", diff(holder.get(), model));
            EXPECT_EQ(brokenInvariant(target.get()), "");
            EXPECT_EQ(target->scope, kxELEMENT_SCOPE);
            return fromArray(target.get());
        };
        const auto predicted = [&](Export callee, const Subscript& i, const Subscript& j) {
            return predict({.callee = callee, .a = model, .b = RightSide::of(model), .i = i, .j = j}).result;
        };
        const auto expectSame = [](const Model& actual, const Model& expected) {
            EXPECT_EQ("", diff(toArray(actual).get(), expected));
        };
        expectSame(check([&](auto* a, auto* b) { return spAss4(a, b, list.get()); }, spOK),
                   predicted(Export::Ass4, reversed, {}));
        expectSame(check([&](auto* a, auto* b) { return spAss5(a, b, list.get()); }, spOK),
                   predicted(Export::Ass5, reversed, {}));
        expectSame(check([&](auto* a, auto* b) { return spAss6(a, b, list.get(), list.get()); }, spOK),
                   predicted(Export::Ass6, reversed, reversed));
        expectSame(check([&](auto* a, auto* b) { return spAss6(a, b, misfit.get(), list.get()); }, spAssignDimMismatch),
                   model);
        if (storage.classId == kxLOGICAL_CLASS) { // as a mask over rows and columns
            check([&](auto* a, auto* b) { return spAss6(a, seven.get(), b, b); }, spOK);
            check([&](auto* a, auto* b) { return spAss4(a, seven.get(), b); }, spOK);
        }
    }
}
