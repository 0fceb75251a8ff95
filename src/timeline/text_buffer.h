// A growing run of bytes that a writer appends to in small pieces. Appending
// is inline and takes no call into the string library, which matters when a
// document is made of millions of short pieces.
#pragma once

#include <cstring>
#include <memory>
#include <string_view>

class TextBuffer {
  public:
    // Room for length more bytes at the end, which the caller fills.
    char* extend(size_t length) {
        if (capacity_ - size_ < length) {
            grow(length);
        }
        char* at = data_.get() + size_;
        size_ += length;
        return at;
    }
    void append(const char* text, size_t length) { std::memcpy(extend(length), text, length); }
    void append(std::string_view text) { append(text.data(), text.size()); }
    void append(char byte) { *extend(1) = byte; }
    // Gives back the last length bytes of an extend the caller did not fill.
    void takeBack(size_t length) { size_ -= length; }
    // Empties the buffer and keeps its room for what comes next.
    void clear() { size_ = 0; }

    size_t size() const { return size_; }
    const char* data() const { return data_.get(); }
    std::string_view view() const { return {data_.get(), size_}; }

  private:
    void grow(size_t length);

    std::unique_ptr<char[]> data_;
    size_t size_ = 0;
    size_t capacity_ = 0;
};
