#include "support/model.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <ostream>
#include <sstream>
#include <stdexcept>

namespace zqsp::test {

Model Model::of(Storage storage, std::initializer_list<std::initializer_list<Value>> rows)
{
    Model model = empty(storage, static_cast<unsigned>(rows.size()), 0);
    unsigned row = 0;
    for (const auto& values : rows) {
        unsigned column = 0;
        for (const Value value : values) {
            if (value != 0.0) {
                model.entries[{column, row}] = value;
            }
            model.n = std::max(model.n, ++column);
        }
        ++row;
    }
    return model.fit();
}

Model Model::empty(Storage storage, unsigned m, unsigned n)
{
    return {.m = m, .n = n, .storage = storage};
}

Model Model::unset()
{
    return emptyFull({kxUNKNOWN_CLASS, false}, 0, 0);
}

Place Model::place(std::uint64_t linear) const
{
    return {static_cast<unsigned>(linear / m), static_cast<unsigned>(linear % m)};
}

std::map<unsigned, unsigned> Model::columnCounts() const
{
    std::map<unsigned, unsigned> counts;
    for (const auto& [place, value] : entries) {
        ++counts[place.column];
    }
    return counts;
}

Model& Model::fit()
{
    nzmax = std::max(nzmax, nnz());
    return *this;
}

Model withoutImagZeros(Model model)
{
    const bool zero = std::all_of(model.entries.begin(), model.entries.end(),
                                  [](const auto& entry) { return entry.second.imag() == 0; });
    model.storage.complex = model.storage.complex && !zero;
    return model;
}

Array toArray(const Model& model)
{
    const auto [id, complex] = model.storage;
    if (id == kxUNKNOWN_CLASS) {
        return Array(kxCreateUnset());
    }
    const kxComplexity complexity = complex ? kxCOMPLEX : kxREAL;
    if (!model.sparse) {
        const unsigned dims[] = {model.m, model.n};
        Array full(kxCreateNumericArray(2, dims, id, complexity));
        for (const auto& [place, value] : model.entries) {
            writeElement(full->pr, id, model.linear(place), value.real());
            if (complex) {
                writeElement(full->pi, id, model.linear(place), value.imag());
            }
        }
        return full;
    }
    Array array(kxCreateSparseNumericMatrix(model.m, model.n, model.nzmax, id, complexity));
    const std::size_t bytes = model.nzmax * elementSizeOf(id);
    if (bytes > 0) {
        std::memset(array->ir, 0xA5, model.nzmax * sizeof(unsigned));
        std::memset(array->pr, 0xA5, bytes);
        if (complex) {
            std::memset(array->pi, 0xA5, bytes);
        }
    }
    unsigned at = 0;
    for (const auto& [place, value] : model.entries) {
        if (place.row >= model.m || place.column >= model.n || at >= model.nzmax) {
            throw std::out_of_range("the model holds an entry outside of itself");
        }
        array->ir[at] = place.row;
        writeElement(array->pr, id, at, value.real());
        if (complex) {
            writeElement(array->pi, id, at, value.imag());
        }
        ++at;
        ++array->jc[place.column + 1];
    }
    for (unsigned j = 0; j < model.n; ++j) {
        array->jc[j + 1] += array->jc[j];
    }
    if (model.hideClass) {
        kxrt::hide_class(array.get());
    }
    return array;
}

Model fromArray(const kxArray* array)
{
    const kxClassID id = classOf(array);
    Model model = Model::empty({id, isComplex(array)}, array->get_dimensions()[0], kxGetN(array));
    model.sparse = isSparse(array);
    const auto element = [&](std::size_t at) {
        return Value(readElement(array->pr, id, at), model.storage.complex ? readElement(array->pi, id, at) : 0);
    };
    if (!model.sparse) {
        for (std::size_t i = 0; i < model.numel(); ++i) {
            if (element(i) != 0.0) {
                model.entries[model.place(i)] = element(i);
            }
        }
        return model;
    }
    model.nzmax = array->nzmax;
    for (unsigned j = 0; j < model.n; ++j) {
        for (unsigned e = array->jc[j]; e < array->jc[j + 1]; ++e) {
            model.entries[{j, array->ir[e]}] = element(e);
        }
    }
    return model;
}

namespace {

bool sameEntry(const std::pair<const Place, Value>& a, const std::pair<const Place, Value>& b)
{
    return a.first == b.first && sameValue(a.second, b.second);
}

/// The first broken invariant of a sparse array, or "".
std::string brokenInvariant(const kxArray* array)
{
    const unsigned mayBeComplex = isNumeric(classOf(array)) ? kxFLAG_MAY_BE_COMPLEX : 0U;
    return array->flags == (kxFLAG_SPARSE | mayBeComplex) ? kxCheckSparse(array)
                                                          : "flags " + std::to_string(array->flags);
}

} // namespace

std::string diff(const kxArray* array, const Model& expected)
{
    if (isSparse(array)) {
        if (std::string broken = brokenInvariant(array); !broken.empty()) {
            return "broken invariant: " + broken;
        }
    }
    const Model actual = fromArray(array);
    const bool sameCapacity =
        !expected.sparse || expected.nzmax == Model::kAnyCapacity || actual.nzmax == expected.nzmax;
    const bool sameEntries = std::equal(actual.entries.begin(), actual.entries.end(), expected.entries.begin(),
                                        expected.entries.end(), sameEntry);
    if (actual.m == expected.m && actual.n == expected.n && actual.sparse == expected.sparse &&
        actual.storage.classId == expected.storage.classId && actual.storage.complex == expected.storage.complex &&
        sameCapacity && sameEntries) {
        return "";
    }
    std::ostringstream out;
    out << "\n  got      " << actual << "\n  expected " << expected << '\n';
    return out.str();
}

bool sameValue(Value a, Value b)
{
    const auto same = [](double x, double y) { return x == y || (std::isnan(x) && std::isnan(y)); };
    return same(a.real(), b.real()) && same(a.imag(), b.imag());
}

std::ostream& operator<<(std::ostream& out, const Model& model)
{
    out << (model.sparse ? "sparse " : "full ") << nameOf(model.storage) << ' ' << model.m << "x" << model.n;
    if (model.nzmax != Model::kAnyCapacity) {
        out << " nzmax " << model.nzmax;
    }
    out << (model.hideClass ? " class hidden" : "") << " nnz " << model.nnz() << " {";
    constexpr unsigned kShown = 40;
    unsigned shown = 0;
    for (const auto& [place, value] : model.entries) {
        if (++shown > kShown) {
            out << " ...";
            break;
        }
        out << " (" << place.row << ',' << place.column << ")=" << value.real();
        if (model.storage.complex) {
            out << std::showpos << value.imag() << 'i' << std::noshowpos;
        }
    }
    return out << " }";
}

} // namespace zqsp::test
