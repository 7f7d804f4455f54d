#include <winsock2.h>

#include <filesystem>
#include <fstream>
#include <thread>

#include "tests/activex/Host.h"

namespace cronvel::activex::test {
namespace {

constexpr DISPID stateEvent = 1, dataEvent = 3, countEvent = 6, progressEvent = 7;

/// A peer on the network: a listener of this process and, at most, one connection on it.
class Peer {
 public:
  Peer() {
    WSADATA data{};
    WSAStartup(MAKEWORD(2, 2), &data);
    mListener = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    int size = sizeof address;
    bind(mListener, reinterpret_cast<sockaddr*>(&address), size);
    listen(mListener, 5);
    getsockname(mListener, reinterpret_cast<sockaddr*>(&address), &size);
    mPort = ntohs(address.sin_port);
  }
  ~Peer() {
    closesocket(mConnection);
    closesocket(mListener);
    WSACleanup();
  }
  Peer(const Peer&) = delete;
  Peer& operator=(const Peer&) = delete;

  int port() const { return mPort; }
  /// Blocks until the control has connected.
  void accept() { mConnection = ::accept(mListener, nullptr, nullptr); }
  bool send(const std::string& bytes) const {
    return ::send(mConnection, bytes.data(), static_cast<int>(bytes.size()), 0) > 0;
  }
  /// Blocks until the bytes are there or the connection has ended.
  std::string receive(std::size_t count) const {
    std::string bytes(count, '\0');
    const int got = recv(mConnection, bytes.data(), static_cast<int>(count), MSG_WAITALL);
    return bytes.substr(0, got < 0 ? 0 : static_cast<std::size_t>(got));
  }

  /// A terminal that accepts a command, and says so until the control hangs up: an answer that
  /// comes before the control waits for it is thrown away.
  std::thread terminal() {
    return std::thread([this] {
      accept();
      receive(3);
      const DWORD moment = 20;
      setsockopt(mConnection, SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<const char*>(&moment),
                 sizeof moment);
      char more[100];
      while (send("\x18") && recv(mConnection, more, sizeof more, 0) != 0) continue;
    });
  }

 private:
  SOCKET mListener = INVALID_SOCKET;
  SOCKET mConnection = INVALID_SOCKET;
  int mPort = 0;
};

class EventsTest : public ControlTest {
 protected:
  EventsTest() : point(pointOf(control.Get(), DIID___Cronvel)) {
    advise(sink);
    put(L"WinSockRemotePort", peer.port());
    put(L"WinSockRemoteHost", L"127.0.0.1");
    call(L"SetWinSockUDPMode", {0});
    sink.onEvent = [this](DISPID event, DISPPARAMS& arguments) {
      if (event == stateEvent) state = arguments.rgvarg[0].iVal;
      if (event != dataEvent) return;
      const SAFEARRAY* const bytes = *arguments.rgvarg[5].pparray;
      received.append(static_cast<const char*>(bytes->pvData), bytes->rgsabound[0].cElements);
    };
  }
  ~EventsTest() override { letGo(); }
  void advise(TestSink& added) { ASSERT_EQ(point->Advise(&added, &cookies.emplace_back()), S_OK); }
  void unadvise() {
    EXPECT_EQ(point->Unadvise(cookies.back()), S_OK);
    cookies.pop_back();
  }
  void connect() {
    ASSERT_EQ(call(L"WinSockConnect", {0}), S_OK);
    peer.accept();
    ASSERT_TRUE(pumpUntil([&] { return state == 7; }));
  }
  void letGo() {
    while (!cookies.empty()) unadvise();
    point.Reset();
    control.Reset();
  }

