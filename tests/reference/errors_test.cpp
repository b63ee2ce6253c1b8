// The errors behind the statuses, and the exceptions that leave the library when the runtime does not raise its own.
#include "support/checks.hpp"

#include <fl_except.hpp>

#include <gtest/gtest.h>

#include <boost/exception_ptr.hpp>

#include <memory>

using namespace zqsp::test;
using fl::except::IMsgIDException;
using fl::except::IUserException;

namespace {

/// Lets exceptions leave by their own class for a scope.
class LegacyErrorsReturn
{
  public:
    LegacyErrorsReturn() { kxrt::legacy_errors_raise(false); }
    LegacyErrorsReturn(const LegacyErrorsReturn&) = delete;
    LegacyErrorsReturn& operator=(const LegacyErrorsReturn&) = delete;
    ~LegacyErrorsReturn() { kxrt::legacy_errors_raise(true); }
};

template <typename Caught>
bool isCaughtAs(const std::function<void()>& throwIt)
{
    try {
        throwIt();
    } catch (const Caught&) {
        return true;
    } catch (...) {
    }
    return false;
}

/// What must be true of the exception of one message, wherever it was thrown.
template <typename Tag>
void expectException(const std::function<void()>& throwIt)
{
    using Own = fl::except::Exception<Tag, std::exception>;
    const LeakCheck leaks;
    const LegacyErrorsReturn returning;
    SCOPED_TRACE(Tag::key);
    EXPECT_TRUE(isCaughtAs<Own>(throwIt));
    EXPECT_TRUE(isCaughtAs<IMsgIDException>(throwIt));
    EXPECT_TRUE(isCaughtAs<IUserException>(throwIt));
    EXPECT_TRUE(isCaughtAs<std::exception>(throwIt));
    try {
        throwIt();
    } catch (const Own& error) {
        EXPECT_EQ(error.message_id().group, Tag::group);
        EXPECT_EQ(error.message_id().key, Tag::key);
        EXPECT_TRUE(error.message_id().arguments.empty());
        EXPECT_EQ(error.error_id(), std::string(Tag::group) + ":" + Tag::key);
        EXPECT_STREQ(static_cast<const std::exception&>(error).what(),
                     static_cast<const IUserException&>(error).what());
        const std::unique_ptr<const boost::exception_detail::clone_base> clone(error.clone());
        EXPECT_TRUE(isCaughtAs<Own>([&] { clone->rethrow(); }));
        const boost::exception_ptr kept = boost::current_exception();
        EXPECT_TRUE(isCaughtAs<Own>([&] { boost::rethrow_exception(kept); }));
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
        EXPECT_EQ(run(raise), Ended(Failure{spOK, identifier})) << status;
    }
}

TEST(Errors, EachExceptionIsCaughtByItsOwnClassAndItsBases)
{
    namespace legacy = ZENTAR::legacy_two_part;
    const auto raise = [](spStatus status) { return [status] { kxHandleSparseSubscriptError(status); }; };
    expectException<legacy::index_assign_element_count_mismatch>(raise(spIndexAssignCountMismatch));
    expectException<legacy::indexed_matrix_cannot_be_resized>(raise(spCannotResize));
    expectException<legacy::index_to_remove_exceeds_matrix_dimensions>(raise(spIndexToRemoveOutOfRange));
    expectException<legacy::disallowed_indexed_empty_matrix_assignment>(raise(spEmptyAssignDisallowed));
    expectException<legacy::indexed_matrix_cannot_be_resized_to_row_vector>(raise(spCannotResizeToRowVector));
    expectException<legacy::subsassigndimmismatch>(raise(spAssignDimMismatch));
    expectException<legacy::pmaxsize>(raise(spIndexExceedsMaxSize));
}

TEST(Errors, ThrownByReferences)
{
    Model huge = Model::empty({}, 0x10000, 0x10000);
    const Array a = toArray(huge);
    kxArray* out = nullptr;
    expectException<ZENTAR::sparse::tooLargeForLinearIndex>([&] { spRef2(a.get(), &out); });

    const MaxElements limit(10);
    const Array past = toArray(Subscript::range(1, 1, 11));
    expectException<ZENTAR::legacy_two_part::pmaxsize>([&] { spRef3(a.get(), past.get(), &out); });
    expectException<ZENTAR::legacy_two_part::pmaxsize>(
        [&] { out = kxSparseColonReference(a.get(), 1, 1, 11, 1, 1, 1); });
    EXPECT_EQ(out, nullptr);
}
