// The extension module zqspmatrix._core: what the Python package stands on. Its documentation is that of the package.
#include "functions.hpp"
#include "matrix.hpp"

#include <pybind11/stl.h>
#include <zqspmatrix.h>

#include <new>
#include <stdexcept>
#include <string>

namespace zqsp::python {
namespace {

/// The exception that tells a Python user the kind of the runtime's error.
PyObject* exceptionFor(const std::string& identifier)
{
    if (identifier == "kx:outOfMemory") {
        return PyExc_MemoryError;
    }
    for (const char* kind :
         {"kx:subscript:", ":index_to_remove_exceeds_matrix_dimensions", ":pmaxsize", "kx:sizeLimit"}) {
        if (identifier.find(kind) != std::string::npos) {
            return PyExc_IndexError;
        }
    }
    return PyExc_ValueError;
}

void translateErrors(std::exception_ptr thrown)
{
    try {
        std::rethrow_exception(std::move(thrown));
    } catch (const kxrt::Error& error) {
        PyErr_SetString(exceptionFor(error.identifier()), error.what());
    }
}

newfunc newInstance = nullptr;

/// Every object has a Matrix in it from the start, so that one whose __init__ never ran is an empty matrix.
PyObject* newMatrix(PyTypeObject* type, PyObject* arguments, PyObject* keywords)
{
    PyObject* self = newInstance(type, arguments, keywords);
    if (self == nullptr) {
        return nullptr;
    }
    try {
        auto* instance = reinterpret_cast<py::detail::instance*>(self);
        const auto* known = py::detail::get_type_info(typeid(Matrix));
        instance->get_value_and_holder(known).value_ptr() = new Matrix();
        known->init_instance(instance, nullptr);
        return self;
    } catch (const py::error_already_set& error) {
        Py_DECREF(self);
        py::raise_from(const_cast<py::error_already_set&>(error), PyExc_RuntimeError, "no Matrix");
    } catch (const std::exception& error) {
        Py_DECREF(self);
        PyErr_SetString(PyExc_MemoryError, error.what());
    }
    return nullptr;
}

/// Calls of the accelerated brackets, in which SciPy's own code is to raise what is wrong with a key.
template <typename Call>
py::object unlessItRaises(Call&& call)
{
    try {
        return call();
    } catch (const py::error_already_set& error) {
        if (error.matches(PyExc_KeyboardInterrupt)) {
            throw;
        }
    } catch (const py::builtin_exception&) {
    } catch (const kxrt::Error&) {
    } catch (const std::invalid_argument&) {
    }
    return py::reinterpret_borrow<py::object>(Py_NotImplemented);
}

py::object getter(const py::object& self, const py::object& key, Brackets brackets)
{
    return self.cast<const Matrix&>().get(self, key, brackets);
}

void defineMatrix(py::module_& module)
{
    py::class_<Matrix> matrix(module, "Matrix");
    auto* type = reinterpret_cast<PyTypeObject*>(matrix.ptr());
    newInstance = type->tp_new;
    type->tp_new = newMatrix;

    matrix.def("_load", &Matrix::load)
        .def("_load_copy", &Matrix::loadCopy)
        .def_property_readonly("shape", &Matrix::shape)
        .def_property_readonly("dtype", &Matrix::dtype)
        .def_property_readonly("nnz", &Matrix::entries)
        .def_property_readonly("_kind", &Matrix::kind)
        .def("_get", [](const py::object& self, const py::object& key) { return getter(self, key, Brackets::scipy); })
        .def("_get_region",
             [](const py::object& self, const py::object& key) { return getter(self, key, Brackets::region); })
        .def("_get_elements",
             [](const py::object& self, const py::object& key) { return getter(self, key, Brackets::elements); })
        .def("_set", [](Matrix& self, const py::object& key, const py::object& value,
                        bool grow) { return self.set(key, value, Brackets::scipy, grow); })
        .def("_set_region", [](Matrix& self, const py::object& key, const py::object& value,
                               bool grow) { self.set(key, value, Brackets::region, grow); })
        .def("_set_elements", [](Matrix& self, const py::object& key, const py::object& value,
                                 bool grow) { self.set(key, value, Brackets::elements, grow); })
        .def("_delete", [](Matrix& self, const py::object& key) { self.remove(key, Brackets::scipy); })
        .def("_delete_region", [](Matrix& self, const py::object& key) { self.remove(key, Brackets::region); })
        .def("_delete_elements", [](Matrix& self, const py::object& key) { self.remove(key, Brackets::elements); })
        .def("_reshape", &Matrix::reshape)
        .def("_transposed", [](const py::object& self) { return self.cast<const Matrix&>().transposed(self); })
        .def("_copied", [](const py::object& self) { return self.cast<const Matrix&>().copied(self); })
        .def("_scipy", &Matrix::toScipy);
}

} // namespace
} // namespace zqsp::python

PYBIND11_MODULE(_core, module)
{
    using namespace zqsp::python;
    module.attr("version") = libzqspmatrix_version;
    py::register_local_exception_translator(translateErrors);
    defineMatrix(module);
    module.def("getitem", &getItem)
        .def("setitem", &setItem)
        .def("delete", &deleted)
        .def("reshape", &reshaped)
        .def("try_getitem",
             [](const py::object& matrix, const py::object& key) {
                 return unlessItRaises([&] { return tryGetItem(matrix, key); });
             })
        .def("try_setitem",
             [](const py::object& matrix, const py::object& key, const py::object& value) {
                 return unlessItRaises([&] { return trySetItem(matrix, key, value); });
             })
        .def("answered_calls", &answeredCalls);
}
