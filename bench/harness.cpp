// How the sides of a row are measured: the best peer and ours in turns, so that both meet the same state of the
// machine.
#include "contender.hpp"
#include "kernels/tables.hpp"
#include "methods.hpp"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <ctime>
#include <optional>
#include <stdexcept>

namespace zqsp::bench {

namespace {

double budget = 0.15;
bool onlyChecks = false;

std::vector<const Kernels*>& tables()
{
    static std::vector<const Kernels*> all(availableKernels().begin(), availableKernels().end());
    return all;
}

double secondsOn(clockid_t clock)
{
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

/// The lesser of wall time, which counts the time that other programs take from us, and processor time, whose clock
/// costs more to read than the shortest calls take.
double timeOnce(Contender& contender)
{
    contender.prepare();
    const double busyStart = secondsOn(CLOCK_THREAD_CPUTIME_ID);
    const double start = secondsOn(CLOCK_MONOTONIC);
    contender.run();
    const double wall = secondsOn(CLOCK_MONOTONIC) - start;
    const double busy = secondsOn(CLOCK_THREAD_CPUTIME_ID) - busyStart;
    contender.finish();
    return std::min(wall, busy) * contender.scale();
}

/// The element at a share of the sorted values, by interpolation.
double quantile(std::vector<double> values, double share)
{
    std::sort(values.begin(), values.end());
    const double at = share * static_cast<double>(values.size() - 1);
    const auto below = static_cast<std::size_t>(at);
    const std::size_t above = std::min(below + 1, values.size() - 1);
    return values[below] + (at - static_cast<double>(below)) * (values[above] - values[below]);
}

double median(const std::vector<double>& values)
{
    return quantile(values, 0.5);
}

/// The median of some runs in a row, behind one that is not timed: each finds its data where its own runs have left
/// them, whichever side or table ran before the turn.
double turn(Contender& contender)
{
    constexpr std::size_t kMostRuns = 5;
    constexpr double kLongTurn = 0.01;
    timeOnce(contender);
    std::vector<double> times;
    const double start = secondsOn(CLOCK_MONOTONIC);
    do {
        times.push_back(timeOnce(contender));
    } while (times.size() < kMostRuns && secondsOn(CLOCK_MONOTONIC) - start < kLongTurn);
    return median(times);
}

class Measurement
{
  public:
    explicit Measurement(const Comparison& comparison)
        : comparison_(comparison),
          tables_(tables().begin(), comparison.everyTable ? tables().end() : tables().begin() + 1)
    {
    }
    Measurement(const Measurement&) = delete;
    Measurement& operator=(const Measurement&) = delete;
    ~Measurement() { useKernels(*tables().front()); }

    void run(benchmark::UserCounters& counters, std::string& label)
    {
        const ContenderOwner ours = comparison_.ours();
        for (const Kernels* table : tables_) {
            useKernels(*table);
            takenMethods();
            check(*ours, "ours");
            label += label.empty() ? "" : ";";
            label.append(table->name).append("=").append(takenMethods());
        }
        useKernels(*tables_.front());
        if (onlyChecks) {
            for (const Side& peer : comparison_.peers) {
                check(*peer.make(), peer.name);
            }
            return;
        }
        for (const Side& yardstick : comparison_.yardsticks) {
            const ContenderOwner side = yardstick.make();
            counters[yardstick.name] = median({turn(*side), turn(*side), turn(*side)}) * 1e3;
        }
        const ContenderOwner best = findBest(counters);
        takeTurns(*ours, best.get());
        report(counters);
    }

  private:
    /// A warming run.
    void check(Contender& side, const std::string& name)
    {
        side.prepare();
        side.run();
        const Fingerprint print = side.fingerprint();
        side.finish();
        if (print.entries > 0 && !first_.value_or(print).agrees(print)) {
            throw std::runtime_error("the result of " + name + " differs from that of another side");
        }
        if (print.entries > 0) {
            first_ = print;
        }
    }

    /// Measures each peer, and returns the fastest.
    ContenderOwner findBest(benchmark::UserCounters& counters)
    {
        ContenderOwner best;
        for (const Side& peer : comparison_.peers) {
            ContenderOwner side = peer.make();
            check(*side, peer.name);
            const double time = median({timeOnce(*side), timeOnce(*side), timeOnce(*side)});
            counters[peer.name] = time * 1e3;
            if (best == nullptr || time < counters[bestName_] / 1e3) {
                best = std::move(side);
                bestName_ = peer.name;
            }
        }
        return best;
    }

    void takeTurns(Contender& ours, Contender* peer)
    {
        constexpr std::size_t kFewest = 5;
        constexpr std::size_t kMost = 25;
        ours_.resize(tables_.size());
        const double end = secondsOn(CLOCK_MONOTONIC) + budget;
        for (std::size_t round = 0; round < kFewest || (round < kMost && secondsOn(CLOCK_MONOTONIC) < end); ++round) {
            const bool peerFirst = round % 2 == 0;
            if (peerFirst && peer != nullptr) {
                peer_.push_back(turn(*peer));
            }
            for (std::size_t k = 0; k < tables_.size(); ++k) {
                const std::size_t t = (round + k) % tables_.size(); // each of them follows the peer at times
                useKernels(*tables_[t]);
                ours_[t].push_back(turn(ours));
            }
            useKernels(*tables_.front());
            if (!peerFirst && peer != nullptr) {
                peer_.push_back(turn(*peer));
            }
        }
    }

    void report(benchmark::UserCounters& counters) const
    {
        if (!peer_.empty()) {
            counters[bestName_] = median(peer_) * 1e3;
        }
        counters["pairs"] = static_cast<double>(ours_.front().size());
        for (std::size_t t = 0; t < tables_.size(); ++t) {
            const std::string table = tables_[t]->name;
            counters["ms:" + table] = median(ours_[t]) * 1e3;
            std::vector<double> ratios;
            for (std::size_t pair = 0; pair < peer_.size(); ++pair) {
                ratios.push_back(peer_[pair] / ours_[t][pair]);
            }
            if (!ratios.empty()) {
                counters["ratio:" + table] = median(ratios);
                counters["low:" + table] = quantile(ratios, 0.25);
                counters["high:" + table] = quantile(ratios, 0.75);
            }
        }
    }

    const Comparison& comparison_;
    std::vector<const Kernels*> tables_;
    std::optional<Fingerprint> first_;
    std::string bestName_;
    std::vector<double> peer_;
    std::vector<std::vector<double>> ours_; ///< of each table
};

void measure(benchmark::State& state, const Comparison& comparison)
{
    std::string label;
    for (auto _ : state) {
        try {
            Measurement(comparison).run(state.counters, label);
            state.SetIterationTime(state.counters["ms:" + std::string(tables().front()->name)] / 1e3);
        } catch (const std::exception& error) {
            state.SkipWithError(error.what());
            return;
        }
    }
    state.SetLabel(label);
}

} // namespace

void Fingerprint::add(unsigned row, unsigned column, double re, double im)
{
    if (re != 0 || im != 0) {
        entries += 1;
        weighted += (re + 2 * im) * (1 + row % 97) * (1 + column % 89);
    }
}

bool Fingerprint::agrees(const Fingerprint& other) const
{
    return entries == other.entries && std::abs(weighted - other.weighted) <= 1e-9 * std::abs(weighted);
}

void registerComparison(Comparison comparison)
{
    const std::string name = comparison.name;
    benchmark::RegisterBenchmark(name.c_str(), measure, std::move(comparison))
        ->Iterations(1)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
}

void setBudget(double seconds)
{
    budget = seconds;
}

void onlyCheck()
{
    onlyChecks = true;
}

void useTableOnly(const std::string& name)
{
    std::erase_if(tables(), [&](const Kernels* table) { return table->name != name; });
    if (tables().empty()) {
        throw std::invalid_argument("this processor has no kernels '" + name + "'");
    }
    useKernels(*tables().front());
}

} // namespace zqsp::bench
