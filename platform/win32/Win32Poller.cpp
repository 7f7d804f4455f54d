#include <algorithm>
#include <array>
#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <span>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/reactor/Poller.h"
#include "platform/system/SocketTypes.h"
#include "platform/win32/Module.h"
#include "platform/win32/WaitableTimer.h"

namespace cronvel {
namespace {

using std::chrono::steady_clock;

constexpr UINT socketMessage = WM_APP;     ///< something came on a socket
constexpr UINT eventMessage = WM_APP + 1;  ///< an event is signalled
constexpr UINT turnMessage = WM_APP + 2;   ///< a call is due
constexpr UINT_PTR turnTimer = 1;
constexpr wchar_t className[] = L"CronvelPump";
/// Messages of the host that one pump call dispatches: one that always has another must not keep
/// it.
constexpr int messagesPerPump = 500;
constexpr std::size_t mostEvents = MAXIMUM_WAIT_OBJECTS - 3;  // beside wake, timer and messages
/// After a pass that found something, the host's loop gets another: a socket that was not read to
/// its end sends no new message.
constexpr auto lookAgainAfter = std::chrono::milliseconds(10);

/// The window class of this module, registered while a poller of it lives.
class WindowClass {
 public:
  explicit WindowClass(WNDPROC procedure) {
    const std::lock_guard lock(mutex());
    if (users()++ > 0) return;
    WNDCLASSEXW settings{};
    settings.cbSize = sizeof settings;
    settings.lpfnWndProc = procedure;
    settings.hInstance = thisModule();
    settings.lpszClassName = className;
    RegisterClassExW(&settings);
  }
  ~WindowClass() {
    const std::lock_guard lock(mutex());
    if (--users() == 0) UnregisterClassW(className, thisModule());
  }
  WindowClass(const WindowClass&) = delete;
  WindowClass& operator=(const WindowClass&) = delete;

 private:
  static std::mutex& mutex() {
    static std::mutex one;
    return one;
  }
  static int& users() {
    static int count = 0;
    return count;
  }
};

/// Posts a message each time that it is armed and its event is signalled.
class EventWatch {
 public:
  EventWatch(HANDLE event, HWND window) : mEvent(event), mWindow(window) { arm(); }
  ~EventWatch() { disarm(); }
  EventWatch(const EventWatch&) = delete;
  EventWatch& operator=(const EventWatch&) = delete;

  HANDLE event() const { return mEvent; }
  void rearmIfFired() {
    if (!mFired) return;
    disarm();
    arm();
  }

 private:
  void arm() {
    mFired = false;
    RegisterWaitForSingleObject(&mWait, mEvent, &EventWatch::fire, this, INFINITE,
                                WT_EXECUTEONLYONCE | WT_EXECUTEINWAITTHREAD);
  }
  void disarm() {
    if (mWait != nullptr) UnregisterWaitEx(mWait, INVALID_HANDLE_VALUE);
    mWait = nullptr;
  }
  /// On a thread of the system.
  static void CALLBACK fire(void* self, BOOLEAN) {
    auto& watch = *static_cast<EventWatch*>(self);
    watch.mFired = true;
    PostMessageW(watch.mWindow, eventMessage, 0, 0);
  }

  HANDLE mEvent;
  HWND mWindow;
  HANDLE mWait = nullptr;
  std::atomic<bool> mFired = false;
};

/// The sockets of one `select`, which it thins out to the ones that are ready.
class SocketSet {
 public:
  void clear() { mSet.fd_count = 0; }
  bool empty() const { return mSet.fd_count == 0; }
  void add(SOCKET socket) { mSet.fd_array[mSet.fd_count++] = socket; }
  fd_set* get() { return empty() ? nullptr : &mSet; }
  void sort() { std::sort(mSet.fd_array, end()); }
  bool has(SOCKET socket) { return std::binary_search(mSet.fd_array, end(), socket); }

