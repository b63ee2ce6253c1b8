#include "files.hpp"

#include "error.hpp"
#include "interrupt.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <memory>
#include <system_error>
#include <utility>

namespace kxsh {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void raiseFileError(std::string_view verb, const fs::path& path, int reason)
{
    fail("kxsh:file", "cannot {} {}: {}", verb, path.string(), std::generic_category().message(reason));
}

} // namespace

std::string readFile(const fs::path& path)
{
    std::error_code ignored;
    if (fs::is_directory(path, ignored)) {
        raiseFileError("read", path, EISDIR);
    }
    const gzFile file = ::gzopen(path.c_str(), "rb");
    if (file == nullptr) {
        raiseFileError("read", path, errno == 0 ? ENOMEM : errno);
    }
    const std::unique_ptr<gzFile_s, int (*)(gzFile)> owner(file, ::gzclose);
    constexpr unsigned kChunk = 1U << 22;
    ::gzbuffer(file, 1U << 17);
    std::string bytes;
    constexpr std::size_t kLeastRoom = 4096; // behind the last byte of a plain file, so that its end moves nothing
    bytes.reserve(fs::is_regular_file(path, ignored) ? fs::file_size(path, ignored) + kLeastRoom : 0);
    for (int got = 1; got > 0;) {
        pollInterrupt();
        const std::size_t used = bytes.size();
        const std::size_t room = std::max(bytes.capacity() - used, kLeastRoom);
        const auto chunk = static_cast<unsigned>(std::min<std::size_t>(kChunk, room));
        bytes.resize(used + chunk);
        got = ::gzread(file, bytes.data() + used, chunk);
        bytes.resize(used + static_cast<std::size_t>(std::max(got, 0)));
    }
    int status = Z_OK;
    const std::string reason = ::gzerror(file, &status);
    if (status == Z_ERRNO) {
        const int number = errno;
        pollInterrupt();
        raiseFileError("read", path, number);
    }
    require(status == Z_OK || status == Z_STREAM_END, "kxsh:file", "cannot read {}: {}", path.string(), reason);
    return bytes;
}

OutputFile::OutputFile(fs::path path) : path_(std::move(path))
{
    std::error_code ignored;
    if (path_ == "/dev/stdout" || path_ == "/dev/stderr") { // goes on where it stands, also in a file
        descriptor_ = ::dup(path_ == "/dev/stdout" ? STDOUT_FILENO : STDERR_FILENO);
    } else {
        if (fs::is_symlink(path_, ignored)) {
            require(fs::exists(path_, ignored), "kxsh:file", "cannot write {}: it is a link to nothing",
                    path_.string());
            path_ = fs::canonical(path_, ignored);
        }
        const auto status = fs::status(path_, ignored);
        if (fs::exists(status) && !fs::is_regular_file(status)) {
            descriptor_ = ::open(path_.c_str(), O_WRONLY | O_CLOEXEC);
        } else {
            openPartial(status);
        }
    }
    if (descriptor_ < 0) {
        fail(errno);
    }
    if (path_.extension() == ".gz") {
        packed_ = ::gzdopen(descriptor_, "wb");
        if (packed_ == nullptr) {
            close();
            fail(ENOMEM);
        }
    }
}

/// mkostemp() makes its file anew, never through a link, under a random name.
void OutputFile::openPartial(fs::file_status status)
{
    constexpr auto kAnyWrite = fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;
    const bool existed = fs::exists(status);
    if (existed && ((status.permissions() & kAnyWrite) == fs::perms::none || ::access(path_.c_str(), W_OK) != 0)) {
        fail(EACCES);
    }
    std::string name = path_.string() + ".XXXXXX";
    descriptor_ = ::mkostemp(name.data(), O_CLOEXEC);
    if (descriptor_ < 0) {
        return;
    }
    partial_ = std::move(name);
    setDoomedFile(partial_.c_str());
    const mode_t mask = ::umask(0);
    ::umask(mask);
    constexpr mode_t kNewFile = 0666;
    const mode_t mode = existed ? static_cast<mode_t>(status.permissions() & fs::perms::mask) : kNewFile & ~mask;
    static_cast<void>(::fchmod(descriptor_, mode));
}

OutputFile::~OutputFile()
{
    close();
}

void OutputFile::close() noexcept
{
    if (packed_ != nullptr) {
        static_cast<void>(::gzclose(packed_));
    } else if (descriptor_ >= 0) {
        static_cast<void>(::close(descriptor_));
    }
    if (!partial_.empty()) {
        static_cast<void>(::unlink(partial_.c_str()));
    }
    setDoomedFile("");
}

void OutputFile::write(std::string_view bytes)
{
    while (!bytes.empty()) {
        constexpr std::size_t kMost = std::size_t{1} << 28;
        const auto piece = static_cast<unsigned>(std::min(bytes.size(), kMost));
        errno = 0;
        const ssize_t done =
            packed_ != nullptr ? ::gzwrite(packed_, bytes.data(), piece) : ::write(descriptor_, bytes.data(), piece);
        if (done <= 0) {
            const int reason = errno;
            pollInterrupt();
            if (reason == EINTR) {
                continue;
            }
            fail(reason == 0 ? EIO : reason);
        }
        bytes.remove_prefix(static_cast<std::size_t>(done));
    }
}

void OutputFile::commit()
{
    errno = 0;
    const bool closed =
        packed_ != nullptr ? ::gzclose(std::exchange(packed_, nullptr)) == Z_OK : ::close(descriptor_) == 0;
    descriptor_ = -1;
    if (!closed) {
        fail(errno == 0 ? EIO : errno);
    }
    if (!partial_.empty()) {
        if (::rename(partial_.c_str(), path_.c_str()) != 0) {
            fail(errno);
        }
        partial_.clear();
    }
}

void OutputFile::fail(int reason) const
{
    raiseFileError("write", path_, reason);
}

} // namespace kxsh
