// Subscripts of the C++ interface: what they may be, and what the library is told of them.
#ifndef ZQSPMATRIX_CPP_SUBSCRIPT_HPP
#define ZQSPMATRIX_CPP_SUBSCRIPT_HPP

#include "array.hpp"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <initializer_list>
#include <optional>
#include <ranges>
#include <vector>

namespace zqspmatrix {

/// Selects a whole dimension: `A.get(all, 2)` is the third column.
struct All
{
};
/// The one value of All.
inline constexpr All all{};

/// Equally spaced indices, see range().
class Range
{
  public:
    /// See range().
    Range(std::int64_t first, std::int64_t last, std::int64_t step) : first_(first), last_(last), step_(step)
    {
        if (step == 0) {
            detail::failOperand("a range needs a step other than 0");
        }
        empty_ = step > 0 ? first > last : first < last;
        if (!empty_) {
            // Without a sign, as the distance may not fit one.
            const auto from = static_cast<std::uint64_t>(first);
            const auto to = static_cast<std::uint64_t>(last);
            const auto by = static_cast<std::uint64_t>(step);
            last_ = static_cast<std::int64_t>(step > 0 ? to - (to - from) % by : to + (from - to) % (0 - by));
        }
    }

    /// Whether it selects nothing.
    [[nodiscard]] bool empty() const noexcept { return empty_; }
    /// The first index.
    [[nodiscard]] std::int64_t first() const noexcept { return first_; }
    /// The last index that is reached.
    [[nodiscard]] std::int64_t last() const noexcept { return last_; }
    /// From one index to the next.
    [[nodiscard]] std::int64_t step() const noexcept { return step_; }

  private:
    std::int64_t first_;
    std::int64_t last_;
    std::int64_t step_;
    bool empty_;
};

/// first, first + step, ... up to `last`, which is included; with a negative step down to it. Selects nothing where
/// `last` lies before `first`. It is never expanded. Throws Error for a step of 0.
template <detail::Integer First, detail::Integer Last, detail::Integer Step = int>
[[nodiscard]] Range range(First first, Last last, Step step = 1)
{
    if (!std::in_range<std::int64_t>(first) || !std::in_range<std::int64_t>(last) ||
        !std::in_range<std::int64_t>(step)) {
        detail::failOperand("the bounds of a range are integers of 64 bits with a sign");
    }
    return {static_cast<std::int64_t>(first), static_cast<std::int64_t>(last), static_cast<std::int64_t>(step)};
}

template <Element T>
class BasicView;

namespace detail {

/// What braces make where a subscript is expected: `A.get({3, 0}, all)`.
struct Braces
{
    std::initializer_list<int> indices = {};

    Braces() = default;
    Braces(std::initializer_list<int> list) : indices(list) {}
    Braces(std::initializer_list<bool> mask) = delete; // a mask is a std::vector<bool>
};

template <typename S>
concept IndexList =
    std::ranges::contiguous_range<S> && std::ranges::sized_range<S> && Integer<std::ranges::range_value_t<S>>;
template <typename S>
concept BoolMask = std::same_as<std::remove_cv_t<S>, std::vector<bool>> ||(
    std::ranges::contiguous_range<S>&& std::ranges::sized_range<S>&& std::same_as<std::ranges::range_value_t<S>, bool>);
template <typename S>
concept SparseMask = std::derived_from<S, BasicView<bool>>;

} // namespace detail

/// What may stand for a subscript, counted from 0: an integer (no bool, no character, no floating-point number), `all`,
/// a Range, a contiguous range of integers of any width (in any order, repeats allowed), a mask (std::vector<bool> or a
/// contiguous range of bool; it may be shorter than the dimension), or a sparse matrix of bool, which selects by its
/// entries counted down the columns.
template <typename S>
concept Subscript = detail::Integer<S> || std::same_as<S, All> || std::same_as<S, Range> ||
    std::same_as<S, detail::Braces> || detail::IndexList<S> || detail::BoolMask<S> || detail::SparseMask<S>;

namespace detail {

/// A subscript as the library takes it: counted from 1, in an array of its own or in that of a sparse mask.
class Index
{
  public:
    explicit Index(All) : owned_(kx::kxCreateColon()), array_(owned_.get()) {}

    template <Integer N>
    explicit Index(N index) : Index(std::span<const N>(&index, 1))
    {
    }

    explicit Index(const Range& range) : owned_(arrayOf(range)), array_(owned_.get()) {}
    explicit Index(const Braces& braces) : Index(std::span<const int>(braces.indices.begin(), braces.indices.size())) {}

    template <IndexList S>
    explicit Index(const S& list) : owned_(numbers(std::ranges::size(list)))
    {
        std::ranges::transform(list, static_cast<double*>(owned_->pr),
                               [](auto index) { return static_cast<double>(index) + 1.0; });
        array_ = owned_.get();
    }

