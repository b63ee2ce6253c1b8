// The one source of chance of the benchmarks: seeded, so that every run measures the same data.
#ifndef ZQSP_BENCH_RANDOM_HPP
#define ZQSP_BENCH_RANDOM_HPP

#include <cstdint>
#include <random>
#include <utility>
#include <vector>

namespace zqsp::bench {

class Random
{
  public:
    explicit Random(std::uint64_t seed) : engine_(seed) {}

    /// 0 .. bound-1, for a bound of at most 2^32.
    unsigned below(std::uint64_t bound) { return static_cast<unsigned>(((engine_() >> 32) * bound) >> 32); }
    /// 0 .. 1.
    double fraction() { return static_cast<double>(engine_() >> 11) * 0x1p-53; }

    template <typename T>
    void shuffle(std::vector<T>& items)
    {
        for (std::size_t i = items.size(); i > 1; --i) {
            std::swap(items[i - 1], items[below(i)]);
        }
    }

  private:
    std::mt19937_64 engine_;
};

} // namespace zqsp::bench

#endif
