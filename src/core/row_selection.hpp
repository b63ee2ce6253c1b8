// Selecting entries by their rows: of a stretch of entries, those whose rows are selected, moved together.
#ifndef ZQSP_CORE_ROW_SELECTION_HPP
#define ZQSP_CORE_ROW_SELECTION_HPP

#include "core/columns.hpp"
#include "core/ranked_set.hpp"
#include "core/search.hpp"

#include <utility>
#include <variant>

namespace zqsp {

/// Which rows are selected, and the new rows that these become, in their order. (Of others the new row means nothing.)
class RowChoice
{
  public:
    /// The members of a ranked set.
    struct Ranked
    {
        const RankedSet::Word* words;
        [[nodiscard]] bool selects(unsigned row) const { return words[row / RankedSet::kWord].has(row); }
        [[nodiscard, gnu::always_inline]] unsigned newRow(unsigned row) const
        {
            return words[row / RankedSet::kWord].rankOf(row);
        }
    };
    /// The members of a set, which keep their numbers.
    struct Unmoved
    {
        const RankedSet::Word* words;
        [[nodiscard]] bool selects(unsigned row) const { return words[row / RankedSet::kWord].has(row); }
        [[nodiscard]] unsigned newRow(unsigned row) const { return row; }
    };
    /// The rows first .. first+size-1.
    struct Interval
    {
        unsigned first;
        unsigned size;
        [[nodiscard]] bool selects(unsigned row) const { return row - first < size; }
        [[nodiscard]] unsigned newRow(unsigned row) const { return row - first; }
    };
    /// All but the rows first .. first+size-1.
    struct Gap
    {
        unsigned first;
        unsigned size;
        [[nodiscard]] bool selects(unsigned row) const { return row - first >= size; }
        [[nodiscard]] unsigned newRow(unsigned row) const { return row - valueIf(row >= first, size); }
    };

    RowChoice(const RankedSet& rows) : choice_(Ranked{rows.words()}) {}
    RowChoice(Unmoved rows) : choice_(rows) {}
    RowChoice(Interval interval) : choice_(interval) {}
    RowChoice(Gap gap) : choice_(gap) {}

    /// f(choice) with one of the four.
    template <typename F>
    [[gnu::always_inline]] auto visit(F&& f) const
    {
        return std::visit(std::forward<F>(f), choice_);
    }

  private:
    std::variant<Ranked, Unmoved, Interval, Gap> choice_;
};

/// How many of the entries begin .. end-1 lie in selected rows.
unsigned countSelected(const Columns& a, unsigned begin, unsigned end, const RowChoice& choice);

/// Moves the entries of the columns first .. first+count-1 that lie in selected rows, in their order and with their new
/// rows, to the entries `at` and behind of another array, or of the same one, `at` then being at or before the first of
/// them. ends[i] becomes the position behind the last one of column first+i; `ends` may be the column starts of `from`.
/// Returns the last of them. `to` must be of the class and complexity of `from`. Where there is room, no
/// branch depends on what is selected.
unsigned moveSelected(const Columns& from, unsigned first, unsigned count, const RowChoice& choice, const Columns& to,
                      unsigned at, unsigned* ends);

} // namespace zqsp

#endif
