// The core of the class Matrix: a sparse array of the runtime, subscripted through the library.
#ifndef ZQSP_PYTHON_MATRIX_HPP
#define ZQSP_PYTHON_MATRIX_HPP

#include "elements.hpp"
#include "subscripts.hpp"

#include <utility>

namespace zqsp::python {

/// The three kinds of brackets.
enum class Brackets
{
    scipy,
    region,
    elements
};

class Matrix
{
  public:
    /// 0-by-0, of float64.
    Matrix();
    Matrix(Array array, py::object lender, Elements elements, py::object kind)
        : array_(std::move(array)), lender_(std::move(lender)), elements_(std::move(elements)), kind_(std::move(kind))
    {
    }
    /// Calls under way are counted for the object that is there, and do not move.
    Matrix(Matrix&& other) noexcept;
    Matrix& operator=(Matrix&& other) noexcept;

    /// Takes over what a SciPy matrix holds. With `copy`, a copy that is checked while it is made; else the arrays, as
    /// far as they can be lent, with a check if `check`. See the Python class.
    void load(const py::object& source, bool copy, bool check);
    void loadCopy(const Matrix& other);

    [[nodiscard]] std::pair<unsigned, unsigned> shape() const;
    [[nodiscard]] unsigned entries() const;
    [[nodiscard]] py::dtype dtype() const { return elements_.dtype; }
    [[nodiscard]] py::object kind() const { return kind_; }

    /// A scalar, an array of NumPy (pairs of one dimension), or a Matrix of the class `self`. None where a pair is
    /// beyond what one subscript can name.
    [[nodiscard]] py::object get(const py::handle& self, const py::object& key, Brackets brackets) const;
    /// False, and nothing done, where a pair is beyond what one subscript can name.
    bool set(const py::object& key, const py::object& value, Brackets brackets, bool grow);
    void remove(const py::object& key, Brackets brackets);

    /// In place, counted down the columns or along the rows.
    void reshape(std::pair<py::ssize_t, py::ssize_t> shape, bool byColumns);
    [[nodiscard]] py::object transposed(const py::handle& self) const;
    [[nodiscard]] py::object copied(const py::handle& self) const;
    /// A SciPy matrix of its own, or one that shares the arrays and must not be written to.
    [[nodiscard]] py::object toScipy(bool copy) const;

  private:
    class Reading;
    class Changing;

    [[nodiscard]] Matrix with(Array array) const;
    /// Blocks that nobody else holds; values and shape stay.
    void makePrivate();

    Array array_;
    py::object lender_; ///< of the blocks, or None
    Elements elements_;
    py::object kind_;         ///< csc_matrix or csc_array
    mutable int readers_ = 0; ///< calls under way in other threads; counted under the interpreter's lock
    bool changing_ = false;
};

} // namespace zqsp::python

#endif
