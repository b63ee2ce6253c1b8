// The errors behind the statuses, and the exceptions that leave the library when the runtime does not raise its own.
#include "support/checks.hpp"

#include <fl_except.hpp>

#include <gtest/gtest.h>

using namespace zqsp::test;

namespace {

/// Exceptions leave by their own class.
struct LegacyErrorsReturn : Setting
{
    LegacyErrorsReturn() : Setting([] { kxrt::legacy_errors_raise(true); }) { kxrt::legacy_errors_raise(false); }
};

/// The exception of a message leaves by its own class.
template <typename Tag>
void expectException(const std::function<void()>& throwIt)
{
    const LeakCheck leaks;
    const LegacyErrorsReturn returning;
    SCOPED_TRACE(Tag::key);
    try {
        throwIt();
        ADD_FAILURE() << "nothing was thrown";
    } catch (const fl::except::Exception<Tag, std::exception>& error) {
        EXPECT_EQ(error.message_id().group, Tag::group);
        EXPECT_EQ(error.message_id().key, Tag::key);
        EXPECT_TRUE(error.message_id().arguments.empty());
        EXPECT_EQ(error.error_id(), std::string(Tag::group) + ":" + Tag::key);
    }
    EXPECT_EQ(leaks.complaint(), "");
}

} // namespace

TEST(Errors, StatusesRaiseTheirErrors)
{
    const std::string legacy = "ZENTAR:legacy_two_part:";
    const std::pair<spStatus, std::string> errors[] = {
        {spIndexAssignCountMismatch, legacy + "index_assign_element_count_mismatch"},
        {spIndexBelowOne, kNotPositiveIntegerError},
        {spCannotResize, legacy + "indexed_matrix_cannot_be_resized"},
        {spIndexNotPositiveInteger, kNotPositiveIntegerError},
        {spIndexToRemoveOutOfRange, legacy + "index_to_remove_exceeds_matrix_dimensions"},
        {spEmptyAssignDisallowed, legacy + "disallowed_indexed_empty_matrix_assignment"},
        {spCannotResizeToRowVector, legacy + "indexed_matrix_cannot_be_resized_to_row_vector"},
        {spAssignDimMismatch, legacy + "subsassigndimmismatch"},
        {spIndexOutOfRange, kOutOfRangeError},
        {spIndexExceedsMaxSize, kMaxSizeError},
        {spOK, ""},
        {static_cast<spStatus>(-1), ""},
        {static_cast<spStatus>(11), ""}};
    for (const auto& [status, identifier] : errors) {
        const auto raise = [status = status] { // clang 14 cannot capture a structured binding by itself
            kxHandleSparseSubscriptError(status);
            return spOK;
        };
        EXPECT_EQ(run(raise), Ended(Failure(identifier.c_str()))) << status;
    }
}

TEST(Errors, LeaveByTheirOwnClass)
{
    const Array a = toArray(Model::empty({}, 0x10000, 0x10000));
    kxArray* out = nullptr;
    expectException<ZENTAR::legacy_two_part::subsassigndimmismatch>(
        [] { kxHandleSparseSubscriptError(spAssignDimMismatch); });
    expectException<ZENTAR::sparse::tooLargeForLinearIndex>([&] { spRef2(a.get(), &out); });

    const MaxElements limit(10);
    const Array past = toArray(Subscript::range(1, 1, 11));
    expectException<ZENTAR::legacy_two_part::pmaxsize>([&] { spRef3(a.get(), past.get(), &out); });
    expectException<ZENTAR::legacy_two_part::pmaxsize>(
        [&] { out = kxSparseColonReference(a.get(), 1, 1, 11, 1, 1, 1); });
    EXPECT_EQ(out, nullptr);
}
