#pragma once

#include <string>
#include <string_view>

namespace cronvel {

/// Between the interface's UTF-16 and the outside world's UTF-8. What is malformed becomes U+FFFD.
std::string toUtf8(std::u16string_view text);
std::u16string toUtf16(std::string_view text);

}  // namespace cronvel
