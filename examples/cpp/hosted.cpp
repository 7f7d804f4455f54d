// A window with the control on it, two buttons for commands, one for live events, and a list of
// what happened:
//
//     hosted 3 12
//     hosted network:8085 12
//     hosted 3 12 --run 10
//
// The first argument is the number of the serial port, or the network port to which the terminal
// connects in; live events are for the serial line. With --run the program presses its buttons by
// itself, ends after so many seconds and has printed its list. Exit code: 0, 1 a command was not
// accepted, 2 wrong use, 3 an error.

#include <deque>
#include <exception>

#include "Client.h"

namespace {

enum Id : WORD { cTest = 100, cClock, cLive };

/// The system's own container for a control, loaded when the program runs.
class AtlLibrary {
 public:
  AtlLibrary() : mModule(LoadLibraryW(L"atl.dll")) {
    if (mModule == nullptr) check(HRESULT_FROM_WIN32(GetLastError()));
    function<BOOL(WINAPI*)()>("AtlAxWinInit")();
  }

  /// Makes the control on a window of the caller's, which holds it until it is destroyed.
  ComPtr<_Cronvel> place(const wchar_t* progId, HWND window) const {
    using Create = HRESULT(WINAPI*)(LPCOLESTR, HWND, IStream*, IUnknown**);
    using Get = HRESULT(WINAPI*)(HWND, IUnknown**);
    check(function<Create>("AtlAxCreateControl")(progId, window, nullptr, nullptr));
    ComPtr<IUnknown> placed;
    check(function<Get>("AtlAxGetControl")(window, &placed));
    ComPtr<_Cronvel> control;
    check(placed.As(&control));
    return control;
  }

 private:
  template <typename Function>
  Function function(const char* name) const {
    const auto found = GetProcAddress(mModule, name);
    if (found == nullptr) check(HRESULT_FROM_WIN32(GetLastError()));
    return reinterpret_cast<Function>(reinterpret_cast<void*>(found));
  }

  HMODULE mModule;  // stays loaded: its window classes are in use
};

class HostWindow {
 public:
  HostWindow(const Line& line, int device);
  /// Shows the window until it is closed, at the latest after so many seconds if not 0. Returns the
  /// exit code.
  int run(UINT seconds);

 private:
  static LRESULT CALLBACK procedure(HWND window, UINT message, WPARAM first, LPARAM second);
  HWND child(const wchar_t* kind, const wchar_t* text, DWORD style, RECT place, WORD id) const;
  void press(WORD id);
  void carryOut(WORD id);
  void report(const std::wstring& line) const;
  void close();

