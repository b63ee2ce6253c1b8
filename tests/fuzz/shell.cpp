// Any text as what is typed into the shell, line by line: every line is carried out or ends with an error that leaves
// the variables as they were; variables stay sound, and nothing leaks. A line "#fail N" makes the N-th allocation of
// what follows it fail, and loops end after some rounds. Texts that name a function of files are passed over, so that
// none can be touched.
#include "functions.hpp"
#include "parser.hpp"
#include "runner.hpp"
#include "shell/variables.hpp"
#include "target.hpp"

#include <algorithm>
#include <functional>
#include <memory>
#include <sstream>

using namespace zqsp::test;
using kxsh::test::Variables;

namespace {

bool namesFiles(std::string_view text)
{
    return std::ranges::any_of(kxsh::fileFunctions, [&](const kxsh::Function& function) {
        return text.find(function.name) != std::string_view::npos;
    });
}

bool storesZero(const kxsh::Value& sparse)
{
    const Model model = fromArray(sparse.get());
    return std::ranges::any_of(model.entries, [](const auto& entry) { return entry.second == 0.0; });
}

/// Whether an error in the text must leave all variables as they were: it is one statement without others in it.
bool isOneStatement(const std::string& text)
{
    try {
        const kxsh::Block block = kxsh::parse(text);
        return block.size() == 1 && !std::holds_alternative<kxsh::IfStatement>(block.front().action) &&
               !std::holds_alternative<kxsh::LoopStatement>(block.front().action);
    } catch (const std::exception&) {
        return false; // nothing of it is carried out then; the variables are looked at all the same
    }
}

/// The lines of a text, and between them the checks of what the last one did.
class CheckedLines
{
  public:
    CheckedLines(std::string_view text, const kxsh::Session& session, std::ostringstream& errors)
        : rest_(text), session_(session), errors_(errors), before_(std::make_unique<Variables>(session))
    {
    }

    kxsh::LineEvent operator()(std::string& line, bool continued)
    {
        kxrt::fail_allocation_after(-1);
        if (!continued) {
            check();
            typed_.clear();
            before_ = std::make_unique<Variables>(session_);
        }
        if (rest_.empty()) {
            return kxsh::LineEvent::kEnd;
        }
        const std::size_t length = std::min(rest_.find('\n'), rest_.size());
        line = rest_.substr(0, length);
        rest_.remove_prefix(std::min(length + 1, rest_.size()));
        typed_ += line + '\n';
        if (line.starts_with("#fail ")) {
            failing_ = std::strtol(line.c_str() + 6, nullptr, 10) % 256;
        } else if (failing_ > 0) {
            kxrt::fail_allocation_after(std::exchange(failing_, -1));
        }
        return kxsh::LineEvent::kLine;
    }

    /// To be called once more when the lines have ended.
    void check() const
    {
        const std::string error = errors_.str();
        errors_.str({});
        for (const auto& [name, value] : session_.variables) {
            if (value.isSparse()) {
                expectNone(kxCheckSparse(value.get()));
                expectNone(storesZero(value) ? name + " stores a zero" : "");
            }
        }
        if (!error.empty()) {
            expectNone(error.find("(kxsh:internal)\n  at line ") == std::string::npos ? "" : error);
            expectNone(isOneStatement(typed_) ? before_->changes() : "");
        }
    }

  private:
    std::string_view rest_;
    const kxsh::Session& session_;
    std::ostringstream& errors_;
    std::unique_ptr<Variables> before_;
    std::string typed_;
    long failing_ = -1;
};

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    if (namesFiles(text)) {
        return -1;
    }
    const FuzzLimits limits;
    const LeakCheck leaks;
    {
        std::ostringstream out;
        std::ostringstream errors;
        kxsh::Session session(out);
        session.rounds = 50;
        CheckedLines lines(text, session, errors);
        kxsh::Runner(session, errors).runLines(std::ref(lines));
        kxrt::fail_allocation_after(-1);
        lines.check();
    }
    expectNone(leaks.complaint());
    return 0;
}
