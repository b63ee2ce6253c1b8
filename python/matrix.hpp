// The class Matrix: a sparse array of the runtime, subscripted through the library.
#ifndef ZQSP_PYTHON_MATRIX_HPP
#define ZQSP_PYTHON_MATRIX_HPP

#include "scipy.hpp"
#include "subscripts.hpp"

#include <utility>

namespace zqsp::python {

class Matrix
{
  public:
    /// On the blocks of a SciPy matrix where it can be, see fromScipy(). They are copied before the first change.
    explicit Matrix(const py::object& source);

    [[nodiscard]] std::pair<unsigned, unsigned> shape() const;
    [[nodiscard]] unsigned entries() const;
    [[nodiscard]] py::dtype dtype() const { return dtypeOf(storage_); }

    /// A number where each subscript is an integer, else a Matrix.
    [[nodiscard]] py::object get(const py::object& key) const;
    void assign(const py::object& key, const py::object& value, Use use);
    void remove(const py::object& key);

    /// In place, by columns.
    void reshape(std::pair<py::ssize_t, py::ssize_t> shape);

    [[nodiscard]] Matrix copy() const;
    [[nodiscard]] py::object toScipy() const { return python::toScipy(array_.get(), storage_, lender_); }

  private:
    Matrix(Array array, Storage storage) : array_(std::move(array)), lender_(py::none()), storage_(storage) {}
    Matrix(Seen seen);

    /// The subscripts of a key: one for the elements, or one each for rows and columns.
    struct Subscripts
    {
        Operand first;
        Operand second; ///< empty where there is one only
        bool single;    ///< a single element is named
    };
    [[nodiscard]] Subscripts convert(const py::object& key, Use use) const;
    [[nodiscard]] py::object element() const;
    /// Blocks that nobody else holds; values and shape stay.
    void makePrivate();

    Array array_;
    py::object lender_; ///< of the blocks, or None
    Storage storage_;
};

} // namespace zqsp::python

#endif
