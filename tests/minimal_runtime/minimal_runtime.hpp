// The smallest runtime that carries the library: two-dimensional arrays of doubles and logicals, no sharing of data,
// memory from a pool. It differs from the embedded runtime wherever the interface leaves a choice, and so shows what
// the library relies on. What it cannot do raises std::invalid_argument.
#ifndef ZQSP_TESTS_MINIMAL_RUNTIME_HPP
#define ZQSP_TESTS_MINIMAL_RUNTIME_HPP

#include <kx_array.hpp>

#include <cstddef>
#include <string>

namespace minrt {

using namespace matrix::detail::noninlined::kx_array_api;

/// The layout behind the record: dimensions and the values of a range lie in the header itself.
struct Record : kxArray
{
    unsigned dimensions[2];
    double range[3];
    bool bareColon;
};

/// The largest element count of this runtime: a million.
inline constexpr unsigned kMaxElements = 1'000'000;

/// A new record without data; dimensions m-by-n.
Record* newRecord(unsigned m, unsigned n, kxClassID id, unsigned flags);
/// Bytes of an element.
unsigned sizeOf(kxClassID id);
[[noreturn]] void unsupported(const std::string& what);

/// first:step:last as a subscript.
KX_EXPORT kxArray* createRange(double first, double step, double last);
/// The bare colon.
KX_EXPORT kxArray* createColon();
/// A full logical array of zeros.
KX_EXPORT kxArray* createMask(unsigned m, unsigned n);

/// Blocks of the pool that are in use.
KX_EXPORT std::size_t blocksInUse();

} // namespace minrt

#endif
