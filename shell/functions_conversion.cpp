#include "functions.hpp"

#include "error.hpp"
#include "operators.hpp"

namespace kxsh {

namespace {

template <kxClassID Id>
Value convertTo(Session&, Arguments arguments)
{
    return converted(arguments[0], Id);
}

Value complex(Session&, Arguments arguments)
{
    const Value& re = arguments[0];
    const Value& im = arguments[1];
    require(!re.isComplex() && !im.isComplex(), "kxsh:arguments", "complex takes two real arrays");
    require(re.isScalar() || im.isScalar() || re.sameShape(im), "kxsh:arguments",
            "complex takes two arrays of one shape, or a number and an array");
    return complexOf(re, im);
}

#define KXSH_INTEGER_CLASS(name, id, range)                                                                            \
    {                                                                                                                  \
        name, 1, 1, name "(A)", "Elements as integers " range,                                                         \
            "Rounded to the nearest and held at the ends of the range.", name "([1.5 300 -7])", convertTo<id>          \
    }

constexpr Function kFunctions[] = {
    {"full", 1, 1, "full(A)", "A with all elements stored, zeros too", "", "full(speye(2))",
     [](Session&, Arguments a) { return asFull(a[0]); }},
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
    {"real", 1, 1, "real(A)", "Real parts", "", "real(3+4i)",
     [](Session&, Arguments a) { return partOf(a[0], false); }},
    {"imag", 1, 1, "imag(A)", "Imaginary parts", "", "imag(3+4i)",
     [](Session&, Arguments a) { return partOf(a[0], true); }},
};

#undef KXSH_INTEGER_CLASS

} // namespace

const std::span<const Function> conversionFunctions = kFunctions;

} // namespace kxsh
