// What the way through C++ costs: Eigen's matrices lent and made, the header's calls against those of the C interface.
#include "arrays.hpp"
#include "eigen_matrix.hpp"
#include "suites.hpp"

#include <benchmark/benchmark.h>
#include <zqspmatrix.h>
#include <zqspmatrix_eigen.hpp>

#include <malloc.h>

#include <optional>

namespace zqsp::bench {

namespace {

/// `work` returns what is to be dropped outside of the timed region.
template <typename F>
class Work : public Contender
{
  public:
    explicit Work(F work) : work_(std::move(work)) {}
    void run() override { result_.emplace(work_()); }
    void finish() override { result_.reset(); }

  private:
    F work_;
    std::optional<std::invoke_result_t<F>> result_;
};

/// Eigen's blocks come from malloc, which is told to keep what was freed: new pages would cost more than all else, on
/// either side or on one by chance. This holds for the rest of the program.
template <typename F>
ContenderOwner timed(F work)
{
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    mallopt(M_MMAP_THRESHOLD, 1 << 30);
    return std::make_unique<Work<F>>(std::move(work));
}

const Matrix& matrix()
{
    return workload("uniform", Values::real);
}

std::shared_ptr<eigen::Sparse<double>> eigenMatrix()
{
    return std::make_shared<eigen::Sparse<double>>(eigen::toEigen<double>(matrix()));
}

ContenderOwner lend()
{
    return timed([A = eigenMatrix()] { return zqspmatrix::view(*A); });
}

ContenderOwner hand()
{
    const auto A = std::make_shared<zqspmatrix::Matrix>(zqspmatrix::view(*eigenMatrix()));
    return timed([A] { return zqspmatrix::to_eigen(*A); });
}

ContenderOwner copyOfEigen()
{
    return timed([A = eigenMatrix()] { return eigen::Sparse<double>(*A); });
}

ContenderOwner rowsOfEigen()
{
    return timed([A = eigenMatrix(), rows = dimensionSubscript("half-random", 100000, 1).values] {
        return zqspmatrix::to_eigen(zqspmatrix::view(*A, false).get(rows, zqspmatrix::all));
    });
}

ContenderOwner rowsOfRuntime()
{
    const std::shared_ptr<kxArray> A = toArray(matrix(), Values::real);
    const std::shared_ptr<kxArray> rows = toArray(dimensionSubscript("half-random", 100000, 1));
    return timed([A, rows] {
        kxArray* result = nullptr;
        kxHandleSparseSubscriptError(spRef5(A.get(), rows.get(), &result));
        return Array(result);
    });
}

} // namespace

void registerCppInterface()
{
    struct Pair
    {
        const char* name;
        const char* context; ///< limit, label, reference
        ContenderOwner (*measured)();
        ContenderOwner (*work)();
    };
    const Pair pairs[] = {
        {"accept/eigen-lend", "1\tview(E), checked, 1,000,000 entries of Eigen's\ta copy by Eigen", lend, copyOfEigen},
        {"accept/eigen-hand", "1.5\tto_eigen(A), 1,000,000 entries\ta copy by Eigen", hand, copyOfEigen},
        {"accept/eigen-rows", "1.5\tview(E, false).get(I, all) and to_eigen, half of 100,000 rows\tspRef5 alone",
         rowsOfEigen, rowsOfRuntime}};
    for (const Pair& pair : pairs) {
        benchmark::AddCustomContext(pair.name, pair.context);
        registerComparison({pair.name, pair.measured, {{"reference", pair.work}}, {}, false});
    }
}

} // namespace zqsp::bench
