// Python subscripts, 0-based, made subscripts of the library.
#ifndef ZQSP_PYTHON_SUBSCRIPTS_HPP
#define ZQSP_PYTHON_SUBSCRIPTS_HPP

#include "arrays.hpp"

#include <cstdint>

namespace zqsp::python {

/// What the subscript is for. Only growing may reach past the extent.
enum class Use
{
    reading,
    writing,
    growing,
    deleting
};

/// What one subscript runs over: the elements of a matrix, or its rows (m, 1), or its columns (n, 1).
struct Axis
{
    unsigned rows;
    unsigned columns;
    Use use;

    [[nodiscard]] std::int64_t extent() const { return std::int64_t{rows} * columns; }
};

/// Whether the key is a single integer, so that it names a single element.
bool isInteger(const py::handle& key);

/// An integer, a slice, a mask (NumPy, SciPy) or an array of integers. IndexError for what lies outside, for masks of
/// another shape and for anything else.
Operand subscript(const py::object& key, const Axis& axis);

} // namespace zqsp::python

#endif
