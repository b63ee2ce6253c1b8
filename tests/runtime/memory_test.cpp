#include "arrays.hpp"

#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <functional>
#include <thread>
#include <vector>

namespace zqsp::test::runtime {
namespace {

using MemoryTest = RuntimeTest;

constexpr std::size_t kMega = std::size_t{1} << 20;
constexpr std::size_t kTooLarge = std::size_t{1} << 60;

TEST_F(MemoryTest, BlocksAreAlignedCountedAndNeverNull)
{
    const std::size_t before = kxrt::live_blocks();
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{100}, std::size_t{5} << 20}) {
        const Block plain(kxMalloc(size));
        const Block zeroed(kxCalloc(size, 1));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(plain.get()) % 16, 0U);
        EXPECT_NE(plain.get(), zeroed.get());
        EXPECT_EQ(kxrt::live_blocks(), before + 2);
        std::memset(plain.get(), 0xAB, size);
    }
    kxFree(nullptr);
    kxFreeEx(nullptr);
}

TEST_F(MemoryTest, ZeroedBlocksAreZeroAlsoWhenReused)
{
    for (const std::size_t size : {std::size_t{64}, std::size_t{3} << 20, std::size_t{9} << 20}) {
        std::memset(Block(kxMalloc(size)).get(), 0xAB, size);
        const Block zeroed(kxCallocEx(size / 8, 8));
        const auto* bytes = static_cast<const unsigned char*>(zeroed.get());
        EXPECT_EQ(std::count(bytes, bytes + size, 0), static_cast<std::ptrdiff_t>(size));
    }
}

TEST_F(MemoryTest, ReallocationKeepsTheContentAcrossSmallAndLargeSizes)
{
    std::size_t held = 8;
    Block block(kxMalloc(held));
    std::memset(block.get(), 1, held);
    unsigned char mark = 1;
    for (const std::size_t size : {std::size_t{5000}, kMega, 9 * kMega, 9 * kMega + 80, 40 * kMega, 2 * kMega,
                                   std::size_t{300}, std::size_t{0}, std::size_t{64}}) {
        block.reset(kxRealloc(block.release(), size));
        const auto* bytes = static_cast<const unsigned char*>(block.get());
        const std::size_t kept = std::min(held, size);
        EXPECT_EQ(std::count(bytes, bytes + kept, mark), static_cast<std::ptrdiff_t>(kept)) << size;
        std::memset(block.get(), ++mark, size);
        held = size;
    }
}

TEST_F(MemoryTest, FailureRaisesOrGivesNull)
{
    EXPECT_EQ(kxMallocEx(kTooLarge), nullptr);
    EXPECT_EQ(kxCallocEx(kTooLarge, 1 << 10), nullptr); // the product wraps to 0
    EXPECT_EQ(errorOf([] { kxMalloc(kTooLarge); }), "kx:outOfMemory");
    EXPECT_EQ(errorOf([] { kxCalloc(kTooLarge, 1 << 10); }), "kx:outOfMemory");
    EXPECT_EQ(errorOf([] { kxCallocExCheck(kTooLarge, 1); }), "kx:outOfMemory");

    Block block(kxMalloc(4));
    std::memcpy(block.get(), "abc", 4);
    EXPECT_EQ(errorOf([&] { kxRealloc(block.get(), kTooLarge); }), "kx:outOfMemory");
    EXPECT_EQ(errorOf([&] { kxReallocExCheck(block.get(), kTooLarge); }), "kx:outOfMemory");
    EXPECT_STREQ(static_cast<const char*>(block.get()), "abc");
}

TEST_F(MemoryTest, EveryAllocatorFunctionIsCountedAndCanBeMadeToFailOnce)
{
    Block kept(kxMalloc(16));
    const std::function<void*()> calls[] = {[] { return kxMalloc(8); },
                                            [] { return kxCalloc(2, 4); },
                                            [] { return kxMallocEx(8); },
                                            [] { return kxCallocEx(2, 4); },
                                            [] { return kxCallocExCheck(2, 4); },
                                            [] { return kxRealloc(nullptr, 8); },
                                            [] { return kxReallocExCheck(nullptr, 8); }};
    for (const auto& call : calls) {
        const long before = kxrt::allocations();
        kxrt::fail_allocation_after(2);
        EXPECT_NE(Block(call()), nullptr);
        Block second;
        const bool raised = errorOf([&] { second.reset(call()); }) == "kx:outOfMemory";
        EXPECT_TRUE(raised || second == nullptr);
        EXPECT_NE(Block(call()), nullptr);
        EXPECT_EQ(kxrt::allocations() - before, 3);
    }
    kxrt::fail_allocation_after(1);
    EXPECT_EQ(errorOf([&] { kxRealloc(kept.get(), 99); }), "kx:outOfMemory");
    kxrt::fail_allocation_after(1);
    kxrt::fail_allocation_after(-1);
    EXPECT_NE(Block(kxMalloc(1)), nullptr);
}

