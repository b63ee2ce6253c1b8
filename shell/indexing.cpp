#include "indexing.hpp"

#include "error.hpp"

#include <fmt/format.h>
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

/// What a user needs to see beside a subscript error: the value at fault and the shape it was held against.
std::string circumstances(const Value& array, std::span<const Value> subscripts, std::string_view name, bool grows)
{
    for (std::size_t i = 0; i < subscripts.size(); ++i) {
        if (const auto bad = firstBad(subscripts[i], grows ? 0 : extentOf(array, subscripts.size(), i))) {
            const std::string_view kind = subscripts.size() == 1 ? "index" : i == 0 ? "row" : "column";
            return fmt::format(": {} {} of {}, which is {}-by-{}", kind, *bad, name, array.rows(), array.columns());
        }
    }
    return fmt::format("; {} is {}-by-{}", name, array.rows(), array.columns());
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

[[noreturn]] void wrongSubscriptCount(std::size_t count, std::string_view name)
{
    throw Error("kxsh:subscript", fmt::format("{} takes one or two subscripts, not {}", name, count));
}

Value referSparse(const Value& array, std::span<const Value> subscripts)
{
    const kxArray* a = array.get();
    const kxArray* first = subscripts[0].get();
    kxArray* result = nullptr;
    spStatus status = spOK;
    if (subscripts.size() == 1) {
        status = spRef3(a, first, &result);
    } else if (subscripts[0].isColon()) {
        status = spRef4(a, subscripts[1].get(), &result);
    } else if (subscripts[1].isColon()) {
        status = spRef5(a, first, &result);
    } else {
        status = spRef6(a, first, subscripts[1].get(), &result);
    }
    kxHandleSparseSubscriptError(status);
    return Value(result);
}

void assignSparse(Value& target, const Value& value, std::span<const Value> subscripts)
{
    kxArray* a = target.get();
    const kxArray* b = value.get();
    const kxArray* first = subscripts[0].get();
    spStatus status = spOK;
    if (subscripts.size() == 1) {
        status = spAss3(a, b, first);
    } else if (subscripts[0].isColon()) {
        status = spAss4(a, b, subscripts[1].get());
    } else if (subscripts[1].isColon()) {
        status = spAss5(a, b, first);
    } else {
        status = spAss6(a, b, first, subscripts[1].get());
    }
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
    if (subscripts.size() > 2) {
        wrongSubscriptCount(subscripts.size(), name);
    }
    Value result;
    withDetails(
        [&] {
            result = referSparse(asSparse(array), subscripts);
            if (!array.isSparse()) {
                result = asFull(result);
            }
        },
        [&] { return circumstances(array, subscripts, name, false); });
    return result;
}

void assign(Value& target, const Value& value, std::span<const Value> subscripts, std::string_view name)
{
    if (subscripts.empty() || subscripts.size() > 2) {
        wrongSubscriptCount(subscripts.size(), name);
    }
    const bool deletes = (value.get()->flags & kxFLAG_EMPTY_LITERAL) != 0;
    Value fresh;
    if (!target) {
        fresh = Value(kx::kxCreateUnset());
    } else if (!target.isSparse()) {
        fresh = asSparse(target);
    } else if (kxrt::is_shared(target.get())) {
        fresh = Value(kx::kxCreateDeepCopy(target.get())); // should this fail, the target has not even moved
    }
    Value& changed = fresh ? fresh : target;
    withDetails(
        [&] {
            assignSparse(changed, value, subscripts);
            if (target && !target.isSparse()) {
                fresh = asFull(fresh);
            }
        },
        [&] { return circumstances(changed, subscripts, name, !deletes); });
    if (fresh) {
        target = std::move(fresh);
    }
}

Value reshaped(const Value& array, unsigned m, unsigned n)
{
    if (!spReshapeOk(array.rows(), array.columns(), m, n)) {
        throw Error("kxsh:reshape", fmt::format("{}-by-{} cannot become {}-by-{}: the element counts differ",
                                                array.rows(), array.columns(), m, n));
    }
    Value result = asSparse(array);
    kxrt::make_private(result.get());
    spReshape(result.get(), m, n);
    return array.isSparse() ? result : asFull(result);
}

} // namespace kxsh
