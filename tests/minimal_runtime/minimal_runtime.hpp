// The smallest runtime that carries the library: two-dimensional arrays of doubles, masks as subscripts, no sharing of
// data, and no function but those that docs/embedding.md lists and the few of the embedded runtime by which the
// programs run on it make their operands. It differs from the embedded runtime wherever the interface leaves a choice,
// and so shows what the library relies on.
#ifndef ZQSP_TESTS_MINIMAL_RUNTIME_HPP
#define ZQSP_TESTS_MINIMAL_RUNTIME_HPP

#include <kx_runtime.hpp>

namespace minrt {

using namespace matrix::detail::noninlined::kx_array_api;

/// The largest element count of this runtime: a million.
inline constexpr unsigned kMaxElements = 1'000'000;

/// The number of values of a range.
unsigned countOf(double first, double step, double last);

} // namespace minrt

#endif
