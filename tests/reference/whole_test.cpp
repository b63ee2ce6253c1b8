// A(:) and reshape: the matrix as the column of its elements.
#include "support/draw.hpp"
#include "support/generators.hpp"

#include <array>
#include <numeric>

using namespace zqsp::test;

namespace {

constexpr unsigned kMax = 0x7FFFFFFF;

/// m-by-n with the given places stored, their ordinals as values.
Model withEntries(unsigned m, unsigned n, const std::vector<Place>& places)
{
    Model a = Model::empty({}, m, n);
    for (const Place place : places) {
        a.entries[place] = static_cast<double>(a.entries.size() + 1);
    }
    return a.fit();
}

/// Some places of a matrix, its last one included.
std::vector<Place> drawPlaces(unsigned m, unsigned n)
{
    std::vector<Place> places = {{n - 1, m - 1}};
    for (unsigned count = draw(30); count > 0; --count) {
        places.push_back({draw(n), draw(m)});
    }
    return places;
}

} // namespace

TEST(WholeColon, TooManyElements)
{
    const struct
    {
        unsigned m, n;
        bool fits;
    } cases[] = {{kMax, 1, true},           {1U << 31, 1, false},   {0x8000, 0xFFFF, true}, {0x8000, 0x10000, false},
                 {0x10000, 0x10001, false}, {0xFFFFFFFF, 2, false}, {0xFFFFFFFF, 0, true}};
    for (const auto& [m, n, fits] : cases) {
        const Model a = n > 0 ? withEntries(m, n, {{0, 5}, {n - 1, m - 1}}) : Model::empty({}, m, n);
        const Operation op{.callee = Export::Ref2, .a = a};
        EXPECT_EQ(predict(op).ended.thrown, fits ? "" : kTooLargeError);
        EXPECT_EQ("", checkOperation(op));
    }
}

TEST(Reshape, LegalExactlyWhereTheElementCountsAgree)
{
    for (const auto& [m, n, newM, newN] : {std::array{3U, 4U, 6U, 2U},
                                           {3, 4, 4, 3},
                                           {3, 4, 5, 2},
                                           {3, 4, 13, 1},
                                           {0, 3, 7, 0},
                                           {0, 3, 1, 1},
                                           {5, 1, 1, 5},
                                           {5, 1, 2, 2}}) {
        EXPECT_EQ(spReshapeOk(m, n, newM, newN), isReshape(m, n, newM, newN)) << m << 'x' << n << " to " << newM;
    }
    EXPECT_TRUE(spReshapeOk(0xFFFFFFFF, 0xFFFFFFFE, 0xFFFFFFFE, 0xFFFFFFFF));
    EXPECT_FALSE(spReshapeOk(0x10000, 0x10000, 1, 0)); // equal in 32 bits only
    EXPECT_FALSE(spReshapeOk(0x80000000, 2, 0, 7));
    EXPECT_TRUE(spReshapeOk(0xC0000000, 2, 0x80000000, 3));
}

TEST(Reshape, BothMethodsGiveTheSame)
{
    property(3000, [] {
        const Model a = drawModel();
        const auto elements = static_cast<unsigned>(a.numel());
        if (elements == 0) {
            return holds({.callee = Export::Reshape, .a = a, .newM = draw(5), .newN = 0});
        }
        const unsigned m = std::gcd(elements, 1 + draw(60)) * std::gcd(elements, 1 + draw(7));
        RC_PRE(elements % m == 0);
        const Operation op{.callee = Export::Reshape, .a = a, .newM = m, .newN = elements / m};
        holds(op);
        const MaxElements tiny(0); // no element count is representable: by division
        holds(op);
    });
}

TEST(Reshape, MoreElementsThan32BitsCount)
{
    struct Side
    {
        unsigned m, n;
    };
    const std::vector<std::vector<Side>> equalShapes = {
        {{70000, 70000}, {35000, 140000}, {140000, 35000}, {490000, 10000}, {10000, 490000}, {49000000, 100}},
        {{0xF0000000, 2}, {0x78000000, 4}, {0x3C000000, 8}, {0x1E000, 0x10000}, {0x50000000, 6}},
        {{0xFFFFFFFF, 3}, {0x55555555, 9}, {0xFFFF, 0x30003}}};
    for (const auto& shapes : equalShapes) {
        property(40, [&] {
            const Side from = drawFrom(shapes);
            const Side to = drawFrom(shapes);
            RC_PRE(isReshape(from.m, from.n, to.m, to.n));
            const Model a = withEntries(from.m, from.n, drawPlaces(from.m, from.n));
            RC_ASSERT(spReshapeOk(from.m, from.n, to.m, to.n));
            holds({.callee = Export::Reshape, .a = a, .newM = to.m, .newN = to.n});
        });
    }
}
