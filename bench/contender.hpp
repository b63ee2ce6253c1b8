// One side of a row: our library, a peer or a copy, behind one face.
#ifndef ZQSP_BENCH_CONTENDER_HPP
#define ZQSP_BENCH_CONTENDER_HPP

#include "operations.hpp"

#include <functional>
#include <memory>
#include <string>

namespace zqsp::bench {

/// What two contenders must agree on: the entries and a sum in which each value is weighted by its place. A place
/// that stores a zero adds nothing to either.
struct Fingerprint
{
    double entries = 0;
    double weighted = 0;

    /// 0-based row and column.
    void add(unsigned row, unsigned column, double re, double im = 0);
    [[nodiscard]] bool agrees(const Fingerprint& other) const;
};

/// A measurement is prepare() (not timed), run() (timed), finish() (not timed), as often as the harness likes.
class Contender
{
  public:
    Contender() = default;
    Contender(const Contender&) = delete;
    Contender& operator=(const Contender&) = delete;
    virtual ~Contender() = default;

    /// Makes a fresh target where the operation works in place.
    virtual void prepare() {}
    virtual void run() = 0;
    /// Drops the result.
    virtual void finish() {}
    /// Of the result, between run() and finish().
    [[nodiscard]] virtual Fingerprint fingerprint() const { return {}; }
};

using ContenderOwner = std::unique_ptr<Contender>;

ContenderOwner makeOurs(std::shared_ptr<const Problem> problem);
/// Whether Eigen has something to offer for the operation.
bool hasEigen(const Row& row);
ContenderOwner makeEigen(std::shared_ptr<const Problem> problem);

/// memcpy of so many bytes between two blocks of the runtime that are in use already.
ContenderOwner makeCopy(double bytes);

/// The bytes a row must at least read, must write, and has in its result; from one call of the library.
struct Traffic
{
    double read = 0;
    double written = 0;
    double result = 0;
};
Traffic trafficOf(const std::shared_ptr<const Problem>& problem);

/// Registers a benchmark that measures the contender: the reported time is the median of as many runs as fit the
/// budget (at least three). `name` ends in the side: ".../ours". All sides of one row must agree in their fingerprint.
void registerSide(const std::string& name, std::function<ContenderOwner()> make);
/// Seconds of timed work for each side.
void setBudget(double seconds);

} // namespace zqsp::bench

#endif
