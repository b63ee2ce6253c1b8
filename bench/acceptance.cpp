// Calls that must stay within a factor of a piece of plain work, or of another call.
#include "arrays.hpp"
#include "suites.hpp"

#include <benchmark/benchmark.h>
#include <zqspmatrix.h>

#include <cstring>
#include <numeric>
#include <stdexcept>

namespace zqsp::bench {

namespace {

void require(bool isGood)
{
    if (!isGood) {
        throw std::runtime_error("a measured call failed");
    }
}

/// A call that makes an array, or changes a copy of `target`.
class Call : public Contender
{
  public:
    using Make = std::function<spStatus(kxArray** result)>;
    using Change = std::function<spStatus(kxArray* target)>;

    explicit Call(Make make) : make_(std::move(make)) {}
    Call(Array target, Change change) : target_(std::move(target)), change_(std::move(change)) {}

    void prepare() override
    {
        if (target_ != nullptr) {
            array_ = kxDuplicateArray(target_.get());
        }
    }
    void run() override { require((target_ == nullptr ? make_(&array_) : change_(array_)) == spOK); }
    void finish() override { kxDestroyArray(std::exchange(array_, nullptr)); }

  private:
    Make make_;
    Array target_;
    Change change_;
    kxArray* array_ = nullptr;
};

/// memcpy of the rows and the values of one column after another.
class ColumnCopies : public Contender
{
  public:
    ColumnCopies(const Matrix& a, std::vector<unsigned> columns)
        : a_(a), columns_(std::move(columns)), rows_(a.ir.size()), values_(a.ir.size())
    {
    }

    void run() override
    {
        std::size_t written = 0;
        for (const unsigned column : columns_) {
            const std::size_t begin = a_.jc[column];
            const std::size_t count = a_.jc[column + 1] - begin;
            std::memcpy(rows_.data() + written, a_.ir.data() + begin, count * sizeof rows_[0]);
            std::memcpy(values_.data() + written, a_.re.data() + begin, count * sizeof values_[0]);
            written += count;
        }
        benchmark::ClobberMemory();
    }

