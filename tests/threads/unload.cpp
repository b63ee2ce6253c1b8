// unload LIBRARY: what the array library keeps for later requests goes with it when it is unloaded, also the share of
// threads that have ended. Exit status 0 when all is well.
#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>

namespace {

/// Bytes that the process has mapped.
std::size_t mappedBytes()
{
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

bool isLoaded(const std::string& library)
{
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        if (line.ends_with(library)) {
            return true;
        }
    }
    return false;
}

} // namespace

int main(int, char** argv)
{
    const std::string path = argv[1];
    constexpr std::size_t kLarge = std::size_t{100} << 20;
    constexpr std::size_t kSlack = std::size_t{20} << 20;
    std::thread([] {}).join(); // what the first thread costs is there already
    void* library = dlopen(path.c_str(), RTLD_NOW);
    const std::size_t before = mappedBytes();
    if (library == nullptr) {
        std::fprintf(stderr, "%s\n", dlerror());
        return 1;
    }
    auto* allocate = reinterpret_cast<void* (*)(std::size_t)>(
        dlsym(library, "_ZN6matrix6detail10noninlined12kx_array_api8kxMallocEm"));
    auto* release =
        reinterpret_cast<void (*)(void*)>(dlsym(library, "_ZN6matrix6detail10noninlined12kx_array_api6kxFreeEPv"));
    const auto use = [&] {
        void* large = allocate(kLarge);
        void* small = allocate(8);
        std::memset(large, 1, kLarge);
        release(small);
        release(large);
    };
    use();
    std::thread(use).join();
    const bool kept = mappedBytes() > before + kLarge / 2;
    dlclose(library);
    const bool gone = !isLoaded(path) && mappedBytes() < before + kSlack;
    std::thread([] {}).join(); // its end must not call into the library
    std::fprintf(stderr, "kept for later: %d, gone with the library: %d\n", int{kept}, int{gone});
    return kept && gone ? 0 : 1;
}
