#include "host/PropertyBagFile.h"

#include <algorithm>
#include <array>

#include "runtime/Conversion.h"
#include "runtime/File.h"
#include "runtime/RunTimeError.h"
#include "runtime/Text.h"
#include "runtime/TextOutput.h"

namespace cronvel {
namespace {

std::string readWhole(const std::filesystem::path& path) {
  File file(path, File::Access::read);
  std::string text;
  std::array<std::uint8_t, 4096> block{};
  while (const std::size_t count = file.read(block))
    text.append(reinterpret_cast<const char*>(block.data()), count);
  return text;
}

std::string quoted(const std::u16string& text) {
  std::string out = "\"";
  for (const char c : toUtf8(text)) {
    if (c == '\n') {
      out += "\\n";
    } else if (c == '\r') {
      out += "\\r";
    } else {
      if (c == '"' || c == '\\') out += '\\';
      out += c;
    }
  }
  return out + "\"";
}

/// The inverse of `quoted`; nothing where the closing quote is missing.
bool unquote(std::string_view quotedText, std::u16string& text) {
  if (quotedText.size() < 2 || quotedText.back() != '"') return false;
  std::string out;
  const std::string_view inner = quotedText.substr(1, quotedText.size() - 2);
  for (std::size_t i = 0; i < inner.size(); ++i) {
    const bool escaped = inner[i] == '\\' && i + 1 < inner.size();
    const char c = escaped ? inner[++i] : inner[i];
    out += escaped && c == 'n' ? '\n' : escaped && c == 'r' ? '\r' : c;
  }
  text = toUtf16(out);
  return true;
}

std::string printed(const Variant& value) {
  if (const auto* text = std::get_if<std::u16string>(&value)) return quoted(*text);
  return toUtf8(std::get<std::u16string>(convertLike(value, std::u16string())));
}

}  // namespace

PropertyBagFile PropertyBagFile::load(const std::filesystem::path& path) {
  PropertyBagFile bag;
  const std::string text = readWhole(path);
  std::size_t number = 0;
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t end = std::min(text.find('\n', start), text.size());
    std::string_view line = std::string_view(text).substr(start, end - start);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    bag.parseLine(line, "line " + std::to_string(++number) + " of " + pathText(path));
    start = end + 1;
  }
  return bag;
}

void PropertyBagFile::parseLine(std::string_view line, const std::string& where) {
  if (line.empty() || line.front() == '#') return;
  const std::size_t equals = line.find('=');
  if (equals == std::string_view::npos)
    throw RunTimeError(ErrorNumber::typeMismatch,
                       where + " is \"" + std::string(line) + "\", not of the form Key=value");
  const std::string_view value = line.substr(equals + 1);
  std::u16string text = toUtf16(value);
  if (!value.empty() && value.front() == '"' && !unquote(value, text))
    throw RunTimeError(ErrorNumber::typeMismatch, where + " has no closing quote");
  WriteProperty(line.substr(0, equals), text, {});
}

void PropertyBagFile::save(const std::filesystem::path& path) const {
  TextOutput file(path);
  for (const std::string& key : mOrder) file.printLine(key, "=", printed(mValues.at(key)));
  file.close();
}

Variant PropertyBagFile::ReadProperty(std::string_view key, const Variant& defaultValue) {
  const auto found = mValues.find(key);
  if (found == mValues.end()) return defaultValue;
  try {
    return convertLike(found->second, defaultValue);
  } catch (const RunTimeError& error) {
    throw RunTimeError(error.number(), "the setting " + std::string(key) + " has the value " +
                                           printed(found->second));
  }
}

void PropertyBagFile::WriteProperty(std::string_view key, const Variant& value,
                                    const Variant& defaultValue) {
  if (value == defaultValue) return;
  if (mValues.insert_or_assign(std::string(key), value).second) mOrder.emplace_back(key);
}

}  // namespace cronvel
