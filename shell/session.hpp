// What statements act on, and what functions may see of it.
#ifndef KXSH_SESSION_HPP
#define KXSH_SESSION_HPP

#include "interrupt.hpp"
#include "value.hpp"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace kxsh {

struct Session
{
    explicit Session(std::ostream& output) : out(output) {}

    std::map<std::string, Value, std::less<>> variables;
    std::ostream& out;
    std::filesystem::path script;       ///< the running script, as errors name it; empty without one
    std::vector<std::string> arguments; ///< of the script
    unsigned width = 100;               ///< characters of a printed line
    double ticked = 0;                  ///< the clock at the last tic
    std::uint64_t rounds = UINT64_MAX;  ///< rounds of loops until one is interrupted, as by Ctrl-C
    /// Shows a long text; null for printing it.
    std::function<void(const std::string&)> page;

    /// Prints a text in pieces, between which Ctrl-C is heard.
    void print(std::string_view text) const
    {
        constexpr std::size_t kPiece = 1U << 14;
        for (std::size_t at = 0; at < text.size(); at += kPiece) {
            pollInterrupt();
            out << text.substr(at, kPiece);
        }
    }
};

} // namespace kxsh

#endif
