#include "files.hpp"

#include "error.hpp"
#include "interrupt.hpp"

#include <fmt/format.h>

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace kxsh {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void raiseFileError(std::string_view verb, const fs::path& path, int reason)
{
    throw Error("kxsh:file",
                fmt::format("cannot {} {}: {}", verb, path.string(), std::generic_category().message(reason)));
}

} // namespace

std::string readFile(const fs::path& path)
{
    const FileHandle file(std::fopen(path.c_str(), "rb"));
    if (!file) {
        raiseFileError("read", path, errno);
    }
    std::error_code ignored;
    std::size_t size = fs::is_regular_file(path, ignored) ? fs::file_size(path, ignored) : 0;
    if (ignored) {
        size = 0;
    }
    std::string bytes;
    constexpr std::size_t kChunk = std::size_t{4} << 20;
    bytes.reserve(size + 1);
    for (;;) {
        pollInterrupt();
        const std::size_t used = bytes.size();
        const std::size_t chunk = size > used ? std::min(kChunk, size - used + 1) : kChunk;
        bytes.resize(used + chunk);
        const std::size_t got = std::fread(bytes.data() + used, 1, chunk, file.get());
        bytes.resize(used + got);
        if (got < chunk) {
            break;
        }
    }
    if (std::ferror(file.get()) != 0) {
        const int reason = errno;
        pollInterrupt();
        raiseFileError("read", path, reason);
    }
    return bytes;
}

OutputFile::OutputFile(fs::path path) : path_(std::move(path))
{
    std::error_code ignored;
    const auto status = fs::status(path_, ignored);
    if (!fs::exists(status) || fs::is_regular_file(status)) {
        // A link is followed, so that the file it leads to is the one replaced.
        if (fs::is_symlink(path_, ignored) && fs::exists(status)) {
            path_ = fs::canonical(path_, ignored);
        }
        partial_ = path_;
        partial_ += fmt::format(".{}.part", ::getpid());
    }
    file_.reset(std::fopen((partial_.empty() ? path_ : partial_).c_str(), "wb"));
    if (!file_) {
        const int reason = errno;
        partial_.clear();
        raiseFileError("write", path_, reason);
    }
}

OutputFile::~OutputFile()
{
    file_.reset();
    if (!partial_.empty()) {
        std::error_code ignored;
        fs::remove(partial_, ignored);
    }
}

void OutputFile::write(std::string_view bytes)
{
    if (std::fwrite(bytes.data(), 1, bytes.size(), file_.get()) != bytes.size()) {
        fail();
    }
}

void OutputFile::commit()
{
    if (std::fclose(file_.release()) != 0) {
        fail();
    }
    if (!partial_.empty()) {
        std::error_code error;
        fs::rename(partial_, path_, error);
        if (error) {
            raiseFileError("write", path_, error.value());
        }
        partial_.clear();
    }
}

void OutputFile::fail() const
{
    raiseFileError("write", path_, errno);
}

} // namespace kxsh
