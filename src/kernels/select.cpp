#include "kernels/plain_loops.hpp"
#include "kernels/portable.hpp"
#include "kernels/select_loop.hpp"

namespace zqsp::portable {

unsigned countSelected(const unsigned* rows, unsigned count, const RowChoice& choice)
{
    return std::visit([=](auto known) { return countLoop(rows, count, known); }, choice);
}

unsigned moveSelected(const Entries& from, const unsigned* jc, unsigned columns, const RowChoice& choice,
                      const Entries& to, unsigned at, unsigned* ends)
{
    return std::visit([&](auto known) { return selectColumns(from, jc, columns, known, to, at, ends); }, choice);
}

unsigned closeUp(const Entries& entries, unsigned begin, unsigned end, DeletedList& deleted, unsigned kept)
{
    DeletedList own = deleted; // in registers
    kept = withMoves(entries, entries, [&, ir = entries.ir](auto from, auto to) {
        return selectEntries(ir, from, begin, end, Others<DeletedList>{own}, true, ir, to, kept);
    });
    deleted.passed = own.passed;
    return kept;
}

} // namespace zqsp::portable
