#include "dump.hpp"

#include "operations.hpp"

#include <filesystem>
#include <fstream>
#include <set>
#include <stdexcept>

namespace zqsp::bench {

namespace {

class Folder
{
  public:
    explicit Folder(std::filesystem::path path) : path_(std::move(path)) { std::filesystem::create_directories(path_); }

    [[nodiscard]] std::ofstream open(const std::string& name) const
    {
        std::ofstream file(path_ / name, std::ios::binary);
        if (!file) {
            throw std::runtime_error("cannot write " + (path_ / name).string());
        }
        return file;
    }

    template <typename T>
    void write(const std::string& name, const std::vector<T>& items) const
    {
        open(name).write(reinterpret_cast<const char*>(items.data()),
                         static_cast<std::streamsize>(items.size() * sizeof(T)));
    }

    void write(const std::string& name, const Matrix& matrix) const
    {
        write(name + ".jc", matrix.jc);
        write(name + ".ir", matrix.ir);
        write(name + ".re", matrix.re);
        if (!matrix.im.empty()) {
            write(name + ".im", matrix.im);
        }
    }

  private:
    std::filesystem::path path_;
};

const char* nameOf(Kind kind)
{
    static const char* const names[] = {"whole",      "columns",      "rows",       "region",  "linear",
                                        "reads",      "lists",        "runs",       "reshape", "deleteColumns",
                                        "deleteRows", "deleteLinear", "setColumns", "setRows", "setRegion",
                                        "setLinear",  "writes"};
    return names[static_cast<int>(kind)];
}

const char* nameOf(RightSide::Form form)
{
    static const char* const names[] = {"none", "scalar", "zero", "sparse", "sparse", "full"};
    return names[static_cast<int>(form)];
}

/// How many times the copy an operation may take.
int copiesAllowed(const Operation& operation)
{
    return operation.permutes ? 10 : 4;
}

/// A mask is handed over as one.
const char* nameOf(const Subscript& subscript)
{
    return subscript.form == Subscript::Form::colon  ? "colon"
           : subscript.form == Subscript::Form::mask ? "mask"
           : subscript.isRun()                       ? "run"
                                                     : "list";
}

} // namespace

void dumpRows(const std::string& folder, const std::regex& filter)
{
    const Folder out(folder);
    std::ofstream lines = out.open("rows.tsv");
    std::set<std::string> written;
    unsigned number = 0;
    for (const Row& row : allRows()) {
        if (!std::regex_search(row.name() + "/scipy", filter)) {
            continue;
        }
        const Problem problem(row);
        const std::string matrix = row.name().substr(0, row.name().find('/'));
        const std::string files = "row" + std::to_string(number++);
        if (written.insert(matrix).second) {
            out.write(matrix, problem.A);
        }
        out.write(files + ".I", problem.I.values);
        out.write(files + ".J", problem.J.values);
        out.write(files + ".B", problem.B.sparse);
        lines << row.name() << '\t' << nameOf(row.operation->kind) << '\t' << matrix << '\t' << problem.A.m << '\t'
              << problem.A.n << '\t' << static_cast<int>(row.values) << '\t' << files << '\t' << nameOf(problem.I)
              << '\t' << nameOf(problem.J) << '\t' << nameOf(problem.B.form) << '\t' << problem.B.m << '\t'
              << problem.B.n << '\t' << copiesAllowed(*row.operation) << '\t' << row.operation->label << '\n';
    }
}

} // namespace zqsp::bench
