// What statements act on, and what functions may see of it.
#ifndef KXSH_SESSION_HPP
#define KXSH_SESSION_HPP

#include "value.hpp"

#include <filesystem>
#include <functional>
#include <map>
#include <ostream>
#include <string>

namespace kxsh {

struct Session
{
    explicit Session(std::ostream& output) : out(output) {}

    std::map<std::string, Value, std::less<>> variables;
    std::ostream& out;
    std::filesystem::path scriptFolder; ///< where mmread also looks; empty without a script
    unsigned width = 100;               ///< characters of a printed line
};

} // namespace kxsh

#endif
