#include <winsock2.h>

#include <chrono>
#include <thread>

#include "tests/activex/Host.h"

namespace cronvel::activex::test {
namespace {

constexpr DISPID stateEvent = 1, errorEvent = 2, dataEvent = 3, countEvent = 6, progressEvent = 7;

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
    bind(mListener, reinterpret_cast<sockaddr*>(&address), sizeof address);
    listen(mListener, 5);
    int size = sizeof address;
    getsockname(mListener, reinterpret_cast<sockaddr*>(&address), &size);
    mPort = ntohs(address.sin_port);
  }
  ~Peer() {
    hangUp();
    closesocket(mListener);
    WSACleanup();
  }
  Peer(const Peer&) = delete;
  Peer& operator=(const Peer&) = delete;

  int port() const { return mPort; }
  /// Blocks until the control has connected.
  void accept() { mConnection = ::accept(mListener, nullptr, nullptr); }
  void send(const std::string& bytes) const {
    ::send(mConnection, bytes.data(), static_cast<int>(bytes.size()), 0);
  }
  std::string receive(std::size_t count) const {
    std::string bytes(count, '\0');
    std::size_t have = 0;
    while (have < count) {
      const int got = recv(mConnection, bytes.data() + have, static_cast<int>(count - have), 0);
      if (got <= 0) break;
      have += static_cast<std::size_t>(got);
    }
    bytes.resize(have);
    return bytes;
  }
  void hangUp() {
    if (mConnection != INVALID_SOCKET) closesocket(mConnection);
    mConnection = INVALID_SOCKET;
  }

 private:
  SOCKET mListener = INVALID_SOCKET;
  SOCKET mConnection = INVALID_SOCKET;
  int mPort = 0;
};

std::string bytesIn(const VARIANT& argument) {
  SAFEARRAY* const array = *argument.pparray;
  LONG last = -1;
  SafeArrayGetUBound(array, 1, &last);
  void* data = nullptr;
  SafeArrayAccessData(array, &data);
  std::string bytes(static_cast<const char*>(data), static_cast<std::size_t>(last + 1));
  SafeArrayUnaccessData(array);
  return bytes;
}

