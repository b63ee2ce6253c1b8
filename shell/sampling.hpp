// Repeatable random numbers: the same on every machine, as neither the generator nor the mappings are left to the
// standard library's discretion.
#ifndef KXSH_SAMPLING_HPP
#define KXSH_SAMPLING_HPP

#include <cstdint>
#include <random>
#include <vector>

namespace kxsh {

class Sampler
{
  public:
    explicit Sampler(std::uint64_t seed) : generator_(seed) {}

    /// Uniform whole number below `bound`, which is at least 1.
    std::uint64_t below(std::uint64_t bound);
    /// Uniform number strictly between 0 and 1.
    double fraction();
    /// `count` distinct numbers below `bound`, ascending. Cost: count log count.
    std::vector<std::uint64_t> choose(std::uint64_t count, std::uint64_t bound);

  private:
    std::vector<std::uint64_t> chooseMany(std::uint64_t count, std::uint64_t bound);

    std::mt19937_64 generator_;
};

} // namespace kxsh

#endif
