#include "indexing.hpp"

#include "error.hpp"
#include "full_indexing.hpp"
#include "operators.hpp"
#include "printing.hpp"

#include <zqspmatrix.h>

#include <cmath>
#include <functional>
#include <optional>
#include <string>

namespace kxsh {

namespace {

/// 1-based subscript value that cannot be used over `extent` positions (0: no upper bound), if one is found.
std::optional<double> firstBad(const Value& subscript, double extent)
{
    const auto bad = [extent](double v) { return !(v >= 1) || v != std::floor(v) || (extent > 0 && v > extent); };
    if (subscript.isColon()) {
        return std::nullopt;
    }
    if (subscript.isRange()) {
        const RangeBounds bounds = boundsOf(subscript);
        for (const double v : {bounds.start, bounds.stop, bounds.start + bounds.step}) {
            if (bad(v)) {
                return v;
            }
        }
        return std::nullopt;
    }
    const Value values = asFull(converted(subscript, kxDOUBLE_CLASS));
    const bool mask = subscript.classId() == kxLOGICAL_CLASS;
    const auto* data = values.data<double>();
    for (std::size_t i = 0; i < values.count(); ++i) {
        const double v = mask ? static_cast<double>(i + 1) : data[i];
        if ((!mask || data[i] != 0) && bad(v)) {
            return v;
        }
    }
    return std::nullopt;
}

/// What a user needs to see beside a subscript error: the value at fault, or the shapes that do not fit.
std::string circumstances(const Value& array, std::span<const Value> subscripts, std::string_view name, bool grows,
                          const Value* value)
{
    for (std::size_t i = 0; i < subscripts.size(); ++i) {
        if (const auto bad = firstBad(subscripts[i], grows ? 0 : extentOf(array, subscripts.size(), i))) {
            const std::string_view kind = subscripts.size() == 1 ? "index" : i == 0 ? "row" : "column";
            return fmt::format(": {} {} of {}, which is {}-by-{}", kind, shortNumber(*bad, 10), name, array.rows(),
                               array.columns());
        }
    }
    const std::string shape = fmt::format("; {} is {}-by-{}", name, array.rows(), array.columns());
    if (value == nullptr || value->isScalar()) {
        return shape;
    }
    const auto named = [&](std::size_t i) { // places that a subscript names
        return subscripts[i].isColon()                      ? extentOf(array, subscripts.size(), i)
               : subscripts[i].classId() == kxLOGICAL_CLASS ? static_cast<double>(nonZeros(subscripts[i]))
                                                            : static_cast<double>(subscripts[i].count());
    };
    const std::string places = subscripts.size() == 1 ? fmt::format("{} places", named(0))
                                                      : fmt::format("{}-by-{} places", named(0), named(1));
    return fmt::format("{}, the value {}-by-{} for {}", shape, value->rows(), value->columns(), places);
}

/// Runs `call`; its subscript and shape errors are raised again with `details` behind their text.
void withDetails(const std::function<void()>& call, const std::function<std::string()>& details)
{
    reportingErrors(call, [&](const ErrorReport& report) {
        const bool named = report.identifier.starts_with("kx:subscript:") || report.identifier.starts_with("ZENTAR:");
        std::string more;
        if (named) {
            reportingErrors([&] { more = details(); }, [](const ErrorReport&) {});
        }
        throw Error(report.identifier, report.text + more);
    });
}

void checkSubscriptCount(std::size_t count, std::string_view name)
{
    require(count == 1 || count == 2, "kxsh:subscript", "{} takes one or two subscripts, not {}", name, count);
}

Value referSparse(const Value& array, std::span<const Value> subscripts)
{
    const kxArray* a = array.get();
    const kxArray* first = subscripts[0].get();
    kxArray* result = nullptr;
    const kxArray* last = subscripts.back().get();
    const spStatus status = subscripts.size() == 1    ? spRef3(a, first, &result)
                            : subscripts[0].isColon() ? spRef4(a, last, &result)
                            : subscripts[1].isColon() ? spRef5(a, first, &result)
                                                      : spRef6(a, first, last, &result);
    kxHandleSparseSubscriptError(status);
    return Value(result);
}

void assignSparse(Value& target, const Value& value, std::span<const Value> subscripts)
{
    kxArray* a = target.get();
    const kxArray* b = value.get();
    const kxArray* first = subscripts[0].get();
    const kxArray* last = subscripts.back().get();
    const spStatus status = subscripts.size() == 1    ? spAss3(a, b, first)
                            : subscripts[0].isColon() ? spAss4(a, b, last)
                            : subscripts[1].isColon() ? spAss5(a, b, first)
                                                      : spAss6(a, b, first, last);
    kxHandleSparseSubscriptError(status);
}

} // namespace

double extentOf(const Value& array, std::size_t count, std::size_t position)
{
    if (count == 1) {
        return static_cast<double>(array.count());
    }
    return position == 0 ? array.rows() : array.columns();
}

Value reference(const Value& array, std::span<const Value> subscripts, std::string_view name)
{
    if (subscripts.empty()) {
        return array;
    }
    checkSubscriptCount(subscripts.size(), name);
    Value result;
    withDetails(
        [&] {
            if (array.isSparse()) {
                result = referSparse(array, subscripts);
            } else if (auto found = referenceFull(array, subscripts)) {
                result = *std::move(found);
            } else {
                result = asFull(referSparse(asSparse(array), subscripts));
            }
        },
        [&] { return circumstances(array, subscripts, name, false, nullptr); });
    return result;
}

void assign(Value& target, const Value& value, std::span<const Value> subscripts, std::string_view name)
{
    checkSubscriptCount(subscripts.size(), name);
    const bool deletes = (value.get()->flags & kxFLAG_EMPTY_LITERAL) != 0;
    Value fresh;
    const auto change = [&] {
        if (target && !target.isSparse()) {
            Value elements = target.isRange() ? asFull(target) : Value();
            Value& changed = elements ? elements : target;
            if (assignFull(changed, value, subscripts)) {
                fresh = std::move(elements);
                return;
            }
            fresh = asSparse(changed);
        } else if (!target) {
            fresh = Value(kx::kxCreateUnset());
        } else if (kxrt::is_shared(target.get())) {
            fresh = Value(kx::kxCreateDeepCopy(target.get())); // should this fail, the target has not even moved
        }
        assignSparse(fresh ? fresh : target, value, subscripts);
        if (target && !target.isSparse()) {
            fresh = asFull(fresh);
        }
    };
    withDetails(change,
                [&] { return circumstances(target ? target : Value::full(0, 0), subscripts, name, !deletes, &value); });
    if (fresh) {
        target = std::move(fresh);
    }
}

Value reshaped(const Value& array, unsigned m, unsigned n)
{
    if (!spReshapeOk(array.rows(), array.columns(), m, n)) {
        fail("kxsh:reshape", "{} cannot become {}-by-{}: the element counts differ", shapeText(array), m, n);
    }
    Value result = elementsOf(array);
    if (result.isSparse()) {
        kxrt::make_private(result.get());
        spReshape(result.get(), m, n);
    } else {
        const unsigned shape[] = {m, n};
        kx::kxSetDimensions(result.get(), shape, 2);
    }
    return result;
}

} // namespace kxsh
