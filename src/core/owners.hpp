// Scoped owners of what the runtime hands out: blocks, arrays, and conversions that may be their own argument.
#ifndef ZQSP_CORE_OWNERS_HPP
#define ZQSP_CORE_OWNERS_HPP

#include "core/runtime.hpp"

#include <cstddef>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

namespace zqsp {

struct FreeBlock
{
    void operator()(void* block) const noexcept { kxFree(block); }
};

/// Owns a block of `T` from the runtime's allocator.
template <typename T>
class Block : public std::unique_ptr<T[], FreeBlock>
{
    static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);

  public:
    Block() = default;
    explicit Block(void* adopted) noexcept : std::unique_ptr<T[], FreeBlock>(static_cast<T*>(adopted)) {}

    /// `count` uninitialised elements of a temporary; raises on exhausted memory. (Blocks that an array is to hold have
    /// their 32-bit sizes checked by whoever makes them.)
    static Block make(std::size_t count) { return Block(kxMalloc(count * sizeof(T))); }
    /// `count` zeroed elements; raises on exhausted memory.
    static Block zeroed(std::size_t count) { return Block(kxCalloc(count, sizeof(T))); }
    /// The same; empty where memory is exhausted.
    static Block zeroedOrNone(std::size_t count) { return Block(kxCallocEx(count, sizeof(T))); }

    /// Gives the block room for `count` elements; those that fit stay. Raises on exhausted memory, with the block as it
    /// was.
    void resize(std::size_t count)
    {
        Block resized(this->get() == nullptr ? kxMalloc(count * sizeof(T))
                                             : kxReallocExCheck(this->get(), count * sizeof(T)));
        static_cast<void>(this->release());
        *this = std::move(resized);
    }
};

/// For containers of the standard library whose memory is the runtime's; raises on exhausted memory.
template <typename T>
struct RuntimeAllocator
{
    using value_type = T;

    T* allocate(std::size_t count) { return static_cast<T*>(kxMalloc(count * sizeof(T))); }
    void deallocate(T* block, std::size_t /*count*/) noexcept { kxFree(block); }
    bool operator==(const RuntimeAllocator&) const = default;
};

/// A list that grows with what is found.
template <typename T>
using List = std::vector<T, RuntimeAllocator<T>>;

struct DestroyArray
{
    void operator()(kxArray* array) const noexcept { kxDestroyArray(array); }
};

/// Owns an array until it is handed out.
class ArrayOwner : public std::unique_ptr<kxArray, DestroyArray>
{
  public:
    using unique_ptr::unique_ptr;

    /// Replaces the whole content of `target`; nothing is raised.
    void moveOnto(kxArray* target) noexcept { kxMoveArrayOntoHeader(target, release()); }
};

/// The current form of an operand: the caller's own array, or a conversion of it that is owned here.
class Operand
{
  public:
    explicit Operand(const kxArray* original) noexcept : current_(original) {}

    /// Takes the next form. A conversion that gives its argument back changes nothing.
    void become(kxArray* converted)
    {
        if (converted != current_) {
            owned_ = ArrayOwner(converted);
            current_ = converted;
        }
    }

    /// The current form as an array of one's own: the conversion itself, or a copy of the caller's array.
    [[nodiscard]] ArrayOwner take() { return owned_ ? std::move(owned_) : ArrayOwner(kxCreateDeepCopy(current_)); }

    [[nodiscard]] const kxArray* get() const noexcept { return current_; }
    const kxArray* operator->() const noexcept { return current_; }

  private:
    const kxArray* current_;
    ArrayOwner owned_;
};

} // namespace zqsp

#endif
