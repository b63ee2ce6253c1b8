// Where an assignment writes: its rows or columns in ascending order, each once.
#ifndef ZQSP_ASSIGN_TARGET_INDICES_HPP
#define ZQSP_ASSIGN_TARGET_INDICES_HPP

#include "core/owners.hpp"
#include "core/row_set.hpp"
#include "subscript/forms.hpp"

namespace zqsp {

/// The rows or columns that one subscript of an assignment names. Whatever the subscript's order, work is done in
/// ascending order; of a repeated index the last occurrence wins, so that sources() tells which row or column of the
/// right-hand side each target takes.
class TargetIndices
{
  public:
    /// `withSources`: whether the right-hand side is a matrix, whose rows or columns are paired with the targets.
    /// Raises on exhausted memory. Cost: the subscript's length, times its logarithm where it has to be sorted.
    TargetIndices(Subscript subscript, bool withSources);

    /// Indices as named, repeats included.
    [[nodiscard]] unsigned named() const { return named_; }
    /// Distinct indices.
    [[nodiscard]] unsigned count() const { return count_; }
    unsigned operator[](unsigned i) const { return isRun() ? first_ + i : indices_[i]; }
    /// The highest index; 0 where there is none.
    [[nodiscard]] unsigned highest() const { return count_ == 0 ? 0 : (*this)[count_ - 1]; }

    /// Whether the targets are first(), first()+1, ...; otherwise list() holds them.
    [[nodiscard]] bool isRun() const { return indices_ == nullptr; }
    [[nodiscard]] unsigned first() const { return (*this)[0]; }
    [[nodiscard]] const unsigned* list() const { return indices_; }

    /// All other numbers below `extent`. Raises on exhausted memory.
    [[nodiscard]] RowSet others(unsigned extent) const;

    /// For each target the position of the subscript that names it last; null where target i is named by position i.
    [[nodiscard]] const unsigned* sources() const { return sources_.get(); }

  private:
    void takeRange(const IndexRange& range, bool withSources);
    void takeUnordered(const IndexList& list, bool withSources);
    void takeAscending();

    Subscript subscript_; // keeps an ascending list alive
    unsigned named_;
    unsigned count_ = 0;
    unsigned first_ = 0;
    const unsigned* indices_ = nullptr;
    Block<unsigned> storage_;
    Block<unsigned> sources_;
};

} // namespace zqsp

#endif
