// Colon objects: what they select, and what is wrong with them, told by their three numbers.
#ifndef ZQSP_SUBSCRIPT_COLON_RANGE_HPP
#define ZQSP_SUBSCRIPT_COLON_RANGE_HPP

#include "core/owners.hpp"
#include "subscript/forms.hpp"
#include "subscript/rules.hpp"

#include <array>
#include <optional>

namespace zqsp {

/// The values of start:step:stop, 1-based, none of them written out.
class ColonRange
{
  public:
    /// A colon object, not the bare colon.
    explicit ColonRange(const kxArray* colon);

    /// Start, step and stop where all three are signed words.
    [[nodiscard]] std::optional<std::array<int, 3>> words() const;

    /// The number of values. Where the stop misses a step by a rounding error, the runtime says whether the step is
    /// taken: by the length of the colon object. 0 where the values are, or with that step would be, more than the
    /// maximum number of elements, of which the runtime makes its size error.
    [[nodiscard]] unsigned count() const { return count_; }
    /// The highest value.
    [[nodiscard]] double highest() const { return count_ == 0 ? 0 : (*this)[step_ > 0 ? count_ - 1 : 0]; }
    /// Converts the values to 0-based indices; gives the first of them that is refused, or one of which the rules say
    /// the same, with `form` untouched. O(1) for a whole step; for another, the steps until it shows.
    [[nodiscard]] std::optional<double> convert(const ValueRules& rules, Subscript& form) const;

  private:
    double operator[](unsigned i) const;
    [[nodiscard]] std::optional<double> firstRefused(const ValueRules& rules) const;

    double start_ = 0;
    double step_ = 0;
    double stop_ = 0;
    unsigned count_ = 0;
    bool isCounted_ = true;
};

/// Converts a colon object. Of three signed words the start and the stop as written are tested, else the values.
spStatus convertColonObject(const kxArray* subscript, const Extent& extent, Subscript& form);

/// Converts start:step:stop of three signed words, 1-based. Raises "pmaxsize" where it reaches past an uncountable
/// extent or has more values than the runtime allows.
spStatus convertIntegralRange(int start, int step, int stop, const Extent& extent, IndexRange& range);

} // namespace zqsp

#endif
