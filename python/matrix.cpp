#include "matrix.hpp"

#include "operations.hpp"
#include "scipy.hpp"
#include "values.hpp"

#include <cstring>
#include <stdexcept>
#include <utility>

namespace zqsp::python {
namespace {

/// A new Python object of this class, with a Matrix in it.
py::object objectOf(const py::handle& type, Matrix matrix)
{
    auto* pyType = reinterpret_cast<PyTypeObject*>(type.ptr());
    const py::tuple nothing;
    auto made = py::reinterpret_steal<py::object>(pyType->tp_new(pyType, nothing.ptr(), nullptr));
    if (!made) {
        throw py::error_already_set();
    }
    made.cast<Matrix&>() = std::move(matrix);
    return made;
}

py::object scipyKind(const char* name)
{
    return py::module_::import("scipy.sparse").attr(name);
}

/// csc_array for SciPy's arrays of any format, csc_matrix for its matrices.
py::object kindOf(const py::object& source)
{
    const py::object row = source.attr("tocsc")().attr("__class__");
    for (const char* name : {"csc_array", "csc_matrix"}) {
        const py::object kind = scipyKind(name);
        if (PyObject_IsSubclass(row.ptr(), kind.ptr()) == 1) {
            return kind;
        }
    }
    return scipyKind("csc_matrix");
}

} // namespace

/// A call that reads the matrix, and may let other threads run.
class Matrix::Reading
{
  public:
    explicit Reading(const Matrix& matrix) : matrix_(matrix)
    {
        if (matrix.changing_) {
            throw std::runtime_error("the matrix is being changed by another thread");
        }
        ++matrix.readers_;
    }
    ~Reading() { --matrix_.readers_; }
    Reading(const Reading&) = delete;
    Reading& operator=(const Reading&) = delete;

  private:
    const Matrix& matrix_;
};

class Matrix::Changing
{
  public:
    explicit Changing(Matrix& matrix) : matrix_(matrix)
    {
        if (matrix.changing_ || matrix.readers_ != 0) {
            throw std::runtime_error("the matrix cannot be changed while another thread uses it");
        }
        matrix.changing_ = true;
    }
    ~Changing() { matrix_.changing_ = false; }
    Changing(const Changing&) = delete;
    Changing& operator=(const Changing&) = delete;

