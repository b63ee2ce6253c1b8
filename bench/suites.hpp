// The suites beside the rows.
#ifndef ZQSP_BENCH_SUITES_HPP
#define ZQSP_BENCH_SUITES_HPP

namespace zqsp::bench {

/// "accept/...": pairs of a measured call and the work it is held against, see acceptance.cpp.
void registerAcceptance();
/// More of these: what the way through the C++ interface costs.
void registerCppInterface();
/// "small/...": nanoseconds and allocations of calls on tiny matrices.
void registerSmallCalls();

} // namespace zqsp::bench

#endif