TEST_F(MemoryTest, ReallocatingASharedBlockLeavesTheOtherHolderItsOwn)
{
    const Array original = full(Model::of(kReal, {{1}, {2}}));
    const Array copy(kxCreateSharedDataCopy(original.get()));
    ASSERT_EQ(copy->pr, original->pr);

    kxrt::fail_allocation_after(1);
    EXPECT_EQ(errorOf([&] { kxRealloc(copy->pr, 80); }), "kx:outOfMemory");
    EXPECT_TRUE(kxrt::is_shared(original.get()));

    kxSetData(copy.get(), kxRealloc(copy->pr, 8));
    EXPECT_NE(copy->pr, original->pr);
    *static_cast<double*>(copy->pr) = 9;
    EXPECT_EQ(elements<double>(original->pr, 2), (std::vector<double>{1, 2}));
    EXPECT_FALSE(kxrt::is_shared(original.get()));
}

TEST_F(MemoryTest, CountsAreExactWhereBlocksChangeThreads)
{
    const std::size_t live = kxrt::live_blocks();
    const std::size_t bytes = kxrt::bytes_requested();
    const long requests = kxrt::allocations();
    std::vector<Block> blocks;
    std::thread([&blocks] {
        for (std::size_t size = 0; size < 1200; size += 8) {
            blocks.emplace_back(kxMalloc(size));
        }
    }).join();
    EXPECT_EQ(kxrt::live_blocks(), live + 150);
    EXPECT_EQ(kxrt::bytes_requested(), bytes + 8 * (149 * 150 / 2));
    EXPECT_EQ(kxrt::allocations(), requests + 150);
    kxrt::fail_allocation_after(1);
    std::thread([] { EXPECT_EQ(kxMallocEx(8), nullptr); }).join();
    blocks.clear();
    EXPECT_EQ(kxrt::live_blocks(), live);
}

/// Some calls' worth of blocks at once, each call's of its own size.
void holdManyAtOnce()
{
    std::vector<Block> blocks;
    for (std::size_t call = 0; call < 30; ++call) {
        for (const std::size_t bytes : {kMega / 2 + call * 40000, kMega + call * 80000}) {
            blocks.emplace_back(kxMalloc(bytes));
        }
    }
}

TEST_F(MemoryTest, LargeBlocksUsedInTurnsAreMappedOnce)
{
    kxrt::release_kept_blocks();
    holdManyAtOnce();
    const long mapped = kxrt::fresh_mappings();
    for (unsigned round = 0; round < 3; ++round) {
        holdManyAtOnce();
        const Block between(kxMalloc(5 * kMega / 4));
    }
    EXPECT_EQ(kxrt::fresh_mappings(), mapped);

    kxrt::release_kept_blocks();
    holdManyAtOnce();
    EXPECT_GE(kxrt::fresh_mappings(), mapped); // under AddressSanitizer there are none
}

TEST_F(MemoryTest, AChildMayAllocateThatWasForkedWhileAnotherThreadDid)
{
    if (!hasOwnAllocator()) {
        GTEST_SKIP();
    }
    std::atomic<bool> enough{false};
    std::thread busy([&enough] {
        while (!enough) {
            const Block large(kxMalloc(kMega / 4));
            const Block small(kxMalloc(40));
        }
    });
    unsigned well = 0;
    constexpr unsigned kForks = 200;
    for (unsigned i = 0; i < kForks && well == i; ++i) {
        const pid_t child = fork();
        if (child == 0) {
            alarm(20); // a child that hangs is killed
            kxFree(kxMalloc(kMega));
            kxFree(kxMalloc(40));
            const Block counted(kxMalloc(1));
            _exit(kxrt::live_blocks() > 0 ? 0 : 1);
        }
        int status = -1;
        waitpid(child, &status, 0);
        well += status == 0 ? 1 : 0;
    }
    enough = true;
    busy.join();
    EXPECT_EQ(well, kForks);
}

} // namespace
} // namespace zqsp::test::runtime
