// The loops over entries, each table's against the portable one.
#include "kernels/random_input.hpp"

#include <cstring>
#include <optional>

namespace zqsp::test {

namespace {

class KernelTableOfEntries : public KernelTable
{
  protected:
    RowChoice anyChoice(const RowWord* set, unsigned m)
    {
        const unsigned first = draw(m);
        const unsigned size = draw(m - first + 1);
        return std::array<RowChoice, 4>{RankedRows{set}, UnmovedRows{set}, RowInterval{first, size},
                                        OtherRows{first, size}}[draw(4)];
    }
};

INSTANTIATE_TEST_SUITE_P(Tables, KernelTableOfEntries, ::testing::ValuesIn(testedTables()),
                         [](const auto& each) { return each.param->name; });

/// What blocks of entries hold.
struct Contents
{
    Words ir;
    std::vector<std::byte> pr;
    std::vector<std::byte> pi;
    unsigned elementSize;
    bool isComplex;

    /// Whether the entries that `lost` does not number are the same.
    [[nodiscard]] bool agrees(const Contents& other, unsigned lostBegin, unsigned lostEnd) const
    {
        const auto same = [=](const auto& mine, const auto& theirs, std::size_t size) {
            const auto begin = static_cast<std::ptrdiff_t>(lostBegin * size);
            const auto end = static_cast<std::ptrdiff_t>(lostEnd * size);
            return std::equal(mine.begin(), mine.begin() + begin, theirs.begin()) &&
                   std::equal(mine.begin() + end, mine.end(), theirs.begin() + end, theirs.end());
        };
        return same(ir, other.ir, 1) && same(pr, other.pr, elementSize) &&
               (!isComplex || same(pi, other.pi, elementSize));
    }
};

/// Blocks of entries, each with its edge.
class Blocks
{
  public:
    Blocks(const Contents& contents, Edge edge)
        : ir_(contents.ir, edge), pr_(contents.pr, edge), pi_(contents.pi, edge), like_(contents)
    {
    }
    [[nodiscard]] Entries entries() const
    {
        return {ir_.data(), pr_.data(), like_.isComplex ? pi_.data() : nullptr, like_.elementSize,
                static_cast<unsigned>(like_.ir.size())};
    }
    [[nodiscard]] Contents contents() const
    {
        return {ir_.values(), pr_.values(), pi_.values(), like_.elementSize, like_.isComplex};
    }

  private:
    Guarded<unsigned> ir_;
    Guarded<std::byte> pr_;
    Guarded<std::byte> pi_;
    Contents like_;
};

TEST_P(KernelTableOfEntries, CountsSelected)
{
    forEachLength([&](unsigned length) {
        for (unsigned i = 0; i < 8; ++i) {
            const unsigned m = 1 + draw(300);
            const Guarded set(wordsOf(ascending(m, anyShare()), m), edge());
            const Guarded rows(words(length, m), edge());
            const RowChoice choice = anyChoice(set.data(), m);
            EXPECT_EQ(table().countSelected(rows.data(), length, choice),
                      portable().countSelected(rows.data(), length, choice));
        }
    });
}

/// One call of moveSelected(), which may be made with each table.
struct Move
{
    Contents from;
    std::optional<Contents> fresh; ///< what is moved to, if it is not the same blocks
    Words jc;
    RowChoice choice;
    unsigned at;
    bool endsInJc;
    Edge edge;

