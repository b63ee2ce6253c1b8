// What stands between the brackets, with the meaning that SciPy and NumPy give it.
#ifndef ZQSP_PYTHON_KEYS_HPP
#define ZQSP_PYTHON_KEYS_HPP

#include "arrays.hpp"

#include <cstdint>
#include <utility>

namespace zqsp::python {

/// What a subscript is for. Only growing may reach past the extent.
enum class Use
{
    reading,
    writing,
    growing,
    deleting
};

/// The dimension that a subscript runs over, and the shape of the matrix for messages.
struct Axis
{
    const char* name; ///< "row", "column", "element"
    std::int64_t extent;
    py::ssize_t rows;
    py::ssize_t columns;
    Use use;
};

/// A subscript of one dimension: bounds checked, counted from the front.
struct Index
{
    enum class Kind
    {
        integer, ///< first
        range,   ///< first, step, count
        list,    ///< words
        mask     ///< words, of which `count` are set
    };
    Kind kind = Kind::integer;
    std::int64_t first = 0;
    std::int64_t step = 1;
    py::ssize_t count = 1;
    Array words;          ///< 1-based row vector in row-major order of a list's shape; or logical bytes
    py::ssize_t rows = 1; ///< shape of a list; a vector is a row
    bool bare = false;    ///< the slice `:`
    int dimensions = 0;   ///< 0 for an integer, 1 or 2 for others; a range or mask has 1

    [[nodiscard]] py::ssize_t columns() const { return rows == 0 ? width : count / rows; }
    [[nodiscard]] bool isColumn() const { return kind == Kind::list && dimensions == 2 && columns() == 1; }
    py::ssize_t width = 0; ///< columns of a list without rows
};

/// The subscript that an integer, a slice, a mask or an array of integers is. IndexError for what lies outside and for
/// anything else. Masks may have two dimensions nowhere but in Key.
Index indexOf(const py::object& key, const Axis& axis);
/// 1-based values of an integer, range or mask too.
void makeList(Index& index);

/// Which elements a key names.
struct Selection
{
    enum class Form
    {
        element, ///< one, by two integers
        region,  ///< every row of `row` by every column of `column`
        pairs    ///< lists, broadcast against each other
    };
    Form form = Form::region;
    Index row;
    Index column;
    py::ssize_t rows = 1; ///< the shape of what is selected
    py::ssize_t columns = 1;
    bool flat = false;                           ///< pairs of one dimension; they count as a row
    bool dropsAxis = false;                      ///< an integer beside something else: one dimension less, in NumPy
    std::pair<py::ssize_t, py::ssize_t> extents; ///< of the matrix
};

/// Reads a key by the rules of SciPy's __getitem__ or, for any other use, its __setitem__.
Selection selectionOf(const py::object& key, py::ssize_t rows, py::ssize_t columns, Use use);

/// The shape that a matrix has to have for all pairs to lie in it.
std::pair<py::ssize_t, py::ssize_t> grownShape(const Selection& pairs, py::ssize_t rows, py::ssize_t columns);

/// scipy.sparse.issparse(object), quickly false for arrays and numbers.
bool isScipySparse(const py::handle& object);

} // namespace zqsp::python

#endif
