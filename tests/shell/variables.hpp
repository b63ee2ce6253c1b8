// Copies of the variables of a session, to be compared byte for byte.
#ifndef KXSH_TESTS_VARIABLES_HPP
#define KXSH_TESTS_VARIABLES_HPP

#include "session.hpp"
#include "support/checks.hpp"

#include <map>
#include <string>

namespace kxsh::test {

class Variables
{
  public:
    explicit Variables(const Session& session) : session_(session)
    {
        for (const auto& [name, value] : session.variables) {
            snapshots_.emplace(name, value.get());
        }
    }

    /// What differs now, or "".
    [[nodiscard]] std::string changes() const
    {
        std::string found = snapshots_.size() == session_.variables.size() ? "" : "other variables; ";
        for (const auto& [name, snapshot] : snapshots_) {
            const std::string parts = snapshot.changes();
            found += parts.empty() ? "" : name + ": " + parts + "; ";
        }
        return found;
    }

  private:
    const Session& session_;
    std::map<std::string, zqsp::test::Snapshot> snapshots_;
};

} // namespace kxsh::test

#endif
