// Bytes as a sequence of library calls on one evolving matrix: each draw takes a byte or more of the input.
#include "support/draw.hpp"
#include "system/evolving_matrix.hpp"
#include "target.hpp"

#include <span>

using namespace zqsp::test;

namespace {

class Bytes : public DrawSource
{
  public:
    explicit Bytes(std::span<const std::uint8_t> input) : rest_(input) {}

    [[nodiscard]] bool isUsedUp() const { return rest_.empty(); }

    /// From as many bytes as the bound has; 0 once they are used up.
    unsigned next(unsigned bound) override
    {
        std::uint64_t word = 0;
        for (unsigned most = bound - 1; most > 0 && !rest_.empty(); most >>= 8) {
            word = word << 8 | rest_.front();
            rest_ = rest_.subspan(1);
        }
        return static_cast<unsigned>(word % bound);
    }

  private:
    std::span<const std::uint8_t> rest_;
};

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const LeakCheck leaks;
    {
        Bytes bytes({data, size});
        EvolvingMatrix matrix;
        while (!bytes.isUsedUp()) {
            expectNone(matrix.step());
        }
    }
    expectNone(leaks.complaint());
    return 0;
}
