#include "platform/win32/Module.h"

#include <array>

#include "runtime/Text.h"

namespace cronvel {

namespace {
HMODULE moduleOf(DWORD flags) {
  HMODULE module = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | flags,
                     reinterpret_cast<LPCWSTR>(&moduleOf), &module);
  return module;
}
}  // namespace

HMODULE thisModule() { return moduleOf(GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT); }
HMODULE keepThisModule() { return moduleOf(0); }

std::string systemErrorText(DWORD error) {
  std::array<wchar_t, 512> text{};
  const DWORD length =
      FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error, 0,
                     text.data(), static_cast<DWORD>(text.size()), nullptr);
  std::wstring found(text.data(), length);
  while (!found.empty() && (found.back() <= L' ' || found.back() == L'.')) found.pop_back();
  if (found.empty()) return "system error " + std::to_string(error);
  return utf8(found.c_str());
}

std::wstring wide(const std::string& utf8) {
  const std::u16string text = toUtf16(utf8);
  return {text.begin(), text.end()};
}

std::string utf8(const wchar_t* text) {
  std::u16string copy;
  for (; *text != L'\0'; ++text) copy += static_cast<char16_t>(*text);
  return toUtf8(copy);
}

}  // namespace cronvel