  AtlLibrary mAtl;
  Line mLine;
  HWND mWindow = nullptr, mList = nullptr, mPlace = nullptr;
  ComPtr<_Cronvel> mControl;
  ComPtr<EventSink> mSink;
  std::deque<WORD> mPressed;  ///< buttons whose command is not over
  bool mBusy = false;         ///< a command waits, and the window's messages go on meanwhile
  bool mClosing = false;      ///< as soon as that command is over
  bool mLive = false;
  int mStatus = 0;
};

HostWindow::HostWindow(const Line& line, int device) : mLine(line) {
  WNDCLASSW kind{};
  kind.lpfnWndProc = procedure;
  kind.hInstance = GetModuleHandleW(nullptr);
  kind.hCursor = LoadCursorW(nullptr, MAKEINTRESOURCEW(32512));
  kind.hbrBackground = GetSysColorBrush(COLOR_BTNFACE);
  kind.lpszClassName = L"CronvelHost";
  RegisterClassW(&kind);
  mWindow = CreateWindowW(kind.lpszClassName, L"Cronvel in a window", WS_OVERLAPPEDWINDOW, 50, 50,
                          520, 360, nullptr, nullptr, kind.hInstance, nullptr);
  if (mWindow == nullptr) check(HRESULT_FROM_WIN32(GetLastError()));
  SetWindowLongPtrW(mWindow, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  child(L"BUTTON", L"Test connection", 0, {12, 12, 142, 40}, cTest);
  child(L"BUTTON", L"Set clock", 0, {152, 12, 282, 40}, cClock);
  child(L"BUTTON", L"Live events", 0, {292, 12, 422, 40}, cLive);
  mList =
      child(L"LISTBOX", L"", WS_VSCROLL | WS_BORDER | LBS_NOINTEGRALHEIGHT, {12, 56, 490, 310}, 0);
  mPlace = child(L"STATIC", L"", 0, {454, 8, 490, 44}, 0);

  mControl = mAtl.place(L"CronvelOCX.Cronvel", mPlace);
  mSink = EventSink::connect(mControl.Get(),
                             [this](const std::wstring& text) { report(L"event: " + text); });
  check(mControl->put_DeviceNum(static_cast<BYTE>(device)));
  mLine.choose(*mControl.Get());
}

HWND HostWindow::child(const wchar_t* kind, const wchar_t* text, DWORD style, RECT place,
                       WORD id) const {
  return CreateWindowW(kind, text, WS_CHILD | WS_VISIBLE | style, place.left, place.top,
                       place.right - place.left, place.bottom - place.top, mWindow,
                       reinterpret_cast<HMENU>(static_cast<UINT_PTR>(id)), nullptr, nullptr);
}

int HostWindow::run(UINT seconds) {
  ShowWindow(mWindow, SW_SHOW);
  if (seconds != 0) {
    SetTimer(mWindow, 1, 1000 * seconds, nullptr);
    for (const WORD id : {cTest, cClock, cLive}) PostMessageW(mWindow, WM_COMMAND, id, 0);
  }
  MSG message;
  while (GetMessageW(&message, nullptr, 0, 0) > 0) {
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
  return mStatus;
}

LRESULT CALLBACK HostWindow::procedure(HWND window, UINT message, WPARAM first, LPARAM second) {
  auto* host = reinterpret_cast<HostWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  switch (host == nullptr ? WM_NULL : message) {
    case WM_COMMAND:
      if (LOWORD(first) >= cTest && HIWORD(first) == BN_CLICKED) host->press(LOWORD(first));
      return 0;
    case WM_TIMER:
    case WM_CLOSE:
      host->close();
      return 0;
    case WM_DESTROY:
      PostQuitMessage(0);
      return 0;
    default:
      return DefWindowProcW(window, message, first, second);
  }
}

/// One command at a time: a button that is pressed while one waits has its turn afterwards.
void HostWindow::press(WORD id) {
  mPressed.push_back(id);
  if (mBusy) return;
  mBusy = true;
  for (; !mPressed.empty() && !mClosing; mPressed.pop_front()) {
    try {
      carryOut(mPressed.front());
    } catch (const ControlError& error) {
      report(error.message());
      mStatus = 3;
    }
  }
  mBusy = false;
  if (mClosing) close();
}

void HostWindow::carryOut(WORD id) {
  Text host(mLine.host());
  VARIANT_BOOL accepted = VARIANT_TRUE;
  if (id == cTest) {
    check(mControl->TestConnection(host.address(), &accepted));
    report(accepted ? L"the terminal answers" : L"the terminal does not answer");
  } else if (id == cClock) {
    VARIANT time = now();
    check(mControl->SetTime(host.address(), &time, &accepted));
    report(accepted ? L"the clock is set" : L"the terminal did not accept the time");
  } else if (mLine.mCommPort != 0) {
    check(mControl->put_MonitoringON(mLive ? VARIANT_FALSE : VARIANT_TRUE));
    mLive = !mLive;
    report(mLive ? L"live events are on" : L"live events are off");
  }
  if (!accepted) mStatus = 1;
}

void HostWindow::report(const std::wstring& line) const {
  print(line);
  const auto index = SendMessageW(mList, LB_ADDSTRING, 0, reinterpret_cast<LPARAM>(line.c_str()));
  SendMessageW(mList, LB_SETTOPINDEX, static_cast<WPARAM>(index), 0);
}

/// Never in the middle of a command, which would go on without its window.
void HostWindow::close() {
  if (mBusy || !mControl) {
    mClosing = true;
    return;
  }
  // The terminal would go on sending. If it cannot be told, the window closes all the same.
  mBusy = true;
  if (mLive) mControl->put_MonitoringON(VARIANT_FALSE);
  mSink->disconnect();
  mControl.Reset();
  DestroyWindow(mWindow);
}

int run(const Line& line, int device, UINT seconds) {
  HostWindow window(line, device);
  return window.run(seconds);
}

}  // namespace

int wmain(int count, wchar_t** values) {
  const bool byItself = count == 5 && std::wstring(values[3]) == L"--run";
  if (count != 3 && !byItself) {
    print(L"usage: hosted PORT|network:PORT DEVICE [--run SECONDS]");
    return 2;
  }
  int status = 3;
  OleInitialize(nullptr);
  try {
    status = run(Line(values[1]), std::stoi(values[2]),
                 byItself ? static_cast<UINT>(std::stoi(values[4])) : 0);
  } catch (const ControlError& error) {
    print(error.message());
  } catch (const std::exception&) {
    print(L"a number is expected for the port, the terminal and the seconds");
    status = 2;
  }
  OleUninitialize();
  return status;
}
