// Conversions between the UTF-16 text of the client's platform and the UTF-8
// text the engine works in.
#pragma once

#include <string>

// UCS-2LE to UTF-8. Empty on failure (surrogate units are not UCS-2).
std::string utf16ToUtf8(const std::u16string& text);

// UTF-8 to UTF-16; the input ends at its first zero byte.
std::u16string utf8ToUtf16(const std::string& text);