    template <BoolMask S>
    explicit Index(const S& mask) : owned_(newColumn<bool>(std::ranges::size(mask))), array_(owned_.get())
    {
        std::ranges::copy(mask, static_cast<bool*>(owned_->pr));
    }

    /// `mask` must outlive this.
    explicit Index(const BasicView<bool>& mask);

    [[nodiscard]] const kxArray* get() const noexcept { return array_; }
    [[nodiscard]] bool isAll() const { return array_->is_colon_index(); }
    [[nodiscard]] bool isRange() const { return (array_->flags & kxFLAG_COLON_OBJECT) != 0 && !isAll(); }

    /// How many indices are selected of so many.
    [[nodiscard]] std::uint64_t count(std::uint64_t extent) const
    {
        if (isAll()) {
            return extent;
        }
        if (array_->class_id != kxLOGICAL_CLASS) {
            return kx::kxGetNumberOfElements(array_);
        }
        if ((array_->flags & kxFLAG_SPARSE) != 0) {
            return entriesOf(array_);
        }
        const std::span<const bool> mask(static_cast<const bool*>(array_->pr), rowsOf(array_));
        return static_cast<std::uint64_t>(std::ranges::count(mask, true));
    }

    /// The first index that is negative or not below `extent`, told in words: "row 7". Of a range it is an end.
    [[nodiscard]] std::optional<std::string> firstOutside(std::uint64_t extent, const char* noun) const
    {
        if (isAll()) {
            return {};
        }
        if (isRange()) {
            double ends[3];
            kx::kxGetColonObjValues(array_, ends);
            const bool reaches = ends[1] > 0 ? ends[0] <= ends[2] : ends[0] >= ends[2];
            const double pair[] = {ends[0], ends[2]};
            return reaches ? firstOf(pair, extent, noun, false) : std::nullopt;
        }
        if (array_->class_id == kxLOGICAL_CLASS) {
            return firstSelected(extent, noun);
        }
        return firstOf({static_cast<const double*>(array_->pr), rowsOf(array_)}, extent, noun, rowsOf(array_) > 1);
    }

  private:
    static Array numbers(std::size_t count)
    {
        return Array(kx::kxCreateDoubleMatrix(sizeOf(count, "subscripts"), 1, kxREAL));
    }

    /// A lazily stored range; a single number outside what the library can count, which is an error for any matrix.
    static Array arrayOf(const Range& range)
    {
        if (range.empty()) {
            return Array(kx::kxCreateColonObject(1, 1, 0));
        }
        const auto most = static_cast<std::int64_t>(kx::kxGetMaxNumberOfElements());
        for (const std::int64_t end : {range.first(), range.last()}) {
            if (end < 0 || end >= most) {
                Array single = numbers(1);
                *static_cast<double*>(single->pr) = static_cast<double>(end) + 1.0;
                return single;
            }
        }
        return Array(kx::kxCreateColonObject(static_cast<double>(range.first()) + 1.0,
                                             static_cast<double>(range.step()),
                                             static_cast<double>(range.last()) + 1.0));
    }

    static std::optional<std::string> firstOf(std::span<const double> counted, std::uint64_t extent, const char* noun,
                                              bool isList)
    {
        const auto found = std::ranges::find_if(
            counted, [&](double index) { return index < 1.0 || index > static_cast<double>(extent); });
        if (found == counted.end()) {
            return {};
        }
        char index[32]; // std::to_string(double) writes decimals; no index has more than 20 digits
        std::snprintf(index, sizeof(index), " %.0f", *found - 1.0);
        const std::string place = " (number " + std::to_string(found - counted.begin()) + " of its list, from 0)";
        return noun + std::string(index) + (isList ? place : "");
    }

    [[nodiscard]] std::optional<std::string> firstSelected(std::uint64_t extent, const char* noun) const
    {
        const auto told = [&](std::uint64_t index) { return std::string(noun) + " " + std::to_string(index); };
        if ((array_->flags & kxFLAG_SPARSE) == 0) {
            const std::span<const bool> mask(static_cast<const bool*>(array_->pr), rowsOf(array_));
            const auto outside = mask.subspan(std::min<std::size_t>(extent, mask.size()));
            const auto found = std::ranges::find(outside, true);
            return found == outside.end() ? std::nullopt
                                          : std::optional(told(static_cast<std::uint64_t>(&*found - mask.data())));
        }
        for (unsigned j = 0; j < columnsOf(array_); ++j) {
            for (unsigned e = array_->jc[j]; e < array_->jc[j + 1]; ++e) {
                const std::uint64_t index = std::uint64_t{j} * rowsOf(array_) + array_->ir[e];
                if (index >= extent) {
                    return told(index);
                }
            }
        }
        return {};
    }

    Array owned_;
    const kxArray* array_ = nullptr;
};

} // namespace detail
} // namespace zqspmatrix

#endif
