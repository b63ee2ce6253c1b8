// Owners of what C libraries give.
#ifndef KXSH_FREED_BY_HPP
#define KXSH_FREED_BY_HPP

#include <memory>

namespace kxsh {

/// Deleter that calls a function of the library.
template <auto Free>
struct FreedBy
{
    template <typename T>
    void operator()(T* object) const noexcept
    {
        static_cast<void>(Free(object));
    }
};

template <typename T, auto Free>
using Owned = std::unique_ptr<T, FreedBy<Free>>;

} // namespace kxsh

#endif