 private:
  SOCKET* end() { return mSet.fd_array + mSet.fd_count; }
  fd_set mSet{};
};

/// Messages to a window of its own tell on which sockets there may be something: they end a wait,
/// and in the host's own loop they are what makes passes. Which of these sockets are ready is
/// looked up with `select` in each pass, until they no longer are.
class Win32Poller : public Poller {
 public:
  Win32Poller()
      : mClass(&Win32Poller::windowProcedure),
        mWindow(CreateWindowExW(0, className, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                thisModule(), nullptr)) {
    SetWindowLongPtrW(mWindow, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  }
  ~Win32Poller() override {
    mEvents.clear();
    CloseHandle(mWake);
    DestroyWindow(mWindow);
  }

  void await(Duration longestWait) override {
    if (!mMore) block(longestWait);
  }

  void pumpHost() override {
    mQuitting = false;
    MSG message{};
    for (int i = 0; i < messagesPerPump && !mQuitting; ++i) {
      if (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) == 0) break;
      if (isQuit(message) || message.hwnd == mWindow) {
        took(message);
      } else {
        TranslateMessage(&message);
        DispatchMessageW(&message);
      }
    }
  }

  void wake() override { SetEvent(mWake); }

  void poll(std::vector<Found>& found) override {
    const std::size_t before = found.size();
    const std::vector<Handle> asked = std::exchange(mCandidates, {});
    for (std::size_t from = 0; from < asked.size(); from += FD_SETSIZE)
      selectSome(
          std::span(asked).subspan(from, std::min<std::size_t>(FD_SETSIZE, asked.size() - from)),
          found);
    for (const auto& [handle, watch] : mEvents)
      if (WaitForSingleObject(watch->event(), 0) == WAIT_OBJECT_0)
        found.push_back({handle, signalled});
    mMore = found.size() > before;
  }

  bool hostQuits() const override { return mQuitting; }

  void setInterest(Handle handle, short events) override {
    if ((events & signalled) != 0) {
      const auto event = reinterpret_cast<HANDLE>(handle);
      mEvents[handle] = std::make_unique<EventWatch>(event, mWindow);
    } else if (mEvents.erase(handle) == 0) {
      setSocketInterest(handle, events);
    }
  }

  void callBy(TimePoint time) override {
    const TimePoint now = steady_clock::now();
    if (time <= now) {
      if (!mTurnPosted) mTurnPosted = PostMessageW(mWindow, turnMessage, 0, 0) != 0;
    } else if (time < mTimerDue) {
      const auto wait = std::chrono::ceil<std::chrono::milliseconds>(time - now).count();
      SetTimer(mWindow, turnTimer, static_cast<UINT>(std::min<long long>(wait, USER_TIMER_MAXIMUM)),
               nullptr);
      mTimerDue = time;
    }
  }

  void passEnded(TimePoint next) override {
    for (const auto& [handle, watch] : mEvents) watch->rearmIfFired();
    if (mMore) next = std::min(next, steady_clock::now() + lookAgainAfter);
    if (next != TimePoint::max()) callBy(next);
  }

  void setPass(std::function<void()> pass) override { mPass = std::move(pass); }

 private:
  struct WatchedSocket {
    short interest = 0;
    bool candidate = false;
  };

  void setSocketInterest(Handle handle, short events) {
    long network = 0;
    if ((events & readable) != 0) network |= FD_READ | FD_ACCEPT | FD_CLOSE;
    if ((events & writable) != 0) network |= FD_WRITE | FD_CONNECT | FD_CLOSE;
    WSAAsyncSelect(static_cast<SOCKET>(handle), mWindow, network != 0 ? socketMessage : 0, network);
    if (network == 0) {
      mSockets.erase(handle);
    } else {
      mSockets[handle].interest = events;
      maybeReady(handle);
      mMore = true;
    }
  }

  void maybeReady(Handle handle) {
    const auto socket = mSockets.find(handle);  // a message may be older than the socket's end
    if (socket == mSockets.end() || std::exchange(socket->second.candidate, true)) return;
    mCandidates.push_back(handle);
  }

  static bool isQuit(const MSG& message) { return message.message == WM_QUIT; }

  void block(Duration longestWait) {
    std::array<HANDLE, mostEvents + 2> handles{};
    DWORD count = 0;
    for (const auto& [handle, watch] : mEvents)
      if (count < mostEvents) handles[count++] = watch->event();
    mWaitLimit.start(longestWait);
    handles[count++] = mWaitLimit.handle();
    handles[count++] = mWake;
    // The end of the host's program would end every wait for messages at once.
    if (mQuitting)
      WaitForMultipleObjects(count, handles.data(), FALSE, INFINITE);
    else
      MsgWaitForMultipleObjectsEx(count, handles.data(), INFINITE, QS_ALLINPUT,
                                  MWMO_INPUTAVAILABLE);
  }

