// Matrix Market files.
#ifndef KXSH_MATRIX_MARKET_HPP
#define KXSH_MATRIX_MARKET_HPP

#include "value.hpp"

#include <filesystem>
#include <string>
#include <string_view>

namespace kxsh {

/// Reads a coordinate file into a sparse array (double; logical for the pattern field; else of the class that
/// writeMatrixMarket() has noted) and an array file into a full one. Symmetric, skew-symmetric and hermitian files give
/// the whole matrix; entries of one place are summed. Takes the memory of the text, or
/// that of the entries (two words and the value each) and of the result when that is more. Raises kxsh:file when the
/// file cannot be read, kxsh:matrixMarket with file and line when its content is wrong.
Value readMatrixMarket(const std::filesystem::path& path);
/// The same from the text of a file; `path` is what errors name.
Value parseMatrixMarket(const std::filesystem::path& path, std::string text);

/// Writes sparse arrays in coordinate, full ones in array format, symmetric, skew-symmetric and hermitian ones by their
/// lower triangle; a sparse logical array as a pattern. Numbers are the shortest that read back to the same double, and
/// a comment notes a class other than double. An existing file is replaced only once the new one is complete. Raises
/// kxsh:file.
void writeMatrixMarket(const std::filesystem::path& path, const Value& array);

/// The comment that notes the class, before its name.
constexpr std::string_view kClassNote = "%kxsh:class";

} // namespace kxsh

#endif
