// A set of numbers that tells in one look-up whether it has a number, and how many of its members lie below.
#ifndef ZQSP_CORE_RANKED_SET_HPP
#define ZQSP_CORE_RANKED_SET_HPP

#include "core/owners.hpp"

#include <bit>
#include <cstdint>
#include <optional>
#include <utility>

namespace zqsp {

/// A bit for each number below an extent, with running counts (Jacobson, 1989). A quarter of a byte for each number is
/// a sixteenth of a map from old numbers to new ones, and fits the nearest cache where that does not: measured, a
/// look-up takes half the time.
class RankedSet
{
  public:
    static constexpr unsigned kWord = 32;
    /// So many numbers: the members among them, and how many members lie below the first one.
    struct alignas(8) Word
    {
        std::uint32_t members;
        std::uint32_t before;

        [[nodiscard]] bool has(unsigned number) const { return (members >> number % kWord & 1U) != 0; }
        /// (Inlined by force, so that callers that may count ones by an instruction do.)
        [[nodiscard, gnu::always_inline]] unsigned rankOf(unsigned number) const
        {
            return before + static_cast<unsigned>(std::popcount(members & ((1U << number % kWord) - 1)));
        }
    };

    /// An empty set. Raises on exhausted memory.
    explicit RankedSet(unsigned extent) : RankedSet(extent, Block<Word>::zeroed(wordsFor(extent))) {}

    /// An empty set; none where memory is exhausted.
    static std::optional<RankedSet> emptyOrNone(unsigned extent)
    {
        auto words = Block<Word>::zeroedOrNone(wordsFor(extent));
        return words ? std::optional(RankedSet(extent, std::move(words))) : std::nullopt;
    }

    void add(unsigned number) { words_[number / kWord].members |= 1U << number % kWord; }
    /// Adds first + i for each bit i that is set; `first` is a multiple of 64.
    void addAll(unsigned first, std::uint64_t bits)
    {
        words_[first / kWord].members |= static_cast<std::uint32_t>(bits);
        words_[first / kWord + 1].members |= static_cast<std::uint32_t>(bits >> kWord);
    }

    /// Counts the members, after which the table can be used. O(extent / 32).
    void rank() { rank(0); }
    /// The same once every other number has become a member, and none of the members is left.
    void rankOthers() { rank(~0U); }

    [[nodiscard]] unsigned count() const { return count_; }
    [[nodiscard]] const Word* words() const { return words_.get(); }

  private:
    RankedSet(unsigned extent, Block<Word> words) : extent_(extent), words_(std::move(words)) {}
    static std::size_t wordsFor(unsigned extent) { return (extent / kWord / 2 + std::size_t{1}) * 2; }

    void rank(std::uint32_t flipped)
    {
        count_ = 0;
        const unsigned last = extent_ / kWord;
        for (unsigned w = 0; w <= last; ++w) {
            const std::uint32_t known = w < last ? ~0U : (1U << extent_ % kWord) - 1;
            words_[w].members = (words_[w].members ^ flipped) & known;
            words_[w].before = count_;
            count_ += static_cast<unsigned>(std::popcount(words_[w].members));
        }
    }

    unsigned extent_;
    unsigned count_ = 0;
    Block<Word> words_;
};

} // namespace zqsp

#endif
