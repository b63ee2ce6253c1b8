// A session of the shell within a test, with what it prints.
#ifndef KXSH_TESTS_TEST_SHELL_HPP
#define KXSH_TESTS_TEST_SHELL_HPP

#include "operators.hpp"
#include "runner.hpp"

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include <unistd.h>

namespace kxsh::test {

class TestShell
{
  public:
    /// Carries out statements; returns what they print.
    std::string operator()(std::string_view statements)
    {
        out_.str({});
        errors_.str({});
        outcome_ = runner_.run(statements);
        return out_.str();
    }

    [[nodiscard]] Runner::Outcome outcome() const { return outcome_; }
    [[nodiscard]] std::string errors() const { return errors_.str(); }
    /// The identifier that the last error shows in parentheses; empty without an error.
    [[nodiscard]] std::string identifier() const
    {
        const std::string line = errors().substr(0, errors().find('\n'));
        const std::size_t open = line.rfind('(');
        return open == std::string::npos ? "" : line.substr(open + 1, line.size() - open - 2);
    }
    [[nodiscard]] Session& session() { return session_; }
    Value& operator[](const std::string& name) { return session_.variables.at(name); }

  private:
    std::ostringstream out_;
    std::ostringstream errors_;
    Session session_{out_};
    Runner runner_{session_, errors_};
    Runner::Outcome outcome_ = Runner::Outcome::kDone;
};

inline std::string contentOf(const std::string& path)
{
    std::ostringstream content;
    content << std::ifstream(path).rdbuf();
    return content.str();
}

/// A folder of its own for the running test, removed at its end.
class TestFolder
{
  public:
    TestFolder() : path_(std::filesystem::temp_directory_path() / ("kxsh-test-" + std::to_string(::getpid())))
    {
        std::filesystem::create_directories(path_);
    }
    ~TestFolder() { std::filesystem::remove_all(path_); }
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;

    [[nodiscard]] std::string operator/(std::string_view name) const { return (path_ / name).string(); }
    /// Writes a file and gives its path.
    std::string file(std::string_view name, std::string_view content) const
    {
        std::ofstream(path_ / name, std::ios::binary) << content;
        return *this / name;
    }

  private:
    std::filesystem::path path_;
};

} // namespace kxsh::test

#endif
