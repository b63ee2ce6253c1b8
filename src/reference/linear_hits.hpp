// Which stored entries lie at selected linear positions: the plan of A(K), without values.
#ifndef ZQSP_REFERENCE_LINEAR_HITS_HPP
#define ZQSP_REFERENCE_LINEAR_HITS_HPP

#include "core/columns.hpp"
#include "core/growing_list.hpp"
#include "core/search.hpp"
#include "subscript/forms.hpp"

#include <algorithm>
#include <cstdint>
#include <span>

namespace zqsp {

/// A selected entry: the `ordinal`-th selected position is where entry `source` is stored.
struct Hit
{
    unsigned ordinal;
    unsigned source;
};

/// Hits in ascending order of ordinal. The list grows with what is found, not with what is asked for: most positions of
/// a sparse matrix hold nothing.
class HitList
{
  public:
    void add(unsigned ordinal, unsigned source) { hits_.add({ordinal, source}); }
    void add(std::span<const Hit> hits) { hits_.add(hits); }
    void addIfStored(unsigned ordinal, Slot slot)
    {
        if (slot.stored) {
            add(ordinal, slot.position);
        }
    }
    /// What the hits are where the `selected` positions are read from the last one to the first.
    void reverse(unsigned selected)
    {
        std::reverse(hits_.data(), hits_.data() + hits_.count());
        for (unsigned i = 0; i < hits_.count(); ++i) {
            hits_.data()[i].ordinal = selected - 1 - hits_.data()[i].ordinal;
        }
    }
    [[nodiscard]] unsigned count() const { return hits_.count(); }

    template <typename F>
    void forEach(F&& f) const
    {
        for (const Hit& hit : hits_.elements()) {
            f(hit);
        }
    }

  private:
    GrowingList<Hit> hits_;
};

/// The hits of a run of neighbouring positions: neighbouring entries, all from the first to the last. No memory.
class RunHits
{
  public:
    RunHits(const Columns& a, const IndexRange& run);

    [[nodiscard]] unsigned count() const { return end_ - begin_; }

    template <typename F>
    void forEach(F&& f) const
    {
        unsigned e = begin_;
        std::uint64_t start = std::uint64_t{column_} * a_.m;
        for (unsigned column = column_; e < end_; ++column, start += a_.m) {
            for (const unsigned end = a_.jc[column + 1]; e < end && e < end_; ++e) {
                f(Hit{static_cast<unsigned>(start + a_.ir[e] - first_), e});
            }
        }
    }

  private:
    const Columns& a_;
    unsigned first_;
    unsigned column_ = 0; // that of the first position
    unsigned begin_ = 0;
    unsigned end_ = 0;
};

/// The hits of any other converted subscript.
HitList findHits(const Columns& a, const Subscript& positions);

/// The hits of a sparse mask whose positions may exceed 32 bits; false when one of them lies outside of A.
bool findLargeMaskHits(const Columns& a, const SparseLogicalMask& mask, HitList& hits);

} // namespace zqsp

#endif
