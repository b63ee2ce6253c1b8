// Every way to examine columns against what the words say, over sound columns, columns out of order, and broken ones.
#include "order.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace zqsp::python {
namespace {

using Random = std::mt19937;
using Words = std::vector<unsigned>;

unsigned below(Random& random, unsigned bound)
{
    return std::uniform_int_distribution<unsigned>(0, bound - 1)(random);
}

struct Sample
{
    unsigned m;
    Words starts;
    Words rows;
};

/// Stretches of columns of different lengths, so that pieces of starts and of rows end anywhere.
Sample soundSample(Random& random)
{
    constexpr unsigned kMost[] = {1, 2, 2, 3, 4, 8, 20, 5000};
    Sample sample{1 + below(random, 3) * 9000, {0}, {}};
    for (unsigned stretch = below(random, 4); stretch-- > 0;) {
        const unsigned most = std::min(kMost[below(random, std::size(kMost))], sample.m + 1);
        const unsigned sparsity = 1 + below(random, 3) * 4;
        for (unsigned j = below(random, 5000 / most + 2); j-- > 0;) {
            unsigned length = below(random, sparsity) == 0 ? below(random, most + 1) : 0;
            length = std::min(length, sample.m);
            const unsigned step = length == 0 ? 1 : sample.m / length;
            for (unsigned k = 0; k < length; ++k) {
                sample.rows.push_back(k * step + below(random, step));
            }
            sample.starts.push_back(static_cast<unsigned>(sample.rows.size()));
        }
    }
    return sample;
}

void damage(Random& random, Sample& sample)
{
    constexpr unsigned kOdd[] = {~0U, 1U << 31U, (1U << 31U) - 1, 0, 1};
    const unsigned odd = kOdd[below(random, std::size(kOdd))];
    const auto anyOf = [&](Words& words) -> unsigned& {
        return words[below(random, static_cast<unsigned>(words.size()))];
    };
    switch (below(random, 8)) {
    case 0:
        anyOf(sample.starts) = odd;
        break;
    case 1:
        std::swap(anyOf(sample.starts), anyOf(sample.starts));
        break;
    case 2:
        anyOf(sample.starts) += below(random, 2) == 0 ? 1U : ~0U;
        break;
    default:
        if (!sample.rows.empty()) {
            unsigned& row = anyOf(sample.rows);
            row = below(random, 5) == 0 ? odd : below(random, sample.m);
        }
    }
}

/// Nothing for broken ones.
std::optional<Order> expectedOrder(const Sample& sample)
{
    const auto entries = sample.rows.size();
    if (sample.starts.front() != 0 || sample.starts.back() != entries || !std::ranges::is_sorted(sample.starts) ||
        std::ranges::any_of(sample.rows, [&](unsigned row) { return row >= sample.m; })) {
        return {};
    }
    Order order = Order::sound;
    for (std::size_t j = 0; j + 1 < sample.starts.size(); ++j) {
        for (std::size_t e = std::size_t{sample.starts[j]} + 1; e < sample.starts[j + 1]; ++e) {
            order = sample.rows[e - 1] < sample.rows[e] ? order : Order::unsorted;
        }
    }
    return order;
}

/// What a method says, or how it fails.
struct Answer
{
    std::optional<Order> order;
    std::string message;

    bool operator==(const Answer&) const = default;
};

Answer answerOf(const OrderMethod& method, const Sample& sample, bool copies)
{
    Words starts = sample.starts;
    Words rows = sample.rows;
    Examined columns{starts.data(), rows.data(), sample.m, static_cast<unsigned>(starts.size() - 1),
                     static_cast<unsigned>(rows.size())};
    if (copies) {
        std::ranges::fill(starts, 77);
        std::ranges::fill(rows, 77);
        columns.startsFrom = sample.starts.data();
        columns.rowsFrom = sample.rows.data();
    }
    try {
        const Order order = method.find(columns);
        EXPECT_TRUE(starts == sample.starts && rows == sample.rows);
        return {order, {}};
    } catch (const std::invalid_argument& error) {
        return {{}, error.what()};
    }
}

TEST(Order, EveryMethodSeesWhatTheWordsSay)
{
    unsigned seen[3] = {};
    for (unsigned seed = 0; seed < 4000; ++seed) {
        Random random(seed);
        Sample sample = soundSample(random);
        for (unsigned faults = below(random, 3); faults-- > 0;) {
            damage(random, sample);
        }
        const std::optional<Order> expected = expectedOrder(sample);
        ++seen[expected ? static_cast<unsigned>(*expected) : 2];
        for (const OrderMethod& method : orderMethods()) {
            const Answer inPlace = answerOf(method, sample, false);
            ASSERT_EQ(inPlace.order, expected) << method.name << ", seed " << seed << ": " << inPlace.message;
            ASSERT_EQ(answerOf(method, sample, true), inPlace) << method.name << ", seed " << seed;
            ASSERT_EQ(inPlace.message.starts_with("broken matrix: "), !expected);
        }
    }
    EXPECT_GT(*std::ranges::min_element(seen), 250U); // sound, unsorted, broken
}

TEST(Order, NamesTheFirstFault)
{
    for (const OrderMethod& method : orderMethods()) {
        const auto message = [&](const Sample& sample) { return answerOf(method, sample, false).message; };
        EXPECT_EQ(message({4, {0, 2, 1, 2}, {0, 1}}), "broken matrix: column 1 has entries 2 to 1 of 2");
        EXPECT_EQ(message({4, {0, 1, 3, 2}, {0, 1}}), "broken matrix: column 1 has entries 1 to 3 of 2");
        EXPECT_EQ(message({4, {1, 2}, {0, 1}}), "broken matrix: column 0 has entries 1 to 2 of 2");
        EXPECT_EQ(message({4, {0, 2}, {0, 4}}), "broken matrix: an entry lies outside a size of 4");
        EXPECT_EQ(message({0, {0, 1}, {0}}), "broken matrix: an entry lies outside a size of 0");
        Sample far{9, Words(5000, 5), {0, 1, 2, 3, 4}}; // with starts that must not be followed
        far.starts[0] = 0;
        far.starts[100] = (1U << 31U) + 4; // no step down from here, as a signed word
        far.starts[101] = 1;
        EXPECT_EQ(message(far), "broken matrix: column 99 has entries 5 to 2147483652 of 5");
        std::fill(far.starts.begin() + 100, far.starts.end() - 1, 1U << 30U);
        EXPECT_EQ(message(far), "broken matrix: column 99 has entries 5 to 1073741824 of 5");
    }
}

} // namespace
} // namespace zqsp::python
