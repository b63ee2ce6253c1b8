// Numeric subscripts of every class, read in one pass, as doubles: a block of values is tested and stored without a
// branch per value, and only a block that holds a bad value is read again by the rules.
#include "kernels/kernels.hpp"
#include "subscript/convert.hpp"

#include <kx_element_types.hpp>

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace zqsp {

namespace {

constexpr unsigned kBlock = 1024; // values; stays in the first-level cache between the readings
constexpr double kLastSignedWord = std::numeric_limits<std::int32_t>::max();

/// The numbers first .. first+count-1 as doubles, where they are or, of another class, in `converted`, a block's room.
const double* readNumbers(const kxArray* numbers, std::size_t first, unsigned count, double* converted)
{
    const kxClassID id = classOf(numbers);
    if (id == kxDOUBLE_CLASS) {
        return static_cast<const double*>(numbers->pr) + first;
    }
    kxWithElementType<std::uint8_t, std::uint16_t>(id, [&]<typename T>(std::type_identity<T>) {
        const T* const values = static_cast<const T*>(numbers->pr) + first;
        std::transform(values, values + count, converted, [](T value) { return static_cast<double>(value); });
    });
    return converted;
}

/// What is learnt of the order of a list while it is made.
class OrderWatch
{
  public:
    OrderWatch() = default;
    /// Of a list of two or more that is there as a whole, and its steps known.
    OrderWatch(const unsigned* indices, unsigned count, bool falls, bool rises)
        : step_(indices[1] - indices[0]), falls_(falls), rises_(rises)
    {
        for (unsigned i = 2; i < count && regular_; ++i) {
            regular_ = indices[i] - indices[i - 1] == step_;
        }
    }

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
    /// The list, all of it seen, where it is one.
    [[nodiscard]] IndexRange progression(const unsigned* indices, unsigned count) const
    {
        return {indices[0], indices[count - 1], stride(), count};
    }

  private:
    [[nodiscard]] int stride() const { return static_cast<int>(step_); }

    unsigned step_ = 0; // from the first index to the second, modulo 2^32
    bool falls_ = false;
    bool rises_ = false;
    bool regular_ = true;
};

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
        return watch.progression(indices.get(), count);
    }
    return IndexList(std::move(indices), count, watch.order());
}

} // namespace

bool convertFew(const kxArray* subscript, unsigned limit, Subscript& form)
{
    constexpr unsigned kFew = 16; // one loop takes less than the calls that many numbers are worth
    if (!arePlainNumbers(subscript)) {
        return false;
    }
    const unsigned* const dims = subscript->get_dimensions();
    const std::uint64_t count = std::uint64_t{dims[0]} * dims[1];
    if (count == 1) {
        const unsigned index = indexOfNumber(subscript, limit);
        if (index != kNoIndex) {
            form = IndexRange::single(index);
        }
        return index != kNoIndex;
    }
    if (count == 0 || count > kFew || subscript->class_id != kxDOUBLE_CLASS) {
        return false;
    }
    const auto* const values = static_cast<const double*>(subscript->pr);
    const double highest = std::min<double>(limit, kLastSignedWord);
    std::array<unsigned, kFew> indices{}; // a progression needs no block
    unsigned falls = 0;                   // of the difference of two words of 31 bits, the highest one is the sign
    unsigned rises = 0;
    unsigned before = 0;
    for (unsigned i = 0; i < count; ++i) {
        const double value = values[i];
        if (!(value >= 1 && value <= highest)) {
            return false;
        }
        const auto whole = static_cast<std::int32_t>(value);
        if (whole != value) {
            return false;
        }
        const unsigned index = indices[i] = static_cast<unsigned>(whole) - 1;
        before = i == 0 ? index : before;
        falls |= index - before;
        rises |= before - index;
        before = index;
    }
    const OrderWatch watch(indices.data(), static_cast<unsigned>(count), falls >> 31U != 0, rises >> 31U != 0);
    if (watch.isProgression()) {
        form = watch.progression(indices.data(), static_cast<unsigned>(count));
    } else {
        auto list = Block<unsigned>::make(kFew);
        std::copy_n(indices.data(), kFew, list.get());
        form = IndexList(std::move(list), static_cast<unsigned>(count), watch.order());
    }
    return true;
}

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
    std::array<double, kBlock> converted;
    if (count == 1) { // needs no list
        const double value = *readNumbers(numbers, 0, 1, converted.data());
        if (!rules.accepts(value)) {
            return value;
        }
        form = IndexRange::single(static_cast<unsigned>(value) - 1);
        return std::nullopt;
    }
    const double highest = std::min<double>(rules.limit, kLastSignedWord);
    auto list = Block<unsigned>::make(count);
    OrderWatch watch;
    for (unsigned done = 0, size = 0; done < count; done += size) {
        size = std::min(kBlock, count - done);
        const double* const values = readNumbers(numbers, done, size, converted.data());
        unsigned* const indices = list.get() + done;
        if (!kernels().storeIndices(values, size, highest, indices)) {
            for (unsigned i = 0; i < size; ++i) {
                if (!rules.accepts(values[i])) {
                    return values[i];
                }
                indices[i] = static_cast<unsigned>(values[i]) - 1;
            }
        }
        watch.see(list.get(), done, done + size);
    }
    form = simplestForm(std::move(list), count, watch);
    return std::nullopt;
}

double highestNumber(const kxArray* numbers)
{
    const std::uint64_t count = elementsOf(numbers);
    std::array<double, kBlock> converted;
    double highest = -std::numeric_limits<double>::infinity();
    for (std::uint64_t done = 0; done < count; done += kBlock) {
        const auto size = static_cast<unsigned>(std::min<std::uint64_t>(kBlock, count - done));
        const double* const values = readNumbers(numbers, done, size, converted.data());
        for (unsigned i = 0; i < size; ++i) {
            highest = std::max(highest, values[i]); // keeps its first argument before NaN
        }
    }
    return highest;
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
