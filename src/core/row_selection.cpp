#include "core/row_selection.hpp"

#include "core/processor.hpp"
#include "core/values.hpp"
#include "core/wide_selection.hpp"

#include <type_traits>

namespace zqsp {

namespace {

/// One entry after the other, in one loop over rows and values. An entry is written before it is known to be selected:
/// at worst it is written over by the next one. (What the loop reads is copied out of the records first: its stores
/// might change them, as far as the compiler knows.)
template <typename Choice, typename Values>
[[gnu::always_inline]] inline unsigned moveOneByOne(const Columns& from, unsigned first, unsigned count, Choice choice,
                                                    const Columns& to, Values source, Values target, unsigned at,
                                                    unsigned* ends)
{
    const unsigned* const columnEnd = from.jc + first + 1;
    const unsigned* const rows = from.ir;
    unsigned* const newRows = to.ir;
    const unsigned capacity = to.nzmax;
    unsigned e = from.jc[first];
    for (unsigned i = 0; i < count; ++i) {
        const unsigned end = columnEnd[i];
        if (capacity - at >= end - e) {
            for (; e < end; ++e) {
                const unsigned row = rows[e];
                newRows[at] = choice.newRow(row);
                target.copy(at, source, e);
                at += choice.selects(row) ? 1U : 0U;
            }
        } else {
            for (; e < end; ++e) {
                if (const unsigned row = rows[e]; choice.selects(row)) {
                    newRows[at] = choice.newRow(row);
                    target.copy(at++, source, e);
                }
            }
        }
        ends[i] = at;
    }
    return at;
}

/// The same where havePopcount().
template <typename Values>
ZQSP_POPCOUNT unsigned moveCounting(const Columns& from, unsigned first, unsigned count, RowChoice::Ranked choice,
                                    const Columns& to, Values source, Values target, unsigned at, unsigned* ends)
{
    return moveOneByOne(from, first, count, choice, to, source, target, at, ends);
}

unsigned countOneByOne(const unsigned* rows, unsigned count, const RowChoice& choice)
{
    return choice.visit([=](auto known) {
        unsigned selected = 0;
        for (unsigned i = 0; i < count; ++i) {
            selected += known.selects(rows[i]) ? 1U : 0U;
        }
        return selected;
    });
}

} // namespace

unsigned countSelected(const Columns& a, unsigned begin, unsigned end, const RowChoice& choice)
{
    if constexpr (wide::kCompiled) {
        if (wide::serve(a, end - begin)) {
            return wide::countSelected(a, begin, end, choice);
        }
    }
    return countOneByOne(a.ir + begin, end - begin, choice);
}

unsigned moveSelected(const Columns& from, unsigned first, unsigned count, const RowChoice& choice, const Columns& to,
                      unsigned at, unsigned* ends)
{
    if constexpr (wide::kCompiled) {
        if (wide::serve(from, from.jc[first + count] - from.jc[first])) {
            return wide::moveSelected(from, first, count, choice, to, at, ends);
        }
    }
    return withStorage(from, [&](auto source) {
        const decltype(source) target(to);
        return choice.visit([&](auto known) {
            if constexpr (std::is_same_v<decltype(known), RowChoice::Ranked>) {
                if (havePopcount()) {
                    return moveCounting(from, first, count, known, to, source, target, at, ends);
                }
            }
            return moveOneByOne(from, first, count, known, to, source, target, at, ends);
        });
    });
}

} // namespace zqsp
