#include "functions.hpp"

#include "elementwise.hpp"
#include "error.hpp"

#include <cstring>

namespace kxsh {

namespace {

Value full(Session&, Arguments arguments)
{
    return asFull(arguments[0]);
}

template <kxClassID Id>
Value convertTo(Session&, Arguments arguments)
{
    return converted(arguments[0], Id);
}

Value complex(Session&, Arguments arguments)
{
    const Value& re = arguments[0];
    const Value& im = arguments[1];
    if (re.isComplex() || im.isComplex()) {
        throw Error("kxsh:arguments", "complex takes two real arrays");
    }
    if (!re.isScalar() && !im.isScalar() && !re.sameShape(im)) {
        throw Error("kxsh:arguments", "complex takes two arrays of one shape, or a number and an array");
    }
    const Value a = converted(re, kxDOUBLE_CLASS);
    const Value b = converted(im, kxDOUBLE_CLASS);
    using Complex = std::complex<double>;
    const auto join = [](Complex x, Complex y) { return Complex(x.real(), y.real()); };
    return a.isSparse() && b.isSparse() && a.sameShape(b) ? sparseMerge<Complex>(a, b, join, false)
                                                          : fullElementwise<Complex>(asFull(a), asFull(b), join);
}

/// One part of a complex array, of its class; sparse stays sparse.
Value partOf(const Value& value, bool imaginary)
{
    Value result = elementsOf(value);
    if (!result.isComplex()) {
        if (!imaginary) {
            return result;
        }
        return result.isSparse() ? Value::sparse(result.rows(), result.columns(), 1, result.classId())
                                 : Value::full(result.rows(), result.columns(), result.classId());
    }
    if (result.isSparse()) {
        const auto part = [imaginary](std::complex<double> v, unsigned, unsigned) {
            return imaginary ? v.imag() : v.real();
        };
        return converted(sparseMap<std::complex<double>>(converted(result, kxDOUBLE_CLASS), part), result.classId());
    }
    Value part = Value::full(result.rows(), result.columns(), result.classId());
    const std::size_t bytes = result.count() * kx::kxGetElementSize(result.get());
    if (bytes != 0) {
        std::memcpy(part.get()->pr, imaginary ? result.get()->pi : result.get()->pr, bytes);
    }
    return part;
}

Value real(Session&, Arguments arguments)
{
    return partOf(arguments[0], false);
}
Value imag(Session&, Arguments arguments)
{
    return partOf(arguments[0], true);
}

#define KXSH_INTEGER_CLASS(name, id, range)                                                                            \
    {                                                                                                                  \
        name, 1, 1, name "(A)", "Elements as integers " range,                                                         \
            "Rounded to the nearest and held at the ends of the range.", name "([1.5 300 -7])", convertTo<id>          \
    }

constexpr Function kFunctions[] = {
    {"full", 1, 1, "full(A)", "A with all elements stored, zeros too", "", "full(speye(2))", full},
    {"logical", 1, 1, "logical(A)", "True where an element is not zero", "NaN is an error.", "logical([1 0 2])",
     convertTo<kxLOGICAL_CLASS>},
    {"double", 1, 1, "double(A)", "Elements in double precision", "Of a string, its character codes.", "double('kx')",
     convertTo<kxDOUBLE_CLASS>},
    {"single", 1, 1, "single(A)", "Elements in single precision", "", "single(0.1)", convertTo<kxSINGLE_CLASS>},
    KXSH_INTEGER_CLASS("int8", kxINT8_CLASS, "from -128 to 127"),
    KXSH_INTEGER_CLASS("uint8", kxUINT8_CLASS, "from 0 to 255"),
    KXSH_INTEGER_CLASS("int16", kxINT16_CLASS, "of 16 bits"),
    KXSH_INTEGER_CLASS("uint16", kxUINT16_CLASS, "of 16 bits, from 0 up"),
    KXSH_INTEGER_CLASS("int32", kxINT32_CLASS, "of 32 bits"),
    KXSH_INTEGER_CLASS("uint32", kxUINT32_CLASS, "of 32 bits, from 0 up"),
    KXSH_INTEGER_CLASS("int64", kxINT64_CLASS, "of 64 bits"),
    KXSH_INTEGER_CLASS("uint64", kxUINT64_CLASS, "of 64 bits, from 0 up"),
    {"complex", 2, 2, "complex(re,im)", "Complex array of its real and imaginary parts",
     "A number serves for all places.", "z = complex([1 2], [3 4])", complex},
    {"real", 1, 1, "real(A)", "Real parts", "", "real(3+4i)", real},
    {"imag", 1, 1, "imag(A)", "Imaginary parts", "", "imag(3+4i)", imag},
};

#undef KXSH_INTEGER_CLASS

} // namespace

std::span<const Function> conversionFunctions()
{
    return kFunctions;
}

} // namespace kxsh
