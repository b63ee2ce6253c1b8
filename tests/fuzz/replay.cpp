// Runs a fuzzed program on inputs that are kept, where there is no libFuzzer: PROGRAM FOLDER...
#include "target.hpp"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

int main(int argc, char** argv)
{
    std::size_t inputs = 0;
    for (const char* folder : std::vector<const char*>(argv + 1, argv + argc)) {
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            std::fprintf(stderr, "%s\n", entry.path().c_str()); // the last one shown is the one that fails
            std::ifstream file(entry.path(), std::ios::binary);
            const std::vector<char> bytes(std::istreambuf_iterator<char>(file), {});
            LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
            ++inputs;
        }
    }
    std::printf("%zu inputs\n", inputs);
    return inputs == 0 ? 1 : 0;
}
