// zqsp_kernels_bench: times each loop of each table that this processor can run beside the portable one.
//
//     zqsp_kernels_bench [REGEX]     the loops whose names match
//
// A line for each loop and table: nanoseconds per entry, and how many times as fast as the portable one. Medians of
// runs in turns.
#include "kernels/tables.hpp"
#include "random.hpp"

#include <fmt/core.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <numeric>
#include <regex>
#include <string>

namespace zqsp::bench {

namespace {

using Words = std::vector<unsigned>;

constexpr unsigned kEntries = 1U << 16; // these and their values stay in a cache of a megabyte or two
constexpr unsigned kRows = 1U << 20;

struct Loop
{
    std::string name;
    std::function<void()> prepare; // what a run changes is made anew
    std::function<void(const Kernels&)> run;
};

Words draws(unsigned count, unsigned below)
{
    static std::uint64_t seed = 0;
    Random random(++seed);
    Words all(count);
    std::ranges::generate(all, [&] { return random.below(below); });
    return all;
}

/// `count` of the numbers below `below`, ascending; about as many.
Words ascending(unsigned count, unsigned below)
{
    Words all = draws(count, below);
    std::ranges::sort(all);
    const auto repeats = std::ranges::unique(all);
    all.erase(repeats.begin(), repeats.end());
    return all;
}

std::vector<RowWord> setOf(const Words& rows, unsigned m)
{
    std::vector<RowWord> set(m / RowWord::kBits + 1);
    for (const unsigned row : rows) {
        set[row / RowWord::kBits].members |= 1U << row % RowWord::kBits;
    }
    for (std::size_t i = 1; i < set.size(); ++i) {
        set[i].before = set[i - 1].before + static_cast<unsigned>(std::popcount(set[i - 1].members));
    }
    return set;
}

/// Blocks of entries, the rows of each column of ten drawn anew.
struct Blocks
{
    Words ir;
    std::vector<std::byte> pr;
    unsigned elementSize;

