#include "assign/row_filter.hpp"

namespace zqsp {

RowFilter::RowFilter(const Columns& a, const TargetIndices& rows, const TargetIndices& columns)
    : rows_(rows),
      lowest_(rows.first()),
      highest_(rows.highest()),
      coversAll_(rows.isRun() && lowest_ == 0 && highest_ + 1 >= a.m)
{
    constexpr std::uint64_t kRowsPerEntry = 64; // clearing 64 bits costs about what looking at one entry does
    if (rows.isRun()) {
        return;
    }
    std::uint64_t touched = rows.count();
    for (unsigned t = 0; t < columns.count() && columns[t] < a.n; ++t) {
        touched += a.length(columns[t]);
    }
    const std::uint64_t span = std::uint64_t{highest_} - lowest_ + 1;
    if (span > kRowsPerEntry * touched) {
        return;
    }
    bits_ = Block<std::uint64_t>::zeroed(span / 64 + 1);
    for (unsigned i = 0; i < rows.count(); ++i) {
        const unsigned bit = rows[i] - lowest_;
        bits_[bit / 64] |= std::uint64_t{1} << (bit % 64);
    }
}

} // namespace zqsp
