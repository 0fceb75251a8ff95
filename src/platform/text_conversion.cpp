#include "platform/text_conversion.h"

#include <iconv.h>

#include <cstring>
#include <vector>

namespace {

// An iconv descriptor that closes itself.
class IconvHandle {
  public:
    IconvHandle(const char* to, const char* from) : handle_(iconv_open(to, from)) {}
    ~IconvHandle() {
        if (valid()) {
            iconv_close(handle_);
        }
    }
    IconvHandle(const IconvHandle&) = delete;
    IconvHandle& operator=(const IconvHandle&) = delete;
    bool valid() const { return handle_ != reinterpret_cast<iconv_t>(-1); }
    iconv_t get() const { return handle_; }

  private:
    iconv_t handle_;
};

}  // namespace

std::string utf16ToUtf8(const std::u16string& text) {
    IconvHandle converter("utf-8", "UCS-2LE");
    if (!converter.valid() || text.empty()) {
        return std::string();
    }
    std::vector<char> input(text.size() * 2);
    for (size_t i = 0; i < text.size(); ++i) {
        input[2 * i] = static_cast<char>(text[i] & 0xFF);
        input[2 * i + 1] = static_cast<char>((text[i] >> 8) & 0xFF);
    }
    std::vector<char> output(4 * text.size() + 1, 0);
    char* in = input.data();
    size_t inLeft = input.size();
    char* out = output.data();
    size_t outLeft = output.size() - 1;
    if (iconv(converter.get(), &in, &inLeft, &out, &outLeft) == static_cast<size_t>(-1)) {
        return std::string();
    }
    return std::string(output.data());
}

std::u16string utf8ToUtf16(const std::string& text) {
    std::string input(text.c_str());  // the text ends at its first zero byte
    if (input.empty()) {
        return std::u16string();
    }
    IconvHandle converter("UTF-16LE", "UTF-8");
    if (!converter.valid()) {
        return std::u16string();
    }
    std::vector<char> output(input.size() * 4 + 4, 0);
    char* in = &input[0];
    size_t inLeft = input.size();
    char* out = output.data();
    size_t outLeft = output.size();
    // Invalid sequences end the conversion; what was converted is kept, as a
    // lenient decoder would.
    iconv(converter.get(), &in, &inLeft, &out, &outLeft);
    size_t produced = (output.size() - outLeft) / 2;
    std::u16string result(produced, u'\0');
    for (size_t i = 0; i < produced; ++i) {
        result[i] = static_cast<char16_t>(static_cast<unsigned char>(output[2 * i]) |
                                          (static_cast<unsigned char>(output[2 * i + 1]) << 8));
    }
    return result;
}
