// Colon objects and logical masks, seen through the exports.
#include "support/operation.hpp"

#include <gtest/gtest.h>

#include <array>

using namespace zqsp::test;

namespace {

Model row(unsigned n)
{
    Model a = Model::empty({}, 1, n);
    for (unsigned j = 0; j < n; ++j) {
        a.entries[{j, 0}] = j + 1.0;
    }
    return a.fit();
}

/// Reads and deletes columns by `s`; the status of reading is told, deletion has its own for being out of range.
void expectStatus(const Model& a, const Subscript& s, spStatus reading)
{
    const spStatus deleting = reading == spIndexOutOfRange ? spIndexToRemoveOutOfRange : reading;
    const std::pair<Export, spStatus> calls[] = {{Export::Ref3, reading},
                                                 {Export::Ref4, reading},
                                                 {Export::DeleteColumns, deleting},
                                                 {Export::DeleteElements, deleting}};
    for (const auto& [callee, status] : calls) {
        expectEnds({.callee = callee, .a = a, .i = s}, status);
    }
}

} // namespace

TEST(SubscriptRanges, Ends)
{
    const struct
    {
        double start, step, stop;
        spStatus status;
    } cases[] = {{5, -2, 2, spOK},
                 {1, 2, 6, spIndexOutOfRange}, // the stop decides, reached or not
                 {6, -2, 1, spIndexOutOfRange},
                 {6, 1, 6, spIndexOutOfRange},
                 {0, 1, 3, spIndexNotPositiveInteger},
                 {3, -1, 0, spIndexNotPositiveInteger},
                 {-2, 9, 3, spIndexNotPositiveInteger},
                 {0, 1, 9, spIndexNotPositiveInteger}, // below one comes before out of range
                 {1, -1, 3, spOK},
                 {0, 1, -1, spOK}, // empty, wherever it lies
                 {9, 1, 8, spOK},
                 {2, 0, 2, spOK},
                 {2, -2147483648.0, 1, spOK}, // one value, whatever the step
                 {2, 2147483647, 5, spOK},
                 // not of whole numbers: here the values are tested, not the stop
                 {1, 0.5, 3, spIndexNotPositiveInteger},
                 {1.5, 1, 3, spIndexNotPositiveInteger},
                 {0, 1, 2.5, spIndexNotPositiveInteger},
                 {5, -1, 0.5, spOK},
                 {1, 1, 6.5, spIndexOutOfRange},
                 {1, 2, 6.5, spOK},
                 {5, 0.5, 5.25, spOK},
                 {2.5, 1, 1, spOK},
                 {3e9, 1, 3e9, spIndexOutOfRange}};
    for (const auto& [start, step, stop, status] : cases) {
        expectStatus(row(5), Subscript::range(start, step, stop), status);
    }
}

TEST(SubscriptMasks, EveryLengthAndPlace)
{
    // Around the words that a mask may be read by.
    for (const unsigned n : {1U, 7U, 8U, 9U, 16U, 63U, 64U, 65U}) {
        const Model a = row(n);
        for (const unsigned length : {n - 1, n, n + 1, n + 9}) {
            for (unsigned at = 0; at < length; ++at) {
                std::vector<double> values(length, 0.0);
                values[at] = std::array{1, 128, 255}[at % 3]; // any byte that is not zero is true
                expectStatus(a, Subscript::mask(values), at < n ? spOK : spIndexOutOfRange);
            }
            const std::vector<double> all(length, 1.0);
            expectStatus(a, Subscript::mask(all), length <= n ? spOK : spIndexOutOfRange);
            std::vector<double> allButEnds = all;
            allButEnds.resize(n, 0);
            allButEnds.front() = allButEnds.back() = 0;
            allButEnds.resize(n + 20, 0);
            expectStatus(a, Subscript::mask(allButEnds), spOK);
        }
    }
}

TEST(SubscriptMasks, Sparse)
{
    const Model a = row(6);
    expectStatus(a, Subscript::sparseMask(4, 2, {{0, 3}, {1, 1}}), spOK);              // 5 is the last position
    expectStatus(a, Subscript::sparseMask(4, 2, {{0, 3}, {1, 2}}), spIndexOutOfRange); // 6
    expectStatus(a, Subscript::sparseMask(4, 3, {{2, 0}}), spIndexOutOfRange);         // a later column
    expectStatus(a, Subscript::sparseMask(9, 9, {{0, 5}}), spOK);                      // room past the extent, not used
    Subscript storesFalse = Subscript::sparseMask(9, 9, {{0, 6}});
    storesFalse.storesFalse = true; // what is stored selects, whatever it is
    expectStatus(a, storesFalse, spIndexOutOfRange);
    expectStatus(a, Subscript::sparseMask(0, 4, {}), spOK);
}

TEST(SubscriptRuns, MoreThanAnyBufferHolds)
{
    // The same positions in every form: 700 runs of one, two and three neighbours.
    constexpr unsigned kExtent = 4000;
    constexpr unsigned kMaskRows = 37;
    std::vector<double> list;
    std::vector<double> mask(kExtent, 0.0);
    std::vector<Place> places;
    for (unsigned runs = 0, p = 0; runs < 700; ++runs, p += 2) {
        for (unsigned length = runs % 3 + 1; length > 0; --length, ++p) {
            list.push_back(p + 1.0);
            mask[p] = 1;
            places.push_back({p / kMaskRows, p % kMaskRows});
        }
    }
    std::vector<double> backwards(list.rbegin(), list.rend());
    const Model flat = row(kExtent);
    Model tall = Model::empty({}, kExtent, 2);
    for (unsigned i = 0; i < kExtent; i += 2) {
        tall.entries[{i % 4 / 2, i}] = i + 1.0;
    }
    tall.fit();
    for (const Subscript& s : {Subscript::list(list), Subscript::list(backwards), Subscript::mask(mask),
                               Subscript::sparseMask(kMaskRows, kExtent, places), Subscript::range(1, 3, kExtent),
                               Subscript::range(kExtent, -3, 1)}) {
        expectStatus(flat, s, spOK);
        EXPECT_EQ("", checkOperation({.callee = Export::Ref5, .a = tall, .i = s}));
        EXPECT_EQ("", checkOperation({.callee = Export::DeleteRows, .a = tall, .i = s}));
        EXPECT_EQ("", checkOperation({.callee = Export::Ref6, .a = flat, .i = Subscript::list({1, 1}), .j = s}));
    }
}
