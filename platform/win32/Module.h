#pragma once

#include <windows.h>

#include <string>

namespace cronvel {

/// The program or library that this code is linked into.
HMODULE thisModule();
/// The same with a reference of its own, to be given back with FreeLibrary.
HMODULE keepThisModule();
/// The system's text for one of its error numbers, without an end of line.
std::string systemErrorText(DWORD error);

/// Texts of the system are UTF-16 as well; only their type differs.
std::wstring wide(const std::string& utf8);
inline const wchar_t* wide(const std::u16string& text) {
  return reinterpret_cast<const wchar_t*>(text.c_str());
}
std::string utf8(const wchar_t* text);

}  // namespace cronvel
