#include "memory_limit.hpp"

#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <limits>
#include <string>
#include <string_view>

namespace kxsh {

namespace {

constexpr std::uint64_t kUnknown = std::numeric_limits<std::uint64_t>::max();
constexpr std::uint64_t kKilobyte = 1024;

bool followsMachine = false;
std::chrono::steady_clock::time_point lastLook;

/// The number behind a word in a file of the system, or the first one, times `unit`; kUnknown where there is none but
/// 0.
std::uint64_t bytesIn(const char* path, std::string_view word = {}, std::uint64_t unit = 1)
{
    std::ifstream file(path);
    std::string each;
    while (each != word && file >> each) {
    }
    std::uint64_t number = 0;
    return file >> number && number != 0 ? number * unit : kUnknown;
}

/// Bytes that can be had without taking them from anybody, in this container if it is one.
std::uint64_t freeBytes()
{
    const std::uint64_t machine = bytesIn("/proc/meminfo", "MemAvailable:", kKilobyte);
    const std::uint64_t most = bytesIn("/sys/fs/cgroup/memory.max");
    const std::uint64_t taken = bytesIn("/sys/fs/cgroup/memory.current");
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
    const auto now = std::chrono::steady_clock::now();
    if (!followsMachine || now - lastLook < kInterval) {
        return;
    }
    lastLook = now;
    const std::uint64_t mapped = bytesIn("/proc/self/status", "VmData:", kKilobyte);
    const std::uint64_t free = freeBytes();
    if (mapped != kUnknown && free != kUnknown) {
        setLimit(mapped + free);
    }
}

} // namespace kxsh