  /// Notes that a message of ours, or the one that ends the host's program, was taken out.
  void took(const MSG& message) {
    if (isQuit(message)) {
      mQuitting = true;
      PostQuitMessage(static_cast<int>(message.wParam));
    } else if (message.message == socketMessage) {
      maybeReady(static_cast<Handle>(message.wParam));
    } else if (message.message == turnMessage) {
      mTurnPosted = false;
    } else if (message.message == WM_TIMER) {
      KillTimer(mWindow, turnTimer);
      mTimerDue = TimePoint::max();
    }
  }

  static LRESULT CALLBACK windowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* self = reinterpret_cast<Win32Poller*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    const bool own = message == WM_TIMER || (message >= socketMessage && message <= turnMessage);
    if (self == nullptr || !own) return DefWindowProcW(window, message, wParam, lParam);
    self->hostPass({window, message, wParam, lParam, 0, {}});
    return 0;
  }

  /// The host's loop brought a message: one pass for all that came.
  void hostPass(MSG message) {
    took(message);
    for (int i = 0; i < messagesPerPump; ++i) {
      if (PeekMessageW(&message, mWindow, 0, 0, PM_REMOVE) == 0) break;
      took(message);
      if (isQuit(message)) break;
    }
    try {
      mPass();
    } catch (...) {
      // Nobody up this stack could catch it: the host's loop is not ours.
    }
  }

  /// One `select`. Who is ready stays a candidate, and so does who wants to write: few do, and how
  /// often a connection in the making sends messages differs by system.
  void selectSome(std::span<const Handle> handles, std::vector<Found>& found) {
    for (SocketSet* set : {&mRead, &mWrite, &mFailed}) set->clear();
    for (const Handle handle : handles) addToSets(handle);
    if (mRead.empty() && mWrite.empty()) return;
    timeval none{};
    if (select(0, mRead.get(), mWrite.get(), mFailed.get(), &none) < 0)
      for (SocketSet* set : {&mRead, &mWrite, &mFailed}) set->clear();
    for (SocketSet* set : {&mRead, &mWrite, &mFailed}) set->sort();
    for (const Handle handle : handles) {
      const auto socket = mSockets.find(handle);
      if (socket == mSockets.end()) continue;
      const short events = foundOn(handle, socket->second.interest);
      if (events != 0) found.push_back({handle, events});
      if (events != 0 || (socket->second.interest & writable) != 0) maybeReady(handle);
    }
  }

  void addToSets(Handle handle) {
    const auto socket = mSockets.find(handle);
    if (socket == mSockets.end()) return;
    socket->second.candidate = false;
    if ((socket->second.interest & readable) != 0) mRead.add(static_cast<SOCKET>(handle));
    if ((socket->second.interest & writable) == 0) return;
    mWrite.add(static_cast<SOCKET>(handle));
    mFailed.add(static_cast<SOCKET>(handle));
  }

  short foundOn(Handle handle, short interest) {
    const auto socket = static_cast<SOCKET>(handle);
    if (mFailed.has(socket)) return interest;
    return static_cast<short>((mRead.has(socket) ? readable : 0) |
                              (mWrite.has(socket) ? writable : 0));
  }

  WindowClass mClass;
  HWND mWindow;
  std::function<void()> mPass;
  WaitableTimer mWaitLimit;
  HANDLE mWake = CreateEventW(nullptr, FALSE, FALSE, nullptr);  ///< reset by the wait that it ends
  std::map<Handle, std::unique_ptr<EventWatch>> mEvents;
  std::unordered_map<Handle, WatchedSocket> mSockets;
  std::vector<Handle> mCandidates;  ///< sockets that may be ready, each once
  SocketSet mRead, mWrite, mFailed;
  bool mMore = false;  ///< there may be more to find without a message
  bool mQuitting = false;
  bool mTurnPosted = false;
  TimePoint mTimerDue = TimePoint::max();
};

}  // namespace

std::unique_ptr<Poller> makePoller() { return std::make_unique<Win32Poller>(); }

}  // namespace cronvel
