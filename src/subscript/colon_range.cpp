#include "subscript/colon_range.hpp"

#include "core/errors.hpp"
#include "subscript/convert.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace zqsp {

namespace {

constexpr int kLastWord = std::numeric_limits<int>::max();
constexpr double kPastWords = kLastWord + 1.0;

bool isWhole(double value)
{
    return std::trunc(value) == value;
}

/// What the rules for words hear of a value of a range: a fraction is delivered as 0.
double asWord(double value)
{
    return isWhole(value) ? std::clamp(value, -kPastWords, kPastWords) : 0;
}

} // namespace

ColonRange::ColonRange(const kxArray* colon)
{
    std::array<double, 3> values{};
    kxGetColonObjValues(colon, values.data());
    start_ = values[0];
    step_ = values[1];
    stop_ = values[2];
    const double steps = (stop_ - start_) / step_;
    if (step_ == 0 || !(steps >= 0)) {
        return;
    }
    // Whether a further step, which misses the stop by rounding errors only, is taken is the runtime's to say. The ends
    // carry errors of their own size.
    constexpr double kErrors = 16 * std::numeric_limits<double>::epsilon();
    const double whole = std::floor(steps);
    const double missed = (whole + 1 - steps) * std::abs(step_);
    bool isCertain = missed > kErrors * std::max(std::abs(start_), std::abs(stop_));
    if (whole + (isCertain ? 1 : 2) > kxGetMaxNumberOfElements()) {
        isCounted_ = false;
        return;
    }
    count_ = static_cast<unsigned>(whole) + 1;
    const double last = start_ + (count_ - 1) * step_;
    if (count_ > 1 && (step_ > 0 ? last > stop_ : last < stop_)) { // the division has rounded up to it
        isCertain = false;
        --count_;
    }
    if (!isCertain) {
        count_ = std::clamp(kxGetNumberOfElements(colon), count_, count_ + 1);
    }
}

std::optional<std::array<int, 3>> ColonRange::words() const
{
    std::array<int, 3> integers{};
    for (unsigned i = 0; const double value : {start_, step_, stop_}) {
        if (!isWhole(value) || value < -kPastWords || value > kLastWord) {
            return std::nullopt;
        }
        integers[i++] = static_cast<int>(value);
    }
    return integers;
}

double ColonRange::operator[](unsigned i) const
{
    if (i == 0) {
        return start_; // also where the step is infinite
    }
    const double value = start_ + i * step_;
    return step_ > 0 ? std::min(value, stop_) : std::max(value, stop_);
}

std::optional<double> ColonRange::firstRefused(const ValueRules& rules) const
{
    if (count_ == 0) {
        return std::nullopt;
    }
    if (!rules.accepts(start_)) {
        return start_;
    }
    if (!isWhole(step_)) { // hardly ever more than two values: a step so near to a whole number is needed
        for (unsigned i = 1; i < count_; ++i) {
            if (!rules.accepts((*this)[i])) {
                return (*this)[i];
            }
        }
        return std::nullopt;
    }
    const double last = (*this)[count_ - 1];
    const bool endsInFraction = !isWhole(last); // the stop, taken for the next whole value
    const double lastWhole = endsInFraction ? (*this)[count_ - 2] : last;
    if (rules.accepts(lastWhole)) {
        return endsInFraction ? std::optional(last) : std::nullopt;
    }
    if (step_ > 0) {
        return lastWhole; // as the first above the limit
    }
    const double above = std::fmod(start_, step_); // the values go down from there, or from 0
    return above == 0 ? 0 : above + step_;
}

std::optional<double> ColonRange::convert(const ValueRules& rules, Subscript& form) const
{
    if (const auto refused = firstRefused(rules)) {
        return refused;
    }
    if (isCounted_ && count_ == 0) {
        form = IndexRange();
        return std::nullopt;
    }
    if (count_ == 1 || (count_ > 1 && isWhole(step_) && std::abs(step_) <= kLastWord)) {
        const auto last = static_cast<unsigned>((*this)[count_ - 1]);
        form =
            IndexRange(static_cast<unsigned>(start_) - 1, last - 1, count_ == 1 ? 1 : static_cast<int>(step_), count_);
        return std::nullopt;
    }
    // Too many values, of which the runtime makes its size error, or a step that only rounding makes whole.
    const ArrayOwner written(kxColonop(start_, step_, stop_, kxDOUBLE_CLASS));
    return convertNumbers(written.get(), rules, form);
}

spStatus convertColonObject(const kxArray* subscript, const Extent& extent, Subscript& form)
{
    const ColonRange range(subscript);
    if (const auto words = range.words()) {
        const auto [start, step, stop] = *words;
        IndexRange converted;
        const spStatus status = convertIntegralRange(start, step, stop, extent, converted);
        if (status == spOK) {
            form = converted;
        }
        return status;
    }
    ValueRules rules = ValueRules::forNumbers(kxINT32_CLASS, extent);
    rules.limit = std::min(rules.limit, static_cast<unsigned>(kLastWord));
    const auto refused = range.convert(rules, form);
    return refused ? rules.answerTo(asWord(*refused)) : spOK;
}

spStatus convertIntegralRange(int start, int step, int stop, const Extent& extent, IndexRange& range)
{
    range = IndexRange();
    if (step == 0 || (step > 0 && start > stop) || (step < 0 && stop > start)) {
        return spOK;
    }
    if (start < 1 || stop < 1) {
        return spIndexNotPositiveInteger;
    }
    // The stop is tested as written, also where the step passes over it.
    if (static_cast<unsigned>(start) > extent.limit || static_cast<unsigned>(stop) > extent.limit) {
        if (extent.countOverflowed && start != stop) {
            raiseMaxSize();
        }
        return extent.outOfRange;
    }
    const unsigned count = static_cast<unsigned>((stop - start) / step) + 1;
    if (count > kxGetMaxNumberOfElements()) {
        raiseMaxSize();
    }
    const unsigned first = static_cast<unsigned>(start) - 1;
    // One index has no direction: stride 1, so that every stride can be negated.
    range = IndexRange(first, first + (count - 1) * static_cast<unsigned>(step), count == 1 ? 1 : step, count);
    return spOK;
}

} // namespace zqsp
