// Sparse arrays from lists of entries.
#ifndef KXSH_ASSEMBLY_HPP
#define KXSH_ASSEMBLY_HPP

#include "value.hpp"

#include <vector>

namespace kxsh {

/// Entries in any order, 0-based; `im` is empty for real entries.
struct Triplets
{
    std::vector<unsigned> rows;
    std::vector<unsigned> columns;
    std::vector<double> re;
    std::vector<double> im;

    void reserve(std::size_t count, bool complex);
    void push(unsigned row, unsigned column, double value)
    {
        rows.push_back(row);
        columns.push_back(column);
        re.push_back(value);
    }
    void push(unsigned row, unsigned column, double value, double imaginary)
    {
        push(row, column, value);
        im.push_back(imaginary);
    }
};

/// m-by-n sparse double (complex when `im` is given and not all zero) of the entries, which lie within m and n. Entries
/// of one place are summed in their order, zeros dropped, nzmax is the exact count. Cost: entries + n, by counting.
Value assemble(Triplets triplets, unsigned m, unsigned n);

/// Appends the entries of a sparse array, moved down by `rowOffset` and right by `columnOffset` and multiplied by
/// `factor`. With `complex`, imaginary parts are appended too, zero where there are none.
void appendEntries(Triplets& triplets, const Value& sparse, unsigned rowOffset, unsigned columnOffset, bool complex,
                   double factor = 1);

} // namespace kxsh

#endif
