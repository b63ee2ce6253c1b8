// Whole files.
#ifndef KXSH_FILES_HPP
#define KXSH_FILES_HPP

#include <zlib.h>

#include <filesystem>
#include <string>
#include <string_view>

namespace kxsh {

/// The bytes of a file, which may also be a pipe; unpacked if gzip has compressed it. Raises kxsh:file with the
/// system's reason.
std::string readFile(const std::filesystem::path& path);

/// A file that appears under its name only when it is complete: written beside it under a name that nobody can guess,
/// which goes away on errors and signals, and renamed by commit(). A name that ends in .gz makes it compressed. A file
/// that exists passes its mode on, and may not be read-only; a link is followed, and must lead to something. What is
/// not a regular file (/dev/stdout, a pipe) is written directly. Everything raises kxsh:file with the system's reason.
class OutputFile
{
  public:
    explicit OutputFile(std::filesystem::path path);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    void write(std::string_view bytes);
    /// The last step; without it nothing is left behind.
    void commit();

  private:
    [[noreturn]] void fail(int reason) const;
    /// The file beside the one of this status; no descriptor where it cannot be.
    void openPartial(std::filesystem::file_status status);
    void close() noexcept;

    std::filesystem::path path_;
    std::string partial_; ///< empty when written directly
    int descriptor_ = -1;
    gzFile packed_ = nullptr; ///< over the descriptor, for .gz
};

} // namespace kxsh

#endif
