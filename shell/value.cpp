#include "value.hpp"

#include "error.hpp"
#include "interrupt.hpp"

#include <fl_except.hpp>

#include <algorithm>
#include <array>

namespace kxsh {

namespace {

/// By class; the classes between have no arrays in this language.
constexpr std::array<std::string_view, kxUINT64_CLASS + 1> kClassNames = {
    "unset", "",      "",      "logical", "char",  "",       "double", "single",
    "int8",  "uint8", "int16", "uint16",  "int32", "uint32", "int64",  "uint64"};

/// The result of a conversion that may be its own argument.
Value resultOf(const Value& argument, kxArray* result)
{
    return result == argument.get() ? argument : Value(result);
}

/// The foundation's conversions between UTF-8 and UTF-16 are members of its exceptions.
const fl::except::IUserException& unicodeConverter()
{
    static const fl::except::bad_alloc converter;
    return converter;
}

} // namespace

Value Value::number(double re)
{
    Value value = full(1, 1);
    *value.data<double>() = re;
    return value;
}

Value Value::complexNumber(double re, double im)
{
    Value value = full(1, 1, kxDOUBLE_CLASS, kxCOMPLEX);
    *value.data<double>() = re;
    *value.imagData<double>() = im;
    return value;
}

Value Value::text(std::string_view utf8)
{
    const std::u16string units = unicodeConverter().convert_str(std::string(utf8));
    require(units.size() <= kx::kxGetMaxNumberOfElements(), "kx:sizeLimit", "the text is too long");
    Value value = full(units.empty() ? 0 : 1, static_cast<unsigned>(units.size()), kxCHAR_CLASS);
    std::copy(units.begin(), units.end(), value.data<char16_t>());
    return value;
}

Value Value::truth(bool isTrue)
{
    Value value = full(1, 1, kxLOGICAL_CLASS);
    *value.data<bool>() = isTrue;
    return value;
}

Value Value::full(unsigned m, unsigned n, kxClassID id, kxComplexity complexity)
{
    const unsigned dims[2] = {m, n};
    return Value(kx::kxCreateNumericArray(2, dims, id, complexity));
}

std::string_view className(kxClassID id)
{
    return kClassNames.at(id);
}

kxClassID classNamed(std::string_view name)
{
    const auto found = std::ranges::find(kClassNames, name);
    return name.empty() || found == kClassNames.end() ? kxUNKNOWN_CLASS
                                                      : static_cast<kxClassID>(found - kClassNames.begin());
}

bool isIntegerClass(kxClassID id)
{
    return id >= kxINT8_CLASS && id <= kxUINT64_CLASS;
}

RangeBounds boundsOf(const Value& range)
{
    double values[3];
    kx::kxGetColonObjValues(range.get(), values);
    return {values[0], values[1], values[2]};
}

double valueAt(const RangeBounds& bounds, std::uint64_t index)
{
    if (index == 0) {
        return bounds.start;
    }
    const double value = bounds.start + static_cast<double>(index) * bounds.step;
    return bounds.step > 0 ? std::min(value, bounds.stop) : std::max(value, bounds.stop);
}

Value elementsOf(const Value& value)
{
    return value.isRange() ? asFull(value) : value;
}

Value converted(const Value& value, kxClassID id)
{
    const Value elements = elementsOf(value);
    return resultOf(elements, kx::kxMustBe(elements.get(), id));
}

Value asFull(const Value& value)
{
    if (!value.isRange()) {
        return resultOf(value, kx::kxMustBeFull(value.get()));
    }
    const RangeBounds bounds = boundsOf(value);
    Value result = Value::full(value.rows(), value.columns());
    auto* elements = result.data<double>();
    for (std::size_t k = 0; k < result.count(); ++k) {
        pollAtStep(k);
        elements[k] = valueAt(bounds, k);
    }
    return result;
}

unsigned entryCount(std::uint64_t count)
{
    require(count <= kx::kxGetMaxNumberOfElements(), "kx:sizeLimit", "{} entries are too many for one sparse array",
            count);
    return static_cast<unsigned>(count);
}

void setCapacity(Value& sparse, unsigned count)
{
    kxArray* array = sparse.get();
    if (count == array->nzmax) {
        return;
    }
    const std::size_t room = std::max(count, 1U);
    const std::size_t size = kx::kxGetElementSize(array);
    array->ir = static_cast<unsigned*>(kx::kxRealloc(array->ir, room * sizeof(unsigned)));
    array->pr = kx::kxRealloc(array->pr, room * size);
    if (sparse.isComplex()) {
        array->pi = kx::kxRealloc(array->pi, room * size);
    }
    array->nzmax = count;
}

void copyValues(const Value& from, std::size_t first, std::size_t count, Value& to, std::size_t next)
{
    if (count == 0) {
        return; // `next` may lie behind an empty array
    }
    forEachPart(from, to, [&]<typename T>(const T* source, T* target) {
        source == nullptr ? std::fill_n(target + next, count, T{}) : std::copy_n(source + first, count, target + next);
    });
}

std::string shapeText(const Value& value)
{
    return fmt::format("{}-by-{}", value.rows(), value.columns());
}

Value asSparse(const Value& value)
{
    const Value elements = elementsOf(value);
    return resultOf(elements, kx::kxMustBeSparse(elements.get()));
}

std::string utf8Of(const std::u16string& text)
{
    return unicodeConverter().convert_str(text);
}

std::string textOf(const Value& value)
{
    return utf8Of({value.data<char16_t>(), value.count()});
}

double firstNumber(const Value& value)
{
    return kx::kxGetScalar(elementsOf(value).get());
}

} // namespace kxsh
