// The loops of core/row_selection.hpp for registers of 512 bits: sixteen entries go through one at a time.
#ifndef ZQSP_CORE_WIDE_SELECTION_HPP
#define ZQSP_CORE_WIDE_SELECTION_HPP

#include "core/processor.hpp"
#include "core/row_selection.hpp"

#include <array>

namespace zqsp::wide {

/// Whether the loops serve so many entries of an array: few entries, those of one column mostly, are not worth the
/// preparations; and values have 1 or 8 bytes.
bool serve(const Columns& a, unsigned entries);

unsigned countSelected(const Columns& a, unsigned begin, unsigned end, const RowChoice& choice);

unsigned moveSelected(const Columns& from, unsigned first, unsigned count, const RowChoice& choice, const Columns& to,
                      unsigned at, unsigned* ends);

/// Whether deleteListed() serves: not where so few are deleted that the runs between them are better moved whole.
bool serveList(const Columns& a, unsigned entries, unsigned deleted);

/// Deletes strictly ascending linear positions: deleted entries go, the rows of the others become positions that close
/// up, wherever the column starts are. Returns the number of entries left.
unsigned deleteListed(const Columns& a, const unsigned* deleted, unsigned count);

/// A filter of up to 128 rows that stays in registers: bits at two places that multiplicative hashing gives (Bloom,
/// 1970).
class FewRows
{
  public:
    static constexpr unsigned kMost = 128;

    void add(unsigned row);
    /// Where haveAvx512(): the first of the groups of sixteen entries from `begin` on that may have one of the rows, a
    /// bit of `lanes` set for each entry that may; or, with no bit set, the first group that ends behind `end`. One
    /// group in five at most is mistaken for one that has. Measured: half the time of looking rows up in a table.
    unsigned firstGroup(const unsigned* ir, unsigned begin, unsigned end, unsigned& lanes) const;

  private:
    static constexpr unsigned kMultiplier = 0x9E3779B1U;
    static constexpr unsigned kWord = 27; ///< the upper five bits of a product number one of 32 words
    static constexpr unsigned kBit = 22;  ///< the next five a bit of it
    static constexpr unsigned kNext = 10; ///< and so on for the second place

    std::array<unsigned, 32> first_{};
    std::array<unsigned, 32> second_{};
};

/// The first starts of a row vector, and the entries before them.
struct Starts
{
    unsigned count = 0;
    unsigned entries = 0;
};

/// Where haveAvx512(): column starts of a row vector of `length` columns, whose entries lie in `columns`, ascending.
/// All but the last few thousand starts are written.
Starts writeStarts(const unsigned* columns, unsigned count, unsigned length, unsigned* starts);

} // namespace zqsp::wide

#endif
