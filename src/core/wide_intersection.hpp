// Which of two ascending lists is in the other, for registers of 512 bits.
#ifndef ZQSP_CORE_WIDE_INTERSECTION_HPP
#define ZQSP_CORE_WIDE_INTERSECTION_HPP

#include "core/processor.hpp"

#include <array>

namespace zqsp::wide {

/// Finds the numbers of a strictly ascending list in another ascending one, repeats included. Sixteen of the one are
/// compared with sixteen of the other at a time, whatever comes of it: where the lists are about as long, two steps
/// along them that each depend on a comparison would mostly be mispredicted. Measured: a fifth of the time of
/// galloping. (The scheme is that of Schlegel, Willhalm and Lehner, 2011.)
class Intersection
{
  public:
    /// The lists must outlive the object.
    Intersection(const unsigned* first, unsigned firstCount, const unsigned* second, unsigned secondCount)
        : firstList_(first), secondList_(second), firstCount_(firstCount), secondCount_(secondCount)
    {
    }

    /// One step's finds: number `first[i]` of the first list is number `second[i]` of the second one, ascending.
    struct Finds
    {
        std::array<unsigned, kLanes> first;
        std::array<unsigned, kLanes> second;
        unsigned count = 0;
    };

    /// Where haveAvx512(): goes on to the next step that finds something. False where fewer than sixteen of either are
    /// left; these begin at first() and second().
    bool next(Finds& finds);

    [[nodiscard]] unsigned first() const { return first_; }
    [[nodiscard]] unsigned second() const { return second_; }

  private:
    const unsigned* firstList_;
    const unsigned* secondList_;
    unsigned firstCount_;
    unsigned secondCount_;
    unsigned first_ = 0;
    unsigned second_ = 0;
};

} // namespace zqsp::wide

#endif
