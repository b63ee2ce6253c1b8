// Runtime arrays as this package holds them: with blocks of their own, or on blocks that NumPy arrays lend.
#ifndef ZQSP_PYTHON_ARRAYS_HPP
#define ZQSP_PYTHON_ARRAYS_HPP

#include <kx_runtime.hpp>
#include <pybind11/numpy.h>

#include <memory>
#include <string>

namespace zqsp::python {

namespace py = pybind11;
namespace kx = matrix::detail::noninlined::kx_array_api;

/// Destroys an array; lent blocks stay where they are.
struct Destroy
{
    bool lent = false;
    void operator()(kxArray* array) const noexcept
    {
        if (lent) {
            kx::kxSetData(array, nullptr);
            kx::kxSetIr(array, nullptr);
            kx::kxSetJc(array, nullptr);
        }
        kx::kxDestroyArray(array);
    }
};
using Array = std::unique_ptr<kxArray, Destroy>;

/// An array and what keeps its lent blocks alive. The runtime cannot count holders of such blocks, so they are handed
/// only to calls that read an array and keep nothing of it.
struct Operand
{
    Array array;
    py::object lender;
};

inline unsigned rowsOf(const kxArray* array)
{
    return array->get_dimensions()[0];
}
inline unsigned columnsOf(const kxArray* array)
{
    return array->get_dimensions()[1];
}
inline unsigned entriesOf(const kxArray* sparse)
{
    return sparse->jc[columnsOf(sparse)];
}

/// A size or count as the runtime has it; ValueError above its maximum.
inline unsigned sizeOf(py::ssize_t size)
{
    if (size < 0 || size > static_cast<py::ssize_t>(kx::kxGetMaxNumberOfElements())) {
        throw py::value_error("a size of " + std::to_string(size) + " is outside 0 to " +
                              std::to_string(kx::kxGetMaxNumberOfElements()));
    }
    return static_cast<unsigned>(size);
}

/// str(object).
inline std::string text(const py::handle& object)
{
    return py::str(object);
}
/// "(3, 4)".
inline std::string shapeText(py::ssize_t rows, py::ssize_t columns)
{
    return "(" + std::to_string(rows) + ", " + std::to_string(columns) + ")";
}

/// A full array of rows-by-columns words.
inline Array newWords(py::ssize_t rows, py::ssize_t columns)
{
    const unsigned dims[2] = {sizeOf(rows), sizeOf(columns)};
    return Array(kx::kxCreateNumericArray(2, dims, kxUINT32_CLASS, kxREAL));
}
inline unsigned* wordsOf(const Array& array)
{
    return static_cast<unsigned*>(array->pr);
}

/// Other threads run Python while this lives, if there is enough work for that: giving the interpreter's lock back and
/// getting it again takes about as long as moving some thousands of entries. No Python object is touched meanwhile.
class Unlocked
{
  public:
    explicit Unlocked(std::size_t entries) : state_(entries > kWorthwhile ? PyEval_SaveThread() : nullptr) {}
    ~Unlocked()
    {
        if (state_ != nullptr) {
            PyEval_RestoreThread(state_);
        }
    }
    Unlocked(const Unlocked&) = delete;
    Unlocked& operator=(const Unlocked&) = delete;

  private:
    static constexpr std::size_t kWorthwhile = 4096;
    PyThreadState* state_;
};

} // namespace zqsp::python

#endif
