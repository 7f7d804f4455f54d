#include "runtime/Text.h"

#include <cstddef>
#include <cstdint>

namespace cronvel {
namespace {

constexpr char32_t replacement = 0xFFFD;

void appendUtf8(std::string& out, char32_t c) {
  const auto put = [&out](char32_t byte) {
    out.push_back(static_cast<char>(static_cast<unsigned char>(byte)));
  };
  if (c < 0x80) {
    put(c);
  } else if (c < 0x800) {
    put(0xC0 | (c >> 6));
    put(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    put(0xE0 | (c >> 12));
    put(0x80 | ((c >> 6) & 0x3F));
    put(0x80 | (c & 0x3F));
  } else {
    put(0xF0 | (c >> 18));
    put(0x80 | ((c >> 12) & 0x3F));
    put(0x80 | ((c >> 6) & 0x3F));
    put(0x80 | (c & 0x3F));
  }
}

void appendUtf16(std::u16string& out, char32_t c) {
  if (c < 0x10000) {
    out.push_back(static_cast<char16_t>(c));
    return;
  }
  c -= 0x10000;
  out.push_back(static_cast<char16_t>(0xD800 | (c >> 10)));
  out.push_back(static_cast<char16_t>(0xDC00 | (c & 0x3FF)));
}

bool isHighSurrogate(char16_t c) { return c >= 0xD800 && c < 0xDC00; }
bool isLowSurrogate(char16_t c) { return c >= 0xDC00 && c < 0xE000; }

/// Length of the sequence that a lead byte announces, 0 for a byte that cannot lead.
std::size_t sequenceLength(std::uint8_t lead) {
  if (lead < 0x80) return 1;
  if (lead >= 0xC2 && lead < 0xE0) return 2;
  if (lead >= 0xE0 && lead < 0xF0) return 3;
  if (lead >= 0xF0 && lead < 0xF5) return 4;
  return 0;
}

/// Decodes the sequence at the front of `text` and removes it; one byte of a malformed one.
char32_t takeUtf8(std::string_view& text) {
  const auto byteAt = [&text](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
  const std::size_t length = sequenceLength(byteAt(0));
  char32_t c = length == 1 ? byteAt(0) : byteAt(0) & (0xFFU >> (length + 1));
  bool good = length != 0 && length <= text.size();
  for (std::size_t i = 1; good && i < length; ++i) {
    good = (byteAt(i) & 0xC0) == 0x80;
    c = (c << 6) | (byteAt(i) & 0x3FU);
  }
  good = good && !(length == 3 && (c < 0x800 || (c >= 0xD800 && c < 0xE000))) &&
         !(length == 4 && (c < 0x10000 || c > 0x10FFFF));
  text.remove_prefix(good ? length : 1);
  return good ? c : replacement;
}

}  // namespace

std::string toUtf8(std::u16string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char16_t c = text[i];
    if (isHighSurrogate(c) && i + 1 < text.size() && isLowSurrogate(text[i + 1])) {
      const char32_t high = c - 0xD800U;
      const char32_t low = text[++i] - 0xDC00U;
      appendUtf8(out, 0x10000 + (high << 10) + low);
    } else {
      appendUtf8(out, isHighSurrogate(c) || isLowSurrogate(c) ? replacement : c);
    }
  }
  return out;
}

std::u16string toUtf16(std::string_view text) {
  std::u16string out;
  out.reserve(text.size());
  while (!text.empty()) appendUtf16(out, takeUtf8(text));
  return out;
}

}  // namespace cronvel
