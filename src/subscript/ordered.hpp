// A subscript in ascending order, with what it takes its values from.
#ifndef ZQSP_SUBSCRIPT_ORDERED_HPP
#define ZQSP_SUBSCRIPT_ORDERED_HPP

#include "subscript/walk.hpp"

#include <cstdint>
#include <utility>

namespace zqsp {

/// What becomes of a number that a subscript names more than once.
enum class Repeats
{
    kAll, ///< it comes as often, in the order of the places that name it
    kLast ///< it comes once, for the last of them
};

/// Numbers by their ranks: listed, or an arithmetic progression.
struct NumberView
{
    const unsigned* list = nullptr;
    unsigned first = 0;
    unsigned stride = 0;

    unsigned operator[](std::size_t i) const
    {
        return list != nullptr ? list[i] : first + static_cast<unsigned>(i) * stride;
    }
};

/// The numbers that a subscript names, ascending, and the places of the subscript that name them. What is no list stays
/// what it is, and so does a list that ascends; one that descends is reversed, any other sorted.
class Ordered
{
  public:
    /// Raises on exhausted memory. Cost: nothing but for a list; a list's length, times its logarithm where it is
    /// sorted.
    Ordered(Subscript subscript, Repeats repeats);

    /// The ascending numbers.
    [[nodiscard]] const Subscript& form() const { return form_; }
    /// Numbers of form().
    [[nodiscard]] unsigned count() const { return countOf(form_); }
    /// Of none, 0.
    [[nodiscard]] unsigned lowest() const { return lowest_; }
    [[nodiscard]] unsigned highest() const { return highest_; }
    /// Whether the numbers are lowest(), lowest()+1, ..., highest(), each once.
    [[nodiscard]] bool isRun() const
    {
        const auto* range = std::get_if<IndexRange>(&form_);
        return range != nullptr && (range->isRun() || range->size == 0);
    }
    /// Whether a number is among them. Takes a search in a list and in a column of a sparse mask.
    [[nodiscard]] bool has(unsigned number) const;

    /// f(i, number) for the numbers, i counting them.
    template <typename F>
    void forEach(F&& f) const
    {
        forEachIndex(form_, [&f, i = 0U](unsigned number) mutable { f(i++, number); });
    }

    /// The place that names the i-th number.
    [[nodiscard]] unsigned source(unsigned i) const
    {
        return sources_ ? sources_[i] : isReversed_ ? named_ - 1 - i : i;
    }
    /// All of these places.
    [[nodiscard]] NumberView sourceNumbers() const
    {
        return isReversed_ ? NumberView{.first = named_ - 1, .stride = ~0U}
                           : NumberView{.list = sources_.get(), .stride = 1};
    }
    /// Whether the places fall from the last to the first.
    [[nodiscard]] bool isReversed() const { return isReversed_; }
    /// The places where they neither rise nor fall one by one; else null.
    [[nodiscard]] const unsigned* sources() const { return sources_.get(); }

  private:
    void sort(IndexList& list, Repeats repeats);

    Subscript form_;
    unsigned named_; // numbers as the subscript names them
    unsigned lowest_ = 0;
    unsigned highest_ = 0;
    bool isReversed_ = false;
    Block<unsigned> sources_;
};

/// The numbers of a subscript by their ranks. Those of a mask are written out; others are looked up where they are.
class Numbers : public NumberView
{
  public:
    Numbers() = default;
    /// In the order of the subscript, which must outlive the object. Raises on exhausted memory.
    explicit Numbers(const Subscript& subscript);

  private:
    Block<unsigned> written_;
};

} // namespace zqsp

#endif
