#include "sampling.hpp"

#include "interrupt.hpp"

#include <algorithm>
#include <limits>

namespace kxsh {

std::uint64_t Sampler::below(std::uint64_t bound)
{
    // The draws of the last, incomplete stretch of `bound` numbers are repeated.
    const std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
    const std::uint64_t complete = most - most % bound;
    std::uint64_t draw = generator_();
    while (draw >= complete) {
        draw = generator_();
    }
    return draw % bound;
}

double Sampler::fraction()
{
    return (static_cast<double>(generator_() >> 12) + 0.5) * 0x1p-52;
}

std::vector<std::uint64_t> Sampler::choose(std::uint64_t count, std::uint64_t bound)
{
    if (count > bound / 4) {
        return chooseMany(count, bound);
    }
    // Draw, drop repetitions, draw the rest: at most a quarter of the draws is lost in each round.
    std::vector<std::uint64_t> chosen;
    chosen.reserve(count);
    while (chosen.size() < count) {
        const std::size_t missing = count - chosen.size();
        for (std::size_t i = 0; i < missing; ++i) {
            pollAtStep(i);
            chosen.push_back(below(bound));
        }
        std::sort(chosen.begin(), chosen.end(), PollingLess());
        chosen.erase(std::unique(chosen.begin(), chosen.end()), chosen.end());
    }
    return chosen;
}

/// Goes through all numbers, of which at least a quarter is chosen: each with the chance that the rest still needs.
std::vector<std::uint64_t> Sampler::chooseMany(std::uint64_t count, std::uint64_t bound)
{
    std::vector<std::uint64_t> chosen;
    chosen.reserve(count);
    for (std::uint64_t number = 0; chosen.size() < count; ++number) {
        pollAtStep(number);
        if (below(bound - number) < count - chosen.size()) {
            chosen.push_back(number);
        }
    }
    return chosen;
}

} // namespace kxsh
