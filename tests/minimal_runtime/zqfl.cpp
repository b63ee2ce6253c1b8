// The foundation library without a catalogue: the text of an exception is its identifier.
#include <fl_except.hpp>

namespace fl::except {

IUserException::~IUserException() noexcept = default;

const char* IUserException::what() const noexcept
{
    return text_.c_str();
}

// Identifiers are ASCII, and so are all texts here.
std::string IUserException::convert_str(const std::u16string& text) const
{
    std::string narrow;
    for (const char16_t unit : text) {
        narrow += unit < 0x80 ? static_cast<char>(unit) : '?';
    }
    return narrow;
}

std::u16string IUserException::convert_str(const std::string& text) const
{
    return {text.begin(), text.end()};
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
    set_message(get_error_id(message_id_), get_error_id(message_id_));
}

IMsgIDException::~IMsgIDException() noexcept = default;

std::string IMsgIDException::get_error_id(const MessageId& id)
{
    return id.group + ":" + id.key;
}

bad_alloc::bad_alloc()
{
    set_message("", "out of memory");
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
