#include "assign/region_methods.hpp"

namespace zqsp {

namespace {

/// Rows that a set takes one by one: a mask comes by blocks.
unsigned marksOf(const Subscript& rows)
{
    return std::holds_alternative<LogicalMask>(rows) ? 0 : countOf(rows);
}

} // namespace

RowFilter::RowFilter(const Columns& a, const Ordered& rows, const Ordered& columns, unsigned m)
    : rows_(rows),
      lowest_(rows.lowest()),
      highest_(rows.highest()),
      coversAll_(rows.isRun() && lowest_ == 0 && highest_ + 1 >= a.m),
      isScattered_(!rows.isRun())
{
    if (!isScattered_) {
        return;
    }
    forEachRun(columns.form(), [&](unsigned first, unsigned count) {
        for (unsigned column = first; column - first < count && column < a.n; ++column) {
            looks_ += a.length(column);
            longest_ = std::max(longest_, a.length(column));
        }
    });
    if (setOfRowsPays(m, marksOf(rows.form()), looks_, rows.count())) {
        others_ = RowSet::emptyOrNone(m);
        if (others_) {
            addAll(*others_, rows.form());
            others_->rankOthers();
        }
    }
}

void fillRegion(kxArray* A, const Region& region, const RightSide& b, const FillLimits& limits)
{
    const RowFilter filter(Columns(A), region.rows, region.columns, region.m);
    if (!fillInOnePass(A, region, b, filter, limits)) {
        fillByPatches(A, region, b, filter, limits);
    }
    kxSetM(A, region.m);
}

} // namespace zqsp
