// Whole files.
#ifndef KXSH_FILES_HPP
#define KXSH_FILES_HPP

#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

namespace kxsh {

struct CloseFile
{
    void operator()(std::FILE* file) const noexcept { static_cast<void>(std::fclose(file)); }
};
using FileHandle = std::unique_ptr<std::FILE, CloseFile>;

/// The bytes of a file, which may also be a pipe. Raises kxsh:file with the system's reason.
std::string readFile(const std::filesystem::path& path);

/// A file that appears under its name only when it is complete: written beside it and renamed by commit(). What is not
/// a regular file (/dev/stdout, a pipe) is written directly. Everything raises kxsh:file with the system's reason.
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
    [[noreturn]] void fail() const;

    std::filesystem::path path_;
    std::filesystem::path partial_; ///< empty when written directly
    FileHandle file_;
};

} // namespace kxsh

#endif
