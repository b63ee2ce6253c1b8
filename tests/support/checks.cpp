#include "support/checks.hpp"

#include <fl_except.hpp>

#include <gtest/gtest.h>

#include <cstring>
#include <exception>
#include <new>
#include <ostream>

namespace zqsp::test {

bool Ended::ranOutOfMemory() const
{
    return thrown == kOutOfMemoryError || thrown == "<std::bad_alloc>";
}

std::ostream& operator<<(std::ostream& out, const Ended& ended)
{
    return out << "status " << ended.status << (ended.thrown.empty() ? "" : ", thrown ") << ended.thrown;
}

namespace {

Ended thrown(const std::string& identifier)
{
    return Failure(identifier.c_str());
}

} // namespace

Ended run(const std::function<spStatus()>& call)
{
    try {
        return Failure(call());
    } catch (const kxrt::Error& error) {
        return thrown(error.identifier());
    } catch (const std::bad_alloc&) {
        return thrown("<std::bad_alloc>");
    } catch (const fl::except::IUserException& error) {
        return thrown("<" + error.error_id() + ">");
    } catch (const std::exception& error) {
        return thrown(std::string("<") + error.what() + ">");
    }
}

namespace {

std::vector<unsigned char> bytesOf(const void* block, std::size_t size)
{
    const auto* bytes = static_cast<const unsigned char*>(block);
    return bytes == nullptr ? std::vector<unsigned char>() : std::vector<unsigned char>(bytes, bytes + size);
}

} // namespace

std::vector<Snapshot::Part> Snapshot::partsOf(const kxArray* a)
{
    const unsigned* dims = a->get_dimensions();
    const void* const pointers[] = {a->pr, a->pi, a->ir, a->jc};
    const unsigned header[] = {a->class_id, a->scope, a->flags, a->ndims, a->nzmax};
    std::vector<Part> parts = {{"header", bytesOf(header, sizeof header)},
                               {"dimensions", bytesOf(dims, a->ndims * sizeof(unsigned))},
                               {"pointers", bytesOf(pointers, sizeof pointers)}};
    if ((a->flags & kxFLAG_COLON_OBJECT) != 0) {
        double values[3];
        kxGetColonObjValues(a, values);
        parts.push_back({"range", bytesOf(values, sizeof values)});
    } else if (const kxClassID id = classOf(a); id != kxUNKNOWN_CLASS) {
        const std::size_t elements = isSparse(a) ? a->nzmax : kxGetNumberOfElements(a);
        parts.push_back({"pr", bytesOf(a->pr, elements * elementSizeOf(id))});
        parts.push_back({"pi", bytesOf(a->pi, elements * elementSizeOf(id))});
        parts.push_back({"ir", bytesOf(a->ir, elements * sizeof(unsigned))});
        parts.push_back({"jc", bytesOf(a->jc, (std::size_t{kxGetN(a)} + 1) * sizeof(unsigned))});
    }
    return parts;
}

Snapshot::Snapshot(const kxArray* array) : array_(array), parts_(partsOf(array)) {}

std::string Snapshot::changes() const
{
    const std::vector<Part> now = partsOf(array_);
    std::string changed;
    if (now.size() != parts_.size()) {
        return "kind";
    }
    for (std::size_t i = 0; i < parts_.size(); ++i) {
        if (now[i].bytes != parts_[i].bytes) {
            changed += parts_[i].name + ' ';
        }
    }
    return changed;
}

std::string LeakCheck::complaint() const
{
    const auto now = static_cast<long>(kxrt::live_blocks());
    const long leaked = now - static_cast<long>(before_);
    return leaked == 0 ? "" : std::to_string(leaked) + " blocks leaked";
}

void expectFails(const std::function<spStatus()>& call, const Failure& failure,
                 const std::vector<const kxArray*>& unchanged)
{
    const std::vector<Snapshot> before(unchanged.begin(), unchanged.end());
    const LeakCheck leaks;
    EXPECT_EQ(run(call), Ended(failure));
    for (const Snapshot& snapshot : before) {
        EXPECT_EQ(snapshot.changes(), "");
    }
    EXPECT_EQ(leaks.complaint(), "");
}

} // namespace zqsp::test
