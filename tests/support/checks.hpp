// What every call is checked for: how it ended, that a failing call changed no operand, and that nothing leaked.
//
//     Snapshot before(target.get());
//     LeakCheck leaks;
//     Ended end = run([&] { return spDeleteRows(target.get(), rows.get()); });
//     EXPECT_EQ(end, Ended(Failure{spIndexBelowOne}));
//     EXPECT_EQ("", before.changes());          // byte for byte
//     EXPECT_EQ("", leaks.complaint());
//
// expectFails() does the above in one line. operation.hpp does it for whole calls predicted by the models.
#ifndef ZQSP_TESTS_SUPPORT_CHECKS_HPP
#define ZQSP_TESTS_SUPPORT_CHECKS_HPP

#include "support/subscript.hpp"

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

namespace zqsp::test {

/// How a call ended: {spOK, ""} when it completed. The identifier of a thrown error of the runtime is its own; of
/// another exception it is the error identifier in brackets, or "<std::bad_alloc>" and the like.
struct Ended : Failure
{
    Ended() = default;
    Ended(const Failure& failure) : Failure(failure) {}
    [[nodiscard]] bool completed() const { return status == spOK && thrown.empty(); }
    [[nodiscard]] bool ranOutOfMemory() const;
};

std::ostream& operator<<(std::ostream& out, const Ended& ended);

/// Makes the call; no exception passes.
Ended run(const std::function<spStatus()>& call);

/// A copy of everything an array consists of: record, pointers, and the bytes of jc, ir, pr and pi over the whole
/// capacity. The array must outlive it.
class Snapshot
{
  public:
    explicit Snapshot(const kxArray* array);
    /// The parts that differ now ("jc pr"), or "".
    [[nodiscard]] std::string changes() const;

  private:
    struct Part
    {
        std::string name;
        std::vector<unsigned char> bytes;
    };
    static std::vector<Part> partsOf(const kxArray* array);

    const kxArray* array_;
    std::vector<Part> parts_;
};

/// Compares the runtime's live blocks with what they were.
class LeakCheck
{
  public:
    LeakCheck() : before_(kxrt::live_blocks()) {}
    /// "3 blocks leaked", or "".
    [[nodiscard]] std::string complaint() const;

  private:
    std::size_t before_;
};

/// Expects (gtest) that the call fails as told, leaves the arrays byte for byte as they were, and leaks nothing.
void expectFails(const std::function<spStatus()>& call, const Failure& failure,
                 const std::vector<const kxArray*>& unchanged);

/// A setting of the runtime for a scope.
class Setting
{
  public:
    Setting(const Setting&) = delete;
    Setting& operator=(const Setting&) = delete;
    ~Setting() { undo_(); }

  protected:
    explicit Setting(std::function<void()> undo) : undo_(std::move(undo)) {}

  private:
    std::function<void()> undo_;
};

/// The maximum number of elements.
struct MaxElements : Setting
{
    explicit MaxElements(unsigned limit)
        : Setting([before = kxGetMaxNumberOfElements()] { kxrt::set_max_number_of_elements(before); })
    {
        kxrt::set_max_number_of_elements(limit);
    }
};

/// The largest block.
struct LargestBlock : Setting
{
    explicit LargestBlock(std::size_t bytes) : Setting([] { kxrt::set_largest_block(std::size_t{1} << 36); })
    {
        kxrt::set_largest_block(bytes);
    }
};

} // namespace zqsp::test

#endif
