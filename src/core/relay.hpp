// Rewriting stored entries of a target: all blocks are obtained first, then every stretch of entries that stays is
// moved once, to its final place, with gaps where new entries belong.
#ifndef ZQSP_CORE_RELAY_HPP
#define ZQSP_CORE_RELAY_HPP

#include "core/columns.hpp"
#include "core/entry_moves.hpp"
#include "core/owners.hpp"

#include <span>
#include <type_traits>

namespace zqsp {

/// A place where entries change: the entries begin .. end-1 of a column are replaced by `length` others. The patches of
/// a relay ascend, and do not overlap; a column may have several. Columns that the target does not have yet lie behind
/// all its entries.
struct Patch
{
    unsigned column;
    unsigned begin;
    unsigned end;
    unsigned length;
    unsigned row = 0;    ///< as the next, for who writes the new entries: their first row,
    unsigned source = 0; ///< and what they come from

    /// By how many entries what follows moves, modulo 2^32.
    [[nodiscard]] unsigned growth() const { return length - (end - begin); }
};

using Patches = std::span<const Patch>;

/// What the target must be able to hold after the rewriting.
struct Needs
{
    unsigned capacity;          ///< nzmax; blocks are replaced where it differs from the present one (at least 1 then)
    unsigned columns;           ///< number of columns, at least the present one
    bool imaginaryPart = false; ///< whether the target must become complex if it is not
    bool freshBlocks = false;   ///< whether the entries are to be moved into fresh blocks in any case
};

/// One rewriting of one target, in two steps. The constructor obtains all memory and changes nothing; commit() cannot
/// fail.
class Relay
{
  public:
    /// Raises the runtime's errors for sizes and memory.
    Relay(kxArray* target, const Needs& needs);

    /// The target as it was: its entries until an in-place commit(), else as long as the relay lives.
    [[nodiscard]] const Columns& before() const { return before_; }
    /// The entries as they will be, for commit()'s `write`. The column starts are those of before().
    [[nodiscard]] Columns after() const;

    /// Moves the stretches between the patches, calls write(patch, at) for each patch that has any, in rising order,
    /// once its new entries, at position `at` of after() and behind, can be written, installs the new blocks and the
    /// column count (new columns are empty) and updates the column starts. In place, stretches that move left go first,
    /// in rising order, then those that move right, in falling order: a stretch is never written over before it has
    /// moved, and no second buffer is needed.
    template <typename F>
    void commit(Patches patches, F&& write)
    {
        commitBy(patches, {&write, [](void* function, const Patch& patch, unsigned at) {
                               (*static_cast<std::remove_reference_t<F>*>(function))(patch, at);
                           }});
    }

    /// For a target that is written anew: write(after) gives the fresh blocks their entries, and the column starts of
    /// before(), which are in place and grown, their new values.
    template <typename F>
    void commitAnew(F&& write)
    {
        installBlocks();
        write(Columns(target_));
    }

    /// For a target that keeps its entries and its capacity.
    void commitGrowth() { installBlocks(); }

  private:
    /// A function of any type: the loops over patches are there once for all of them.
    struct Writer
    {
        void* function;
        void (*call)(void* function, const Patch& patch, unsigned at);

        void operator()(const Patch& patch, unsigned at) const { call(function, patch, at); }
    };

    void commitBy(Patches patches, Writer write);
    void moveInPlace(Patches patches, Writer write) const;
    void copyAll(Patches patches, Writer write) const;
    void installBlocks();

    /// Where the stretch behind the i-th patch ends.
    [[nodiscard]] unsigned stretchEnd(Patches patches, std::size_t i) const
    {
        return i + 1 < patches.size() ? patches[i + 1].begin : entries_;
    }

    kxArray* target_;
    Columns before_;
    unsigned entries_; // stored before the commit
    Needs needs_;
    bool inPlace_;
    Block<unsigned> ir_; // the blocks to come, and after the commit those that were replaced
    Block<std::byte> pr_;
    Block<std::byte> pi_;
    Block<unsigned> jc_;
};

/// Gives a target with a capacity a larger one. Its largest block is resized, which costs nothing where there is room
/// behind it, the others are copied. The target is unchanged where this raises.
void raiseCapacity(kxArray* target, unsigned capacity);

/// Grows the target to at least n columns; the new ones are empty. The target is unchanged where this raises.
inline void growColumns(kxArray* target, unsigned n)
{
    if (n > kxGetN(target)) {
        Relay(target, {.capacity = target->nzmax, .columns = n}).commitGrowth();
    }
}

} // namespace zqsp

#endif
