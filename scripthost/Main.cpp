// cronvel-script [--timeout SECONDS] FILE.vbs [ARGUMENT...]
//
// Runs a VBScript file with events, for automation controls; what the script can use beside the
// language is said in WScriptObject.h. The file is UTF-8, or UTF-16 with a byte order mark.

#include <windows.h>

#include <ole2.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "scripthost/ScriptHost.h"
#include "scripthost/ScriptObject.h"

namespace {

using namespace cronvel::scripthost;

constexpr int cUsageExit = 64;
constexpr int cNoInputExit = 66;
constexpr int cNoEngineExit = 70;
constexpr UINT cTimeoutExit = 124;

constexpr const wchar_t* cUsage =
    L"usage: cronvel-script [--timeout SECONDS] FILE.vbs [ARGUMENT...]\r\n"
    L"Runs a VBScript file, with events of automation objects. The exit code is the one of\r\n"
    L"WScript.Quit, or 0 at the end of the file, 2 after an error that the script does not\r\n"
    L"handle, 64 for a wrong command line, 66 if the file cannot be read, 124 if it takes\r\n"
    L"longer than SECONDS.\r\n";

/// Nothing if it is neither UTF-8 nor marked UTF-16.
std::optional<std::wstring> decode(const std::string& bytes) {
  const bool little = bytes.starts_with("\xFF\xFE");
  if (little || bytes.starts_with("\xFE\xFF")) {
    std::wstring text;
    for (std::size_t i = 2; i + 1 < bytes.size(); i += 2) {
      const auto low = static_cast<unsigned char>(bytes[little ? i : i + 1]);
      const auto high = static_cast<unsigned char>(bytes[little ? i + 1 : i]);
      text += static_cast<wchar_t>(high << 8 | low);
    }
    return text;
  }
  const std::string_view body =
      std::string_view(bytes).substr(bytes.starts_with("\xEF\xBB\xBF") ? 3 : 0);
  if (body.empty()) return std::wstring();
  const int length = static_cast<int>(body.size());
  const int size =
      MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, body.data(), length, nullptr, 0);
  if (size == 0) return std::nullopt;
  std::wstring text(static_cast<std::size_t>(size), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, body.data(), length, text.data(), size);
  return text;
}

/// Ends the process when the time is over, whatever the script is doing.
void startWatchdog(std::chrono::duration<double> time, const std::wstring& name) {
  std::thread([time, name] {
    std::this_thread::sleep_for(time);
    writeLine(STD_ERROR_HANDLE, name + L": not done in time, ended");
    TerminateProcess(GetCurrentProcess(), cTimeoutExit);
  }).detach();
}

int failUsage() {
  write(STD_ERROR_HANDLE, cUsage);
  return cUsageExit;
}

}  // namespace

int wmain(int count, wchar_t** values) {
  std::vector<std::wstring> arguments(values + 1, values + count);
  double timeout = 0;
  if (!arguments.empty() && arguments[0] == L"--timeout") {
    wchar_t* end = nullptr;
    if (arguments.size() > 1) timeout = std::wcstod(arguments[1].c_str(), &end);
    // A million seconds and more, and no numbers at all, fail here too.
    if (end == nullptr || *end != L'\0' || !(timeout > 0 && timeout < 1e6)) return failUsage();
    arguments.erase(arguments.begin(), arguments.begin() + 2);
  }
  if (arguments.empty() || arguments[0].starts_with(L"-")) return failUsage();
  const std::wstring name = arguments[0];
  arguments.erase(arguments.begin());

  std::ifstream file(std::filesystem::path(name), std::ios::binary);
  const std::string bytes(std::istreambuf_iterator<char>(file), {});
  const std::optional<std::wstring> source = decode(bytes);
  if (!file || !source) {
    writeLine(STD_ERROR_HANDLE,
              name + (!file ? L": cannot be read" : L": neither UTF-8 nor UTF-16 with a mark"));
    return cNoInputExit;
  }

  if (timeout > 0) startWatchdog(std::chrono::duration<double>(timeout), name);
  if (FAILED(OleInitialize(nullptr))) return cNoEngineExit;
  int code = 0;
  {
    ScriptHost host(name, std::filesystem::absolute(name), std::move(arguments));
    code = host.run(*source);
  }
  OleUninitialize();
  return code;
}
