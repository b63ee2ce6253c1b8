// The foundation's exceptions and the runtime's errors.
#include "arrays.hpp"

#include <fl_except.hpp>

#include <cstdint>
#include <functional>

namespace zqsp::test::runtime {
namespace {

using ErrorsTest = RuntimeTest;
namespace keys = ZENTAR::legacy_two_part;

template <typename Tag>
fl::except::Exception<Tag, std::exception> exceptionOf()
{
    return fl::except::Exception<Tag, std::exception>(fl::except::MessageId(Tag::group, Tag::key));
}

TEST_F(ErrorsTest, EveryKeyHasItsIdentifierAndAText)
{
    const auto check = [](const fl::except::IMsgIDException& error, const std::string& identifier) {
        EXPECT_EQ(error.error_id(), identifier);
        EXPECT_NE(error.what(), identifier); // the text is written out
        EXPECT_GT(std::string(error.what()).size(), 20U);
        EXPECT_TRUE(error.message_id().arguments.empty());
    };
    const std::string legacy = "ZENTAR:legacy_two_part:";
    check(exceptionOf<keys::index_assign_element_count_mismatch>(), legacy + "index_assign_element_count_mismatch");
    check(exceptionOf<keys::indexed_matrix_cannot_be_resized>(), legacy + "indexed_matrix_cannot_be_resized");
    check(exceptionOf<keys::index_to_remove_exceeds_matrix_dimensions>(),
          legacy + "index_to_remove_exceeds_matrix_dimensions");
    check(exceptionOf<keys::disallowed_indexed_empty_matrix_assignment>(),
          legacy + "disallowed_indexed_empty_matrix_assignment");
    check(exceptionOf<keys::indexed_matrix_cannot_be_resized_to_row_vector>(),
          legacy + "indexed_matrix_cannot_be_resized_to_row_vector");
    check(exceptionOf<keys::subsassigndimmismatch>(), legacy + "subsassigndimmismatch");
    check(exceptionOf<keys::pmaxsize>(), legacy + "pmaxsize");
    check(exceptionOf<keys::colon_index_assign_element_count_mismatch>(),
          legacy + "colon_index_assign_element_count_mismatch");
    check(exceptionOf<ZENTAR::sparse::tooLargeForLinearIndex>(), "ZENTAR:sparse:tooLargeForLinearIndex");

    const fl::except::Exception<keys::pmaxsize, std::exception> unknown(fl::except::MessageId("some", "key"));
    EXPECT_STREQ(unknown.what(), "some:key");
}

/// Throws, and tells whether a handler for `Caught` receives the exception with its text.
template <typename Caught, typename Throw>
bool caughtAs(Throw&& doThrow)
{
    try {
        doThrow();
    } catch (const Caught& error) {
        if constexpr (requires { error.what(); }) {
            return *error.what() != '\0';
        } else {
            return true;
        }
    } catch (...) {
    }
    return false;
}

TEST_F(ErrorsTest, ExceptionsAreCaughtByClassAndBasesHoweverTheyTravel)
{
    using MaxSize = fl::except::Exception<keys::pmaxsize, std::exception>;
    const auto original = exceptionOf<keys::pmaxsize>();
    const std::unique_ptr<const boost::exception_detail::clone_base> clone(original.clone());
    boost::exception_ptr kept;
    try {
        throw MaxSize(original);
    } catch (...) {
        kept = boost::current_exception();
    }
    const std::function<void()> ways[] = {[&] { throw MaxSize(original); }, [&] { original.rethrow(); },
                                          [&] { clone->rethrow(); }, [&] { boost::rethrow_exception(kept); }};
    for (const auto& way : ways) {
        EXPECT_TRUE(caughtAs<MaxSize>(way));
        EXPECT_TRUE(caughtAs<fl::except::IMsgIDException>(way));
        EXPECT_TRUE(caughtAs<fl::except::IUserException>(way));
        EXPECT_TRUE(caughtAs<std::exception>(way));
        EXPECT_TRUE(caughtAs<boost::exception_detail::clone_base>(way));
        EXPECT_FALSE((caughtAs<fl::except::Exception<keys::subsassigndimmismatch, std::exception>>(way)));
    }
}

TEST_F(ErrorsTest, MemoryExhaustionKeepsItsClassHoweverItTravels)
{
    using Legacy = fl::except::detail::legacy_bad_alloc_impl;
    const Legacy original = fl::except::detail::legacy(fl::except::bad_alloc());
    const std::unique_ptr<const boost::exception_detail::clone_base> clone(original.clone());
    boost::exception_ptr kept;
    try {
        throw Legacy(original);
    } catch (...) {
        kept = boost::current_exception();
    }
    const std::function<void()> ways[] = {[&] { original.rethrow(); }, [&] { clone->rethrow(); },
                                          [&] { boost::rethrow_exception(kept); }};
    for (const auto& way : ways) {
        EXPECT_TRUE(caughtAs<Legacy>(way));
        EXPECT_TRUE(caughtAs<fl::except::bad_alloc>(way));
        EXPECT_TRUE(caughtAs<std::bad_alloc>(way));
        EXPECT_TRUE(caughtAs<fl::except::IUserException>(way));
    }
    EXPECT_TRUE(caughtAs<std::bad_alloc>([] { fl::except::bad_alloc().rethrow(); }));
}

TEST_F(ErrorsTest, TextsConvertBetweenEncodings)
{
    const auto error = exceptionOf<keys::pmaxsize>();
    EXPECT_EQ(error.convert_str(error.GetUnicodeMessageTxt()), error.what());
    EXPECT_EQ(error.ToUstringImpl(), error.GetUnicodeMessageTxt());

    const std::string narrow = "a\u00e9\u20ac\U0001F600";
    const std::u16string wide = u"a\u00e9\u20ac\U0001F600";
    EXPECT_EQ(error.convert_str(narrow), wide);
    EXPECT_EQ(error.convert_str(wide), narrow);
    // Overlong, surrogate, beyond the last code point, stray continuation, cut short.
    for (const char* bad : {"\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\x80", "\xE2\x82"}) {
        const std::u16string text = error.convert_str(std::string(bad) + "z");
        EXPECT_EQ(text.front(), u'\uFFFD');
        EXPECT_EQ(text.back(), u'z');
    }
    EXPECT_EQ(error.convert_str(std::u16string{0xD800, u'z'}), "\uFFFDz");
    EXPECT_EQ(error.convert_str(std::u16string{0xDC00}), "\uFFFD");
}

TEST_F(ErrorsTest, TheRuntimeRaisesItsOwnErrors)
{
    EXPECT_EQ(errorOf([] { kxHandleSubscriptError(kxSUBSCRIPT_NOT_POSITIVE_INTEGER); }),
              "kx:subscript:notPositiveInteger");
    EXPECT_EQ(errorOf([] { kxHandleSubscriptError(kxSUBSCRIPT_OUT_OF_RANGE); }), "kx:subscript:outOfRange");
    const auto error = exceptionOf<keys::pmaxsize>();
    EXPECT_EQ(errorOf([&] { do_legacy_kx_error(error); }), "ZENTAR:legacy_two_part:pmaxsize");
    kxrt::legacy_errors_raise(false);
    EXPECT_EQ(errorOf([&] { do_legacy_kx_error(error); }), "");
    EXPECT_TRUE(caughtAs<std::runtime_error>([] { kxCheckMN(UINT32_MAX, 2, 1); }));
}

} // namespace
} // namespace zqsp::test::runtime
