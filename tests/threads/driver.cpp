// Threads at work on one runtime: read-only operands that all share, shared copies that are given up and made private,
// calls that fail, blocks that change threads. Every answer is checked; the thread sanitizer looks for races meanwhile.
// Exit status 0 when all is well.
#include "support/arrays.hpp"

#include <zqspmatrix.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

using namespace zqsp::test;

namespace {

constexpr unsigned kThreads = 4;
constexpr unsigned kRounds = 400;
constexpr unsigned kSize = 60;

std::atomic<unsigned> wrong{0};

void expect(bool holds, const char* what)
{
    if (!holds && wrong.fetch_add(1) == 0) {
        std::fprintf(stderr, "wrong: %s\n", what);
    }
}

/// Every third element stored; element (i, j), 1-based, is 100 * i + j.
Array matrix()
{
    Array made(kxCreateSparseNumericMatrix(kSize, kSize, kSize * kSize / 3, kxDOUBLE_CLASS, kxREAL));
    unsigned entry = 0;
    for (unsigned j = 0; j < kSize; ++j) {
        for (unsigned i = j % 3; i < kSize; i += 3) {
            made->ir[entry] = i;
            static_cast<double*>(made->pr)[entry++] = 100 * (i + 1) + j + 1;
        }
        made->jc[j + 1] = entry;
    }
    return made;
}

/// What the threads share and only read.
struct Operands
{
    Array A = matrix();
    Array I = doubles({4, 1, 10});
    Array J = doubles({1, 4});
    Array five = doubles({5});
    Array beyond = doubles({1, kSize + 1});
    Array range = Array(kxCreateColonObject(1, 2, 9));
};

void read(const Operands& given)
{
    kxArray* out = nullptr;
    expect(spRef6(given.A.get(), given.I.get(), given.J.get(), &out) == spOK, "a region");
    const Array region(out);
    expect(kxGetNumNonZeroEl(region.get()) == 6 && kxGetScalar(region.get()) == 401, "the entries of a region");
    expect(spRef5(given.A.get(), given.range.get(), &out) == spOK, "rows of a range");
    expect(kxGetNumNonZeroEl(Array(out).get()) == 100, "the entries of five rows");
    expect(spRef4(given.A.get(), given.beyond.get(), &out) != spOK, "a column beyond the matrix");
}

void change(const Operands& given)
{
    const Array copy(kxCreateSharedDataCopy(given.A.get()));
    expect(kxrt::is_shared(copy.get()), "a shared copy");
    kxrt::make_private(copy.get());
    expect(spAss6(copy.get(), given.five.get(), given.I.get(), given.J.get()) == spOK, "an assignment");
    expect(kxGetNumNonZeroEl(copy.get()) == kSize * kSize / 3, "no new entry");
    expect(kxGetNumNonZeroEl(given.A.get()) == kSize * kSize / 3 && static_cast<double*>(given.A->pr)[0] == 101,
           "the operand as it was");
    expect(spDeleteColumns(copy.get(), given.beyond.get()) != spOK, "a deletion beyond the matrix");
}

void fail(const Operands& given)
{
    try {
        kxHandleSparseSubscriptError(spIndexOutOfRange);
        expect(false, "an error that is raised");
    } catch (const kxrt::Error& error) {
        expect(!error.identifier().empty(), "the identifier of an error");
    }
    try {
        kxCheckIndex(1e300);
        expect(false, "a size that is refused");
    } catch (const kxrt::Error& error) {
        expect(std::string(error.what()).find("largest") != std::string::npos, "the text of an error");
    }
    expect(kxrt::is_shared(given.A.get()) || kxGetN(given.A.get()) == kSize, "an array that others share");
}

/// Each thread leaves blocks in its slot and frees what the one before it left there.
std::array<std::atomic<void*>, kThreads> handedOver;

void handOver(unsigned thread, unsigned round)
{
    const std::size_t size = round % 8 == 0 ? std::size_t{1} << 20 : round * 7;
    auto* block = static_cast<unsigned char*>(kxCalloc(size + 1, 1));
    block[size] = 1;
    kxFree(handedOver[(thread + round) % kThreads].exchange(block));
}

void work(unsigned thread, const Operands& given)
{
    for (unsigned round = 0; round < kRounds; ++round) {
        read(given);
        change(given);
        fail(given);
        handOver(thread, round);
        expect(kxrt::live_blocks() > 0 && kxrt::allocations() > 0, "counts while others allocate");
    }
}

} // namespace

int main()
{
    const std::size_t before = kxrt::live_blocks();
    {
        const Operands given;
        std::vector<std::thread> threads;
        for (unsigned thread = 0; thread < kThreads; ++thread) {
            threads.emplace_back(work, thread, std::cref(given));
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        for (std::atomic<void*>& block : handedOver) {
            kxFree(block);
        }
    }
    expect(kxrt::live_blocks() == before, "every block given back, by whichever thread");
    return wrong == 0 ? 0 : 1;
}
