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
    std::array<double, kBlock> converted;
    if (count == 1) { // needs no list
        const double value = *readNumbers(numbers, 0, 1, converted.data());
        if (!rules.accepts(value)) {
            return value;
        }
        form = IndexRange::single(static_cast<unsigned>(value) - 1);
        return std::nullopt;
    }
    constexpr double kLastSignedWord = std::numeric_limits<std::int32_t>::max();
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
