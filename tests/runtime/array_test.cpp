// Making, copying, moving and changing arrays.
#include "arrays.hpp"

namespace zqsp::test::runtime {
namespace {

using ArrayTest = RuntimeTest;

/// 3-by-3 with capacity for more than its four entries.
Model roomy(bool complex)
{
    const Value i{0, complex ? -1.0 : 0.0};
    return withCapacity(Model::of({kxDOUBLE_CLASS, complex}, {{1, 0, 0}, {0, 0, 3.0 + 2.0 * i}, {2.0 + i, 0, 4}}), 6);
}

const unsigned kCube[] = {2, 3, 4, 1};

TEST_F(ArrayTest, NewArraysHaveTheFlagsAndSizesOfTheirKind)
{
    const Array cube(kxCreateNumericArray(4, kCube, kxINT16_CLASS, kxCOMPLEX));
    EXPECT_EQ(dimensions(cube), (std::vector<unsigned>{2, 3, 4})); // a trailing 1 is no dimension
    EXPECT_EQ(kxGetN(cube.get()), 12U);
    EXPECT_EQ(elements<short>(cube->pi, 24), std::vector<short>(24));

    const Array mask(kxCreateNumericArray(2, kCube, kxLOGICAL_CLASS, kxREAL));
    const Array sparse(kxCreateSparseNumericMatrix(4, 2, 0, kxSINGLE_CLASS, kxCOMPLEX));
    const Array literal(kxCreateEmptyLiteral());
    const Array unset(kxCreateUnset());
    const Array colon(kxCreateColon());
    EXPECT_EQ("", diff(sparse.get(), Model::empty({kxSINGLE_CLASS, true}, 4, 2)));
    EXPECT_EQ(unset->class_id, kxUNKNOWN_CLASS);
    EXPECT_TRUE(colon->is_colon_index());
    EXPECT_FALSE(kxIsEmpty(colon.get())); // it may select everything
    EXPECT_TRUE(kxIsEmpty(literal.get()) && kxIsEmpty(unset.get()));
    const std::pair<const kxArray*, unsigned> flags[] = {{cube.get(), kxFLAG_MAY_BE_COMPLEX},
                                                         {mask.get(), 0},
                                                         {sparse.get(), kxFLAG_SPARSE | kxFLAG_MAY_BE_COMPLEX},
                                                         {literal.get(), kxFLAG_EMPTY_LITERAL | kxFLAG_MAY_BE_COMPLEX},
                                                         {unset.get(), 0},
                                                         {colon.get(), kxFLAG_COLON_OBJECT}};
    for (const auto& [array, expected] : flags) {
        EXPECT_EQ(array->flags, expected);
    }
}

TEST_F(ArrayTest, UnusableRequestsAreRefused)
{
    const unsigned huge[] = {70000, 70000};
    EXPECT_EQ(errorOf([&] { kxCreateNumericArray(2, huge, kxUINT8_CLASS, kxREAL); }), "kx:sizeLimit");
    EXPECT_EQ(errorOf([] { kxCreateNumericArray(1, kCube, kxUINT8_CLASS, kxREAL); }), "kx:invalidOperand");
    EXPECT_EQ(errorOf([] { kxCreateNumericArray(2, kCube, kxLOGICAL_CLASS, kxCOMPLEX); }), "kx:invalidOperand");
    EXPECT_EQ(errorOf([] { kxCreateNumericArray(2, kCube, static_cast<kxClassID>(5), kxREAL); }), "kx:invalidOperand");
    EXPECT_EQ(errorOf([] { kxCreateSparseNumericMatrix(1, 1, 1, kxUNKNOWN_CLASS, kxREAL); }), "kx:invalidOperand");

    // The elements of a sparse array need not be countable.
    const Array wide(kxCreateSparseNumericMatrix(4000000000U, 5, 1, kxDOUBLE_CLASS, kxREAL));
    EXPECT_EQ(kxGetNumberOfElements(wide.get()), 0x7FFFFFFFU);
    EXPECT_EQ(errorOf([&] { kxMustBeFull(wide.get()); }), "kx:sizeLimit");
}

TEST_F(ArrayTest, ScalarsAreReadFromEveryStorage)
{
    EXPECT_EQ(kxGetScalar(fullRow<signed char>(kxINT8_CLASS, {-3, 9}).get()), -3);
    EXPECT_EQ(kxGetScalar(fullRow<unsigned short>(kxCHAR_CLASS, {65}).get()), 65);
    EXPECT_EQ(kxGetScalar(toArray(roomy(false)).get()), 1);
    EXPECT_EQ(kxGetScalar(toArray(Model::empty(kReal, 1, 1)).get()), 0);
    EXPECT_EQ(kxGetScalar(toArray(Model::of(kReal, {{0}, {8}})).get()), 0); // stored, but not in the first place
    EXPECT_EQ(kxGetScalar(Array(kxCreateColonObject(4, 1, 9)).get()), 4);
    EXPECT_EQ(errorOf([] { kxGetScalar(Array(kxCreateEmptyLiteral()).get()); }), "kx:invalidOperand");
}

TEST_F(ArrayTest, DeepCopiesKeepEverythingAndShareNothing)
{
    Model model = roomy(true);
    model.hideClass = true;
    const Array original = toArray(model);
    kxSetArrayScope(original.get(), kxELEMENT_SCOPE);
    for (auto* copyOf : {kxCreateDeepCopy, kxDuplicateArray}) {
        const Array copy(copyOf(original.get()));
        EXPECT_FALSE(kxrt::is_shared(original.get()));
        static_cast<double*>(copy->pr)[5] = 1; // the capacity is there, not only its number
        EXPECT_EQ("", diff(copy.get(), model));
        EXPECT_EQ(copy->class_id, original->class_id);
        EXPECT_EQ(copy->scope, kxTEMPORARY_SCOPE);
    }
    const Array literal(kxDuplicateArray(Array(kxCreateEmptyLiteral()).get()));
    EXPECT_EQ(literal->flags & kxFLAG_EMPTY_LITERAL, kxFLAG_EMPTY_LITERAL);
    const Array range(kxCreateSharedDataCopy(Array(kxCreateColonObject(1, 2, 9)).get()));
    EXPECT_EQ(elements<double>(Array(kxMustBeFull(range.get()))->pr, 5), (std::vector<double>{1, 3, 5, 7, 9}));
}

TEST_F(ArrayTest, SharedCopiesLiveUntilTheLastAndArePrivateOnDemand)
{
    const Model model = roomy(true);
    Array original = toArray(model);
    const Array copy(kxCreateSharedDataCopy(original.get()));
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
    EXPECT_EQ("", diff(copy.get(), model));
    const long asked = kxrt::allocations();
    kxrt::make_private(copy.get()); // nothing left to do
    EXPECT_EQ(kxrt::allocations(), asked);

    const Array survivor(kxCreateSharedDataCopy(original.get()));
    kxDestroyArray(original.release());
    EXPECT_EQ("", diff(survivor.get(), model));
}

TEST_F(ArrayTest, MovingReplacesTheWholeContent)
{
    const Array target(kxCreateNumericArray(3, kCube, kxINT8_CLASS, kxCOMPLEX));
    Model model = roomy(true);
    model.hideClass = true;
    Array source = toArray(model);
    kxSetArrayScope(source.get(), kxELEMENT_SCOPE);
    const void* values = source->pr;
    kxMoveArrayOntoHeader(target.get(), source.release());
    EXPECT_EQ(target->pr, values);
    EXPECT_EQ(target->scope, kxELEMENT_SCOPE);
    EXPECT_EQ("", diff(target.get(), model));

    kxMoveArrayOntoHeader(target.get(), kxCreateNumericArray(3, kCube, kxCHAR_CLASS, kxREAL));
    EXPECT_EQ(dimensions(target), (std::vector<unsigned>{2, 3, 4}));
    EXPECT_EQ(target->jc, nullptr);
    EXPECT_EQ(target->flags, 0U);
    kxMoveArrayOntoHeader(target.get(), kxCreateColonObject(2, 3, 8));
    EXPECT_EQ(kxrt::range_count(target.get()), 3);
}

TEST_F(ArrayTest, DimensionsChangeBetweenTwoAndMany)
{
    const Array array(kxCreateDoubleMatrix(6, 4, kxREAL));
    const unsigned tooMany[] = {1U << 20, 1U << 20};
    ASSERT_EQ(kxSetDimensions(array.get(), kCube, 3), 0);
    kxrt::fail_allocation_after(1);
    EXPECT_EQ(kxSetDimensions(array.get(), kCube, 3), 1);
    EXPECT_EQ(kxSetDimensions(array.get(), kCube, 1), 1);
    EXPECT_EQ(kxSetDimensions(array.get(), tooMany, 2), 1);
    EXPECT_EQ(dimensions(array), (std::vector<unsigned>{2, 3, 4}));
    kxSetM(array.get(), 1);
    kxSetN(array.get(), 12);
    EXPECT_EQ(dimensions(array), (std::vector<unsigned>{1, 12}));

    const Array sparse = toArray(roomy(false));
    EXPECT_EQ(kxSetDimensions(sparse.get(), kCube, 3), 1);
    EXPECT_EQ(kxSetDimensions(sparse.get(), tooMany, 2), 0);
}

TEST_F(ArrayTest, AnAllZeroImaginaryPartIsDropped)
{
    const auto dropped = [](const Array& array) {
        kxFreeImagIfZero(array.get());
        return array->pi == nullptr;
    };
    const Array array(kxCreateDoubleMatrix(10, 100, kxCOMPLEX));
    auto* imaginary = static_cast<double*>(array->pi);
    for (const std::size_t place : {0U, 500U, 999U}) {
        imaginary[place] = 1e-310;
        EXPECT_FALSE(dropped(array)) << place;
        imaginary[place] = -0.0;
    }
    EXPECT_TRUE(dropped(array));
    EXPECT_FALSE(dropped(full(Model::of({kxSINGLE_CLASS, true}, {{Value(1, __builtin_nan(""))}}))));

    Model model = roomy(true);
    EXPECT_FALSE(dropped(toArray(model)));
    model.hideClass = true;
    for (auto& [place, value] : model.entries) {
        value = value.real(); // what lies beyond the entries does not count
    }
    const Array sparse = toArray(model);
    EXPECT_TRUE(dropped(sparse));
    EXPECT_EQ(sparse->flags & kxFLAG_MAY_BE_COMPLEX, kxFLAG_MAY_BE_COMPLEX);

    const Array real(kxCreateDoubleMatrix(1, 1, kxREAL));
    real->flags &= ~kxFLAG_MAY_BE_COMPLEX;
    kxSetPi(real.get(), static_cast<double*>(kxCalloc(1, 8)));
    EXPECT_TRUE(dropped(real)); // the setter has made it complex
}

} // namespace
} // namespace zqsp::test::runtime