    Blocks(Words rows, unsigned size) : ir(std::move(rows)), pr(ir.size() * size), elementSize(size) {}
    Entries entries() { return {ir.data(), pr.data(), nullptr, elementSize, static_cast<unsigned>(ir.size())}; }
};

void addNumbers(std::vector<Loop>& loops)
{
    const Words drawn = draws(kEntries, kRows);
    std::vector<double> values(drawn.begin(), drawn.end());
    std::ranges::for_each(values, [](double& value) { ++value; });
    loops.push_back({"storeIndices", [] {},
                     [values, indices = Words(kEntries)](const Kernels& with) mutable {
                         with.storeIndices(values.data(), kEntries, kRows, indices.data());
                     }});
    loops.push_back(
        {"stepsTo", [] {}, [drawn](const Kernels& with) { with.stepsTo(drawn.data() + 1, kEntries - 1, 1); }});
}

/// Half of the rows selected, in columns of ten entries.
void addSelections(std::vector<Loop>& loops)
{
    constexpr unsigned m = 1000;
    constexpr unsigned kColumn = 10;
    constexpr unsigned columns = kEntries / kColumn;
    static std::vector<RowWord> set = setOf(draws(m * 7 / 10, m), m);
    static Words jc(columns + 1);
    std::generate(jc.begin(), jc.end(), [next = 0U]() mutable { return std::exchange(next, next + kColumn); });
    const auto add = [&](const std::string& name, const RowChoice& choice, unsigned elementSize) {
        const auto from = std::make_shared<Blocks>(draws(kEntries, m), elementSize);
        const auto to = std::make_shared<Blocks>(Words(kEntries), elementSize);
        loops.push_back({name, [] {},
                         [=, ends = Words(columns)](const Kernels& with) mutable {
                             with.moveSelected(from->entries(), jc.data(), columns, choice, to->entries(), 0,
                                               ends.data());
                         }});
    };
    add("moveSelected/ranked", RankedRows{set.data()}, 8);
    add("moveSelected/ranked/bytes", RankedRows{set.data()}, 1);
    add("moveSelected/unmoved", UnmovedRows{set.data()}, 8);
    add("moveSelected/interval", RowInterval{m / 4, m / 2}, 8);
    add("moveSelected/gap", OtherRows{m / 4, m / 2}, 8);
    const Words rows = draws(kEntries, m);
    for (const auto& [name, choice] : {std::pair<std::string, RowChoice>{"ranked", RankedRows{set.data()}},
                                       {"interval", RowInterval{m / 4, m / 2}}}) {
        loops.push_back({"countSelected/" + name, [] {},
                         [=](const Kernels& with) { with.countSelected(rows.data(), kEntries, choice); }});
    }
}

/// One position in ten deleted, or in 64.
void addClosing(std::vector<Loop>& loops)
{
    for (const unsigned each : {10U, 64U}) {
        const Words positions = ascending(kEntries, 4 * kEntries);
        const auto deleted = std::make_shared<Words>(ascending(4 * kEntries / each, 4 * kEntries));
        const auto blocks = std::make_shared<Blocks>(positions, 8);
        loops.push_back({fmt::format("closeUp/{}", each), [=] { blocks->ir = positions; },
                         [=](const Kernels& with) {
                             DeletedList list{deleted->data(), static_cast<unsigned>(deleted->size())};
                             with.closeUp(blocks->entries(), 0, static_cast<unsigned>(positions.size()), list, 0);
                         }});
    }
}

/// One place in ten, and every second one, is marked.
void addSpreading(std::vector<Loop>& loops)
{
    for (const unsigned each : {2U, 10U}) {
        std::vector<std::uint8_t> marks(kEntries);
        std::ranges::for_each(draws(kEntries / each, kEntries), [&](unsigned place) { marks[place] = 1; });
        for (const unsigned size : {4U, 8U}) {
            loops.push_back({fmt::format("spread/{}/{}", each, size), [] {},
                             [=, from = std::vector<std::uint64_t>(kEntries),
                              to = std::vector<std::uint64_t>(kEntries)](const Kernels& with) mutable {
                                 with.spread(from.data(), kEntries, marks.data(), kEntries, to.data(), size);
                             }});
        }
    }
}

void addSearches(std::vector<Loop>& loops)
{
    for (const unsigned length : {4U, 10U, 16U, 40U, 100U}) { // columns one after the other
        const Words rows = draws(length, kRows);
        loops.push_back({fmt::format("rankRows/{}", length), [] {},
                         [rows, length, ranks = Words(length)](const Kernels& with) mutable {
                             for (unsigned done = 0; done < kEntries; done += length) {
                                 with.rankRows(rows.data(), length, ranks.data());
                             }
                         }});
    }
    const Words few = draws(100, kRows);
    FewRows filter;
    std::ranges::for_each(few, [&](unsigned row) { filter.add(row); });
    for (const bool filtered : {false, true}) {
        loops.push_back({filtered ? "siftRows/few" : "siftRows", [] {},
                         [set = setOf(few, kRows), rows = draws(kEntries, kRows), filter, filtered,
                          found = Words(kEntries)](const Kernels& with) mutable {
                             with.siftRows(set.data(), filtered ? &filter : nullptr, rows.data(), 0, kEntries,
                                           found.data());
                         }});
    }
    for (const unsigned times : {1U, 4U}) {
        loops.push_back({fmt::format("intersect/{}", times), [] {},
                         [first = ascending(kEntries, 4 * kEntries), second = ascending(kEntries / times, 4 * kEntries),
                          inFirst = Words(kEntries + kKernelSlack),
                          inSecond = Words(kEntries + kKernelSlack)](const Kernels& with) mutable {
                             with.intersect(first.data(), static_cast<unsigned>(first.size()), second.data(),
                                            static_cast<unsigned>(second.size()), inFirst.data(), inSecond.data());
                         }});
    }
    constexpr unsigned kColumns = 4 * kEntries;
    loops.push_back(
        {"writeStarts", [] {},
         [columns = ascending(kEntries, kColumns), starts = Words(kColumns + 1)](const Kernels& with) mutable {
             with.writeStarts(columns.data(), static_cast<unsigned>(columns.size()), kColumns, starts.data());
         }});
}

/// Seconds of one run with each table, the median of several.
std::vector<double> measured(const Loop& loop, std::span<const Kernels* const> tables)
{
    constexpr unsigned kRounds = 41;
    std::vector<std::vector<double>> times(tables.size());
    for (unsigned round = 0; round < kRounds; ++round) {
        for (std::size_t t = 0; t < tables.size(); ++t) {
            loop.prepare();
            const auto start = std::chrono::steady_clock::now();
            loop.run(*tables[t]);
            times[t].push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        }
    }
    std::vector<double> medians;
    for (auto& each : times) {
        std::ranges::nth_element(each, each.begin() + kRounds / 2);
        medians.push_back(each[kRounds / 2]);
    }
    return medians;
}

void run(const std::regex& wanted)
{
    std::vector<Loop> loops;
    addNumbers(loops);
    addSelections(loops);
    addClosing(loops);
    addSpreading(loops);
    addSearches(loops);
    const auto tables = availableKernels();
    for (const Loop& loop : loops) {
        if (!std::regex_search(loop.name, wanted)) {
            continue;
        }
        const std::vector<double> seconds = measured(loop, tables);
        for (std::size_t t = tables.size(); t-- > 0;) {
            fmt::print("{:28}{:10}{:9.3f} ns{:8.2f}\n", loop.name, tables[t]->name, seconds[t] / kEntries * 1e9,
                       seconds.back() / seconds[t]);
        }
    }
}

} // namespace

} // namespace zqsp::bench

int main(int count, char** arguments)
{
    zqsp::bench::run(std::regex(count > 1 ? arguments[1] : "."));
}
