#include "timeline/text_buffer.h"

#include <algorithm>

namespace {
constexpr size_t kFirstCapacity = 64 * 1024;
}  // namespace

void TextBuffer::grow(size_t length) {
    const size_t capacity = std::max({kFirstCapacity, capacity_ * 2, size_ + length});
    std::unique_ptr<char[]> data(new char[capacity]);
    if (size_ > 0) {
        std::memcpy(data.get(), data_.get(), size_);
    }
    data_ = std::move(data);
    capacity_ = capacity;
}
