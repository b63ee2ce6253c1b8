#include "support/arrays.hpp"

#include <kx_element_types.hpp>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <ostream>

namespace zqsp::test {

namespace {

/// Calls f(T{}) with the C++ type of the class.
template <typename F>
auto withType(kxClassID id, F&& f)
{
    return kxWithElementType<std::uint8_t, std::uint16_t>(id,
                                                          [&]<typename T>(std::type_identity<T>) { return f(T{}); });
}

const char* nameOfClass(kxClassID id)
{
    constexpr const char* kNames[] = {"unset", "",      "",      "logical", "char",  "",       "double", "single",
                                      "int8",  "uint8", "int16", "uint16",  "int32", "uint32", "int64",  "uint64"};
    return id < std::size(kNames) ? kNames[id] : "of an unknown class";
}

} // namespace

const std::vector<Storage>& sparseStorages()
{
    static const std::vector<Storage> all = {
        {kxLOGICAL_CLASS, false}, {kxDOUBLE_CLASS, false}, {kxDOUBLE_CLASS, true},
        {kxSINGLE_CLASS, false},  {kxSINGLE_CLASS, true},  {kxUINT8_CLASS, false},
        {kxINT16_CLASS, true},    {kxINT32_CLASS, false},  {kxUINT64_CLASS, false}};
    return all;
}

std::string nameOf(Storage storage)
{
    return std::string(nameOfClass(storage.classId)) + (storage.complex ? " complex" : "");
}

std::ostream& operator<<(std::ostream& out, Storage storage)
{
    return out << nameOf(storage);
}

bool isNumeric(kxClassID id)
{
    return id >= kxDOUBLE_CLASS && id <= kxUINT64_CLASS;
}

std::size_t elementSizeOf(kxClassID id)
{
    return withType(id, [](auto zero) { return sizeof zero; });
}

double readElement(const void* block, kxClassID id, std::size_t i)
{
    return withType(id, [&](auto element) {
        std::memcpy(&element, static_cast<const char*>(block) + i * sizeof element, sizeof element);
        return static_cast<double>(element);
    });
}

void writeElement(void* block, kxClassID id, std::size_t i, double value)
{
    withType(id, [&](auto element) {
        using T = decltype(element);
        constexpr T kHighest = std::numeric_limits<T>::max(); // as a float it may lie one past the class
        const bool atEnd = std::numeric_limits<T>::is_integer && value >= static_cast<double>(kHighest);
        element = atEnd ? kHighest : static_cast<T>(value);
        std::memcpy(static_cast<char*>(block) + i * sizeof element, &element, sizeof element);
    });
}

double convertElement(double value, kxClassID id)
{
    if (id == kxLOGICAL_CLASS) {
        return value != 0 ? 1 : 0;
    }
    return withType(id, [&](auto zero) {
        using T = decltype(zero);
        if constexpr (std::numeric_limits<T>::is_integer) {
            const double rounded = std::isnan(value) ? 0 : std::round(value);
            const auto lowest = static_cast<double>(std::numeric_limits<T>::min());
            const auto highest = static_cast<double>(std::numeric_limits<T>::max());
            return std::fmin(std::fmax(rounded, lowest), highest);
        } else {
            return static_cast<double>(static_cast<T>(value));
        }
    });
}

kxClassID classOf(const kxArray* array)
{
    return array->class_id > kxUINT64_CLASS ? array->_get_class_id_non_trivial() : array->class_id;
}

bool isComplex(const kxArray* array)
{
    return (array->flags & kxFLAG_MAY_BE_COMPLEX) != 0 && array->pi != nullptr;
}

bool isSparse(const kxArray* array)
{
    return (array->flags & kxFLAG_SPARSE) != 0;
}

} // namespace zqsp::test