  Peer peer;
  TestSink sink;
  ComPtr<IConnectionPoint> point;
  std::vector<DWORD> cookies;
  int state = -1;
  std::string received;
};

TEST_F(EventsTest, TheyComeInOrderWithTheDeclaredTypesAndMayCallTheControl) {
  std::vector<VARTYPE> types;
  TestSink caller, later;
  advise(caller);
  advise(later);
  later.onEvent = [](DISPID event, DISPPARAMS& arguments) {
    if (event != dataEvent) return;
    EXPECT_NE(*arguments.rgvarg[5].pparray, nullptr) << "another's harm";
  };
  caller.onEvent = [&](DISPID event, DISPPARAMS& arguments) {
    if (event != dataEvent) return;
    types.clear();
    for (UINT i = arguments.cArgs; i-- > 0;) types.push_back(arguments.rgvarg[i].vt);
    SysReAllocString(arguments.rgvarg[3].pbstrVal, L"what a host writes is thrown away");
    SafeArrayDestroy(std::exchange(*arguments.rgvarg[5].pparray, nullptr));
    EXPECT_EQ(call(L"WinSockSendDataByte", {0, received.back()}), S_OK);  // pumps inside
    if (received.back() == 'z') call(L"WinSockClose", {0});
  };
  connect();
  for (const char* sent : {"a", "b", "z"}) {
    peer.send(sent);
    EXPECT_TRUE(pumpUntil([&] { return received.ends_with(sent); }));
  }
  EXPECT_EQ(types, (std::vector<VARTYPE>{VT_BYREF | VT_ARRAY | VT_UI1, VT_I4, VT_BYREF | VT_BSTR,
                                         VT_BYREF | VT_BSTR, VT_BYREF | VT_I2, VT_BYREF | VT_I4}));
  EXPECT_TRUE(pumpUntil([&] { return state == 0; }));
  EXPECT_EQ(peer.receive(4), "abz");  // and the end
  unadvise();
  unadvise();
}

TEST_F(EventsTest, SinksAreListedAndOneThatFailsOrGoesDoesNoHarm) {
  TestSink failing, leaving;
  failing.answer = E_FAIL;
  advise(failing);
  advise(leaving);
  leaving.onEvent = [&](DISPID, DISPPARAMS&) { unadvise(); };  // from inside its own event
  ComPtr<IEnumConnections> connections;
  ASSERT_EQ(point->EnumConnections(&connections), S_OK);
  for (const DWORD cookie : cookies) {
    CONNECTDATA listed{};
    EXPECT_EQ(connections->Next(1, &listed, nullptr), S_OK);
    EXPECT_EQ(listed.dwCookie, cookie);
    listed.pUnk->Release();
  }
  sink.order.clear();
  connect();
  EXPECT_EQ(leaving.order.size(), 1u);
  EXPECT_EQ(failing.order, sink.order);
  unadvise();
}

TEST_F(EventsTest, TheControlMayBeLetGoOfInsideItsOwnEvent) {
  connect();
  sink.onEvent = [&](DISPID event, DISPPARAMS&) {
    if (event != dataEvent || !control) return;
    letGo();
    EXPECT_FALSE(canUnload());  // its own code is still at work
  };
  peer.send("end");
  EXPECT_TRUE(pumpUntil([&] { return !control && canUnload(); }));
  EXPECT_EQ(peer.receive(1), "");  // its connection ended with it
}

/// What a timer of the host's does while a command waits.
std::function<void()> atTheTimer;
void CALLBACK timer(HWND, UINT, UINT_PTR id, DWORD) {
  KillTimer(nullptr, id);
  atTheTimer();
}

bool portIsFree(int port) {
  const SOCKET probe = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<u_short>(port));
  const bool bound = bind(probe, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
  closesocket(probe);
  return bound;
}

TEST_F(EventsTest, ACommandThatWaitsEndsWithItsHost) {
  constexpr int listenPort = 18085;
  const auto file = std::filesystem::temp_directory_path() / "ended.Hex";
  struct Wait {
    const wchar_t* member;
    const wchar_t* host;
    _variant_t argument;
    std::size_t bytes;  ///< of the command
  };
  // For a reply; for connections, without end and of a group.
  const Wait waits[] = {{L"SetKeyboard", L"127.0.0.1", 3, 4},
                        {L"GetData", L"terminal-18085", file.c_str(), 0},
                        {L"SetMonitoringOnGroup", L"terminal-18085", _variant_t(true), 0}};
  const std::pair<const char*, std::function<void()>> ends[] = {
      {"Close", [&] { as<IOleObject>()->Close(OLECLOSE_NOSAVE); }},
      {"SetClientSite", [&] { as<IOleObject>()->SetClientSite(nullptr); }},
      {"Release", [&] { control.Reset(); }},
      {"Quit", [] { PostQuitMessage(7); }}};
  TestSite site;
  letGo();
  for (const auto& [member, host, argument, bytes] : waits)
    for (const auto& [name, end] : ends) {
      SCOPED_TRACE(testing::Message() << name << " while it waits: " << member);
      control = create();
      as<IOleObject>()->SetClientSite(&site);
      put(L"WinSockRemotePort", peer.port());
      put(L"WinSockLocalPort", listenPort);
      call(L"SetWinSockUDPMode", {0});
      ULONGLONG endedAt = 0;
      atTheTimer = [&, &finish = end] {
        endedAt = GetTickCount64();
        finish();
      };
      SetTimer(nullptr, 0, 400, &timer);
      EXPECT_EQ(call(member, {host, argument}), S_OK);
      EXPECT_LT(GetTickCount64() - endedAt, 2000u);
      if (bytes > 0) {
        peer.accept();
        EXPECT_LE(peer.receive(100).size(), bytes);  // up to the end of the connection
      }
      EXPECT_TRUE(portIsFree(listenPort));
      MSG message{};
      while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != 0 && message.message != WM_QUIT)
        DispatchMessageW(&message);
      EXPECT_EQ(message.message == WM_QUIT ? message.wParam : 0, name[0] == 'Q' ? 7u : 0u);
      if (control) as<IOleObject>()->SetClientSite(nullptr);
      control.Reset();
      EXPECT_TRUE(pumpUntil([&] { return canUnload(); }));
    }
}

TEST_F(EventsTest, FrozenOnesWaitInOrder) {
  const auto path = std::filesystem::temp_directory_path() / "cards.txt";
  std::ofstream(path) << "1,2\n";
  const auto sendFrozen = [&] {
    std::thread terminal = peer.terminal();
    as<IOleControl>()->FreezeEvents(TRUE);
    sink.order.clear();
    EXPECT_EQ(call(L"AddCardFile", {L"127.0.0.1", path.c_str()}), S_OK);
    terminal.join();
    EXPECT_TRUE(sink.order.empty());
  };
  std::vector<std::pair<DISPID, long>> seen;
  sink.onEvent = [&](DISPID event, DISPPARAMS& arguments) {
    if (event == countEvent || event == progressEvent)
      seen.emplace_back(event, *arguments.rgvarg[0].plVal);
  };
  sendFrozen();
  as<IOleControl>()->FreezeEvents(FALSE);
  EXPECT_EQ(seen, (std::vector<std::pair<DISPID, long>>{
                      {countEvent, 2}, {progressEvent, 1}, {progressEvent, 2}}));

  sink.onEvent = [&](DISPID, DISPPARAMS&) { letGo(); };
  sendFrozen();
  IOleControl* const frozen = as<IOleControl>().Get();  // held by nobody else
  frozen->FreezeEvents(FALSE);
  EXPECT_EQ(sink.order.size(), 1u);
  EXPECT_FALSE(control);
  std::filesystem::remove(path);
}

}  // namespace
}  // namespace cronvel::activex::test
