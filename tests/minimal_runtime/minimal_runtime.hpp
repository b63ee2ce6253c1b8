// The smallest runtime that carries the library: two-dimensional arrays of doubles, masks as subscripts, no sharing of
// data, and no function but those that docs/embedding.md lists. It differs from the embedded runtime wherever the
// interface leaves a choice, and so shows what the library relies on. What it cannot do raises std::invalid_argument.
#ifndef ZQSP_TESTS_MINIMAL_RUNTIME_HPP
#define ZQSP_TESTS_MINIMAL_RUNTIME_HPP

#include <kx_array.hpp>

#include <cstddef>
#include <string>

namespace minrt {

using namespace matrix::detail::noninlined::kx_array_api;

/// The largest element count of this runtime: a million.
inline constexpr unsigned kMaxElements = 1'000'000;

[[noreturn]] kxArray* unsupported(const std::string& what);
/// The number of values of a range.
unsigned countOf(double first, double step, double last);

/// first:step:last as a subscript.
KX_EXPORT kxArray* createRange(double first, double step, double last);
/// The bare colon.
KX_EXPORT kxArray* createColon();
/// A full logical row of zeros.
KX_EXPORT kxArray* createMask(unsigned n);

/// Blocks that are in use.
KX_EXPORT std::size_t blocksInUse();

} // namespace minrt

#endif
