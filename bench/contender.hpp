// One side of a row: our library, a peer or a copy, behind one face.
#ifndef ZQSP_BENCH_CONTENDER_HPP
#define ZQSP_BENCH_CONTENDER_HPP

#include "operations.hpp"

#include <functional>
#include <memory>
#include <string>
#include <vector>

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
    /// Of the result, between run() and finish(). Nothing where there is none to compare.
    [[nodiscard]] virtual Fingerprint fingerprint() const { return {}; }
    /// What the time is multiplied by, where only a part of the work is done.
    [[nodiscard]] virtual double scale() const { return 1; }
};

using ContenderOwner = std::unique_ptr<Contender>;

ContenderOwner makeOurs(std::shared_ptr<const Problem> problem);

/// Those that have something to offer for the operation.
bool hasEigen(const Row& row);
ContenderOwner makeEigen(std::shared_ptr<const Problem> problem);
bool hasScipy(const Row& row);
ContenderOwner makeScipy(std::shared_ptr<const Problem> problem);
bool hasGraphblas(const Row& row);
ContenderOwner makeGraphblas(std::shared_ptr<const Problem> problem);
bool hasArmadillo(const Row& row);
ContenderOwner makeArmadillo(std::shared_ptr<const Problem> problem);

/// memcpy of so many bytes between two blocks of the runtime that are in use already.
ContenderOwner makeCopy(double bytes);
/// For each position in turn, memmove of the entries of A behind it by one place.
ContenderOwner makeTailMoves(const Matrix& A, const std::vector<unsigned>& positions);

/// The bytes a row must at least read, must write, and has in its result; from one call of the library.
struct Traffic
{
    double read = 0;
    double written = 0;
    double result = 0;
};
Traffic trafficOf(const std::shared_ptr<const Problem>& problem);

struct Side
{
    std::string name;
    std::function<ContenderOwner()> make;
};

/// What is measured together. All sides but the yardsticks must agree in their fingerprint.
struct Comparison
{
    std::string name;
    std::function<ContenderOwner()> ours;
    std::vector<Side> peers;      ///< the fastest one is measured in turns with ours
    std::vector<Side> yardsticks; ///< such as copies: measured by themselves
    bool everyTable = true;       ///< ours with each table of loops in use, or with the first one alone
};

/// Registers the comparison as a benchmark. Its counters: of each side the median milliseconds; of ours, for each table
/// of loops, "ms:TABLE", and the best peer's time over ours, median and quartiles over the pairs: "ratio:TABLE",
/// "low:TABLE", "high:TABLE"; "pairs". Its label says which method each table took.
void registerComparison(Comparison comparison);

/// Seconds of turns for each comparison; there are at least five.
void setBudget(double seconds);
/// Every side of a comparison runs once, to see that all agree.
void onlyCheck();
/// Measures this table alone; throws std::invalid_argument where the processor has none of the name.
void useTableOnly(const std::string& name);

} // namespace zqsp::bench

#endif
