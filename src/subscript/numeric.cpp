// Numeric subscripts of every class, read in one pass: a block of values is tested and stored without a branch per
// value, and only a block that holds a bad value is read again by the rules.
#include "kernels/kernels.hpp"
#include "subscript/convert.hpp"

#include <kx_element_types.hpp>

#include <algorithm>
#include <concepts>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace zqsp {

namespace {

/// Stores value - 1 of each value. The answer is false when some value is not an integer in 1 .. highest, which is
/// below 2^31; what is stored then is not meant to be used.
template <typename T>
bool storeIndices(const T* values, unsigned count, T highest, unsigned* indices)
{
    using Word = std::conditional_t<std::floating_point<T>, std::int32_t, T>;
    bool allGood = true;
    for (unsigned i = 0; i < count; ++i) {
        const bool inRange = values[i] >= T(1) && values[i] <= highest;
        const T value = inRange ? values[i] : T(1);
        const auto word = static_cast<Word>(value);
        indices[i] = static_cast<unsigned>(word) - 1U;
        allGood &= inRange & (static_cast<T>(word) == value);
    }
    return allGood;
}

bool storeIndices(const double* values, unsigned count, double highest, unsigned* indices)
{
    return kernels().storeIndices(values, count, highest, indices);
}

/// The largest value the branch-free pass may accept: the limit, as far as the class and a signed word reach.
template <typename T>
T highestPlainValue(const ValueRules& rules)
{
    const std::uint64_t highest = std::min<std::uint64_t>(
        {rules.limit, static_cast<std::uint64_t>(rules.most), std::numeric_limits<std::int32_t>::max()});
    if constexpr (std::integral<T>) {
        return static_cast<T>(
            std::min<std::uint64_t>(highest, static_cast<std::uint64_t>(std::numeric_limits<T>::max())));
    } else if constexpr (std::same_as<T, float>) {
        constexpr std::uint64_t kLastExactFloat = 1U << 24U; // beyond it singles round, and the rules must speak
        return static_cast<T>(std::min(highest, kLastExactFloat));
    } else {
        return static_cast<T>(highest);
    }
}

/// The same value by value; gives the first that is refused.
template <typename T>
std::optional<double> storeByRules(const T* values, unsigned count, const ValueRules& rules, unsigned* indices)
{
    for (unsigned i = 0; i < count; ++i) {
        const auto value = static_cast<double>(values[i]);
        if (!rules.accepts(value)) {
            return value;
        }
        indices[i] = static_cast<unsigned>(value) - 1;
    }
    return std::nullopt;
}

/// What is learnt of the order of a list while it is made.
class OrderWatch
{
  public:
    /// The indices begin .. end-1 are there, as are those before.
    void see(const unsigned* indices, unsigned begin, unsigned end)
    {
        if (begin == 0) {
            step_ = end > 1 ? indices[1] - indices[0] : 0;
            begin = 1;
        }
        const Steps steps = kernels().stepsTo(indices + begin, end - begin, step_);
        falls_ |= steps.fall;
        rises_ |= steps.rise;
        regular_ &= !steps.irregular;
    }

    [[nodiscard]] Order order() const
    {
        return !falls_ ? Order::kAscending : (rises_ ? Order::kUnsorted : Order::kDescending);
    }
    /// Whether the list is an arithmetic progression with a signed stride. (A step past 31 bits has none, and the
    /// lowest signed word no opposite.)
    [[nodiscard]] bool isProgression() const
    {
        return regular_ && rises_ != falls_ && step_ != 0x80000000U && (stride() > 0) == rises_;
    }
    [[nodiscard]] int stride() const { return static_cast<int>(step_); }

  private:
    unsigned step_ = 0; // from the first index to the second, modulo 2^32
    bool falls_ = false;
    bool rises_ = false;
    bool regular_ = true;
};

template <typename T>
std::optional<double> storeAll(const T* values, unsigned count, const ValueRules& rules, unsigned* indices,
                               OrderWatch& watch)
{
    constexpr unsigned kBlock = 1024; // stays in the first-level cache between the readings
    const T highest = highestPlainValue<T>(rules);
    for (unsigned done = 0, size = 0; done < count; done += size) {
        size = std::min(kBlock, count - done);
        if (!storeIndices(values + done, size, highest, indices + done)) {
            if (const auto refused = storeByRules(values + done, size, rules, indices + done)) {
                return refused;
            }
        }
        watch.see(indices, done, done + size);
    }
    return std::nullopt;
}

/// f(values), of their class: the class is looked at once, outside the loop.
template <typename F>
auto withNumbers(const kxArray* numbers, F&& f)
{
    return kxWithElementType<std::uint8_t, std::uint16_t>(classOf(numbers), [&]<typename T>(std::type_identity<T>) {
        return f(static_cast<const T*>(static_cast<const void*>(numbers->pr)));
    });
}

bool isConvertible(kxClassID id)
{
    constexpr unsigned kNoClass = 5;
    return id >= kxCHAR_CLASS && id <= kxUINT64_CLASS && id != kNoClass;
}

/// The simplest form of a list: an arithmetic progression becomes a range.
Subscript simplestForm(Block<unsigned> indices, unsigned count, const OrderWatch& watch)
{
    if (count == 0) {
        return IndexRange();
    }
    if (watch.isProgression()) {
        return IndexRange(indices[0], indices[count - 1], watch.stride(), count);
    }
    return IndexList(std::move(indices), count, watch.order());
}

} // namespace

Operand readableNumbers(const kxArray* subscript)
{
    Operand numbers(subscript);
    if (!isConvertible(classOf(subscript))) {
        numbers.become(kxMustBe(subscript, kxDOUBLE_CLASS));
    }
    return numbers;
}

std::optional<double> convertNumbers(const kxArray* numbers, const ValueRules& rules, Subscript& form)
{
    const auto count = static_cast<unsigned>(elementsOf(numbers));
    if (count == 1) { // needs no list
        const double value = withNumbers(numbers, [](const auto* values) { return static_cast<double>(*values); });
        if (!rules.accepts(value)) {
            return value;
        }
        const unsigned index = static_cast<unsigned>(value) - 1;
        form = IndexRange(index, index, 1, 1);
        return std::nullopt;
    }
    auto list = Block<unsigned>::make(count);
    OrderWatch watch;
    const auto refused =
        withNumbers(numbers, [&](const auto* values) { return storeAll(values, count, rules, list.get(), watch); });
    if (!refused) {
        form = simplestForm(std::move(list), count, watch);
    }
    return refused;
}

double highestNumber(const kxArray* numbers)
{
    return withNumbers(numbers, [count = elementsOf(numbers)](const auto* values) {
        double highest = -std::numeric_limits<double>::infinity();
        for (std::uint64_t i = 0; i < count; ++i) {
            highest = std::max(highest, static_cast<double>(values[i])); // keeps its first argument before NaN
        }
        return highest;
    });
}

spStatus convertNumeric(const kxArray* subscript, const Extent& extent, Subscript& form)
{
    if (holdsZeros(subscript)) {
        return spIndexBelowOne;
    }
    if (isComplex(subscript)) {
        return spIndexNotPositiveInteger;
    }
    const Operand numbers = readableNumbers(subscript);
    const ValueRules rules = ValueRules::forNumbers(classOf(numbers.get()), extent);
    const auto refused = convertNumbers(numbers.get(), rules, form);
    return refused ? rules.answerTo(*refused) : spOK;
}

} // namespace zqsp
