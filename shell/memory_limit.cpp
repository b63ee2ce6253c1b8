#include "memory_limit.hpp"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <limits>
#include <string>

namespace kxsh {

namespace {

constexpr std::uint64_t kUnknown = std::numeric_limits<std::uint64_t>::max();

bool followsMachine = false;
std::chrono::steady_clock::time_point lastLook;

/// The first number of a file, or kUnknown.
std::uint64_t numberIn(const char* path)
{
    std::uint64_t number = kUnknown;
    std::ifstream(path) >> number;
    return number == 0 ? kUnknown : number;
}

/// Bytes of data that the process has mapped.
std::uint64_t mappedBytes()
{
    std::uint64_t pages[6] = {};
    std::ifstream file("/proc/self/statm");
    for (std::uint64_t& number : pages) {
        file >> number;
    }
    return file ? pages[5] * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE)) : 0;
}

/// Bytes that can be had without taking them from anybody, in this container if it is one.
std::uint64_t freeBytes()
{
    std::ifstream file("/proc/meminfo");
    std::string word;
    std::uint64_t kilobytes = 0;
    while (file >> word) {
        if (word == "MemAvailable:" && file >> kilobytes) {
            break;
        }
    }
    const std::uint64_t machine = kilobytes == 0 ? kUnknown : kilobytes * 1024;
    const std::uint64_t most = numberIn("/sys/fs/cgroup/memory.max");
    const std::uint64_t taken = numberIn("/sys/fs/cgroup/memory.current");
    return most == kUnknown || taken == kUnknown ? machine : std::min(machine, most - std::min(most, taken));
}

/// What a process may map as data is a limit that the system enforces on every allocation, whoever asks.
void setLimit(std::uint64_t bytes)
{
    rlimit limit{};
    if (::getrlimit(RLIMIT_DATA, &limit) == 0) {
        limit.rlim_cur = std::min<rlim_t>(bytes, limit.rlim_max);
        ::setrlimit(RLIMIT_DATA, &limit);
    }
}

} // namespace

void limitMemory(std::uint64_t bytes)
{
    followsMachine = bytes == 0;
    if (!followsMachine) {
        setLimit(bytes);
    }
    refreshMemoryLimit();
}

void refreshMemoryLimit()
{
    constexpr auto kInterval = std::chrono::milliseconds(500);
    if (!followsMachine) {
        return;
    }
    const auto now = std::chrono::steady_clock::now();
    if (now - lastLook < kInterval) {
        return;
    }
    lastLook = now;
    const std::uint64_t free = freeBytes();
    if (free != kUnknown) {
        setLimit(mappedBytes() + free);
    }
}

} // namespace kxsh