  private:
    const Matrix& a_;
    std::vector<unsigned> columns_;
    std::vector<unsigned> rows_;
    std::vector<double> values_;
};

/// Operands are shared with the closures that use them, which must be copyable.
using Shared = std::shared_ptr<kxArray>;

Array scattered(unsigned m, unsigned n, std::uint64_t entries)
{
    return toArray(scatteredMatrix(m, n, entries, 31), Values::real);
}

Shared subscript(const char* name, unsigned extent)
{
    return toArray(dimensionSubscript(name, extent, 1));
}

Shared linear(const char* name, const Matrix& A)
{
    return toArray(linearSubscript(name, A, 1));
}

ContenderOwner change(Array target, Call::Change how)
{
    return std::make_unique<Call>(std::move(target), std::move(how));
}

ContenderOwner make(Call::Make how)
{
    return std::make_unique<Call>(std::move(how));
}

void moveRun(kxArray* A, std::size_t to, std::size_t from, std::size_t count)
{
    std::memmove(A->ir + to, A->ir + from, count * sizeof *A->ir);
    auto* const values = static_cast<double*>(A->pr);
    std::memmove(values + to, values + from, count * sizeof *values);
    benchmark::ClobberMemory();
}

/// memmove of the last `entries` entries of a fresh copy, by one place.
ContenderOwner moveEntries(Array target, std::size_t entries)
{
    return change(std::move(target), [entries](kxArray* A) {
        const std::size_t first = kxGetNumNonZeroEl(A) - entries;
        moveRun(A, first, first + 1, entries - 1);
        return spOK;
    });
}

/// The work that the deletion of a tenth may take, on a fresh copy too: twice the memmove of what stays to where it
/// goes, in some pieces that move as far as their entries do; a pass over the rows; and writing as many new column
/// starts. (By one place, memmove takes little more than half of the time, as it writes to lines that it just read.)
ContenderOwner deletionWork(const Matrix& matrix, std::size_t starts = 0)
{
    const auto newStarts = std::make_shared<std::vector<unsigned>>(starts, 1);
    return change(toArray(matrix, Values::real), [newStarts](kxArray* A) {
        constexpr std::size_t kPieces = 20;
        const std::size_t piece = kxGetNumNonZeroEl(A) / kPieces;
        for (int pass = 0; pass < 2; ++pass) {
            for (std::size_t p = 0; p < kPieces; ++p) {
                moveRun(A, p * piece * 9 / 10, p * piece, piece * 9 / 10);
            }
        }
        unsigned sum = std::accumulate(A->ir, A->ir + kxGetNumNonZeroEl(A), 0U);
        benchmark::DoNotOptimize(sum);
        std::fill(newStarts->begin(), newStarts->end(), 7U);
        benchmark::ClobberMemory();
        return spOK;
    });
}

/// 1,000,000 entries in a square whose cells a linear subscript can all reach.
const Matrix& square()
{
    static const Matrix matrix = uniformMatrix(40000, 40000, 25);
    return matrix;
}

const Matrix& tallColumn()
{
    static const Matrix matrix = uniformMatrix(100000000, 1, 1000000);
    return matrix;
}

const Matrix& cells()
{
    static const Matrix matrix = uniformMatrix(10000, 1000, 1000);
    return matrix;
}

ContenderOwner takeColumns(const char* name)
{
    const Shared A = toArray(workload("uniform", Values::real), Values::real);
    return make([A, J = subscript(name, 100000)](kxArray** result) { return spRef4(A.get(), J.get(), result); });
}

ContenderOwner copyColumns()
{
    return std::make_unique<ColumnCopies>(workload("uniform", Values::real),
                                          dimensionSubscript("half-random", 100000, 1).values);
}

ContenderOwner permuteRows()
{
    const Shared A = toArray(uniformMatrix(1000000, 200000, 5), Values::real);
    return make(
        [A, p = subscript("permutation", 1000000)](kxArray** result) { return spRef5(A.get(), p.get(), result); });
}

ContenderOwner permuteColumnsOfTranspose()
{
    const Array A = toArray(uniformMatrix(1000000, 200000, 5), Values::real);
    const Shared T = Array(kxTranspose(A.get()));
    return make(
        [T, p = subscript("permutation", 1000000)](kxArray** result) { return spRef4(T.get(), p.get(), result); });
}

ContenderOwner deleteColumns()
{
    return change(toArray(square(), Values::real),
                  [J = subscript("tenth", 40000)](kxArray* A) { return spDeleteColumns(A, J.get()); });
}

ContenderOwner deleteRows()
{
    return change(toArray(square(), Values::real),
                  [I = subscript("tenth", 40000)](kxArray* A) { return spDeleteRows(A, I.get()); });
}

ContenderOwner deleteElements(const Matrix& matrix)
{
    return change(toArray(matrix, Values::real),
                  [K = linear("stored-sorted", matrix)](kxArray* A) { return spDeleteElements(A, K.get()); });
}

ContenderOwner insertMany()
{
    const Shared v = scalarArray(2);
    return change(toArray(square(), Values::real),
                  [K = linear("new5", square()), v](kxArray* A) { return spAss3(A, v.get(), K.get()); });
}

ContenderOwner setRegion(Array A, Shared B, Shared I, Shared J)
{
    return change(std::move(A), [=](kxArray* target) { return spAss6(target, B.get(), I.get(), J.get()); });
}

/// 10,000 of 20,000 columns by 100 of m rows.
ContenderOwner manyColumns(unsigned m)
{
    return setRegion(scattered(m, 20000, 1000000), scattered(100, 10000, 100000), subscript("hundred", m),
                     subscript("half-sorted", 20000));
}

ContenderOwner setBlock()
{
    return setRegion(scattered(2000000, 100000, 1000000), scattered(10, 10, 100), subscript("ten", 2000000),
                     subscript("ten", 100000));
}

Array uniform()
{
    return toArray(workload("uniform", Values::real), Values::real);
}

/// A new element below the first one of the column.
ContenderOwner insertOne(unsigned column)
{
    constexpr unsigned kSpare = 100;
    const Matrix& A = workload("uniform", Values::real);
    const unsigned first = A.jc[column];
    require(A.ir[first + 1] != A.ir[first] + 1);
    return setRegion(toArray(A, Values::real, kSpare), scalarArray(2), scalarArray(A.ir[first] + 2.0),
                     scalarArray(column + 1.0));
}

struct Acceptance
{
    const char* slug;
    const char* label;
    const char* reference;
    const char* limit; ///< how many times the reference the call may take
    std::function<ContenderOwner()> measured;
    std::function<ContenderOwner()> work;
};

const std::vector<Acceptance>& acceptances()
{
    constexpr double kHalfBytes = 500000 * 12.0 + 4 * 50001.0;
    static const std::vector<Acceptance> all = {
        {"columns-run", "A(:,J), half of 100,000 columns in a run", "memcpy of the result", "2",
         [] { return takeColumns("half-run"); }, [] { return makeCopy(kHalfBytes); }},
        {"columns-random", "A(:,J), half of 100,000 columns, random", "memcpy of one column after another", "2",
         [] { return takeColumns("half-random"); }, copyColumns},
        {"permute-rows", "A(p,:), 1,000,000 rows, 5 entries per column", "A'(:,p)", "3", permuteRows,
         permuteColumnsOfTranspose},
        {"delete-columns", "A(:,J) = [], a tenth of 40,000, 1,000,000 entries",
         "two memmoves of what stays and a pass over the rows", "1", deleteColumns,
         [] { return deletionWork(square()); }},
        {"delete-rows", "A(I,:) = [], a tenth of 40,000, 1,000,000 entries",
         "two memmoves of what stays and a pass over the rows", "1", deleteRows, [] { return deletionWork(square()); }},
        {"delete-elements-column", "A(K) = [], a tenth of a column's 1,000,000 entries",
         "two memmoves of what stays and a pass over the rows", "1", [] { return deleteElements(tallColumn()); },
         [] { return deletionWork(tallColumn()); }},
        {"delete-elements-matrix", "A(K) = [], a tenth of the 1,000,000 entries of 10,000-by-1,000",
         "the same and writing 9,900,001 column starts", "1", [] { return deleteElements(cells()); },
         [] { return deletionWork(cells(), 9900001); }},
        {"insert-many", "A(K) = v, 100,000 new among 1,000,000", "memcpy of the matrix", "10", insertMany,
         [] { return makeCopy(1000000 * 12.0 + 4 * 40001.0); }},
        {"many-columns", "A(I,J) = B over 10,000 columns, 2,200,000 rows", "the same call on 2,000,000 rows", "3",
         [] { return manyColumns(2200000); }, [] { return manyColumns(2000000); }},
        {"block", "A(I,J) = B, ten by ten, 2,000,000 rows, 1,000,000 entries", "memmove of the entries", "3", setBlock,
         [] { return moveEntries(scattered(2000000, 100000, 1000000), 1000000); }},
        {"insert-front", "A(i,j) = v, new, in the first column of 1,000,000 entries", "memmove of the tail", "1.5",
         [] { return insertOne(0); }, [] { return moveEntries(uniform(), 1000000); }},
        {"insert-middle", "A(i,j) = v, new, in the middle of 1,000,000 entries", "memmove of the tail", "1.5",
         [] { return insertOne(50000); }, [] { return moveEntries(uniform(), 500000); }}};
    return all;
}

} // namespace

void registerAcceptance()
{
    for (const Acceptance& acceptance : acceptances()) {
        const std::string name = std::string("accept/") + acceptance.slug;
        benchmark::AddCustomContext(name, std::string(acceptance.limit) + "\t" + acceptance.label + "\t" +
                                              acceptance.reference);
        registerComparison({name, acceptance.measured, {{"reference", acceptance.work}}, {}, false});
    }
}

} // namespace zqsp::bench
