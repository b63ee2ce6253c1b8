// A(:) = B.
#include "assign/linear_cases.hpp"
#include "support/generators.hpp"

using namespace zqsp::test;
using namespace zqsp::test::linear;

namespace {

const Failure kMismatch{spOK, kColonMismatchError};

} // namespace

TEST(ColonAssignment, Scalars)
{
    const std::pair<Value, Storage> sources[] = {{5, kReal},
                                                 {0, kReal},
                                                 {-0.0, kReal},
                                                 {{0, 2}, kComplex},
                                                 {{0, 0}, kComplex},
                                                 {{3, 0}, kComplex},
                                                 {1, kLogical},
                                                 {0.4, kReal},
                                                 {{2, 3}, {kxSINGLE_CLASS, true}},
                                                 {200, {kxUINT8_CLASS, false}}};
    for (const Storage storage : sparseStorages()) {
        for (const auto& [m, n] : {std::pair{3U, 4U}, {1U, 5U}, {5U, 1U}, {1U, 1U}, {0U, 0U}, {0U, 3U}, {3U, 0U}}) {
            const Model a = patterned(storage, m, n);
            Model roomy = a;
            roomy.nzmax = 40;
            Model tight = a;
            tight.nzmax = a.nnz();
            for (const auto& [value, source] : sources) {
                for (const Model& target : {a, roomy, tight}) {
                    EXPECT_EQ("", checkOperation(fill(target, RightSide::scalar(value, source))));
                    EXPECT_EQ("", checkOperation(fill(target, RightSide::full({1, 1, 1}, {value}, source))));
                }
            }
            Model one = Model::empty(kComplex, 1, 1);
            EXPECT_EQ("", checkOperation(fill(a, RightSide::of(one)))); // stores nothing: zero
            one.entries[{0, 0}] = {4, 5};
            EXPECT_EQ("", checkOperation(fill(a, RightSide::of(one.fit()))));
        }
    }
}

TEST(ColonAssignment, Shapes)
{
    const Model a = patterned(kReal, 3, 4);
    const auto numbers = [](std::vector<unsigned> dims) {
        RightSide b = RightSide::full(std::move(dims), {});
        for (unsigned p = 0; p < b.numel(); ++p) {
            b.values.push_back(p % 4 == 0 ? 0 : p);
        }
        return b;
    };
    for (const RightSide& b :
         {numbers({3, 4}), numbers({4, 3}), numbers({1, 12}), numbers({12, 1}), numbers({2, 3, 2}), numbers({1, 1, 12}),
          RightSide::of(patterned(kComplex, 2, 6)), RightSide::of(patterned(kLogical, 12, 1))}) {
        expectEnds(fill(a, b), spOK);
        expectEnds(fill(Model::empty(kLogical, 3, 4), b), spOK);
    }
    for (const RightSide& b : {numbers({3, 3}), numbers({1, 11}), numbers({2, 2, 2}), numbers({0, 0}), numbers({0, 4}),
                               RightSide::of(patterned(kReal, 1, 13)), RightSide::full({2, 0, 3}, {}),
                               RightSide::literal(RightSide::Kind::ContainedLiteral)}) {
        expectEnds(fill(a, b), kMismatch);
        expectEnds(fill(patterned(kReal, 12, 1), b), kMismatch);
    }
    for (const auto& [m, n] : {std::pair{0U, 0U}, {0U, 3U}, {3U, 0U}}) {
        const Model none = patterned(kReal, m, n);
        expectEnds(fill(none, numbers({0, 0})), spOK);
        expectEnds(fill(none, RightSide::of(Model::empty(kComplex, 0, 7))), spOK);
        expectEnds(fill(none, RightSide::literal(RightSide::Kind::ContainedLiteral)), spOK);
        expectEnds(fill(none, numbers({1, 2})), kMismatch);
        Model full = Model::empty(kReal, m, n);
        full.sparse = false;
        expectEnds(fill(full, RightSide::scalar(5)), spOK);
    }
    // The element counts agree in 32 bits only.
    expectEnds(fill(Model::empty(kReal, 0x10000, 0x10000), RightSide::of(Model::empty(kReal, 0, 5))), kMismatch);
    expectEnds(fill(Model::empty(kReal, 0x10000, 0x10001), RightSide::of(Model::empty(kReal, 0x10000, 1))), kMismatch);
}

TEST(ColonAssignment, TargetsWithoutClass)
{
    for (const RightSide& b : {RightSide::scalar(5), RightSide::scalar(0), RightSide::full({0, 0}, {}),
                               RightSide::of(patterned(kReal, 2, 2))}) {
        expectEnds(fill(Model::unset(), b), kMismatch);
    }
}

TEST(ColonAssignment, MoreElementsThanCanBeCounted)
{
    const Model huge = Model::empty(kReal, 0x10000, 0x10000);
    expectEnds(fill(huge, RightSide::scalar(5)), {spIndexExceedsMaxSize, ""});
    expectEnds(fill(huge, RightSide::scalar(0)), spOK);
    Model some = huge;
    some.entries[{3, 9}] = 1;
    expectEnds(fill(huge, RightSide::of(reshaped(some.fit(), 0x8000, 0x20000))), spOK);
    const MaxElements limit(11);
    expectEnds(fill(patterned(kReal, 3, 4), RightSide::scalar(5)), {spIndexExceedsMaxSize, ""});
    expectEnds(fill(patterned(kReal, 3, 4), RightSide::scalar(0)), spOK);
}

TEST(ColonAssignment, ScopeStays)
{
    for (const RightSide& b : {RightSide::scalar(5), RightSide::of(patterned(kReal, 6, 1))}) {
        const Array a = toArray(patterned(kReal, 2, 3));
        kxSetArrayScope(a.get(), kxELEMENT_SCOPE);
        EXPECT_EQ(spAss3(a.get(), toArray(b).get(), toArray(Subscript::colon()).get()), spOK);
        EXPECT_EQ(a->scope, kxELEMENT_SCOPE);
    }
}

TEST(ColonAssignment, Random)
{
    property(4000, [] {
        const Model a = drawModel(drawStorage(), Shape::Small);
        const auto count = static_cast<unsigned>(a.numel());
        holds(fill(a, drawRightSide(count)));
        holds(fill(a, drawRightSide(a.m, a.n)));
    });
}
