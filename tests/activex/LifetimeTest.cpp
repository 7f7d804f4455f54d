#include "tests/activex/Host.h"

namespace cronvel::activex::test {
namespace {

class LifetimeTest : public ControlTest {};

DWORD ownWindows() {
  DWORD count = 0;
  for (HWND parent : {HWND_MESSAGE, HWND{nullptr}})
    for (HWND window = nullptr;
         (window = FindWindowExW(parent, window, nullptr, nullptr)) != nullptr;)
      count += GetWindowThreadProcessId(window, nullptr) == GetCurrentThreadId();
  return count;
}

/// By the number of the next free one: Wine does not count them.
ULONG_PTR handlesInUse() {
  HANDLE next = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  CloseHandle(next);
  return reinterpret_cast<ULONG_PTR>(next) / 4;
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
    EXPECT_EQ(call(L"WinSockListen", {0}), S_OK);
    EXPECT_EQ(put(L"CommPort", 0), runTimeError(8002));
    point->Unadvise(cookie);
    as<IOleObject>()->SetClientSite(nullptr);
    control.Reset();
  };
  for (int i = 0; i < 100; ++i) cycle();
  const auto handles = handlesInUse();
  const auto windows = ownWindows();
  const auto memory = memoryInUse();
  for (int i = 0; i < 1000; ++i) cycle();
  EXPECT_TRUE(pumpUntil([&] {
    return canUnload() && handlesInUse() <= handles + 5 && ownWindows() <= windows;
  })) << "handles "
      << handles << " -> " << handlesInUse() << ", windows " << windows << " -> " << ownWindows();
  EXPECT_LE(memoryInUse(), memory + (1 << 20));
}

}  // namespace
}  // namespace cronvel::activex::test
