// A program without a window that sets a terminal's clock and downloads its records:
//
//     windowless 3 12 C:\records\march.Hex
//     windowless network:8085 12 C:\records\march.Hex
//
// The first argument is the number of the serial port, or the network port to which the terminal
// connects in. Exit code: 0 the file is whole, 1 it is not or the terminal refused, 2 wrong use,
// 3 an error.

#include <exception>

#include "Client.h"

namespace {

int download(_Cronvel& control, const Line& line, const std::wstring& device,
             const std::wstring& file) {
  check(control.put_DeviceNum(static_cast<BYTE>(std::stoi(device))));
  line.choose(control);

  Text host(line.host()), fileName(file);
  VARIANT time = now();
  VARIANT_BOOL accepted = VARIANT_FALSE;
  check(control.SetTime(host.address(), &time, &accepted));
  print(accepted ? L"the clock is set" : L"the terminal did not accept the time");
  if (!accepted) return 1;

  short result = 0;
  long records = 0, damaged = 0;
  check(control.GetData(host.address(), fileName.address(), &result));
  check(control.get_NumOfRecs(&records));
  check(control.get_DamagedRecs(&damaged));
  print(std::to_wstring(records) + L" records, " + std::to_wstring(damaged) + L" damaged");
  print(result == downloadWhole ? L"the file is whole" : L"the file is not whole");
  return result == downloadWhole ? 0 : 1;
}

/// The control lives in the thread's message loop: its timers and events come from there. The work
/// is started from it too, here once; a program that works every night would keep its timer.
int run(const Line& line, const std::wstring& device, const std::wstring& file) {
  ComPtr<_Cronvel> control;
  check(CoCreateInstance(CLSID_Cronvel, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&control)));
  const auto sink =
      EventSink::connect(control.Get(), [](const std::wstring& text) { print(L"event: " + text); });

  const UINT_PTR start = SetTimer(nullptr, 0, 200, nullptr);
  MSG message;
  while (GetMessageW(&message, nullptr, 0, 0) > 0) {
    if (message.message == WM_TIMER && message.hwnd == nullptr && message.wParam == start) {
      KillTimer(nullptr, start);
      PostQuitMessage(download(*control.Get(), line, device, file));
    } else {
      TranslateMessage(&message);
      DispatchMessageW(&message);
    }
  }
  sink->disconnect();
  return static_cast<int>(message.wParam);
}

}  // namespace

int wmain(int count, wchar_t** values) {
  if (count != 4) {
    print(L"usage: windowless PORT|network:PORT DEVICE FILE.Hex");
    return 2;
  }
  int status = 3;
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  try {
    status = run(Line(values[1]), values[2], values[3]);
  } catch (const ControlError& error) {
    print(error.message());
  } catch (const std::exception&) {
    print(L"a number is expected for the port and for the terminal");
    status = 2;
  }
  CoUninitialize();
  return status;
}
