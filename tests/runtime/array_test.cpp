// Making, copying, moving and changing arrays.
#include "arrays.hpp"

namespace zqsp::test::runtime {
namespace {

using ArrayTest = RuntimeTest;

/// 3-by-3 sparse with capacity for more than its four entries.
Array roomySparse(bool complex)
{
    Array array(kxCreateSparseNumericMatrix(3, 3, 6, kxDOUBLE_CLASS, complex ? kxCOMPLEX : kxREAL));
    const unsigned starts[] = {0, 2, 2, 4};
    const unsigned rows[] = {0, 2, 1, 2};
    std::copy_n(starts, 4, array->jc);
    std::copy_n(rows, 4, array->ir);
    for (unsigned e = 0; e < 4; ++e) {
        static_cast<double*>(array->pr)[e] = e + 1;
        if (complex) {
            static_cast<double*>(array->pi)[e] = -1.0 * e;
        }
    }
    return array;
}

TEST_F(ArrayTest, NewArraysHaveTheFlagsAndSizesOfTheirKind)
{
    const unsigned dims[] = {2, 3, 4, 1};
    const Array cube(kxCreateNumericArray(4, dims, kxINT16_CLASS, kxCOMPLEX));
    EXPECT_EQ(dimensions(cube.get()), (std::vector<unsigned>{2, 3, 4})); // a trailing 1 is no dimension
    EXPECT_EQ(kxGetN(cube.get()), 12U);
    EXPECT_EQ(cube->flags, kxFLAG_MAY_BE_COMPLEX);
    EXPECT_EQ(elements<short>(cube->pi, 24), std::vector<short>(24));

    const Array mask(kxCreateNumericArray(2, dims, kxLOGICAL_CLASS, kxREAL));
    EXPECT_EQ(mask->flags, 0U);
    EXPECT_EQ(kxGetElementSize(mask.get()), 1U);

    const Array sparse(kxCreateSparseNumericMatrix(4, 2, 0, kxSINGLE_CLASS, kxCOMPLEX));
    EXPECT_EQ(sparse->flags, kxFLAG_SPARSE | kxFLAG_MAY_BE_COMPLEX);
    EXPECT_EQ(elements<unsigned>(sparse->jc, 3), (std::vector<unsigned>{0, 0, 0}));
    EXPECT_NE(sparse->pi, nullptr);
    EXPECT_EQ(sparse->nzmax, 0U);
    EXPECT_EQ(kxGetNumNonZeroEl(sparse.get()), 0U);

    const Array literal(kxCreateEmptyLiteral());
    EXPECT_EQ(literal->flags, kxFLAG_EMPTY_LITERAL | kxFLAG_MAY_BE_COMPLEX);
    EXPECT_TRUE(kxIsEmpty(literal.get()));

    const Array unset(kxCreateUnset());
    EXPECT_EQ(unset->class_id, kxUNKNOWN_CLASS);
    EXPECT_EQ(unset->flags, 0U);
    EXPECT_TRUE(kxIsEmpty(unset.get()));

    const Array colon(kxCreateColon());
    EXPECT_TRUE(colon->is_colon_index());
    EXPECT_EQ(colon->flags, kxFLAG_COLON_OBJECT);
    EXPECT_FALSE(kxIsEmpty(colon.get())); // it may select everything
}

TEST_F(ArrayTest, UnusableRequestsAreRefused)
{
    const unsigned huge[] = {70000, 70000};
    const unsigned small[] = {2, 2};
    EXPECT_EQ(errorOf([&] { kxCreateNumericArray(2, huge, kxUINT8_CLASS, kxREAL); }), "kx:sizeLimit");
    EXPECT_EQ(errorOf([&] { kxCreateNumericArray(1, small, kxUINT8_CLASS, kxREAL); }), "kx:invalidOperand");
    EXPECT_EQ(errorOf([&] { kxCreateNumericArray(2, small, kxLOGICAL_CLASS, kxCOMPLEX); }), "kx:invalidOperand");
    EXPECT_EQ(errorOf([&] { kxCreateNumericArray(2, small, static_cast<kxClassID>(5), kxREAL); }), "kx:invalidOperand");
    EXPECT_EQ(errorOf([] { kxCreateSparseNumericMatrix(1, 1, 1, kxUNKNOWN_CLASS, kxREAL); }), "kx:invalidOperand");
    EXPECT_EQ(errorOf([] { kxCreateSparseNumericMatrix(1, 1, 1, kxCHAR_CLASS, kxCOMPLEX); }), "kx:invalidOperand");

    // The elements of a sparse array need not be countable.
    const Array wide(kxCreateSparseNumericMatrix(4000000000U, 5, 1, kxDOUBLE_CLASS, kxREAL));
    EXPECT_EQ(kxGetNumberOfElements(wide.get()), 0x7FFFFFFFU);
    EXPECT_EQ(errorOf([&] { kxMustBeFull(wide.get()); }), "kx:sizeLimit");
}

TEST_F(ArrayTest, ScalarsAreReadFromEveryStorage)
{
    EXPECT_EQ(kxGetScalar(full<signed char>(1, 2, kxINT8_CLASS, {-3, 9}).get()), -3);
    EXPECT_EQ(kxGetScalar(full<unsigned short>(1, 1, kxCHAR_CLASS, {65}).get()), 65);
    EXPECT_EQ(kxGetScalar(roomySparse(false).get()), 1);
    EXPECT_EQ(kxGetScalar(Array(kxCreateSparseNumericMatrix(1, 1, 1, kxDOUBLE_CLASS, kxREAL)).get()), 0);
    EXPECT_EQ(kxGetScalar(Array(kxCreateColonObject(4, 1, 9)).get()), 4);
    EXPECT_EQ(errorOf([] { kxGetScalar(Array(kxCreateEmptyLiteral()).get()); }), "kx:invalidOperand");
    Array below = full<double>(2, 1, kxDOUBLE_CLASS, {0, 8}); // stored, but not in the first place
    EXPECT_EQ(kxGetScalar(Array(kxMustBeSparse(below.get())).get()), 0);
}

TEST_F(ArrayTest, DeepCopiesKeepEverythingAndShareNothing)
{
    Array original = roomySparse(true);
    kxrt::hide_class(original.get());
    kxSetArrayScope(original.get(), kxELEMENT_SCOPE);
    for (auto* copyOf : {kxCreateDeepCopy, kxDuplicateArray}) {
        const Array copy(copyOf(original.get()));
        EXPECT_FALSE(kxrt::is_shared(original.get()));
        EXPECT_EQ(copy->nzmax, 6U);
        static_cast<double*>(copy->pr)[5] = 1; // the capacity is there, not only its number
        EXPECT_EQ(copy->class_id, original->class_id);
        EXPECT_EQ(copy->_get_class_id_non_trivial(), kxDOUBLE_CLASS);
        EXPECT_EQ(copy->scope, kxTEMPORARY_SCOPE);
        EXPECT_EQ(elements<double>(copy->pi, 4), (std::vector<double>{-0.0, -1, -2, -3}));
        EXPECT_EQ(elements<unsigned>(copy->ir, 4), (std::vector<unsigned>{0, 2, 1, 2}));
        EXPECT_EQ(elements<unsigned>(copy->jc, 4), (std::vector<unsigned>{0, 2, 2, 4}));
    }
    const Array literal(kxDuplicateArray(Array(kxCreateEmptyLiteral()).get()));
    EXPECT_EQ(literal->flags & kxFLAG_EMPTY_LITERAL, kxFLAG_EMPTY_LITERAL);
    const Array range(kxCreateSharedDataCopy(Array(kxCreateColonObject(1, 2, 9)).get()));
    EXPECT_EQ(kxGetNumberOfElements(range.get()), 5U);
}

TEST_F(ArrayTest, SharedCopiesLiveUntilTheLastAndArePrivateOnDemand)
{
    Array original = roomySparse(true);
    Array copy(kxCreateSharedDataCopy(original.get()));
    EXPECT_EQ(copy->jc, original->jc);
    EXPECT_TRUE(kxrt::is_shared(copy.get()));

    const std::vector<void*> before{copy->pr, copy->pi, copy->ir, copy->jc};
    for (long failing = 1; failing <= 4; ++failing) {
        kxrt::fail_allocation_after(failing);
        EXPECT_EQ(errorOf([&] { kxrt::make_private(copy.get()); }), "kx:outOfMemory");
        EXPECT_EQ((std::vector<void*>{copy->pr, copy->pi, copy->ir, copy->jc}), before);
    }
    kxrt::make_private(copy.get());
    EXPECT_FALSE(kxrt::is_shared(original.get()));
    EXPECT_EQ(elements<double>(copy->pr, 4), elements<double>(original->pr, 4));
    const long asked = kxrt::allocations();
    kxrt::make_private(copy.get()); // nothing left to do
    EXPECT_EQ(kxrt::allocations(), asked);

    const Array survivor(kxCreateSharedDataCopy(original.get()));
    original.reset();
    EXPECT_EQ(elements<double>(survivor->pr, 4), (std::vector<double>{1, 2, 3, 4}));
}

TEST_F(ArrayTest, MovingReplacesTheWholeContent)
{
    const unsigned dims[] = {2, 2, 2};
    const Array target(kxCreateNumericArray(3, dims, kxINT8_CLASS, kxCOMPLEX));
    Array source = roomySparse(true);
    kxrt::hide_class(source.get());
    kxSetArrayScope(source.get(), kxELEMENT_SCOPE);
    const void* values = source->pr;
    kxMoveArrayOntoHeader(target.get(), source.release());
    EXPECT_EQ(target->pr, values);
    EXPECT_EQ(target->_get_class_id_non_trivial(), kxDOUBLE_CLASS);
    EXPECT_EQ(target->scope, kxELEMENT_SCOPE);
    EXPECT_EQ(target->nzmax, 6U);
    EXPECT_EQ(dimensions(target.get()), (std::vector<unsigned>{3, 3}));

    kxMoveArrayOntoHeader(target.get(), kxCreateNumericArray(3, dims, kxCHAR_CLASS, kxREAL));
    EXPECT_EQ(dimensions(target.get()), (std::vector<unsigned>{2, 2, 2}));
    EXPECT_EQ(target->jc, nullptr);
    EXPECT_EQ(target->flags, 0U);
}

TEST_F(ArrayTest, DimensionsChangeBetweenTwoAndMany)
{
    const Array array(kxCreateDoubleMatrix(6, 4, kxREAL));
    const unsigned three[] = {2, 3, 4};
    const unsigned tooMany[] = {1U << 20, 1U << 20};
    ASSERT_EQ(kxSetDimensions(array.get(), three, 3), 0);
    EXPECT_EQ(dimensions(array.get()), (std::vector<unsigned>{2, 3, 4}));
    kxrt::fail_allocation_after(1);
    EXPECT_EQ(kxSetDimensions(array.get(), three, 3), 1);
    EXPECT_EQ(kxSetDimensions(array.get(), three, 1), 1);
    EXPECT_EQ(kxSetDimensions(array.get(), tooMany, 2), 1);
    EXPECT_EQ(dimensions(array.get()), (std::vector<unsigned>{2, 3, 4}));
    kxSetM(array.get(), 1);
    kxSetN(array.get(), 12);
    EXPECT_EQ(dimensions(array.get()), (std::vector<unsigned>{1, 12}));

    const Array sparse = roomySparse(false);
    EXPECT_EQ(kxSetDimensions(sparse.get(), three, 3), 1);
    EXPECT_EQ(kxSetDimensions(sparse.get(), tooMany, 2), 0);
}

TEST_F(ArrayTest, AnAllZeroImaginaryPartIsDropped)
{
    const auto dropped = [](const Array& array) {
        kxFreeImagIfZero(array.get());
        return array->pi == nullptr;
    };
    std::vector<double> imaginary(1000, -0.0);
    const std::vector<double> re(1000, 1);
    EXPECT_TRUE(dropped(full(10, 100, kxDOUBLE_CLASS, re, imaginary)));
    for (const std::size_t place : {std::size_t{0}, std::size_t{500}, std::size_t{999}}) {
        imaginary[place] = 1e-310;
        EXPECT_FALSE(dropped(full(10, 100, kxDOUBLE_CLASS, re, imaginary))) << place;
        imaginary[place] = 0;
    }
    EXPECT_FALSE(dropped(full<float>(1, 1, kxSINGLE_CLASS, {1}, {__builtin_nanf("")})));

    const Array sparse = roomySparse(true);
    EXPECT_FALSE(dropped(sparse));
    std::fill_n(static_cast<double*>(sparse->pi), 6, 1.0);
    std::fill_n(static_cast<double*>(sparse->pi), 4, 0.0); // beyond the entries nothing counts
    kxrt::hide_class(sparse.get());
    EXPECT_TRUE(dropped(sparse));
    EXPECT_EQ(sparse->flags & kxFLAG_MAY_BE_COMPLEX, kxFLAG_MAY_BE_COMPLEX);

    const Array real = full<double>(1, 1, kxDOUBLE_CLASS, {1});
    real->flags &= ~kxFLAG_MAY_BE_COMPLEX;
    kxSetPi(real.get(), static_cast<double*>(kxCalloc(1, 8)));
    EXPECT_TRUE(dropped(real)); // the setter has made it complex
}

TEST_F(ArrayTest, CreationIsAllOrNothing)
{
    const unsigned dims[] = {2, 3, 4};
    const Array cube(kxCreateNumericArray(3, dims, kxDOUBLE_CLASS, kxCOMPLEX));
    const Array matrix = scattered(5, 7, true, 3);
    const Array sparse = roomySparse(true);
    const Array range(kxCreateColonObject(1, 1, 5));

    expectAllOrNothing("full", [&] { return kxCreateNumericArray(3, dims, kxINT8_CLASS, kxCOMPLEX); });
    expectAllOrNothing("sparse", [] { return kxCreateSparseNumericMatrix(2, 2, 2, kxDOUBLE_CLASS, kxCOMPLEX); });
    expectAllOrNothing("literal", [] { return kxCreateEmptyLiteral(); });
    expectAllOrNothing("empty copy", [&] { return kxCreateEmptyCopy(sparse.get()); });
    expectAllOrNothing("colon object", [] { return kxCreateColonObject(1, 1, 3); });
    expectAllOrNothing("range", [] { return kxColonop(1, 1, 3, kxINT32_CLASS); });
    for (const kxArray* array : {cube.get(), matrix.get(), sparse.get()}) {
        expectAllOrNothing("deep copy", [array] { return kxCreateDeepCopy(array); });
        expectAllOrNothing("shared copy", [array] { return kxCreateSharedDataCopy(array); });
        expectAllOrNothing("class", [array] { return kxMustBe(array, kxSINGLE_CLASS); });
        expectAllOrNothing("logical", [array] { return kxMustBe(array, kxLOGICAL_CLASS); });
    }
    for (const kxArray* array : {matrix.get(), sparse.get(), range.get()}) {
        expectAllOrNothing("transpose", [array] { return kxTranspose(array); });
    }
    expectAllOrNothing("to sparse", [&] { return kxMustBeSparse(matrix.get()); });
    expectAllOrNothing("range to sparse", [&] { return kxMustBeSparse(range.get()); });
    expectAllOrNothing("to full", [&] { return kxMustBeFull(sparse.get()); });
    expectAllOrNothing("range to full", [&] { return kxMustBeFull(range.get()); });
}

} // namespace
} // namespace zqsp::test::runtime
