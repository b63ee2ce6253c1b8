// The plain copies and moves that results are held against.
#include "arrays.hpp"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace zqsp::bench {

namespace {

class Copy : public Contender
{
  public:
    explicit Copy(double bytes)
        : bytes_(static_cast<std::size_t>(std::llround(bytes))), from_(kxMalloc(bytes_)), to_(kxMalloc(bytes_))
    {
        std::memset(from_.get(), 1, bytes_);
    }

    void run() override
    {
        std::memcpy(to_.get(), from_.get(), bytes_);
        benchmark::DoNotOptimize(to_.get());
        benchmark::ClobberMemory();
    }

  private:
    std::size_t bytes_;
    Block from_;
    Block to_;
};

class TailMoves : public Contender
{
  public:
    TailMoves(const Matrix& A, const std::vector<unsigned>& positions)
        : rows_(A.ir.size() + positions.size()), values_(rows_.size()), length_(A.ir.size())
    {
        for (const unsigned position : positions) {
            const unsigned* const end = A.ir.data() + A.jc[position / A.m + 1];
            const unsigned* const at = std::lower_bound(A.ir.data() + A.jc[position / A.m], end, position % A.m);
            firsts_.push_back(static_cast<std::size_t>(at - A.ir.data()));
        }
    }

    void run() override
    {
        std::size_t length = length_;
        for (const std::size_t first : firsts_) {
            std::memmove(&rows_[first] + 1, &rows_[first], (length - first) * sizeof rows_[0]);
            std::memmove(&values_[first] + 1, &values_[first], (length - first) * sizeof values_[0]);
            ++length;
            benchmark::ClobberMemory();
        }
    }

  private:
    std::vector<std::size_t> firsts_; ///< the entry before which each one comes
    std::vector<unsigned> rows_;
    std::vector<double> values_;
    std::size_t length_;
};

} // namespace

ContenderOwner makeCopy(double bytes)
{
    return std::make_unique<Copy>(bytes);
}

ContenderOwner makeTailMoves(const Matrix& A, const std::vector<unsigned>& positions)
{
    return std::make_unique<TailMoves>(A, positions);
}

} // namespace zqsp::bench
