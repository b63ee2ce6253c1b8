// Which methods the library's calls take.
#ifndef ZQSP_BENCH_METHODS_HPP
#define ZQSP_BENCH_METHODS_HPP

#include <string>

namespace zqsp::bench {

/// What the calls of this thread have taken since this was last asked, each once: "sift, by entries". Empty where there
/// is no choice.
[[gnu::visibility("default")]] std::string takenMethods();

} // namespace zqsp::bench

#endif
