// Finding the stored entries at selected positions.
#ifndef ZQSP_LOOKUP_FIND_HITS_HPP
#define ZQSP_LOOKUP_FIND_HITS_HPP

#include "lookup/choose_method.hpp"
#include "lookup/entry_positions.hpp"
#include "lookup/hit_list.hpp"
#include "subscript/forms.hpp"

namespace zqsp {

/// The hits of a run of neighbouring positions: neighbouring entries, all from the first to the last. No memory.
class RunHits
{
  public:
    /// A run that is not empty, in an array with columns.
    RunHits(const Columns& a, const IndexRange& run) : a_(a), span_(a, run.first, run.last), first_(run.first) {}

    [[nodiscard]] unsigned count() const { return span_.entries(); }
    [[nodiscard]] static bool hasBytes() { return false; }

    template <typename F>
    void forEach(F&& f) const
    {
        EntryWalk walk(a_, span_.column, span_.begin);
        walk.forEachPiece(span_.end, [&](unsigned begin, unsigned end, unsigned start) {
            for (unsigned e = begin; e < end; ++e) {
                f(Hit{start + a_.ir[e] - first_, e});
            }
        });
    }

  private:
    const Columns& a_;
    PositionSpan span_;
    unsigned first_;
};

/// Fills a list with the hits of a converted subscript, whose positions A must have; those of a sparse mask may exceed
/// 32 bits. Raises on exhausted memory. Cost: the subscript's length and, for each position, a search of its column; or
/// less.
void findHits(const Columns& a, const Subscript& positions, HitList& hits);

/// The same by a given method, which must be one for such a subscript. (For tests.)
[[gnu::visibility("default")]] void findHitsBy(LookupMethod method, const Columns& a, const Subscript& positions,
                                               HitList& hits);

} // namespace zqsp

#endif
