#include "activex/Module.h"

#include <array>
#include <atomic>

namespace cronvel::activex::module {
namespace {

HINSTANCE moduleInstance = nullptr;
std::atomic<long> locks = 0;
std::array<std::atomic<const wchar_t*>, 4> windowClasses = {};

}  // namespace

HINSTANCE instance() { return moduleInstance; }
void setInstance(HINSTANCE instance) { moduleInstance = instance; }

std::wstring path() {
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length =
        GetModuleFileNameW(moduleInstance, path.data(), static_cast<DWORD>(path.size()));
    if (length < path.size()) {
      path.resize(length);
      return path;
    }
    path.resize(2 * path.size());
  }
}

void lock() { ++locks; }
void unlock() { --locks; }
bool locked() { return locks != 0; }

ComPtr<ITypeLib> typeLibrary() {
  ComPtr<ITypeLib> library;
  check(LoadTypeLibEx(path().c_str(), REGKIND_NONE, &library));
  return library;
}

void registerWindowClass(const wchar_t* name, WNDPROC procedure) {
  WNDCLASSEXW description{};
  description.cbSize = sizeof description;
  description.lpfnWndProc = procedure;
  description.hInstance = moduleInstance;
  description.lpszClassName = name;
  description.hCursor = LoadCursorW(nullptr, MAKEINTRESOURCEW(32512));  // the arrow
  if (RegisterClassExW(&description) == 0) return;                      // already there
  for (auto& entry : windowClasses) {
    const wchar_t* none = nullptr;
    if (entry.compare_exchange_strong(none, name)) return;
  }
}

void unregisterWindowClasses() {
  for (auto& entry : windowClasses)
    if (const wchar_t* name = entry.exchange(nullptr)) UnregisterClassW(name, moduleInstance);
}

}  // namespace cronvel::activex::module
