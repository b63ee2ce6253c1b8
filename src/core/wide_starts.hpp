// The column starts of a row vector, for registers of 512 bits.
#ifndef ZQSP_CORE_WIDE_STARTS_HPP
#define ZQSP_CORE_WIDE_STARTS_HPP

#include "core/processor.hpp"

namespace zqsp::wide {

/// The first starts of a row vector, and the entries before them.
struct Starts
{
    unsigned count = 0;
    unsigned entries = 0;
};

/// Where haveAvx512(): column starts of a row vector of `length` columns, whose entries lie in `columns`, ascending.
/// All but the last few thousand starts are written.
Starts writeStarts(const unsigned* columns, unsigned count, unsigned length, unsigned* starts);

} // namespace zqsp::wide

#endif
