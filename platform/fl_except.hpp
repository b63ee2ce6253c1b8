// The foundation library (libzqfl): exceptions that carry message identifiers.
//
// Every class here derives from Boost's clone_base, so that a caught exception can be cloned, kept and
// rethrown by its own class wherever boost::current_exception() or clone()/rethrow() reach it.
#ifndef FL_EXCEPT_HPP
#define FL_EXCEPT_HPP

#include <boost/exception/detail/clone_current_exception.hpp>
#include <boost/exception_ptr.hpp>

#include <exception>
#include <new>
#include <string>
#include <utility>
#include <vector>

#define FL_EXPORT __attribute__((visibility("default")))

namespace fl::except {

/// A two-part message identifier: a group ("ZENTAR:sparse"), a key ("tooLargeForLinearIndex") and the
/// arguments of the message text (always empty in this system's messages).
struct FL_EXPORT MessageId
{
    std::vector<std::string> arguments;
    std::string group;
    std::string key;

    MessageId(std::string messageGroup, std::string messageKey)
        : group(std::move(messageGroup)), key(std::move(messageKey))
    {
    }
};

/// What every exception shown to a user of the language offers. Virtual slots, in order: clone, rethrow and the
/// destructor (from clone_base), then what, the two convert_str, ToUstringImpl and GetUnicodeMessageTxt.
class FL_EXPORT IUserException : public boost::exception_detail::clone_base
{
  public:
    IUserException() = default;
    IUserException(const IUserException&) = default;
    IUserException& operator=(const IUserException&) = default;
    ~IUserException() noexcept override;

    /// The message text in UTF-8; lives as long as the exception.
    [[nodiscard]] virtual const char* what() const noexcept;
    /// Narrow (UTF-8) and wide texts converted to each other.
    [[nodiscard]] virtual std::string convert_str(const std::u16string& text) const;
    [[nodiscard]] virtual std::u16string convert_str(const std::string& text) const;
    /// The message text in UTF-16.
    [[nodiscard]] virtual std::u16string ToUstringImpl() const;
    [[nodiscard]] virtual std::u16string GetUnicodeMessageTxt() const;

    /// The error identifier ("ZENTAR:legacy_two_part:pmaxsize"); empty where there is none.
    [[nodiscard]] const std::string& error_id() const noexcept { return error_id_; }

  protected:
    /// Installs the identifier and the message text that what() gives.
    void set_message(std::string errorId, std::string text);

  private:
    std::string error_id_;
    std::string text_;
};

/// A user exception made from a message identifier.
class FL_EXPORT IMsgIDException : public IUserException
{
  public:
    explicit IMsgIDException(MessageId id);
    IMsgIDException(const IMsgIDException&) = default;
    IMsgIDException& operator=(const IMsgIDException&) = default;
    ~IMsgIDException() noexcept override;

    [[nodiscard]] const MessageId& message_id() const noexcept { return message_id_; }

    /// Group and key joined by a colon.
    [[nodiscard]] static std::string get_error_id(const MessageId& id);

  private:
    MessageId message_id_;
};

/// The exception of one message key: `Tag` names the key, `Base` the standard class it is also caught by.
/// Header-only with default visibility, so that every library that throws or catches it shares one type.
template <typename Tag, typename Base>
class FL_EXPORT Exception : public IMsgIDException, public Base
{
  public:
    explicit Exception(MessageId id) : IMsgIDException(std::move(id)) {}
    Exception(const Exception&) = default;
    Exception& operator=(const Exception&) = default;
    ~Exception() noexcept override = default;

    /// A heap copy, owned by the caller.
    [[nodiscard]] const boost::exception_detail::clone_base* clone() const override { return new Exception(*this); }
    /// Throws a copy of this object by its own class.
    [[noreturn]] void rethrow() const override { throw Exception(*this); }

    /// Both bases have a what(); the message text is the answer of either.
    [[nodiscard]] const char* what() const noexcept override { return IMsgIDException::what(); }
};

/// Memory exhaustion as the foundation reports it.
class FL_EXPORT bad_alloc : public IUserException, public std::bad_alloc
{
  public:
    bad_alloc();
    bad_alloc(const bad_alloc&) = default;
    bad_alloc& operator=(const bad_alloc&) = default;
    ~bad_alloc() noexcept override;

    [[nodiscard]] const boost::exception_detail::clone_base* clone() const override;
    [[noreturn]] void rethrow() const override;
    [[nodiscard]] const char* what() const noexcept override;
};

namespace detail {

/// The form in which the runtime's older error handlers know memory exhaustion.
class FL_EXPORT legacy_bad_alloc_impl : public bad_alloc
{
  public:
    explicit legacy_bad_alloc_impl(const bad_alloc& source);
    legacy_bad_alloc_impl(const legacy_bad_alloc_impl&) = default;
    legacy_bad_alloc_impl& operator=(const legacy_bad_alloc_impl&) = default;
    ~legacy_bad_alloc_impl() noexcept override;

    [[nodiscard]] const boost::exception_detail::clone_base* clone() const override;
    [[noreturn]] void rethrow() const override;
};

/// Converts an allocation error to its legacy form, ready to be thrown by value.
FL_EXPORT legacy_bad_alloc_impl legacy(const bad_alloc& source);

} // namespace detail
} // namespace fl::except

/// Class tags of the message keys: each names its group and key, and serves as the `Tag` of fl::except::Exception.
/// Complete, default-visible types, so that the exception classes made of them are the same in every library.
// NOLINTBEGIN(readability-identifier-naming): a tag is spelled as its key
namespace ZENTAR {

#define FL_MESSAGE_TAG(groupText, keyName)                                                                             \
    struct FL_EXPORT keyName                                                                                           \
    {                                                                                                                  \
        static constexpr const char* group = groupText;                                                                \
        static constexpr const char* key = #keyName;                                                                   \
    }

namespace legacy_two_part {
FL_MESSAGE_TAG("ZENTAR:legacy_two_part", index_assign_element_count_mismatch);
FL_MESSAGE_TAG("ZENTAR:legacy_two_part", indexed_matrix_cannot_be_resized);
FL_MESSAGE_TAG("ZENTAR:legacy_two_part", index_to_remove_exceeds_matrix_dimensions);
FL_MESSAGE_TAG("ZENTAR:legacy_two_part", disallowed_indexed_empty_matrix_assignment);
FL_MESSAGE_TAG("ZENTAR:legacy_two_part", indexed_matrix_cannot_be_resized_to_row_vector);
FL_MESSAGE_TAG("ZENTAR:legacy_two_part", subsassigndimmismatch);
FL_MESSAGE_TAG("ZENTAR:legacy_two_part", pmaxsize);
FL_MESSAGE_TAG("ZENTAR:legacy_two_part", colon_index_assign_element_count_mismatch);
} // namespace legacy_two_part

namespace sparse {
FL_MESSAGE_TAG("ZENTAR:sparse", tooLargeForLinearIndex);
} // namespace sparse

#undef FL_MESSAGE_TAG

} // namespace ZENTAR
// NOLINTEND(readability-identifier-naming)

#endif
