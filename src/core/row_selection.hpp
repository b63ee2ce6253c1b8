// Selecting entries by their rows: of a stretch of entries, those whose rows a map selects, moved together.
#ifndef ZQSP_CORE_ROW_SELECTION_HPP
#define ZQSP_CORE_ROW_SELECTION_HPP

#include "core/columns.hpp"
#include "core/search.hpp"

#include <utility>
#include <variant>

namespace zqsp {

/// The new place of what is not selected.
inline constexpr unsigned NOT_SELECTED = 0xFFFFFFFFU;

/// Which rows are selected, and where they go.
class RowChoice
{
  public:
    /// newRow[r] is the new row of row r, or NOT_SELECTED.
    struct Map
    {
        const unsigned* newRow;
        unsigned operator()(unsigned row) const { return newRow[row]; }
    };
    /// The rows first .. first+size-1 become 0 .. size-1.
    struct Interval
    {
        unsigned first;
        unsigned size;
        unsigned operator()(unsigned row) const
        {
            return (row - first) | valueIf(row - first >= size, NOT_SELECTED); // of ?:, compilers make a branch
        }
    };
    /// All but the rows first .. first+size-1, which those behind follow up.
    struct Gap
    {
        unsigned first;
        unsigned size;
        unsigned operator()(unsigned row) const
        {
            return (row - valueIf(row >= first, size)) | valueIf(row - first < size, NOT_SELECTED);
        }
    };

    RowChoice(Map map) : choice_(map) {}
    RowChoice(Interval interval) : choice_(interval) {}
    RowChoice(Gap gap) : choice_(gap) {}

    /// f(choice) with one of the three.
    template <typename F>
    [[gnu::always_inline]] auto visit(F&& f) const
    {
        return std::visit(std::forward<F>(f), choice_);
    }

  private:
    std::variant<Map, Interval, Gap> choice_;
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
