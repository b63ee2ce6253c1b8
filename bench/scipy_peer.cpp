// SciPy's side of a row, see scipy_peer.py: Python runs in this process, on copies of the operands.
#include "contender.hpp"

#include <pybind11/embed.h>
#include <pybind11/numpy.h>

#include <complex>

namespace zqsp::bench {

namespace {

namespace py = pybind11;

const char* nameOf(Kind kind)
{
    static const char* const names[] = {"whole",         "columns",    "columnCalls",  "rows",       "region",
                                        "linear",        "reads",      "lists",        "runs",       "reshape",
                                        "deleteColumns", "deleteRows", "deleteLinear", "setColumns", "setRows",
                                        "setRegion",     "setLinear",  "writes",       "inserts"};
    return names[static_cast<int>(kind)];
}

const char* nameOf(RightSide::Form form)
{
    static const char* const names[] = {"none", "scalar", "zero", "sparse", "sparse", "full"};
    return names[static_cast<int>(form)];
}

/// A mask is handed over as one.
const char* formOf(const Subscript& subscript)
{
    return subscript.form == Subscript::Form::colon  ? "colon"
           : subscript.form == Subscript::Form::mask ? "mask"
           : subscript.isRun()                       ? "run"
                                                     : "list";
}

template <typename To, typename From>
py::array_t<To> toNumpy(const std::vector<From>& values)
{
    py::array_t<To> array(static_cast<py::ssize_t>(values.size()));
    std::transform(values.begin(), values.end(), array.mutable_data(),
                   [](From value) { return static_cast<To>(value); });
    return array;
}

py::tuple toTuple(const Subscript& subscript)
{
    return py::make_tuple(formOf(subscript), toNumpy<std::int32_t>(subscript.values), subscript.extent);
}

py::tuple toTuple(const Matrix& matrix, Values values)
{
    py::object data = toNumpy<double>(matrix.re);
    if (values == Values::logical) {
        data = toNumpy<bool>(matrix.re);
    } else if (values == Values::complex) {
        py::array_t<std::complex<double>> both(static_cast<py::ssize_t>(matrix.re.size()));
        std::transform(matrix.re.begin(), matrix.re.end(), matrix.im.begin(), both.mutable_data(),
                       [](double re, double im) { return std::complex<double>(re, im); });
        data = both;
    }
    return py::make_tuple(py::make_tuple(matrix.m, matrix.n), data, toNumpy<std::int32_t>(matrix.ir),
                          toNumpy<std::int32_t>(matrix.jc));
}

py::object toPython(const RightSide& B, Values values)
{
    switch (B.form) {
    case RightSide::Form::sparse:
    case RightSide::Form::denseRow:
        return toTuple(B.sparse, values);
    case RightSide::Form::full: {
        py::array_t<double> full({B.m, B.n});
        std::fill_n(full.mutable_data(), full.size(), 2.0);
        return full;
    }
    default:
        return py::none();
    }
}

/// The module; Python is started for it once, and never ended.
py::module_ peer()
{
    static const auto* const python = new py::scoped_interpreter(false);
    static const auto* const module = [] {
        py::module_::import("sys").attr("dont_write_bytecode") = true;
        py::module_::import("sys").attr("path").attr("insert")(0, ZQSP_BENCH_FOLDER);
        return new py::module_(py::module_::import("scipy_peer"));
    }();
    static_cast<void>(python);
    return *module;
}

class ScipySide : public Contender
{
  public:
    explicit ScipySide(const Problem& problem)
        : row_(peer().attr("Row")(nameOf(problem.row.operation->kind), toTuple(problem.A, problem.row.values),
                                  toTuple(problem.I), toTuple(problem.J), nameOf(problem.B.form),
                                  toPython(problem.B, problem.row.values))),
          run_(row_.attr("run")),
          scale_(row_.attr("scale")().cast<double>())
    {
    }

    void prepare() override { row_.attr("prepare")(); }
    void run() override { run_(); }
    void finish() override { row_.attr("finish")(); }
    [[nodiscard]] double scale() const override { return scale_; }

    [[nodiscard]] Fingerprint fingerprint() const override
    {
        const auto [entries, weighted] = row_.attr("fingerprint")().cast<std::pair<double, double>>();
        return {entries, weighted};
    }

  private:
    py::object row_;
    py::object run_;
    double scale_;
};

} // namespace

bool hasScipy(const Row& row)
{
    return row.operation->kind != Kind::deleteLinear;
}

ContenderOwner makeScipy(std::shared_ptr<const Problem> problem)
{
    return std::make_unique<ScipySide>(*problem);
}

} // namespace zqsp::bench
