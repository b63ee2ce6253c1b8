// What the fuzzed programs share: their entry, the limits they run under, and how they complain.
#ifndef ZQSP_TESTS_FUZZ_TARGET_HPP
#define ZQSP_TESTS_FUZZ_TARGET_HPP

#include "support/checks.hpp"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

/// Runs one input; called by libFuzzer, and by replay.cpp for the inputs that are kept.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace zqsp::test {

/// Whatever an input asks for, it gets neither large arrays nor large blocks.
struct FuzzLimits
{
    MaxElements elements{1U << 12};
    LargestBlock block{std::size_t{1} << 16};
};

/// Ends the program, and with it the input's run, unless the complaint is "".
inline void expectNone(const std::string& complaint)
{
    if (!complaint.empty()) {
        std::fprintf(stderr, "%s\n", complaint.c_str());
        std::abort();
    }
}

} // namespace zqsp::test

#endif
