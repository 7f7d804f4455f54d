#include "simulator/base/Text.h"

#include <array>
#include <cstdio>

namespace cronvel::simulator {

namespace {

constexpr char32_t unreadable = 0xFFFD;

/// Takes the character at the front of `text`; one byte of what is none.
char32_t takeCharacter(std::string_view& text) {
  const auto lead = static_cast<std::uint8_t>(text.front());
  text.remove_prefix(1);
  if (lead < 0x80) return lead;
  if (lead < 0xC0 || lead >= 0xF8) return unreadable;
  const std::size_t more = lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
  char32_t character = lead & (0x3FU >> more);
  for (std::size_t i = 0; i < more; ++i) {
    if (i == text.size() || (text[i] & 0xC0) != 0x80) return unreadable;
    character = character << 6 | (static_cast<std::uint8_t>(text[i]) & 0x3FU);
  }
  text.remove_prefix(more);
  return character;
}

/// The same of UTF-16.
char32_t takeCharacter(std::u16string_view& text) {
  const char32_t unit = text.front();
  text.remove_prefix(1);
  if (unit < 0xD800 || unit >= 0xE000) return unit;
  const bool pair = unit < 0xDC00 && !text.empty() && (text.front() & 0xFC00) == 0xDC00;
  if (!pair) return unreadable;
  const char32_t low = text.front() & 0x3FFU;
  text.remove_prefix(1);
  return 0x10000 + ((unit & 0x3FF) << 10) + low;
}

}  // namespace

std::string hex(std::uint8_t byte) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  return {digits[byte >> 4], digits[byte & 0x0F]};
}

std::string hexText(Payload bytes) {
  std::string text;
  for (const std::uint8_t byte : bytes) text += ' ' + hex(byte);
  return text;
}

std::string plural(std::size_t count, const std::string& what) {
  return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

std::string secondsText(double milliseconds) {
  std::array<char, 40> text{};
  std::snprintf(text.data(), text.size(), "%.1f s", milliseconds / 1000);
  return text.data();
}

std::string onOff(bool on) { return on ? "on" : "off"; }

std::string inQuotes(const std::string& text) { return '"' + text + '"'; }

std::string toUtf8(std::u16string_view text) {
  std::string utf8;
  while (!text.empty()) {
    const char32_t character = takeCharacter(text);
    const int more = character < 0x80 ? 0 : character < 0x800 ? 1 : character < 0x10000 ? 2 : 3;
    constexpr std::array leads{0x00U, 0xC0U, 0xE0U, 0xF0U};
    const auto lead = leads[static_cast<std::size_t>(more)];
    utf8 += static_cast<char>(lead | character >> (6 * more));
    for (int i = more; i-- > 0;) utf8 += static_cast<char>(0x80 | (character >> (6 * i) & 0x3F));
  }
  return utf8;
}

std::u16string toUtf16(std::string_view text) {
  std::u16string utf16;
  while (!text.empty()) {
    char32_t character = takeCharacter(text);
    if (character >= 0x10000) {
      character -= 0x10000;
      utf16 += static_cast<char16_t>(0xD800 | (character >> 10 & 0x3FF));
      character = 0xDC00 | (character & 0x3FF);
    }
    utf16 += static_cast<char16_t>(character);
  }
  return utf16;
}

}  // namespace cronvel::simulator
