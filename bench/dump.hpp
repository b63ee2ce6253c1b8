// Hands the operands of the rows to a program in another language.
#ifndef ZQSP_BENCH_DUMP_HPP
#define ZQSP_BENCH_DUMP_HPP

#include <regex>
#include <string>

namespace zqsp::bench {

/// Writes, for each row whose name matches, its operands as raw 32-bit indices and 64-bit values into the folder, and
/// a line for it into rows.tsv there. Throws std::runtime_error where a file cannot be written.
void dumpRows(const std::string& folder, const std::regex& filter);

} // namespace zqsp::bench

#endif
