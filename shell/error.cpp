#include "error.hpp"

#include <fl_except.hpp>
#include <kx_runtime.hpp>

#include <algorithm>
#include <cctype>
#include <new>
#include <utility>

namespace kxsh {

namespace {

/// The runtime speaks in sentences; shown behind "error:", they lose their full stop and, where they begin with a word
/// (not with NaN or A(:)), their capital.
std::string clauseOf(std::string sentence)
{
    if (sentence.ends_with('.')) {
        sentence.pop_back();
    }
    const auto isSmall = [](char c) { return c >= 'a' && c <= 'z'; };
    const std::size_t word = std::min(sentence.find(' '), sentence.size());
    if (word > 0 && word < sentence.size() && std::isupper(static_cast<unsigned char>(sentence[0])) != 0 &&
        std::all_of(sentence.begin() + 1, sentence.begin() + static_cast<std::ptrdiff_t>(word), isSmall)) {
        sentence[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(sentence[0])));
    }
    return sentence;
}

} // namespace

bool reportingErrors(const std::function<void()>& action, const std::function<void(const ErrorReport&)>& report)
{
    try {
        action();
        return true;
    } catch (const Error& error) {
        report({error.what(), error.identifier()});
    } catch (const kxrt::Error& error) {
        report({clauseOf(error.what()), error.identifier()});
    } catch (const fl::except::bad_alloc& error) {
        report({clauseOf(error.what()), "kx:outOfMemory"});
    } catch (const fl::except::IUserException& error) {
        report({clauseOf(error.what()), error.error_id()});
    } catch (const std::bad_alloc&) {
        report({"out of memory", "kx:outOfMemory"});
    } catch (const std::length_error&) {
        report({"out of memory", "kx:outOfMemory"});
    } catch (const std::exception& error) {
        report({error.what(), "kxsh:internal"});
    }
    return false;
}

} // namespace kxsh
