// A set of rows, columns or positions that tells in one look-up whether it has a number, and how many of its members
// lie below.
#ifndef ZQSP_CORE_ROW_SET_HPP
#define ZQSP_CORE_ROW_SET_HPP

#include "core/owners.hpp"
#include "kernels/row_choice.hpp"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <utility>

namespace zqsp {

/// A bit for each number below an extent, with running counts (Jacobson, 1989). A quarter of a byte for each number is
/// a sixteenth of a map from old numbers to new ones, and fits the nearest cache where that does not: measured, a
/// look-up takes half the time.
class RowSet
{
  public:
    /// An empty set. Raises on exhausted memory.
    explicit RowSet(unsigned extent) : RowSet(extent, Block<RowWord>::zeroed(wordsFor(extent))) {}

    /// An empty set; none where memory is exhausted.
    static std::optional<RowSet> emptyOrNone(unsigned extent)
    {
        auto words = Block<RowWord>::zeroedOrNone(wordsFor(extent));
        return words ? std::optional(RowSet(extent, std::move(words))) : std::nullopt;
    }

    void add(unsigned number) { words_[number / RowWord::kBits].members |= 1U << number % RowWord::kBits; }
    /// Makes these the members among the numbers 32 * word and the 31 behind it.
    void setWord(unsigned word, std::uint32_t members) { words_[word].members = members; }
    /// Adds first + i for each bit i that is set; `first` is a multiple of 64.
    void addAll(unsigned first, std::uint64_t bits)
    {
        words_[first / RowWord::kBits].members |= static_cast<std::uint32_t>(bits);
        words_[first / RowWord::kBits + 1].members |= static_cast<std::uint32_t>(bits >> RowWord::kBits);
    }

    /// Counts the members, after which the table can be used. O(extent / 32).
    void rank() { rank(0); }
    /// The same once every other number has become a member, and none of the members is left.
    void rankOthers() { rank(~0U); }

    [[nodiscard]] unsigned count() const { return count_; }
    [[nodiscard]] bool hasAll() const { return count_ == extent_; }
    [[nodiscard]] bool has(unsigned number) const { return words_[number / RowWord::kBits].has(number); }
    /// The members as a choice of rows: those that take their ranks for new rows, once rank() has been called, or keep
    /// their numbers.
    [[nodiscard]] RankedRows ranked() const { return {words_.get()}; }
    [[nodiscard]] UnmovedRows unmoved() const { return {words_.get()}; }
    [[nodiscard]] const RowWord* words() const { return words_.get(); }

  private:
    RowSet(unsigned extent, Block<RowWord> words) : extent_(extent), words_(std::move(words)) {}
    static std::size_t wordsFor(unsigned extent) { return (extent / RowWord::kBits / 2 + std::size_t{1}) * 2; }

    void rank(std::uint32_t flipped)
    {
        constexpr unsigned kTogether = 8; // words: of few members most have none
        const unsigned last = extent_ / RowWord::kBits;
        count_ = 0;
        for (unsigned w = 0; w < last;) {
            const unsigned end = w + std::min(kTogether, last - w);
            std::uint32_t any = 0;
            for (unsigned i = w; i < end; ++i) {
                words_[i].members ^= flipped;
                words_[i].before = count_;
                any |= words_[i].members;
            }
            for (; any != 0 && w < end; ++w) {
                count(words_[w]);
            }
            w = end;
        }
        words_[last].members = (words_[last].members ^ flipped) & ((1U << extent_ % RowWord::kBits) - 1);
        count(words_[last]);
    }

    void count(RowWord& word)
    {
        word.before = count_;
        count_ += countOnes(word.members);
    }

    unsigned extent_;
    unsigned count_ = 0;
    Block<RowWord> words_;
};

} // namespace zqsp

#endif
