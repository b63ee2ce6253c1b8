// The exception classes of the foundation library, and the texts of the messages.
#include "unicode.hpp"

#include <fl_except.hpp>

#include <string_view>

namespace fl::except {
namespace {

struct MessageText
{
    std::string_view errorId;
    std::string_view text;
};

constexpr MessageText kMessages[] = {
    {"ZENTAR:legacy_two_part:index_assign_element_count_mismatch",
     "The right-hand side must be a scalar or have as many elements as the subscript selects."},
    {"ZENTAR:legacy_two_part:indexed_matrix_cannot_be_resized",
     "A matrix cannot grow through a single subscript; give one subscript for each dimension."},
    {"ZENTAR:legacy_two_part:index_to_remove_exceeds_matrix_dimensions",
     "A subscript of the deletion lies outside the matrix."},
    {"ZENTAR:legacy_two_part:disallowed_indexed_empty_matrix_assignment",
     "[] can only be assigned to a deletion along one whole dimension, or where the subscripts select nothing."},
    {"ZENTAR:legacy_two_part:indexed_matrix_cannot_be_resized_to_row_vector",
     "The matrix has too many elements to become a row vector by this deletion."},
    {"ZENTAR:legacy_two_part:subsassigndimmismatch", "The shape of the right-hand side does not match the subscripts."},
    {"ZENTAR:legacy_two_part:pmaxsize", "The size would exceed the largest number of elements allowed."},
    {"ZENTAR:legacy_two_part:colon_index_assign_element_count_mismatch",
     "A(:) = B needs a B with as many elements as A has."},
    {"ZENTAR:sparse:tooLargeForLinearIndex", "The sparse matrix has too many elements for a single subscript."},
};

/// The text of an identifier; the identifier itself where the catalogue has none.
std::string messageText(const std::string& errorId)
{
    for (const MessageText& message : kMessages) {
        if (message.errorId == errorId) {
            return std::string(message.text);
        }
    }
    return errorId;
}

} // namespace

IUserException::~IUserException() noexcept = default;

const char* IUserException::what() const noexcept
{
    return text_.c_str();
}

std::string IUserException::convert_str(const std::u16string& text) const
{
    return unicode::toUtf8(text);
}

std::u16string IUserException::convert_str(const std::string& text) const
{
    return unicode::toUtf16(text);
}

std::u16string IUserException::ToUstringImpl() const
{
    return convert_str(text_);
}

std::u16string IUserException::GetUnicodeMessageTxt() const
{
    return ToUstringImpl();
}

void IUserException::set_message(std::string errorId, std::string text)
{
    error_id_ = std::move(errorId);
    text_ = std::move(text);
}

IMsgIDException::IMsgIDException(MessageId id) : message_id_(std::move(id))
{
    std::string errorId = get_error_id(message_id_);
    std::string text = messageText(errorId);
    set_message(std::move(errorId), std::move(text));
}

IMsgIDException::~IMsgIDException() noexcept = default;

std::string IMsgIDException::get_error_id(const MessageId& id)
{
    return id.group + ":" + id.key;
}

// The identifier is the one under which the array library reports exhausted memory: one condition, one identifier.
bad_alloc::bad_alloc()
{
    set_message("kx:outOfMemory", "There is not enough memory for the operation.");
}

bad_alloc::~bad_alloc() noexcept = default;

const boost::exception_detail::clone_base* bad_alloc::clone() const
{
    return new bad_alloc(*this);
}

void bad_alloc::rethrow() const
{
    throw bad_alloc(*this);
}

const char* bad_alloc::what() const noexcept
{
    return IUserException::what();
}

namespace detail {

legacy_bad_alloc_impl::legacy_bad_alloc_impl(const bad_alloc& source) : bad_alloc(source) {}

legacy_bad_alloc_impl::~legacy_bad_alloc_impl() noexcept = default;

const boost::exception_detail::clone_base* legacy_bad_alloc_impl::clone() const
{
    return new legacy_bad_alloc_impl(*this);
}

void legacy_bad_alloc_impl::rethrow() const
{
    throw legacy_bad_alloc_impl(*this);
}

legacy_bad_alloc_impl legacy(const bad_alloc& source)
{
    return legacy_bad_alloc_impl(source);
}

} // namespace detail
} // namespace fl::except
