#include "platform/Console.h"

#include <io.h>
#include <windows.h>
// Needs what <windows.h> declares.
#include <shellapi.h>

#include <memory>

#include "runtime/Text.h"

namespace cronvel {

bool isTerminal(int standardStream) { return _isatty(standardStream) != 0; }

// There is neither limit.
void reportFileSizeLimit() {}
void raiseOpenFileLimit() {}

std::vector<std::string> programArguments(int argc, char** argv) {
  const auto release = [](wchar_t** words) { LocalFree(words); };
  int count = 0;
  const std::unique_ptr<wchar_t*, decltype(release)> words(
      CommandLineToArgvW(GetCommandLineW(), &count), release);
  if (words == nullptr) return {argv + 1, argv + argc};
  std::vector<std::string> arguments;
  for (int i = 1; i < count; ++i) {
    const std::wstring_view word = words.get()[i];
    arguments.push_back(toUtf8(std::u16string(word.begin(), word.end())));
  }
  return arguments;
}

Utf8Console::Utf8Console() : mEarlier(GetConsoleOutputCP()) { SetConsoleOutputCP(CP_UTF8); }

Utf8Console::~Utf8Console() {
  if (mEarlier != 0) SetConsoleOutputCP(mEarlier);
}

}  // namespace cronvel
