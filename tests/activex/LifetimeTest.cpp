#include <iostream>

#include "tests/activex/Host.h"

namespace cronvel::activex::test {
namespace {

class LifetimeTest : public ControlTest {};

/// What a process can run out of.
struct Usage {
  DWORD handles = 0;
  DWORD windows = 0;
  SIZE_T memory = 0;
};

DWORD ownWindows() {
  DWORD count = 0;
  for (HWND parent : {HWND_MESSAGE, HWND{nullptr}})
    for (HWND window = nullptr;
         (window = FindWindowExW(parent, window, nullptr, nullptr)) != nullptr;) {
      DWORD process = 0;
      GetWindowThreadProcessId(window, &process);
      count += process == GetCurrentProcessId();
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

TEST_F(LifetimeTest, AThousandControlsLeaveNothingBehind) {
  control.Reset();
  TestSink sink;
  TestSite site;
  const auto cycle = [&] {
    control = create();
    as<IOleObject>()->SetClientSite(&site);
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
  const Usage before{handlesInUse(), ownWindows(), memoryInUse()};
  for (int i = 0; i < 1000; ++i) cycle();
  EXPECT_TRUE(pumpUntil([&] {
    return canUnload() && handlesInUse() <= before.handles + 5 && ownWindows() <= before.windows;
  }));
  const SIZE_T memory = memoryInUse();
  EXPECT_LE(memory, before.memory + (1 << 20));
  std::cout << "after 1000 controls: handles " << before.handles << " -> " << handlesInUse()
            << ", windows " << before.windows << " -> " << ownWindows() << ", memory "
            << before.memory / 1024 << " -> " << memory / 1024 << " KiB\n";
}

}  // namespace
}  // namespace cronvel::activex::test
