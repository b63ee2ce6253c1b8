// Conversion between classes and storages, and transposition.
#include "arrays.hpp"

#include "support/draw.hpp"
#include "support/generators.hpp"

#include <cstdint>

namespace zqsp::test::runtime {
namespace {

using ConvertTest = RuntimeTest;

constexpr kxClassID kClasses[] = {kxLOGICAL_CLASS, kxCHAR_CLASS,   kxDOUBLE_CLASS, kxSINGLE_CLASS,
                                  kxINT8_CLASS,    kxUINT8_CLASS,  kxINT16_CLASS,  kxUINT16_CLASS,
                                  kxINT32_CLASS,   kxUINT32_CLASS, kxINT64_CLASS,  kxUINT64_CLASS};

/// The elements after conversion to class `id`, whose type is To.
template <typename To, typename From>
std::vector<To> converted(const std::vector<From>& values, kxClassID from, kxClassID id)
{
    const Array source = fullRow(from, values);
    const Array result(kxMustBe(source.get(), id));
    EXPECT_EQ(result->class_id, id);
    return elements<To>(result->pr, values.size());
}

TEST_F(ConvertTest, IntegersAreRoundedSaturatedAndExact)
{
    const std::vector<double> reals{0.5, -0.5, 2.4, -2.5, 1e30, -kInf, kNaN, 127.5};
    EXPECT_EQ(converted<std::int8_t>(reals, kxDOUBLE_CLASS, kxINT8_CLASS),
              (std::vector<std::int8_t>{1, -1, 2, -3, 127, -128, 0, 127}));
    EXPECT_EQ(converted<std::uint32_t>(reals, kxDOUBLE_CLASS, kxUINT32_CLASS),
              (std::vector<std::uint32_t>{1, 0, 2, 0, 0xFFFFFFFFU, 0, 0, 128}));
    EXPECT_EQ(converted<std::int64_t>(reals, kxDOUBLE_CLASS, kxINT64_CLASS),
              (std::vector<std::int64_t>{1, -1, 2, -3, INT64_MAX, INT64_MIN, 0, 128}));
    EXPECT_EQ(converted<std::uint16_t>(std::vector<float>{65.4F, -1, 7e4F}, kxSINGLE_CLASS, kxCHAR_CLASS),
              (std::vector<std::uint16_t>{65, 0, 65535}));

    const std::vector<std::uint64_t> large{9007199254740993U, UINT64_MAX, 5};
    EXPECT_EQ(converted<std::int64_t>(large, kxUINT64_CLASS, kxINT64_CLASS),
              (std::vector<std::int64_t>{9007199254740993, INT64_MAX, 5}));
    EXPECT_EQ(converted<std::uint64_t>(std::vector<std::int64_t>{-1, INT64_MAX}, kxINT64_CLASS, kxUINT64_CLASS),
              (std::vector<std::uint64_t>{0, INT64_MAX}));
    EXPECT_EQ(converted<double>(std::vector<std::uint8_t>{2, 0}, kxLOGICAL_CLASS, kxDOUBLE_CLASS),
              (std::vector<double>{1, 0}));
}

TEST_F(ConvertTest, EveryPairOfClassesKeepsSmallValuesFullAndSparse)
{
    Model model = Model::of(kReal, {{1, 0, 1}, {0, 1, 0}});
    for (const bool sparse : {false, true}) {
        model.sparse = sparse;
        for (const kxClassID from : kClasses) {
            model.storage.classId = from;
            const Array source = toArray(model);
            for (const kxClassID to : kClasses) {
                Array result(kxMustBe(source.get(), to));
                Model expected = model;
                expected.storage.classId = to;
                EXPECT_EQ("", diff(result.get(), expected)) << "from class " << from;
                EXPECT_EQ(result.get() == source.get(), from == to);
                if (from == to) {
                    static_cast<void>(result.release());
                }
            }
        }
    }
}

TEST_F(ConvertTest, SparseEntriesThatBecomeZeroAreDropped)
{
    const Array source = toArray(Model::of(kComplex, {{0.2, 0}, {3, Value(0.4, 2)}}));
    const Array result(kxMustBe(source.get(), kxINT8_CLASS));
    const Model expected = Model::of({kxINT8_CLASS, true}, {{0, 0}, {3, Value(0, 2)}});
    EXPECT_EQ("", diff(result.get(), withCapacity(expected, 3)));
}

TEST_F(ConvertTest, LogicalCountsEitherPartAndRefusesNaN)
{
    const Array source = full(Model::of(kComplex, {{0, Value(0, 1), 2}}));
    const Array truth(kxMustBe(source.get(), kxLOGICAL_CLASS));
    EXPECT_EQ(elements<std::uint8_t>(truth->pr, 3), (std::vector<std::uint8_t>{0, 1, 1}));
    EXPECT_EQ(truth->pi, nullptr);
    EXPECT_EQ(errorOf([&] { Array(kxMustBe(source.get(), kxCHAR_CLASS)); }), "kx:invalidOperand");
    for (const Model& bad : {Model::of(kReal, {{kNaN}}), Model::of(kComplex, {{Value(1, kNaN)}})}) {
        for (const Array& array : {full(bad), toArray(bad)}) {
            EXPECT_EQ(errorOf([&] { Array(kxMustBe(array.get(), kxLOGICAL_CLASS)); }), "kx:invalidOperand");
        }
    }
}

TEST_F(ConvertTest, HiddenClassesAndOddOperands)
{
    const Array hidden = full(Model::of(kReal, {{1, 2}}));
    kxrt::hide_class(hidden.get());
    ASSERT_GT(hidden->class_id, 16U);
    EXPECT_EQ(kxMustBe(hidden.get(), kxDOUBLE_CLASS), hidden.get());
    EXPECT_EQ(elements<float>(Array(kxMustBe(hidden.get(), kxSINGLE_CLASS))->pr, 2), (std::vector<float>{1, 2}));
    const Array sparse(kxMustBeSparse(hidden.get()));
    EXPECT_EQ("", diff(sparse.get(), Model::of(kReal, {{1, 2}})));
    EXPECT_EQ(dimensions(Array(kxTranspose(hidden.get()))), (std::vector<unsigned>{2, 1}));
    EXPECT_EQ(kxGetElementSize(hidden.get()), 8U);

    const unsigned dims[] = {2, 2, 2};
    const Array cube(kxCreateNumericArray(3, dims, kxDOUBLE_CLASS, kxREAL));
    EXPECT_EQ(dimensions(Array(kxMustBe(cube.get(), kxUINT8_CLASS))), (std::vector<unsigned>{2, 2, 2}));
    const Array colon(kxCreateColon());
    const Array unset(kxCreateUnset());
    for (const kxArray* odd : {cube.get(), colon.get(), unset.get()}) {
        EXPECT_EQ(errorOf([odd] { kxMustBeSparse(odd); }), "kx:invalidOperand");
        EXPECT_EQ(errorOf([odd] { kxTranspose(odd); }), "kx:invalidOperand");
    }
    EXPECT_EQ(errorOf([&] { kxMustBe(unset.get(), kxDOUBLE_CLASS); }), "kx:invalidOperand");
    EXPECT_EQ(errorOf([&] { kxMustBe(hidden.get(), static_cast<kxClassID>(5)); }), "kx:invalidOperand");
    const Array empty(kxCreateEmptyCopy(sparse.get()));
    EXPECT_EQ("", diff(empty.get(), Model::empty(kReal, 0, 0)));
}

TEST_F(ConvertTest, EntriesAreWhatComparesDifferentFromZero)
{
    const Array odd = fullRow<double>(kxDOUBLE_CLASS, {-0.0, kNaN, 5e-324, 0, -kNaN, 0});
    const Array entries(kxMustBeSparse(odd.get()));
    EXPECT_EQ(elements<unsigned>(entries->jc, 7), (std::vector<unsigned>{0, 0, 1, 2, 2, 3, 3}));
    EXPECT_EQ(static_cast<double*>(entries->pr)[1], 5e-324);

    // Columns that are all entries, and one that ends in a zero, of every length about those in which they are worked
    // off.
    for (const unsigned m : {1U, 15U, 17U, 127U, 128U, 129U, 300U}) {
        const Array ones(kxCreateDoubleMatrix(m, 3, kxREAL));
        std::fill_n(static_cast<double*>(ones->pr), 3 * m, 1.0);
        EXPECT_EQ(kxCheckSparse(Array(kxMustBeSparse(ones.get())).get()), "");
        static_cast<double*>(ones->pr)[3 * m - 1] = 0;
        const Array fewer(kxMustBeSparse(ones.get()));
        EXPECT_EQ(kxCheckSparse(fewer.get()), "");
        EXPECT_EQ(elements<unsigned>(fewer->jc, 4), (std::vector<unsigned>{0, m, 2 * m, 3 * m - 1}));
    }
}

TEST_F(ConvertTest, StoragesAndTransposesOfRandomMatrices)
{
    property(400, [] {
        const Model sparse = drawModelOfSize(drawStorage(), draw(300), draw(40), false);
        Model transposed = Model::empty(sparse.storage, sparse.n, sparse.m);
        for (const auto& [place, value] : sparse.entries) {
            transposed.entries[{place.row, place.column}] = value;
        }
        const unsigned capacity = std::max(sparse.nnz(), 1U);
        const Array array = toArray(sparse);
        requireNone(diff(Array(kxTranspose(array.get())).get(), withCapacity(transposed, capacity)));

        Model dense = sparse;
        dense.sparse = transposed.sparse = false;
        const Array expanded(kxMustBeFull(array.get()));
        requireNone(diff(expanded.get(), dense));
        requireNone(diff(Array(kxMustBeSparse(expanded.get())).get(), withCapacity(sparse, capacity)));
        requireNone(diff(Array(kxTranspose(expanded.get())).get(), transposed));
    });
    const Array text = full(Model::of({kxCHAR_CLASS, false}, {{'a', 'b'}, {'c', 'd'}}));
    EXPECT_EQ(elements<std::uint16_t>(Array(kxTranspose(text.get()))->pr, 4),
              (std::vector<std::uint16_t>{'a', 'b', 'c', 'd'}));
}

} // namespace
} // namespace zqsp::test::runtime
