// The foundation's exceptions and the runtime's errors.
#include "arrays.hpp"

#include <fl_except.hpp>

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

TEST_F(ErrorsTest, EveryKeyHasAText)
{
    const auto textOf = [](const std::string& group, const std::string& key) -> std::string {
        const fl::except::Exception<keys::pmaxsize, std::exception> error(fl::except::MessageId(group, key));
        EXPECT_EQ(error.error_id(), group + ":" + key);
        return error.what();
    };
    for (const char* key : {"index_assign_element_count_mismatch", "indexed_matrix_cannot_be_resized",
                            "index_to_remove_exceeds_matrix_dimensions", "disallowed_indexed_empty_matrix_assignment",
                            "indexed_matrix_cannot_be_resized_to_row_vector", "subsassigndimmismatch", "pmaxsize",
                            "colon_index_assign_element_count_mismatch"}) {
        EXPECT_EQ(textOf(keys::pmaxsize::group, key).find(key), std::string::npos) << "it is written out";
    }
    EXPECT_NE(textOf("ZENTAR:sparse", "tooLargeForLinearIndex"), "ZENTAR:sparse:tooLargeForLinearIndex");
    EXPECT_EQ(textOf("some", "key"), "some:key");
}

template <typename Caught>
void expectThrown(const std::function<void()>& way)
{
    EXPECT_THROW(way(), Caught);
}

/// The exception arrives by its own class and as `Bases`, however it travels.
template <typename... Bases, typename Own>
void expectCaught(const Own& original)
{
    const std::unique_ptr<const boost::exception_detail::clone_base> clone(original.clone());
    boost::exception_ptr kept;
    try {
        throw Own(original);
    } catch (...) {
        kept = boost::current_exception();
    }
    const std::function<void()> ways[] = {[&] { throw Own(original); }, [&] { original.rethrow(); },
                                          [&] { clone->rethrow(); }, [&] { boost::rethrow_exception(kept); }};
    for (const auto& way : ways) {
        expectThrown<Own>(way);
        (expectThrown<Bases>(way), ...);
    }
}

TEST_F(ErrorsTest, ExceptionsAreCaughtByClassAndBasesHoweverTheyTravel)
{
    using namespace fl::except;
    expectCaught<IMsgIDException, IUserException, std::exception, boost::exception_detail::clone_base>(
        exceptionOf<keys::pmaxsize>());
    expectCaught<fl::except::bad_alloc, std::bad_alloc, IUserException>(detail::legacy(fl::except::bad_alloc()));
    EXPECT_THROW(fl::except::bad_alloc().rethrow(), std::bad_alloc);
    EXPECT_GT(std::string(fl::except::bad_alloc().what()).size(), 20U);
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
    for (const char* bad : {"\xC0\x80", "\xE0\x80\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\x80", "\xE2\x82"}) {
        const std::u16string text = error.convert_str(std::string(bad) + "z");
        EXPECT_EQ(text.front(), u'\uFFFD');
        EXPECT_EQ(text.back(), u'z');
    }
    EXPECT_EQ(error.convert_str(std::u16string{0xD800, u'z'}), "\uFFFDz");
    EXPECT_EQ(error.convert_str(std::u16string{0xDC00}), "\uFFFD");
}

} // namespace
} // namespace zqsp::test::runtime
