#include "core/errors.hpp"

#include "core/runtime.hpp"

#include <fl_except.hpp>
#include <zqspmatrix.h>

namespace zqsp {

namespace messages = ZENTAR::legacy_two_part;

namespace {

/// Raises the runtime's error for the message that `Tag` names; should the runtime leave that to us, throws the
/// exception of that message by its own class.
template <typename Tag>
[[noreturn]] void raiseMessage()
{
    const fl::except::Exception<Tag, std::exception> error(fl::except::MessageId(Tag::group, Tag::key));
    do_legacy_kx_error(error);
    error.rethrow();
}

} // namespace

void raiseMaxSize()
{
    raiseMessage<messages::pmaxsize>();
}

void raiseOutOfMemory()
{
    throw fl::except::detail::legacy(fl::except::bad_alloc());
}

void raiseColonCountMismatch()
{
    raiseMessage<messages::colon_index_assign_element_count_mismatch>();
}

void raiseTooLargeForLinearIndex()
{
    raiseMessage<ZENTAR::sparse::tooLargeForLinearIndex>();
}

} // namespace zqsp

void kxHandleSparseSubscriptError(spStatus status)
{
    using namespace zqsp;
    switch (status) {
    case spIndexBelowOne:
    case spIndexNotPositiveInteger:
        return kxHandleSubscriptError(kxSUBSCRIPT_NOT_POSITIVE_INTEGER);
    case spIndexOutOfRange:
        return kxHandleSubscriptError(kxSUBSCRIPT_OUT_OF_RANGE);
    case spIndexAssignCountMismatch:
        raiseMessage<messages::index_assign_element_count_mismatch>();
    case spCannotResize:
        raiseMessage<messages::indexed_matrix_cannot_be_resized>();
    case spIndexToRemoveOutOfRange:
        raiseMessage<messages::index_to_remove_exceeds_matrix_dimensions>();
    case spEmptyAssignDisallowed:
        raiseMessage<messages::disallowed_indexed_empty_matrix_assignment>();
    case spCannotResizeToRowVector:
        raiseMessage<messages::indexed_matrix_cannot_be_resized_to_row_vector>();
    case spAssignDimMismatch:
        raiseMessage<messages::subsassigndimmismatch>();
    case spIndexExceedsMaxSize:
        raiseMessage<messages::pmaxsize>();
    case spOK:
        return;
    }
    // Any other value is no status of ours; nothing is raised for it.
}
