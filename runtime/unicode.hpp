// UTF-8 and UTF-16 text converted to each other.
#ifndef FL_UNICODE_HPP
#define FL_UNICODE_HPP

#include <string>
#include <string_view>

namespace fl::unicode {

/// Malformed input (a stray surrogate) becomes U+FFFD.
std::string toUtf8(std::u16string_view text);
/// Malformed input (stray or missing continuation bytes, overlong forms, surrogates) becomes U+FFFD.
std::u16string toUtf16(std::string_view text);

} // namespace fl::unicode

#endif
