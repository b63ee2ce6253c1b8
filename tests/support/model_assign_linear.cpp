#include "support/model_operations.hpp"

#include <algorithm>
#include <cmath>

namespace zqsp::test {

void checkIndex(double value)
{
    if (std::isfinite(value) && value > kxGetMaxNumberOfElements()) {
        throw Failure(kSizeLimitError);
    }
    if (!std::isfinite(value) || value != std::trunc(value) || value < 0) {
        throw Failure(spIndexNotPositiveInteger);
    }
    if (value == 0) {
        throw Failure(spIndexBelowOne);
    }
}

namespace {

/// The index values of K, 1-based, as floats.
std::vector<double> indexValues(const Subscript& k)
{
    const bool converted = k.classId != kxDOUBLE_CLASS; // which loses stored zeros
    const auto zeros = static_cast<std::size_t>(std::count(k.values.begin(), k.values.end(), 0.0));
    const bool holdsZeros =
        k.form == Form::SparseNumeric && (converted ? zeros > 0 : k.storedCount() < k.values.size());
    if (k.complex || holdsZeros) {
        throw Failure(kNotPositiveIntegerError);
    }
    if (k.form == Form::Range) {
        return rangeValues(k);
    }
    if (!k.isLogical()) {
        return k.values;
    }
    std::vector<double> values;
    for (const std::uint64_t position : maskPositions(k)) {
        values.push_back(static_cast<double>(position + 1));
    }
    return values;
}

/// Where the next index goes; the shape is looked at anew for each.
Place target(const Model& a, unsigned k)
{
    if (a.n == 1 && a.m != 1) {
        return {0, k};
    }
    if (a.n == 1 || a.m < 2 || a.n == 0) {
        return {k, 0};
    }
    return a.place(k);
}

/// One more entry: a full matrix grows by ten, at most to all its elements.
void makeRoom(Model& a)
{
    if (a.nnz() == a.nzmax) {
        constexpr std::uint64_t kMost = 0x7FFFFFFF;
        const std::uint64_t all = isCountable(a.m, a.n) ? a.numel() : kMost;
        a.nzmax = static_cast<unsigned>(std::min<std::uint64_t>(a.nzmax + 10, all));
    }
}

void setElement(Model& a, Place place, Value value)
{
    if (a.isEmpty()) {
        a.m = a.n = 0;
    }
    if (!a.sparse) {
        a.sparse = true;
        a.nzmax = 1;
    }
    a.n = std::max(a.n, place.column + 1);
    a.m = std::max(a.m, place.row + 1);
    if (value == 0.0) {
        a.entries.erase(place);
        return;
    }
    if (!a.entries.contains(place)) {
        makeRoom(a);
    }
    a.entries[place] = value;
    a.storage.complex = a.storage.complex || value.imag() != 0;
}

/// A(:) = B
Model fillAll(const Model& a, const RightSide& b)
{
    const kxClassID id = a.storage.classId;
    if (id == kxUNKNOWN_CLASS || (!b.isScalar() && !isReshape(a.m, a.n, b.m(), b.n()))) {
        throw Failure(kColonMismatchError);
    }
    if (a.isEmpty() && !b.isScalar()) {
        return a;
    }
    const RightSide converted = b.converted(id);
    Model result = a;
    if (!b.isScalar()) {
        result = reshaped(converted.asSparse(), a.m, a.n);
        const bool copied = b.kind == RightSide::Kind::Sparse && b.storage().classId == id;
        result.nzmax = copied ? b.model.nzmax : Model::kAnyCapacity;
        return result;
    }
    const Value value = converted.elements().at(0);
    if (a.isEmpty()) {
        result.nzmax = a.sparse && value != 0.0 ? 1 : a.nzmax;
        return result;
    }
    result.entries.clear();
    if (!result.sparse) {
        result.sparse = true;
        result.nzmax = Model::kAnyCapacity;
    }
    if (value == 0.0) {
        return result;
    }
    if (!isCountable(a.m, a.n)) {
        throw Failure(spIndexExceedsMaxSize);
    }
    for (unsigned j = 0; j < a.n; ++j) {
        for (unsigned i = 0; i < a.m; ++i) {
            result.entries[{j, i}] = value;
        }
    }
    result.nzmax = result.nnz();
    result.storage.complex = a.storage.complex || converted.storage().complex;
    return result;
}

/// A(K) = B, one index after another.
Model assignEach(const Model& a, const RightSide& b, const Subscript& k)
{
    const kxClassID id = a.storage.classId == kxUNKNOWN_CLASS ? b.storage().classId : a.storage.classId;
    const std::vector<Value> elements = b.converted(id).elements();
    const std::vector<double> values = indexValues(k);
    if (elements.size() != 1 && elements.size() != values.size()) {
        throw Failure(spIndexAssignCountMismatch);
    }
    const auto numel = static_cast<double>(a.numel());
    const bool outside = std::any_of(values.begin(), values.end(), [&](double v) { return v > numel; });
    const bool matrix = a.m >= 2 && a.n >= 2;
    if (matrix && outside) {
        throw Failure(spCannotResize);
    }
    std::for_each(values.begin(), values.end(), checkIndex);

    Model result = a;
    if (a.storage.classId == kxUNKNOWN_CLASS) {
        result = Model::empty({id, false}, 0, 0);
        result.nzmax = 1;
    }
    const bool onlyErases = elements.size() == 1 && elements[0] == 0.0 && result.sparse && !outside;
    for (std::size_t t = 0; t < values.size(); ++t) {
        const auto position = static_cast<unsigned>(values[t]) - 1;
        if (onlyErases) {
            result.entries.erase(result.place(position));
        } else {
            setElement(result, target(result, position), elements[elements.size() == 1 ? 0 : t]);
        }
    }
    return result;
}

} // namespace

Model assignLinear(const Model& a, const RightSide& b, const Subscript& k)
{
    return withoutImagZeros(b.isDeletion()          ? deleteElements(a, k)
                            : k.form == Form::Colon ? fillAll(a, b)
                                                    : assignEach(a, b, k));
}

} // namespace zqsp::test
