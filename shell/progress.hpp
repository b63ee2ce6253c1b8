// How far a long reading has come.
#ifndef KXSH_PROGRESS_HPP
#define KXSH_PROGRESS_HPP

#include "interrupt.hpp"

#include <fmt/format.h>

#include <unistd.h>

#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <string>

namespace kxsh {

/// A line that shows how far reading has come, on a terminal and for large files alone.
class Progress
{
  public:
    Progress(const std::filesystem::path& path, std::size_t count)
        : name_(path.filename().string()), count_(count), shown_(count > kWorthShowing && ::isatty(STDERR_FILENO) != 0)
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

    /// Called for every entry; every so often shows the share done, and lets Ctrl-C through.
    void step(std::size_t done) const
    {
        if (done % kInterval != 0) {
            return;
        }
        pollInterrupt();
        if (shown_) {
            fmt::print(stderr, "\rreading {}: {}% of {} entries", name_, done * 100 / count_, count_);
        }
    }

  private:
    static constexpr std::size_t kWorthShowing = 3'000'000;
    static constexpr std::size_t kInterval = std::size_t{1} << 18;
    std::string name_;
    std::size_t count_;
    bool shown_;
};

} // namespace kxsh

#endif
