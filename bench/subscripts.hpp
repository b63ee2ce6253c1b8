// The subscripts that are measured: 0-based values and the form in which they are handed over.
#ifndef ZQSP_BENCH_SUBSCRIPTS_HPP
#define ZQSP_BENCH_SUBSCRIPTS_HPP

#include "matrices.hpp"

#include <string>
#include <vector>

namespace zqsp::bench {

struct Subscript
{
    enum class Form
    {
        colon,
        list,
        range,
        mask,
        sparseMask
    };

    Form form = Form::colon;
    unsigned extent = 0;          ///< of the dimension; of a linear subscript, the positions in its reach
    std::vector<unsigned> values; ///< 0-based, in the order of the subscript; complete for every form
    bool isPermutation = false;   ///< every value of the extent once, in random order

    /// Bytes a call must read to know the subscript.
    [[nodiscard]] double bytes() const;
    [[nodiscard]] bool isRun() const;
    [[nodiscard]] bool isAscending() const;
};

/// A subscript of a dimension, by name (see the table in subscripts.cpp); throws std::invalid_argument for others.
/// factor: what counts such as "ten" are multiplied by.
Subscript dimensionSubscript(const std::string& name, unsigned extent, double factor);

/// A linear subscript of A, by name. Positions are drawn from the first 2^31 - 1 cells, which is as far as one reaches.
Subscript linearSubscript(const std::string& name, const Matrix& A, double factor);

} // namespace zqsp::bench

#endif
