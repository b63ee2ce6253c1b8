// Walking a converted subscript of any form by runs of neighbouring indices.
#ifndef ZQSP_SUBSCRIPT_RUNS_HPP
#define ZQSP_SUBSCRIPT_RUNS_HPP

#include "subscript/forms.hpp"

#include <array>
#include <span>

namespace zqsp {

/// The indices first, first+1, ..., first+length-1; length is at least 1.
struct Run
{
    unsigned first;
    unsigned length;

    [[nodiscard]] unsigned end() const { return first + length; }
};

/// Delivers the runs of a subscript, in subscript order, a buffer at a time. The form is looked at once per buffer, so
/// that a worker needs one text for all forms and pays next to nothing for it; and a list or mask whose indices are
/// neighbours comes as the blocks it really is.
class RunWalk
{
  public:
    /// The most runs that are delivered together.
    static constexpr std::size_t kBuffer = 512;

    /// The subscript must outlive the walk.
    explicit RunWalk(const Subscript& subscript) : subscript_(subscript) {}

    /// The next runs; an empty span at the end. Valid until the next call.
    std::span<const Run> next();

  private:
    std::size_t fill(const IndexRange& range);
    std::size_t fill(const IndexList& list);
    std::size_t fill(const LogicalMask& mask);
    std::size_t fill(const SparseLogicalMask& mask);

    struct Taken
    {
        std::size_t indices;
        std::size_t runs; ///< in the buffer
    };
    Taken take(const unsigned* indices, std::size_t count, unsigned offset, std::size_t runs);

    const Subscript& subscript_;
    unsigned position_ = 0;   // next index of the subscript, next mask byte, or next stored entry of a sparse mask
    unsigned maskColumn_ = 0; // of a sparse mask
    std::array<Run, kBuffer> buffer_;
};

/// The index that comes first, of a subscript that is not empty.
inline unsigned firstOf(const Subscript& subscript)
{
    return RunWalk(subscript).next().front().first;
}

/// f(first, length) for every run of the subscript.
template <typename F>
[[gnu::always_inline]] inline void forEachRun(const Subscript& subscript, F&& f)
{
    RunWalk walk(subscript);
    for (auto runs = walk.next(); !runs.empty(); runs = walk.next()) {
        for (const Run run : runs) {
            f(run.first, run.length);
        }
    }
}

} // namespace zqsp

#endif