class EventsTest : public ControlTest {
 protected:
  EventsTest() { advise(sink); }
  ~EventsTest() override {
    for (const DWORD cookie : cookies)
      if (point) point->Unadvise(cookie);
    point.Reset();
  }
  void advise(TestSink& added) {
    if (!point) point = pointOf(control.Get(), DIID___Cronvel);
    DWORD cookie = 0;
    ASSERT_EQ(point->Advise(&added, &cookie), S_OK);
    cookies.push_back(cookie);
  }
  void connect() {
    put(L"WinSockRemotePort", peer.port());
    put(L"WinSockRemoteHost", L"127.0.0.1");
    ASSERT_EQ(call(L"SetWinSockUDPMode", {0}).result, S_OK);
    ASSERT_EQ(call(L"WinSockConnect", {0}).result, S_OK);
    peer.accept();
    ASSERT_TRUE(pumpUntil([&] { return state == 7; }));
  }
  /// Keeps every reported state in `state` and all data in `received`.
  void collect() {
    sink.onEvent = [this](DISPID event, DISPPARAMS& arguments) {
      if (event == stateEvent) state = arguments.rgvarg[0].iVal;
      if (event == dataEvent) received += bytesIn(arguments.rgvarg[5]);
    };
  }
  void letGo() {
    for (const DWORD cookie : cookies) point->Unadvise(cookie);
    cookies.clear();
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

TEST_F(EventsTest, TheHostsOwnLoopBringsThemInOrder) {
  collect();
  connect();
  std::string sent;
  for (char letter = 'a'; letter <= 'z'; ++letter) {
    peer.send(std::string(3, letter));
    sent += std::string(3, letter);
    pumpFor(letter % 3);
  }
  EXPECT_TRUE(pumpUntil([&] { return received.size() == sent.size(); }));
  EXPECT_EQ(received, sent);
  peer.hangUp();
  EXPECT_TRUE(pumpUntil([&] { return state == 8; }));
}

TEST_F(EventsTest, ArgumentsHaveTheDeclaredTypes) {
  std::vector<VARTYPE> types;
  collect();
  connect();
  sink.onEvent = [&](DISPID event, DISPPARAMS& arguments) {
    if (event != dataEvent || !types.empty()) return;
    for (UINT i = arguments.cArgs; i-- > 0;) types.push_back(arguments.rgvarg[i].vt);
    SysReAllocString(arguments.rgvarg[3].pbstrVal, L"what a host writes is thrown away");
    SafeArrayDestroy(*arguments.rgvarg[5].pparray);
    *arguments.rgvarg[5].pparray = nullptr;
  };
  peer.send("x");
  EXPECT_TRUE(pumpUntil([&] { return !types.empty(); }));
  EXPECT_EQ(types, (std::vector<VARTYPE>{VT_BYREF | VT_ARRAY | VT_UI1, VT_I4, VT_BYREF | VT_BSTR,
                                         VT_BYREF | VT_BSTR, VT_BYREF | VT_I2, VT_BYREF | VT_I4}));
}

TEST_F(EventsTest, TheyComeWhileACommandWaits) {
  // The peer takes the command and lets it wait; the socket's states are reported meanwhile.
  std::thread terminal([this] {
    peer.accept();
    peer.receive(4);
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    peer.send("\x18");
  });
  collect();
  put(L"WinSockRemotePort", peer.port());
  call(L"SetWinSockUDPMode", {0});
  int statesInside = 0;
  bool inside = true;
  sink.onEvent = [&](DISPID event, DISPPARAMS&) { statesInside += inside && event == stateEvent; };
  const Outcome outcome = call(L"SetKeyboard", {L"127.0.0.1", 3});
  inside = false;
  terminal.join();
  EXPECT_EQ(outcome.result, S_OK);
  EXPECT_EQ(outcome.value.boolVal, VARIANT_TRUE);
  EXPECT_GT(statesInside, 0);
}

TEST_F(EventsTest, ASinkThatFailsOrGoesDoesNoHarm) {
  TestSink failing, leaving;
  failing.answer = E_FAIL;
  advise(failing);
  advise(leaving);
  leaving.onEvent = [&](DISPID, DISPPARAMS&) {
    point->Unadvise(cookies.back());  // from inside its own event
    cookies.pop_back();
    leaving.onEvent = nullptr;
  };
  collect();
  connect();
  EXPECT_EQ(leaving.order.size(), 1u);
  EXPECT_EQ(failing.order, sink.order);
  point->Unadvise(cookies.back());
  cookies.pop_back();
}

TEST_F(EventsTest, AHostMayCallTheControlFromAnEvent) {
  collect();
  connect();
  int calls = 0;
  sink.onEvent = [&](DISPID event, DISPPARAMS& arguments) {
    if (event == stateEvent) state = arguments.rgvarg[0].iVal;
    if (event != dataEvent) return;
    received += bytesIn(arguments.rgvarg[5]);
    EXPECT_EQ(text(L"WinSockRemotePort"), std::to_wstring(peer.port()));
    EXPECT_EQ(call(L"WinSockSendDataByte", {0, 65 + calls}).result, S_OK);  // pumps inside
    if (++calls == 3) {
      EXPECT_EQ(call(L"WinSockClose", {0}).result, S_OK);
    }
  };
  for (int i = 0; i < 3; ++i) {
    peer.send("?");
    EXPECT_EQ(peer.receive(0), "");
    pumpUntil([&] { return calls > i; });
  }
  EXPECT_EQ(peer.receive(4), "ABC");  // and the end
  EXPECT_TRUE(pumpUntil([&] { return state == 0; }));
}

TEST_F(EventsTest, TheControlMayBeLetGoOfInsideItsOwnEvent) {
  collect();
  connect();
  bool gone = false;
  sink.onEvent = [&](DISPID event, DISPPARAMS&) {
    if (event != dataEvent || gone) return;
    letGo();
    gone = true;
    EXPECT_FALSE(canUnload());  // its own code is still at work
  };
  peer.send("end");
  EXPECT_TRUE(pumpUntil([&] { return gone; }));
  EXPECT_TRUE(pumpUntil([&] { return canUnload(); }));
  EXPECT_EQ(peer.receive(1), "");  // its connection ended with it
}

TEST_F(EventsTest, OrWhileACommandWaits) {
  std::thread terminal([this] {
    peer.accept();
    peer.receive(4);
    std::this_thread::sleep_for(std::chrono::milliseconds(300));  // sooner would be discarded
    peer.send("\x18");
  });
  put(L"WinSockRemotePort", peer.port());
  call(L"SetWinSockUDPMode", {0});
  sink.onEvent = [&](DISPID, DISPPARAMS&) {
    if (control) letGo();
  };
  // Called as a compiled host does, which may hold no reference of its own during the call.
  ::_Cronvel* const early = as<::_Cronvel>().Get();
  BSTR host = SysAllocString(L"127.0.0.1");
  BYTE key = 3;
  VARIANT_BOOL accepted = VARIANT_FALSE;
  EXPECT_EQ(early->SetKeyboard(&host, &key, &accepted), S_OK);
  EXPECT_EQ(accepted, VARIANT_TRUE);
  SysFreeString(host);
  terminal.join();
  EXPECT_FALSE(control);
  EXPECT_TRUE(canUnload());
}

TEST_F(EventsTest, FrozenEventsWaitInOrder) {
  collect();
  connect();
  as<IOleControl>()->FreezeEvents(TRUE);
  for (const char* bytes : {"a", "b", "c"}) {
    peer.send(bytes);
    pumpFor(50);
  }
  EXPECT_EQ(received, "");
  as<IOleControl>()->FreezeEvents(FALSE);
  EXPECT_EQ(received, "abc");
}

TEST_F(EventsTest, AFailureToConnectIsAnEvent) {
  std::wstring text;
  int number = 0;
  sink.onEvent = [&](DISPID event, DISPPARAMS& arguments) {
    if (event != errorEvent) return;
    number = arguments.rgvarg[6].iVal;
    text = *arguments.rgvarg[5].pbstrVal;
  };
  const int port = Peer().port();  // nobody listens there any more
  put(L"WinSockRemotePort", port);
  put(L"WinSockRemoteHost", L"127.0.0.1");
  call(L"SetWinSockUDPMode", {0});
  EXPECT_EQ(call(L"WinSockConnect", {0}).result, S_OK);
  EXPECT_TRUE(pumpUntil([&] { return number != 0; }));
  EXPECT_EQ(number, 10061);
  EXPECT_NE(text.find(std::to_wstring(port)), std::wstring::npos) << "names whom it called";
}

TEST_F(EventsTest, TheProgressOfACardListIsReported) {
  std::wstring path(MAX_PATH, L'\0');
  path.resize(GetTempPathW(MAX_PATH, path.data()));
  path += L"cards.txt";
  FILE* const file = _wfopen(path.c_str(), L"wb");
  fputs("1,2\r\n9999\r\nx\r\n", file);
  fclose(file);
  std::thread terminal([this] {
    peer.accept();
    peer.receive(3);
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    peer.send("\x18");
    peer.receive(1000);
  });
  std::vector<std::pair<DISPID, long>> seen;
  sink.onEvent = [&](DISPID event, DISPPARAMS& arguments) {
    if (event == countEvent || event == progressEvent)
      seen.emplace_back(event, *arguments.rgvarg[0].plVal);
  };
  put(L"WinSockRemotePort", peer.port());
  call(L"SetWinSockUDPMode", {0});
  const Outcome outcome = call(L"AddCardFile", {L"127.0.0.1", path.c_str()});
  EXPECT_EQ(outcome.result, S_OK);
  terminal.join();
  EXPECT_EQ(seen,
            (std::vector<std::pair<DISPID, long>>{
                {countEvent, 3}, {progressEvent, 1}, {progressEvent, 2}, {progressEvent, 3}}));
  DeleteFileW(path.c_str());
}

TEST_F(EventsTest, AHostFindsThemByEveryWay) {
  ComPtr<IProvideClassInfo2> info = as<IProvideClassInfo2>();
  GUID source{};
  EXPECT_EQ(info->GetGUID(GUIDKIND_DEFAULT_SOURCE_DISP_IID, &source), S_OK);
  EXPECT_EQ(source, DIID___Cronvel);
  ComPtr<ITypeInfo> classInfo;
  ASSERT_EQ(info->GetClassInfo(&classInfo), S_OK);
  TYPEATTR* attributes = nullptr;
  ASSERT_EQ(classInfo->GetTypeAttr(&attributes), S_OK);
  EXPECT_EQ(attributes->typekind, TKIND_COCLASS);
  EXPECT_EQ(attributes->cImplTypes, 2);
  EXPECT_EQ(attributes->guid, CLSID_Cronvel);
  classInfo->ReleaseTypeAttr(attributes);

  ComPtr<IEnumConnectionPoints> points;
  ASSERT_EQ(as<IConnectionPointContainer>()->EnumConnectionPoints(&points), S_OK);
  IConnectionPoint* each = nullptr;
  std::vector<IID> found;
  while (points->Next(1, &each, nullptr) == S_OK) {
    IID iid{};
    each->GetConnectionInterface(&iid);
    found.push_back(iid);
    each->Release();
  }
  EXPECT_EQ(found, (std::vector<IID>{DIID___Cronvel, IID_IPropertyNotifySink}));
  ComPtr<IEnumConnections> connections;
  ASSERT_EQ(point->EnumConnections(&connections), S_OK);
  CONNECTDATA data{};
  EXPECT_EQ(connections->Next(1, &data, nullptr), S_OK);
  EXPECT_EQ(data.dwCookie, cookies[0]);
  data.pUnk->Release();
  EXPECT_EQ(connections->Next(1, &data, nullptr), S_FALSE);
}

}  // namespace
}  // namespace cronvel::activex::test
