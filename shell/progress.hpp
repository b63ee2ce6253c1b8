// How far a long reading or writing has come.
#ifndef KXSH_PROGRESS_HPP
#define KXSH_PROGRESS_HPP

#include "interrupt.hpp"

#include <fmt/format.h>

#include <unistd.h>

#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>

namespace kxsh {

/// A line that shows how far a file of `count` steps has come, on a terminal and for large files alone.
class Progress
{
  public:
    Progress(std::string_view verb, const std::filesystem::path& path, std::size_t count)
        : what_(fmt::format("{} {}", verb, path.filename().string())),
          count_(count),
          shown_(count > kWorthShowing && ::isatty(STDERR_FILENO) != 0)
    {
    }
    ~Progress()
    {
        if (shown_) {
            fmt::print(stderr, "\r\033[K");
        }
    }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Called for every step; every so often shows the share done, and lets Ctrl-C through.
    void step(std::size_t done) const
    {
        if (done % kInterval != 0) {
            return;
        }
        pollInterrupt();
        if (shown_) {
            fmt::print(stderr, "\r{}: {}%", what_, done * 100 / count_);
            std::fflush(stderr);
        }
    }

  private:
    static constexpr std::size_t kWorthShowing = 3'000'000;
    static constexpr std::size_t kInterval = std::size_t{1} << 18;
    std::string what_;
    std::size_t count_;
    bool shown_;
};

} // namespace kxsh

#endif
