// Whether the arrays of a sparse matrix keep their promises.
#ifndef ZQSP_PYTHON_CENSUS_HPP
#define ZQSP_PYTHON_CENSUS_HPP

#include <pybind11/pybind11.h>

#include <algorithm>
#include <cstddef>
#include <string>

namespace zqsp::python {

namespace py = pybind11;

enum class Order
{
    sound,
    unsorted ///< or with elements stored twice
};

/// What entries show by a sign: a row outside the matrix; where there is none, entries in a column that do not ascend.
struct Findings
{
    unsigned outside = 0;
    unsigned descents = 0;
};

/// Looks at `count` entries and the one before them. `inside` has all bits set for an entry that begins no column.
/// Nothing is branched on, so that the compiler looks at several entries at a time.
[[gnu::always_inline]] inline Findings findingsAt(const unsigned* rows, const unsigned* inside, std::size_t count,
                                                  unsigned top)
{
    Findings found;
    const unsigned* before = rows - 1;
    for (std::size_t e = 0; e < count; ++e) {
        found.outside |= rows[e] | (top - rows[e]); // negative, as a signed word, or above the top
        found.descents |= inside[e] & ~(before[e] - rows[e]);
    }
    return found;
}

#if defined(__x86_64__)
[[gnu::target("avx2")]] inline Findings findingsAtByEight(const unsigned* rows, const unsigned* inside,
                                                          std::size_t count, unsigned top)
{
    return findingsAt(rows, inside, count, top);
}
#endif

inline Findings findings(const unsigned* rows, const unsigned* inside, std::size_t count, unsigned top)
{
#if defined(__x86_64__)
    static const bool byEight = __builtin_cpu_supports("avx2") != 0;
    if (byEight) {
        return findingsAtByEight(rows, inside, count, top);
    }
#endif
    return findingsAt(rows, inside, count, top);
}

/// Looks over an array piece by piece: where columns begin is marked, and entries are compared regardless of columns.
class Census
{
  public:
    static constexpr std::size_t kPiece = 2048; ///< is in the cache when it is looked at again

    Census(const unsigned* starts, unsigned m, unsigned n)
        : start_(starts), starts_(starts), end_(starts + n), m_(m), entries_(starts[n])
    {
    }

    /// The next entries, `first` to `last` (excluded, at most kPiece later) of `rows`; ValueError for broken arrays.
    void add(const unsigned* rows, std::size_t first, std::size_t last)
    {
        std::fill_n(inside_, last - first, ~0U);
        const unsigned* start = start_;
        for (; start != end_ && *start < last; ++start) {
            if (start[1] < *start) { // so that none lies before `first`
                raiseStarts(start);
            }
            inside_[*start - first] = 0;
        }
        start_ = start;
        const unsigned top = m_ - 1U;
        const std::size_t alone = first == 0 ? 1 : 0; // nothing stands before the first entry of all
        Findings found = findings(rows + first + alone, inside_ + alone, last - first - alone, top);
        found.outside |= rows[first] | (top - rows[first]);
        if (static_cast<int>(found.outside) < 0) {
            throw py::value_error("broken matrix: an entry lies outside a size of " + std::to_string(m_));
        }
        descents_ |= found.descents;
    }
    Order finish()
    {
        for (const unsigned* start = start_; start != end_; ++start) {
            if (*start != entries_ || start[1] != entries_) { // only empty columns are left
                raiseStarts(start);
            }
        }
        return static_cast<int>(descents_) >= 0 ? Order::sound : Order::unsorted;
    }

  private:
    [[noreturn]] void raiseStarts(const unsigned* start) const
    {
        throw py::value_error("broken matrix: column " + std::to_string(start - starts_) + " has entries " +
                              std::to_string(start[0]) + " to " + std::to_string(start[1]) + " of " +
                              std::to_string(entries_));
    }

    const unsigned* start_; ///< of the first column that begins in no piece so far
    const unsigned* starts_;
    const unsigned* end_;
    unsigned m_;
    unsigned entries_;
    unsigned descents_ = 0;
    unsigned inside_[kPiece];
};

} // namespace zqsp::python

#endif
