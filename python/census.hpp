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

/// Looks over an array piece by piece. Descents are counted without asking where columns begin, where alone they are
/// allowed; that, and signs gathered instead of rows compared, lets the compiler look at several entries at a time.
class Census
{
  public:
    static constexpr std::size_t kPiece = 4096; ///< is in the cache when it is looked at again

    Census(const unsigned* starts, unsigned m, unsigned n) : starts_(starts), m_(m), n_(n), entries_(starts[n]) {}

    /// The next entries, `first` to `last` (excluded) of `rows`; ValueError for broken arrays.
    void add(const unsigned* rows, std::size_t first, std::size_t last)
    {
        const unsigned top = m_ - 1U;
        unsigned signs = 0; // of what is negative, as a signed word, or above the top
        int descents = 0;
        for (std::size_t e = first; e < last; ++e) {
            signs |= rows[e] | (top - rows[e]);
        }
        for (std::size_t e = std::max<std::size_t>(first, 1); e < last; ++e) {
            descents += static_cast<int>(rows[e]) <= static_cast<int>(rows[e - 1]) ? 1 : 0;
        }
        if (static_cast<int>(signs) < 0) {
            throw py::value_error("broken matrix: an entry lies outside a size of " + std::to_string(m_));
        }
        descents_ += static_cast<unsigned>(descents);
        const unsigned* start = starts_ + column_;
        const unsigned* const end = starts_ + n_;
        unsigned allowed = 0;
        for (; start != end && *start < last; ++start) {
            const unsigned e = *start;
            if (e < first || e > start[1]) {
                raiseStarts(start);
            }
            const unsigned isFirst = e == 0 ? 1U : 0U;
            const unsigned isEmpty = e == start[1] ? 1U : 0U;
            const unsigned descends = rows[e] <= rows[e - 1U + isFirst] ? 1U : 0U;
            allowed += descends & (1U ^ isFirst) & (1U ^ isEmpty); // without branches, which nobody could foresee
        }
        allowed_ += allowed;
        column_ = static_cast<unsigned>(start - starts_);
    }
    Order finish()
    {
        for (const unsigned* start = starts_ + column_; start != starts_ + n_; ++start) {
            if (*start != entries_ || start[1] != entries_) { // only empty columns are left
                raiseStarts(start);
            }
        }
        return descents_ == allowed_ ? Order::sound : Order::unsorted;
    }

  private:
    [[noreturn]] void raiseStarts(const unsigned* start) const
    {
        throw py::value_error("broken matrix: column " + std::to_string(start - starts_) + " has entries " +
                              std::to_string(start[0]) + " to " + std::to_string(start[1]) + " of " +
                              std::to_string(entries_));
    }

    const unsigned* starts_;
    unsigned m_;
    unsigned n_;
    unsigned entries_;
    unsigned column_ = 0;
    unsigned descents_ = 0;
    unsigned allowed_ = 0;
};

} // namespace zqsp::python

#endif
