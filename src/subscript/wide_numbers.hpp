// The loops of subscript/numeric.cpp for registers of 512 bits. To be called where haveAvx512().
#ifndef ZQSP_SUBSCRIPT_WIDE_NUMBERS_HPP
#define ZQSP_SUBSCRIPT_WIDE_NUMBERS_HPP

namespace zqsp::wide {

/// Stores value - 1 of each value. The answer is false when some value is not an integer in 1 .. highest, which is
/// below 2^31; what is stored then is not meant to be used. Measured: a third of the time of registers of 128 bits.
bool storeIndices(const double* values, unsigned count, double highest, unsigned* indices);

/// What the steps from one index to the next are like.
struct Steps
{
    bool fall = false;      ///< some index is below the one before
    bool rise = false;      ///< some index is above the one before
    bool irregular = false; ///< some step is not the expected one, modulo 2^32
};

/// Of the steps that lead to each of `count` indices; the first has one before it.
Steps stepsTo(const unsigned* indices, unsigned count, unsigned expected);

} // namespace zqsp::wide

#endif
