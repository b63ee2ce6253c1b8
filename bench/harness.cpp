// How a contender is measured, and the plain copy that results are held against.
#include "arrays.hpp"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <ctime>
#include <map>
#include <vector>

namespace zqsp::bench {

namespace {

double budget = 0.1;

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
    return std::min(wall, busy);
}

/// Run times in rising order. The first, warming run is not among them.
std::vector<double> sampleTimes(Contender& contender)
{
    constexpr std::size_t kFewest = 3;
    constexpr std::size_t kMost = 100;
    std::vector<double> times;
    double timed = 0;
    const double end = secondsOn(CLOCK_MONOTONIC) + 4 * budget;
    while (times.size() < kFewest || (timed < budget && secondsOn(CLOCK_MONOTONIC) < end && times.size() < kMost)) {
        times.push_back(timeOnce(contender));
        timed += times.back();
    }
    std::sort(times.begin(), times.end());
    return times;
}

/// Holds the fingerprint against that of the other sides of the row; copies have none.
bool agreesWithOthers(const std::string& row, const Fingerprint& print)
{
    static std::map<std::string, Fingerprint> first;
    return first.try_emplace(row, print).first->second.agrees(print);
}

void measure(benchmark::State& state, const std::string& name, const std::function<ContenderOwner()>& make)
{
    const ContenderOwner contender = make();
    contender->prepare();
    contender->run();
    const Fingerprint print = contender->fingerprint();
    contender->finish();
    if (print.entries > 0 && !agreesWithOthers(name.substr(0, name.rfind('/')), print)) {
        state.SkipWithError("the result differs from that of another side");
        return;
    }
    std::vector<double> times;
    for (auto _ : state) {
        times = sampleTimes(*contender);
        state.SetIterationTime(times[times.size() / 2]);
    }
    state.counters["least_ms"] = times.front() * 1e3;
    state.counters["runs"] = static_cast<double>(times.size());
    state.counters["entries"] = print.entries;
    state.counters["weighted"] = print.weighted;
}

class Copy : public Contender
{
  public:
    explicit Copy(double bytes)
        : bytes_(static_cast<std::size_t>(std::llround(bytes))), from_(kxMalloc(bytes_)), to_(kxMalloc(bytes_))
    {
        std::memset(from_.get(), 1, bytes_);
    }

    void run() override
    {
        std::memcpy(to_.get(), from_.get(), bytes_);
        benchmark::DoNotOptimize(to_.get());
        benchmark::ClobberMemory();
    }

  private:
    std::size_t bytes_;
    Block from_;
    Block to_;
};

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

ContenderOwner makeCopy(double bytes)
{
    return std::make_unique<Copy>(bytes);
}

void registerSide(const std::string& name, std::function<ContenderOwner()> make)
{
    benchmark::RegisterBenchmark(name.c_str(), measure, name, std::move(make))
        ->Iterations(1)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
}

void setBudget(double seconds)
{
    budget = seconds;
}

} // namespace zqsp::bench