  private:
    Matrix& matrix_;
};

Matrix::Matrix()
    : array_(kx::kxCreateSparseNumericMatrix(0, 0, 0, kxDOUBLE_CLASS, kxREAL)),
      lender_(py::none()),
      elements_{py::dtype::of<double>()},
      kind_([] {
          static const auto* usual = new py::object(scipyKind("csc_matrix"));
          return *usual;
      }())
{
}

Matrix::Matrix(Matrix&& other) noexcept
    : array_(std::move(other.array_)),
      lender_(std::move(other.lender_)),
      elements_(std::move(other.elements_)),
      kind_(std::move(other.kind_))
{
}

Matrix& Matrix::operator=(Matrix&& other) noexcept
{
    array_ = std::move(other.array_);
    lender_ = std::move(other.lender_);
    elements_ = std::move(other.elements_);
    kind_ = std::move(other.kind_);
    return *this;
}

Matrix Matrix::with(Array array) const
{
    return {std::move(array), py::none(), elements_, kind_};
}

void Matrix::load(const py::object& source, bool copy, bool check)
{
    if (!isScipySparse(source)) {
        throw py::type_error("a Matrix is made of a SciPy sparse matrix or array, or of a Matrix, not of " +
                             text(py::type::of(source)));
    }
    const Elements elements = elementsOf(source.attr("dtype"));
    const Changing changing(*this);
    const std::optional<Compressed> given = compressed(source);
    const bool byColumns = given && !given->byRows;
    if (byColumns && !copy) {
        if (elements.complexity == kxREAL) {
            Operand lent = lentArray(*given, elements);
            if (check) {
                requireSound(lent.array.get());
            }
            *this = Matrix(std::move(lent.array), std::move(lent.lender), elements, kindOf(source));
            return;
        }
        Array made = ownedArray(*given, elements); // joined parts cannot be lent
        if (check) {
            requireSound(made.get());
        }
        *this = Matrix(std::move(made), py::none(), elements, kindOf(source));
        return;
    }
    std::optional<Array> made = byColumns ? checkedArray(*given, elements) : std::optional<Array>();
    if (!made) {
        made = ownedArray(canonical(source), elements);
    }
    *this = Matrix(std::move(*made), py::none(), elements, kindOf(source));
}

void Matrix::loadCopy(const Matrix& other)
{
    const Reading reading(other);
    *this = other.with(Array(kx::kxCreateDeepCopy(other.array_.get())));
}

std::pair<unsigned, unsigned> Matrix::shape() const
{
    return {rowsOf(array_.get()), columnsOf(array_.get())};
}

unsigned Matrix::entries() const
{
    return entriesOf(array_.get());
}

py::object Matrix::get(const py::handle& self, const py::object& key, Brackets brackets) const
{
    const auto [m, n] = shape();
    const Reading reading(*this);
    if (brackets != Brackets::scipy) {
        const Subscripts subscripts = brackets == Brackets::region ? regionSubscripts(key, m, n, Use::reading)
                                                                   : elementSubscripts(key, m, n, Use::reading);
        Array found = reference(array_.get(), subscripts);
        if (subscripts.single) {
            return scalarOf(found.get(), entriesOf(found.get()) != 0, elements_);
        }
        return objectOf(py::type::of(self), with(std::move(found)));
    }

    Selection selection = selectionOf(key, m, n, Use::reading);
    const auto [form, rows, columns] = std::tuple{selection.form, selection.rows, selection.columns};
    const bool flat = selection.flat && rows * columns != 0;
    if (form == Selection::Form::pairs && !countable(m, n)) {
        return py::none();
    }
    const Subscripts subscripts = subscriptsOf(std::move(selection), m, false);
    Array found = reference(array_.get(), subscripts);
    if (form == Selection::Form::element) {
        return scalarOf(found.get(), entriesOf(found.get()) != 0, elements_);
    }
    if (form == Selection::Form::pairs) {
        if (flat) {
            return denseRow(std::move(found), elements_, isArrayType(kind_));
        }
        python::reshape(found.get(), rows, columns); // of a vector, a vector takes the direction
    }
    return objectOf(py::type::of(self), with(std::move(found)));
}

bool Matrix::set(const py::object& key, const py::object& value, Brackets brackets, bool grow)
{
    const auto [m, n] = shape();
    const Use use = grow ? Use::growing : Use::writing;
    if (brackets != Brackets::scipy) {
        const Array values = languageValues(value, elements_);
        const Subscripts subscripts =
            brackets == Brackets::region ? regionSubscripts(key, m, n, use) : elementSubscripts(key, m, n, use);
        const Changing changing(*this);
        makePrivate();
        assign(array_.get(), values.get(), subscripts);
        return true;
    }
    Selection selection = selectionOf(key, m, n, use);
    const auto values = valuesFor(value, selection, elements_, false, 0);
    if (!values) {
        return true;
    }
    const Changing changing(*this);
    if (selection.form != Selection::Form::pairs) {
        const Subscripts subscripts = subscriptsOf(std::move(selection), m, false);
        makePrivate();
        assign(array_.get(), values->array.get(), subscripts);
        return true;
    }
    const auto [rows, columns] = grownShape(selection, m, n);
    if (!countable(rows, columns)) {
        return false;
    }
    const Subscripts subscripts = subscriptsOf(std::move(selection), sizeOf(rows), false);
    makePrivate();
    growTo(array_.get(), sizeOf(rows), sizeOf(columns));
    assign(array_.get(), values->array.get(), subscripts);
    return true;
}

void Matrix::remove(const py::object& key, Brackets brackets)
{
    const auto [m, n] = shape();
    const Subscripts subscripts = brackets == Brackets::region ? regionSubscripts(key, m, n, Use::deleting)
                                  : brackets == Brackets::elements
                                      ? elementSubscripts(key, m, n, Use::deleting)
                                      : erasedBy(selectionOf(key, m, n, Use::reading), m, false);
    const Changing changing(*this);
    makePrivate();
    erase(array_.get(), subscripts);
}

void Matrix::reshape(std::pair<py::ssize_t, py::ssize_t> shape, bool byColumns)
{
    const Changing changing(*this);
    if (byColumns) {
        makePrivate();
        return python::reshape(array_.get(), shape.first, shape.second);
    }
    Array turned(kx::kxTranspose(array_.get()));
    python::reshape(turned.get(), shape.second, shape.first);
    array_ = Array(kx::kxTranspose(turned.get()));
    lender_ = py::none();
}

py::object Matrix::transposed(const py::handle& self) const
{
    const Reading reading(*this);
    return objectOf(py::type::of(self), with(Array(kx::kxTranspose(array_.get()))));
}

py::object Matrix::copied(const py::handle& self) const
{
    const Reading reading(*this);
    return objectOf(py::type::of(self), with(Array(kx::kxCreateDeepCopy(array_.get()))));
}

py::object Matrix::toScipy(bool copy) const
{
    const Reading reading(*this);
    if (copy) {
        return python::toScipy(Array(kx::kxCreateDeepCopy(array_.get())), elements_, kind_, false);
    }
    const auto [m, n] = shape();
    Blocks blocks;
    if (lender_.is_none()) {
        blocks = blocksOf(Array(kx::kxCreateSharedDataCopy(array_.get())), elements_);
    } else {
        const py::tuple lent = lender_;
        blocks = {lent[0].attr("view")(), lent[1].attr("view")(), lent[2].attr("view")()};
    }
    for (const py::object& block : {py::object(blocks.data), blocks.indices, blocks.starts}) {
        block.attr("flags").attr("writeable") = false;
    }
    return scipyMatrix(kind_, m, n, blocks.data, blocks.indices, blocks.starts);
}

void Matrix::makePrivate()
{
    if (lender_.is_none()) {
        kxrt::make_private(array_.get());
    } else {
        array_ = Array(kx::kxCreateDeepCopy(array_.get()));
        lender_ = py::none();
    }
}

} // namespace zqsp::python