    struct Outcome
    {
        Contents to;
        Words ends;
        unsigned end;
    };
    [[nodiscard]] Outcome by(const Kernels& table) const
    {
        const Blocks source(from, edge);
        std::optional<Blocks> target;
        if (fresh) {
            target.emplace(*fresh, edge);
        }
        const Blocks& to = target ? *target : source;
        const Guarded starts(jc, edge);
        const Guarded ends(Words(jc.size() - 1), edge);
        unsigned* const out = endsInJc ? starts.data() + 1 : ends.data();
        const auto columns = static_cast<unsigned>(jc.size() - 1);
        const unsigned end =
            table.moveSelected(source.entries(), starts.data(), columns, choice, to.entries(), at, out);
        if (fresh) {
            EXPECT_TRUE(source.contents().agrees(from, 0, 0)) << "the source has changed";
        }
        return {to.contents(), {out, out + columns}, end};
    }
};

TEST_P(KernelTableOfEntries, MovesSelected)
{
    const auto contents = [&](unsigned count, unsigned m, unsigned elementSize, bool isComplex) {
        const std::size_t size = std::size_t{count} * elementSize;
        return Contents{words(count, m), bytes(size), isComplex ? bytes(size) : bytes(0), elementSize, isComplex};
    };
    forEachLength([&](unsigned length) {
        for (unsigned i = 0; i < 32 && !HasFailure(); ++i) {
            const unsigned elementSize = 1U << i % 4;
            const bool isComplex = i / 4 % 2 != 0;
            const unsigned m = 1 + draw(300);
            const Guarded set(wordsOf(ascending(m, anyShare()), m), edge());
            const unsigned begin = draw(4);
            const unsigned last = begin + length;
            const bool inPlace = i / 8 % 2 != 0;
            Move move{contents(last + (oneIn(2) ? draw(40) : 0), m, elementSize, isComplex),
                      {},
                      words(1 + draw(6), length + 1),
                      anyChoice(set.data(), m),
                      draw(begin + 1),
                      oneIn(2),
                      edge()};
            std::ranges::for_each(move.jc, [&](unsigned& start) { start += begin; });
            move.jc.push_back(last);
            std::ranges::sort(move.jc);
            move.jc.front() = begin;
            unsigned writable = last;
            if (!inPlace) {
                const unsigned selected = portable().countSelected(move.from.ir.data() + begin, length, move.choice);
                const unsigned spare = oneIn(3) ? 0 : draw(oneIn(2) ? 20 : length + 40);
                move.fresh = contents(move.at + selected + spare, m, elementSize, isComplex);
                writable = std::min(move.at + length + kKernelSlack, move.at + selected + spare);
            }
            const Move::Outcome expected = move.by(portable());
            const Move::Outcome found = move.by(table());
            EXPECT_EQ(found.end, expected.end);
            EXPECT_EQ(found.ends, expected.ends);
            EXPECT_TRUE(found.to.agrees(expected.to, expected.end, writable))
                << "element size " << elementSize << ", " << isComplex << inPlace << move.choice.index();
        }
    });
}

/// Elements of every size, and none behind the last one that is needed, or some.
TEST_P(KernelTableOfEntries, Spreads)
{
    forEachLength([&](unsigned length) {
        for (unsigned i = 0; i < 16; ++i) {
            const unsigned size = 1U << i % 4;
            std::vector<std::uint8_t> marks(length);
            const unsigned share = anyShare();
            std::ranges::generate(marks, [&] { return draw(64) < share ? std::uint8_t{1} : std::uint8_t{0}; });
            const std::size_t room = static_cast<std::size_t>(std::ranges::count(marks, 0)) + (oneIn(2) ? draw(40) : 0);
            const Guarded from(bytes(room * size), edge());
            const Guarded marked(marks, edge());
            const Guarded to(bytes(std::size_t{length} * size), edge());
            table().spread(from.data(), room, marked.data(), length, to.data(), size);
            for (std::size_t place = 0, next = 0; place < length; ++place) {
                if (marks[place] == 0) {
                    EXPECT_EQ(std::memcmp(to.data() + place * size, from.data() + next++ * size, size), 0) << size;
                }
            }
            EXPECT_EQ(marked.values(), marks);
        }
    });
}

/// By blocks, of which the list of deleted positions goes on to the next.
TEST_P(KernelTableOfEntries, ClosesUp)
{
    forEachLength([&](unsigned length) {
        for (unsigned i = 0; i < 24 && !HasFailure(); ++i) {
            const unsigned elementSize = 1U << i % 4;
            const bool isComplex = i / 4 % 2 != 0;
            Words positions = ascending(2 * length, 32);
            const unsigned lead = draw(3); // entries before, not looked at
            positions.insert(positions.begin(), lead, 0);
            const auto count = static_cast<unsigned>(positions.size());
            const Guarded deleted(ascending(2 * length + 1, anyShare()), edge());
            const std::size_t size = std::size_t{count} * elementSize;
            const Contents contents{positions, bytes(size), isComplex ? bytes(size) : bytes(0), elementSize, isComplex};
            const unsigned block = oneIn(2) ? count + 1 : 1 + draw(60);
            const unsigned at = draw(lead + 1);
            const Edge side = edge();
            const auto closeUp = [&](const Kernels& with, unsigned step) {
                const Blocks blocks(contents, side);
                DeletedList list{deleted.data(), static_cast<unsigned>(deleted.values().size())};
                unsigned kept = at;
                for (unsigned begin = lead; begin < count; begin += std::min(step, count - begin)) {
                    kept = with.closeUp(blocks.entries(), begin, begin + std::min(step, count - begin), list, kept);
                }
                return std::pair{blocks.contents(), kept};
            };
            const auto [expected, end] = closeUp(portable(), count + 1);
            const auto [found, foundEnd] = closeUp(table(), block);
            EXPECT_EQ(foundEnd, end);
            EXPECT_TRUE(found.agrees(expected, end, count)) << "element size " << elementSize << isComplex;
        }
    });
}

} // namespace

} // namespace zqsp::test
