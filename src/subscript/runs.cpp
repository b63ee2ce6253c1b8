#include "subscript/runs.hpp"

namespace zqsp {

std::span<const Run> RunWalk::next()
{
    const std::size_t count = std::visit([this](const auto& form) { return fill(form); }, subscript_);
    return {buffer_.data(), count};
}

std::size_t RunWalk::fill(const IndexRange& range)
{
    std::size_t count = 0;
    if (range.isRun()) {
        if (position_ == 0) {
            buffer_[count++] = {range.first, range.size};
            position_ = range.size;
        }
        return count;
    }
    unsigned index = range.first + position_ * static_cast<unsigned>(range.stride);
    for (; count < kBuffer && position_ < range.size; ++position_, index += static_cast<unsigned>(range.stride)) {
        buffer_[count++] = {index, 1};
    }
    return count;
}

std::size_t RunWalk::fill(const IndexList& list)
{
    std::size_t count = 0;
    const unsigned end = list.count();
    while (count < kBuffer && position_ < end) {
        const unsigned first = list[position_];
        unsigned length = 1;
        while (position_ + length < end && list[position_ + length] == first + length) {
            ++length;
        }
        buffer_[count++] = {first, length};
        position_ += length;
    }
    return count;
}

std::size_t RunWalk::fill(const LogicalMask& mask)
{
    std::size_t count = 0;
    while (count < kBuffer) {
        const unsigned first = nextTrue(mask.values, position_, mask.length);
        if (first == mask.length) {
            position_ = first;
            break;
        }
        position_ = nextFalse(mask.values, first + 1, mask.length);
        buffer_[count++] = {first, position_ - first};
    }
    return count;
}

std::size_t RunWalk::fill(const SparseLogicalMask& mask)
{
    std::size_t count = 0;
    const unsigned end = mask.count();
    while (position_ < end) {
        while (mask.jc[maskColumn_ + 1] <= position_) {
            ++maskColumn_;
        }
        const unsigned index = maskColumn_ * mask.m + mask.ir[position_];
        if (count > 0 && buffer_[count - 1].first + buffer_[count - 1].length == index) {
            ++buffer_[count - 1].length;
        } else if (count < kBuffer) {
            buffer_[count++] = {index, 1};
        } else {
            break;
        }
        ++position_;
    }
    return count;
}

} // namespace zqsp
