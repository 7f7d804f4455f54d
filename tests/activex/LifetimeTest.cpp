#include <windows.h>

#include <tlhelp32.h>

#include "tests/activex/Host.h"

namespace cronvel::activex::test {
namespace {

class LifetimeTest : public ControlTest {};

/// What a process can run out of.
struct Usage {
  DWORD handles = 0;
  DWORD windows = 0;
  DWORD threads = 0;
  SIZE_T memory = 0;
};

DWORD ownWindows() {
  DWORD count = 0;
  for (HWND parent : {HWND_MESSAGE, HWND{nullptr}}) {
    HWND window = nullptr;
    while ((window = FindWindowExW(parent, window, nullptr, nullptr)) != nullptr) {
      DWORD process = 0;
      GetWindowThreadProcessId(window, &process);
      if (process == GetCurrentProcessId()) ++count;
    }
  }
  return count;
}

/// Wine counts no handles; there the number of the next free one tells how many are in use.
DWORD handlesInUse() {
  DWORD count = 0;
  GetProcessHandleCount(GetCurrentProcess(), &count);
  if (count != 0) return count;
  HANDLE next = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  CloseHandle(next);
  return static_cast<DWORD>(reinterpret_cast<ULONG_PTR>(next) / 4);
}

/// What the process has committed for itself.
SIZE_T memoryInUse() {
  SIZE_T sum = 0;
  MEMORY_BASIC_INFORMATION region{};
  for (const char* at = nullptr; VirtualQuery(at, &region, sizeof region) == sizeof region;
       at = static_cast<const char*>(region.BaseAddress) + region.RegionSize)
    if (region.State == MEM_COMMIT && region.Type == MEM_PRIVATE) sum += region.RegionSize;
  return sum;
}

Usage usage() {
  Usage now;
  now.handles = handlesInUse();
  now.windows = ownWindows();
  HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
  THREADENTRY32 thread{};
  thread.dwSize = sizeof thread;
  for (BOOL more = Thread32First(snapshot, &thread); more; more = Thread32Next(snapshot, &thread))
    if (thread.th32OwnerProcessID == GetCurrentProcessId()) ++now.threads;
  CloseHandle(snapshot);
  now.memory = memoryInUse();
  return now;
}

TEST_F(LifetimeTest, AThousandControlsLeaveNothingBehind) {
  control.Reset();
  TestSink sink;
  TestSite site;
  const auto cycle = [&] {
    control = create();
    as<IOleObject>()->SetClientSite(&site);
    as<IPersistStreamInit>()->InitNew();
    const auto point = pointOf(control.Get(), DIID___Cronvel);
    DWORD cookie = 0;
    point->Advise(&sink, &cookie);
    put(L"WinSockLocalPort", 0);
    call(L"SetWinSockTCPMode", {0});
    EXPECT_EQ(call(L"WinSockListen", {0}).result, S_OK);
    EXPECT_EQ(put(L"CommPort", 0).number, 8002);
    point->Unadvise(cookie);
    as<IOleObject>()->SetClientSite(nullptr);
    control.Reset();
  };
  for (int i = 0; i < 100; ++i) cycle();
  const Usage before = usage();
  for (int i = 0; i < 1000; ++i) cycle();
  pumpFor(50);
  const Usage after = usage();
  EXPECT_LE(after.handles, before.handles + 5);
  EXPECT_LE(after.windows, before.windows);
  EXPECT_LE(after.threads, before.threads);
  EXPECT_LE(after.memory, before.memory + (1 << 20));
  std::cout << "after 1000 controls: handles " << before.handles << " -> " << after.handles
            << ", windows " << before.windows << " -> " << after.windows << ", threads "
            << before.threads << " -> " << after.threads << ", memory " << before.memory / 1024
            << " -> " << after.memory / 1024 << " KiB\n";
  EXPECT_TRUE(canUnload());
}

TEST_F(LifetimeTest, TheModuleLoadsAndUnloadsAgainAndAgain) {
  control.Reset();
  const wchar_t* path = _wgetenv(L"CRONVEL_OCX");
  FreeLibrary(module);
  for (int i = 0; i < 20; ++i) {
    ASSERT_EQ(GetModuleHandleW(L"Cronvel.ocx"), nullptr);
    module = LoadLibraryW(path);
    control = create();
    EXPECT_EQ(put(L"DeviceNum", 12).result, S_OK);
    EXPECT_FALSE(canUnload());
    control.Reset();
    EXPECT_TRUE(canUnload());
    FreeLibrary(module);
  }
  module = LoadLibraryW(path);
}

TEST_F(LifetimeTest, SeveralControlsLiveSideBySide) {
  const ComPtr<IUnknown> other = create();
  put(L"CommPort", 5);
  std::swap(const_cast<ComPtr<IUnknown>&>(other), control);
  EXPECT_EQ(text(L"CommPort"), L"1");
  std::swap(const_cast<ComPtr<IUnknown>&>(other), control);
  EXPECT_EQ(text(L"CommPort"), L"5");
}

}  // namespace
}  // namespace cronvel::activex::test
