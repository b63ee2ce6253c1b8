// How elements of NumPy's types travel through the library.
#ifndef ZQSP_PYTHON_ELEMENTS_HPP
#define ZQSP_PYTHON_ELEMENTS_HPP

#include "arrays.hpp"

#include <vector>

namespace zqsp::python {

/// The class that an array of the runtime has for elements of a NumPy type. Types that the runtime lacks can travel as
/// the numbers of their entries (from 1): what comes out then tells where each value is to be taken from.
struct Elements
{
    py::dtype dtype;
    kxClassID id = kxDOUBLE_CLASS;
    kxComplexity complexity = kxREAL;
    bool numbered = false;
};

/// float64, float32, bool and the integers as they are, complex128 in two blocks. TypeError for other types, which says
/// what is served.
Elements elementsOf(const py::dtype& dtype);
/// The same, but complex128 and the types that the runtime lacks are numbered. TypeError for what is no number.
Elements movableElements(const py::dtype& dtype);

/// The numbers 1 to `count`. Made once for all matrices up to this size; keep the holder while they are read.
struct Numbers
{
    const unsigned* first;
    py::object holder;
};
Numbers numbersTo(std::size_t count);

/// The values of a sparse or full array as a NumPy array of its type, by column: on the array's block held by `keeper`,
/// copied where complex parts are joined or numbered values collected out of `numbered`.
py::array valuesOf(const kxArray* array, std::size_t count, const Elements& elements, const py::object& keeper,
                   const py::array& numbered = {});
/// Copies `count` contiguous values into the block or blocks of the array.
void storeValues(const void* from, std::size_t count, const Elements& elements, kxArray* to);
/// The only entry of a 1-by-1 array as a NumPy scalar, or zero where it is not stored.
py::object scalarOf(const kxArray* array, bool stored, const Elements& elements, const py::array& numbered = {});

} // namespace zqsp::python

#endif
