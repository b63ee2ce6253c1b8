// Which of two ascending lists is in the other, for registers of 512 bits.
#ifndef ZQSP_CORE_WIDE_INTERSECTION_HPP
#define ZQSP_CORE_WIDE_INTERSECTION_HPP

#include "core/processor.hpp"

#include <array>

namespace zqsp::wide {

/// Finds the rows of one column among ascending positions, repeats included. Sixteen of the one are compared with
/// sixteen of the other at a time, whatever comes of it: where the lists are about as long, two steps along them that
/// each depend on a comparison would mostly be mispredicted. Measured: a fifth of the time of galloping. (The scheme is
/// that of Schlegel, Willhalm and Lehner, 2011.)
class Intersection
{
  public:
    /// `start`: the position of row 0. The lists must outlive the object.
    Intersection(const unsigned* rows, unsigned rowCount, const unsigned* positions, unsigned positionCount,
                 unsigned start)
        : rows_(rows), positions_(positions), rowCount_(rowCount), positionCount_(positionCount), start_(start)
    {
    }

    /// One step's finds: row number `row[i]` is position number `position[i]`, ascending.
    struct Finds
    {
        std::array<unsigned, kLanes> row;
        std::array<unsigned, kLanes> position;
        unsigned count = 0;
    };

    /// Where haveAvx512(): goes on to the next step that finds something. False where fewer than sixteen of either are
    /// left; these begin at row() and position().
    bool next(Finds& finds);

    [[nodiscard]] unsigned row() const { return row_; }
    [[nodiscard]] unsigned position() const { return position_; }

  private:
    const unsigned* rows_;
    const unsigned* positions_;
    unsigned rowCount_;
    unsigned positionCount_;
    unsigned start_;
    unsigned row_ = 0;
    unsigned position_ = 0;
};

} // namespace zqsp::wide

#endif
