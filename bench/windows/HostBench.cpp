#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include <ole2.h>
#include <wrl/client.h>

#include "CronvelOCX.h"

// What a command of the control costs in a Windows host beyond what its pauses and waits prescribe.
// Each line is a ratio within this run. Started by bench/windows/run.
//
//     cronvel-bench-windows Cronvel.ocx PORT
//
// PORT is a serial port on which nobody answers terminal 1.

namespace {

using Microsoft::WRL::ComPtr;

double now() {
  LARGE_INTEGER count{}, frequency{};
  QueryPerformanceCounter(&count);
  QueryPerformanceFrequency(&frequency);
  return static_cast<double>(count.QuadPart) / static_cast<double>(frequency.QuadPart);
}

double seconds(const FILETIME& time) {
  ULARGE_INTEGER ticks{};
  ticks.LowPart = time.dwLowDateTime;
  ticks.HighPart = time.dwHighDateTime;
  return static_cast<double>(ticks.QuadPart) * 1e-7;
}

/// Processor time of this process so far.
double processorTime() {
  FILETIME created{}, ended{}, kernel{}, user{};
  GetProcessTimes(GetCurrentProcess(), &created, &ended, &kernel, &user);
  return seconds(kernel) + seconds(user);
}

ComPtr<_Cronvel> create(const char* file) {
  HMODULE module = LoadLibraryA(file);
  using GetClassObject = HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, LPVOID*);
  const auto getClassObject = reinterpret_cast<GetClassObject>(
      reinterpret_cast<void*>(GetProcAddress(module, "DllGetClassObject")));
  ComPtr<IClassFactory> factory;
  ComPtr<_Cronvel> control;
  if (getClassObject != nullptr) getClassObject(CLSID_Cronvel, IID_PPV_ARGS(&factory));
  if (factory) factory->CreateInstance(nullptr, IID__Cronvel, &control);
  return control;
}

bool silentWait(_Cronvel& control) {
  BSTR serialLine = nullptr;
  VARIANT_BOOL accepted = VARIANT_FALSE;
  const double start = now(), used = processorTime();
  const HRESULT result = control.TestConnection(&serialLine, &accepted);
  const double elapsed = now() - start;
  std::printf("silent wait of %.1f s: %.2f %% of a core in this process\n", elapsed,
              100 * (processorTime() - used) / elapsed);
  return SUCCEEDED(result) && accepted == VARIANT_FALSE;
}

bool commandBeyondItsPauses(_Cronvel& control) {
  const char* wanted = std::getenv("CRONVEL_BENCH_COMMANDS");
  const std::size_t commands = wanted != nullptr ? std::strtoul(wanted, nullptr, 10) : 30;
  constexpr double pauses = 0.150;  // three of 50 ms
  std::vector<double> beyond;
  for (std::size_t i = 0; i < commands; ++i) {
    Sleep(50);  // the last byte of the command before is still on the wire
    const double start = now();
    if (FAILED(control.put_ReaderOn(VARIANT_TRUE))) return false;
    beyond.push_back(now() - start - pauses);
  }
  std::sort(beyond.begin(), beyond.end());
  double sum = 0;
  for (const double each : beyond) sum += each;
  std::printf("a command beyond its pauses: %.2f %% (median %.2f ms, worst %.2f ms of 150 ms)\n",
              100 * sum / static_cast<double>(commands) / pauses, 1000 * beyond[commands / 2],
              1000 * beyond.back());
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fputs("usage: cronvel-bench-windows Cronvel.ocx PORT\n", stderr);
    return 2;
  }
  OleInitialize(nullptr);
  const ComPtr<_Cronvel> control = create(argv[1]);
  if (!control || FAILED(control->put_CommPort(static_cast<SHORT>(atoi(argv[2]))))) {
    std::fprintf(stderr, "no control in %s\n", argv[1]);
    return 3;
  }
  const bool done = commandBeyondItsPauses(*control.Get()) && silentWait(*control.Get());
  std::puts(done ? "done" : "the port does not work");
  return done ? 0 : 3;
}
