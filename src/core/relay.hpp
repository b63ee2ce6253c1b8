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

    /// Moves the stretches between the patches, calls write(patch, at) for each patch, in rising order, once its new
    /// entries, at position `at` of after() and behind, can be written, installs the new blocks and the column count
    /// (new columns are empty) and updates the column starts. In place, stretches that move left go first, in rising
    /// order, then those that move right, in falling order: a stretch is never written over before it has moved, and
    /// no second buffer is needed.
    template <typename F>
    void commit(std::span<const Patch> patches, F&& write)
    {
        move(patches, Writer{&write, [](void* function, const Patch& patch, unsigned at) {
                                 (*static_cast<std::remove_reference_t<F>*>(function))(patch, at);
                             }});
    }

    /// The same by loops of their own, for patches whose number or whose shape is known, or that are made when they are
    /// asked for: size() of them, each by its index.
    template <typename Plan, typename F>
    void commit(const Plan& plan, F&& write)
    {
        move(plan, write);
    }

    /// For a target that is written anew: write(after) gives the fresh blocks their entries, and the column starts of
    /// before(), which are in place and grown, their new values.
    template <typename F>
    void commitAnew(F&& write)
    {
        installBlocks();
        write(Columns(target_));
    }

    /// For a target that only grows.
    void commitGrowth()
    {
        commit(std::span<const Patch>(), [](const Patch&, unsigned) {});
    }

  private:
    /// A function of any type, so that the loops over lists of patches are there once for all of them.
    struct Writer
    {
        void* function;
        void (*call)(void* function, const Patch& patch, unsigned at);

        void operator()(const Patch& patch, unsigned at) const { call(function, patch, at); }
    };

    void installBlocks();

    template <typename Patches, typename W>
    [[gnu::noinline]] void move(const Patches& patches, const W& write)
    {
        if (inPlace_) {
            moveRight(patches, moveLeft(patches));
            writePatches(patches, write);
        } else {
            copyAll(patches, write);
        }
        installBlocks();
        updateColumnStarts(Columns(target_), patches);
    }

    /// Returns the growth of all patches.
    template <typename Patches>
    unsigned moveLeft(const Patches& patches)
    {
        unsigned shift = 0;
        for (std::size_t i = 0; i < patches.size(); ++i) {
            const Patch& patch = patches[i];
            shift += patch.growth();
            if (const unsigned from = patch.end; from + shift < from) {
                moveEntries(before_, from + shift, from, stretchEnd(patches, i) - from);
            }
        }
        return shift;
    }

    template <typename Patches>
    void moveRight(const Patches& patches, unsigned shift)
    {
        for (std::size_t i = patches.size(); i-- > 0;) {
            const Patch& patch = patches[i];
            if (const unsigned from = patch.end; from + shift > from) {
                moveEntries(before_, from + shift, from, stretchEnd(patches, i) - from);
            }
            shift -= patch.growth();
        }
    }

    template <typename Patches, typename W>
    void copyAll(const Patches& patches, const W& write)
    {
        const Columns to = after();
        unsigned shift = 0;
        appendEntries(to, 0, before_, 0, patches.size() == 0 ? entries_ : patches[0].begin);
        for (std::size_t i = 0; i < patches.size(); ++i) {
            const auto& patch = patches[i];
            write(patch, patch.begin + shift);
            shift += patch.growth();
            if (const unsigned size = stretchEnd(patches, i) - patch.end; size > 0) {
                appendEntries(to, patch.end + shift, before_, patch.end, size);
            }
        }
    }

    template <typename Patches, typename W>
    static void writePatches(const Patches& patches, const W& write)
    {
        unsigned shift = 0;
        for (std::size_t i = 0; i < patches.size(); ++i) {
            const auto& patch = patches[i];
            write(patch, patch.begin + shift);
            shift += patch.growth();
        }
    }

    /// Where the stretch behind the i-th patch ends.
    template <typename Patches>
    [[nodiscard]] unsigned stretchEnd(const Patches& patches, std::size_t i) const
    {
        return i + 1 < patches.size() ? patches[i + 1].begin : entries_;
    }

    template <typename Patches>
    static void updateColumnStarts(const Columns& after, const Patches& patches)
    {
        unsigned shift = 0;
        const std::size_t count = patches.size();
        for (std::size_t i = 0, column = count > 0 ? patches[0].column : 0, next = 0; i < count; ++i, column = next) {
            shift += patches[i].growth();
            next = i + 1 < count ? patches[i + 1].column : after.n;
            if (shift == 0) {
                continue;
            }
            unsigned* const end = after.jc + next + 1;
            for (unsigned* start = after.jc + column + 1; start < end; ++start) {
                *start += shift;
            }
        }
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
