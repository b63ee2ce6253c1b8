// Conversion between classes and storages, and transposition.
#include "arrays.hpp"

#include <cmath>
#include <cstdint>
#include <limits>

namespace zqsp::test::runtime {
namespace {

using ConvertTest = RuntimeTest;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr kxClassID kClasses[] = {kxLOGICAL_CLASS, kxCHAR_CLASS,   kxDOUBLE_CLASS, kxSINGLE_CLASS,
                                  kxINT8_CLASS,    kxUINT8_CLASS,  kxINT16_CLASS,  kxUINT16_CLASS,
                                  kxINT32_CLASS,   kxUINT32_CLASS, kxINT64_CLASS,  kxUINT64_CLASS};

/// The elements after conversion to class `id`, whose type is To.
template <typename To, typename From>
std::vector<To> converted(const std::vector<From>& values, kxClassID from, kxClassID id)
{
    const Array source = full(1, static_cast<unsigned>(values.size()), from, values);
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
    const std::vector<double> expected{1, 0, 0, 1, 1, 0};
    const Array doubles = full(2, 3, kxDOUBLE_CLASS, expected);
    for (const kxClassID from : kClasses) {
        const Array source(kxMustBe(Array(kxMustBeSparse(doubles.get())).get(), kxINT8_CLASS));
        const Array fromSparse(from == kxINT8_CLASS ? kxDuplicateArray(source.get()) : kxMustBe(source.get(), from));
        const Array fromFull(kxMustBeFull(fromSparse.get()));
        EXPECT_EQ(fromFull->class_id, from);
        for (const kxClassID to : kClasses) {
            SCOPED_TRACE(std::to_string(from) + " to " + std::to_string(to));
            if (from == to) {
                EXPECT_EQ(kxMustBe(fromSparse.get(), to), fromSparse.get());
                continue;
            }
            const Array sparse(kxMustBe(fromSparse.get(), to));
            const Array dense(kxMustBe(fromFull.get(), to));
            const Array expanded(kxMustBeFull(sparse.get()));
            EXPECT_EQ(kxGetNumNonZeroEl(sparse.get()), 3U);
            EXPECT_EQ(sparse->flags & kxFLAG_MAY_BE_COMPLEX, dense->flags & kxFLAG_MAY_BE_COMPLEX);
            const std::size_t bytes = 6U * kxGetElementSize(dense.get());
            EXPECT_EQ(elements<char>(expanded->pr, bytes), elements<char>(dense->pr, bytes));
            const Array back(to == kxDOUBLE_CLASS ? kxDuplicateArray(dense.get())
                                                  : kxMustBe(dense.get(), kxDOUBLE_CLASS));
            EXPECT_EQ(elements<double>(back->pr, 6), expected);
        }
    }
}

TEST_F(ConvertTest, SparseEntriesThatBecomeZeroAreDropped)
{
    const Array source = full<double>(2, 2, kxDOUBLE_CLASS, {0.2, 3, 0, 0.4}, {0, 0, 0, 2});
    const Array sparse(kxMustBeSparse(source.get()));
    const Array result(kxMustBe(sparse.get(), kxINT8_CLASS));
    EXPECT_EQ(elements<unsigned>(result->jc, 3), (std::vector<unsigned>{0, 1, 2}));
    EXPECT_EQ(elements<unsigned>(result->ir, 2), (std::vector<unsigned>{1, 1}));
    EXPECT_EQ(elements<std::int8_t>(result->pr, 2), (std::vector<std::int8_t>{3, 0}));
    EXPECT_EQ(elements<std::int8_t>(result->pi, 2), (std::vector<std::int8_t>{0, 2}));
}

TEST_F(ConvertTest, LogicalCountsEitherPartAndRefusesNaN)
{
    const Array source = full<double>(1, 3, kxDOUBLE_CLASS, {0, 0, 2}, {0, 1, 0});
    const Array truth(kxMustBe(source.get(), kxLOGICAL_CLASS));
    EXPECT_EQ(elements<std::uint8_t>(truth->pr, 3), (std::vector<std::uint8_t>{0, 1, 1}));
    EXPECT_EQ(truth->pi, nullptr);
    EXPECT_EQ(errorOf([&] { Array(kxMustBe(source.get(), kxCHAR_CLASS)); }), "kx:invalidOperand");

    for (const Array& bad :
         {full<double>(1, 1, kxDOUBLE_CLASS, {kNaN}), full<double>(1, 1, kxDOUBLE_CLASS, {1}, {kNaN})}) {
        const Array sparse(kxMustBeSparse(bad.get()));
        EXPECT_EQ(errorOf([&] { Array(kxMustBe(bad.get(), kxLOGICAL_CLASS)); }), "kx:invalidOperand");
        EXPECT_EQ(errorOf([&] { Array(kxMustBe(sparse.get(), kxLOGICAL_CLASS)); }), "kx:invalidOperand");
    }
}

TEST_F(ConvertTest, HiddenClassesAndOddOperands)
{
    Array hidden = full<double>(1, 2, kxDOUBLE_CLASS, {1, 2});
    kxrt::hide_class(hidden.get());
    ASSERT_GT(hidden->class_id, 16U);
    EXPECT_EQ(kxMustBe(hidden.get(), kxDOUBLE_CLASS), hidden.get());
    EXPECT_EQ(elements<float>(Array(kxMustBe(hidden.get(), kxSINGLE_CLASS))->pr, 2), (std::vector<float>{1, 2}));
    const Array sparse(kxMustBeSparse(hidden.get()));
    EXPECT_EQ(elements<double>(Array(kxMustBeFull(sparse.get()))->pr, 2), (std::vector<double>{1, 2}));
    EXPECT_EQ(dimensions(Array(kxTranspose(hidden.get())).get()), (std::vector<unsigned>{2, 1}));
    EXPECT_EQ(kxGetElementSize(hidden.get()), 8U);

    const unsigned dims[] = {2, 2, 2};
    const Array cube(kxCreateNumericArray(3, dims, kxDOUBLE_CLASS, kxREAL));
    EXPECT_EQ(dimensions(Array(kxMustBe(cube.get(), kxUINT8_CLASS)).get()), (std::vector<unsigned>{2, 2, 2}));
    const Array colon(kxCreateColon());
    const Array unset(kxCreateUnset());
    for (const kxArray* odd : {cube.get(), colon.get(), unset.get()}) {
        EXPECT_EQ(errorOf([odd] { kxMustBeSparse(odd); }), "kx:invalidOperand");
        EXPECT_EQ(errorOf([odd] { kxTranspose(odd); }), "kx:invalidOperand");
    }
    EXPECT_EQ(errorOf([&] { kxMustBe(unset.get(), kxDOUBLE_CLASS); }), "kx:invalidOperand");
    EXPECT_EQ(errorOf([&] { kxMustBe(hidden.get(), static_cast<kxClassID>(5)); }), "kx:invalidOperand");
    const Array empty(kxCreateEmptyCopy(sparse.get()));
    EXPECT_EQ(dimensions(empty.get()), (std::vector<unsigned>{0, 0}));
    EXPECT_EQ(empty->flags, kxFLAG_SPARSE | kxFLAG_MAY_BE_COMPLEX);
}

/// Rows within each column increase, and the record is otherwise sound.
void expectSoundColumns(const kxArray* array)
{
    const unsigned n = kxGetN(array);
    ASSERT_EQ(array->jc[0], 0U);
    ASSERT_LE(array->jc[n], array->nzmax);
    for (unsigned column = 0; column < n; ++column) {
        for (unsigned e = array->jc[column]; e < array->jc[column + 1]; ++e) {
            EXPECT_TRUE(e == array->jc[column] || array->ir[e - 1] < array->ir[e]);
            EXPECT_LT(array->ir[e], array->get_dimensions()[0]);
        }
    }
}

TEST_F(ConvertTest, TransposesAgreeWithTheNaiveLoopInBothStorages)
{
    const unsigned shapes[][2] = {{1, 1}, {1, 9}, {9, 1}, {33, 70}, {70, 33}, {0, 4}, {4, 0}};
    for (const auto& [m, n] : shapes) {
        for (const bool complex : {false, true}) {
            SCOPED_TRACE(std::to_string(m) + "-by-" + std::to_string(n));
            const Array array = scattered(m, n, complex, 17 * m + n);
            const Array turned(kxTranspose(array.get()));
            const Array sparse(kxMustBeSparse(array.get()));
            const Array sparseTurned(kxTranspose(sparse.get()));
            const Array expanded(kxMustBeFull(sparseTurned.get()));
            expectSoundColumns(sparse.get());
            expectSoundColumns(sparseTurned.get());
            ASSERT_EQ(dimensions(turned.get()), (std::vector<unsigned>{n, m}));
            ASSERT_EQ(dimensions(sparseTurned.get()), (std::vector<unsigned>{n, m}));
            for (void* kxArray::*part : {&kxArray::pr, &kxArray::pi}) {
                if (array.get()->*part == nullptr) {
                    EXPECT_EQ(sparseTurned.get()->*part, nullptr);
                    continue;
                }
                std::vector<double> expected(std::size_t{m} * n);
                for (std::size_t i = 0; i < m; ++i) {
                    for (std::size_t j = 0; j < n; ++j) {
                        expected[j + i * n] = static_cast<double*>(array.get()->*part)[i + j * m];
                    }
                }
                EXPECT_EQ(elements<double>(turned.get()->*part, expected.size()), expected);
                EXPECT_EQ(elements<double>(expanded.get()->*part, expected.size()), expected);
            }
        }
    }
    const Array text = full<std::uint16_t>(2, 2, kxCHAR_CLASS, {'a', 'b', 'c', 'd'});
    EXPECT_EQ(elements<std::uint16_t>(Array(kxTranspose(text.get()))->pr, 4),
              (std::vector<std::uint16_t>{'a', 'c', 'b', 'd'}));
}

} // namespace
} // namespace zqsp::test::runtime
