#include <array>
#include <cstring>

#include "activex/Module.h"
#include "activex/resource.h"
#include "tests/activex/Host.h"

namespace cronvel::activex::test {
namespace {

/// A form's property bag.
class TestBag final : public TestObject<IPropertyBag> {
 public:
  std::map<std::wstring, Value> values;
  std::vector<std::wstring> order;

  STDMETHODIMP Read(LPCOLESTR name, VARIANT* value, IErrorLog*) override {
    const auto found = values.find(name);
    return found == values.end() ? E_INVALIDARG : VariantCopy(value, &found->second);
  }
  STDMETHODIMP Write(LPCOLESTR name, VARIANT* value) override {
    order.emplace_back(name);
    return VariantCopy(&values[name], value);
  }
};

class TestErrorLog final : public TestObject<IErrorLog> {
 public:
  std::map<std::wstring, HRESULT> errors;
  STDMETHODIMP AddError(LPCOLESTR name, EXCEPINFO* error) override {
    errors[name] = error->scode;
    return S_OK;
  }
};

class TestNotifySink final : public TestObject<IPropertyNotifySink> {
 public:
  std::vector<DISPID> changed;
  STDMETHODIMP OnChanged(DISPID property) override {
    changed.push_back(property);
    return S_OK;
  }
  STDMETHODIMP OnRequestEdit(DISPID) override { return S_OK; }
};

/// The control on a form of its own.
class ContainerTest : public ControlTest {
 protected:
  ContainerTest() {
    site.window = CreateWindowExW(0, L"STATIC", L"form", WS_POPUP, 0, 0, 300, 200, nullptr, nullptr,
                                  nullptr, nullptr);
    as<IOleObject>()->SetClientSite(&site);
  }
  ~ContainerTest() override {
    as<IOleObject>()->Close(OLECLOSE_NOSAVE);
    as<IOleObject>()->SetClientSite(nullptr);
    DestroyWindow(site.window);
  }
  HWND window() const {
    HWND found = nullptr;
    as<IOleInPlaceObject>()->GetWindow(&found);
    return found;
  }
  void activate() {
    ASSERT_EQ(as<IOleObject>()->DoVerb(OLEIVERB_INPLACEACTIVATE, nullptr, &site, 0, site.window,
                                       &site.position),
              S_OK);
  }
  void setEverything() {
    put(L"Enabled", false);
    put(L"CommPort", 7);
    put(L"IdLen", 6);
    put(L"DialupConnection", true);
    put(L"TelNum", L"0211234567");
    put(L"BPS", L"4800");
    put(L"DeviceNum", 42);
    put(L"NumOfRecs", 100000);
    put(L"DamagedRecs", 3);
  }
  std::wstring everything() {
    std::wstring all;
    for (const wchar_t* name :
         {L"Enabled", L"CommPort", L"ReaderOn", L"MonitoringON", L"IdLen", L"DialupConnection",
          L"TelNum", L"BPS", L"DeviceNum", L"NumOfRecs", L"DamagedRecs"})
      all += text(name) + L" ";
    return all;
  }
  static constexpr auto changed = L"False 7 False False 6 True 0211234567 4800 42 100000 3 ";
  static constexpr auto fresh = L"True 1 False False 4 False 0 9600 1 0 0 ";

  TestSite site;
};

TEST_F(ContainerTest, InDesignModeWhatTalksToATerminalIsRefused) {
  site.userMode = false;
  const std::array<const wchar_t*, 7> properties = {
      L"ReaderOn",          L"MonitoringON",     L"BPS", L"WinSockProtocol", L"WinSockLocalPort",
      L"WinSockRemotePort", L"WinSockRemoteHost"};
  for (const wchar_t* name : properties) {
    const Outcome refused = put(name, 1);
    EXPECT_EQ(refused.number, 387) << name;
    EXPECT_FALSE(refused.text.empty()) << name;
    EXPECT_EQ(refused.source, L"CronvelOCX.Cronvel");
  }
  EXPECT_EQ(call(L"SetReaderOnOff", {L"", true}).number, 387);
  EXPECT_EQ(call(L"SetMonitoringOnOff", {L"", true}).number, 387);
  EXPECT_EQ(put(L"DeviceNum", 5).result, S_OK);
  EXPECT_EQ(put(L"CommPort", 5).result, S_OK);

  site.userMode = true;
  EXPECT_EQ(put(L"BPS", L"300").result, S_OK);
  site.userMode.reset();  // a container that does not tell is in run mode
  EXPECT_EQ(put(L"WinSockLocalPort", 9000).result, S_OK);
}

TEST_F(ContainerTest, ABagKeepsWhatDiffersFromTheDefaults) {
  const auto persistence = as<IPersistPropertyBag>();
  EXPECT_EQ(persistence->InitNew(), S_OK);
  TestBag empty;
  EXPECT_EQ(persistence->Save(&empty, TRUE, FALSE), S_OK);
  EXPECT_TRUE(empty.values.empty());

  TestBag all;
  EXPECT_EQ(persistence->Save(&all, TRUE, TRUE), S_OK);
  const std::vector<std::wstring> keys = {
      L"Enabled", L"CommPort", L"ReaderOn",  L"MonitoringON", L"IdLen",      L"DialupConnection",
      L"TelNum",  L"BPS",      L"DeviceNum", L"NumOfRecs",    L"DamagedRecs"};
  EXPECT_EQ(all.order, keys);
  EXPECT_STREQ(all.values[L"TelNum"].bstrVal, L"0");
  EXPECT_STREQ(all.values[L"BPS"].bstrVal, L"9600");

  setEverything();
  EXPECT_EQ(as<IPersistStreamInit>()->IsDirty(), S_OK);
  TestBag bag;
  EXPECT_EQ(persistence->Save(&bag, TRUE, FALSE), S_OK);
  EXPECT_EQ(as<IPersistStreamInit>()->IsDirty(), S_FALSE);
  EXPECT_EQ(bag.values.size(), 9u);
  EXPECT_EQ(persistence->Load(&all, nullptr), S_OK);
  EXPECT_EQ(everything(), fresh);
  EXPECT_EQ(persistence->Load(&bag, nullptr), S_OK);
  EXPECT_EQ(everything(), changed);
}

TEST_F(ContainerTest, AWrongValueInABagIsAnErrorThatIsLogged) {
  TestBag bag;
  TestErrorLog log;
  bag.values[L"CommPort"] = L"three";
  EXPECT_EQ(as<IPersistPropertyBag>()->Load(&bag, &log), runTimeError(13));
  EXPECT_EQ(log.errors[L"CommPort"], runTimeError(13));
  bag.values[L"CommPort"] = 100000;
  EXPECT_EQ(as<IPersistPropertyBag>()->Load(&bag, nullptr), runTimeError(6));
  bag.values[L"CommPort"] = L"3";  // a bag that keeps texts
  EXPECT_EQ(as<IPersistPropertyBag>()->Load(&bag, nullptr), S_OK);
  EXPECT_EQ(text(L"CommPort"), L"3");
}

TEST_F(ContainerTest, AStreamKeepsEverythingAndALaterOneIsRefused) {
  ComPtr<IStream> stream;
  CreateStreamOnHGlobal(nullptr, TRUE, &stream);
  const auto rewind = [&](LONGLONG to = 0) {
    LARGE_INTEGER position;
    position.QuadPart = to;
    stream->Seek(position, STREAM_SEEK_SET, nullptr);
  };
  const auto persistence = as<IPersistStreamInit>();
  setEverything();
  ULARGE_INTEGER most{};
  persistence->GetSizeMax(&most);
  EXPECT_EQ(persistence->Save(stream.Get(), TRUE), S_OK);
  STATSTG status{};
  stream->Stat(&status, STATFLAG_NONAME);
  EXPECT_LE(status.cbSize.QuadPart, most.QuadPart);
  EXPECT_EQ(persistence->InitNew(), S_OK);
  rewind();
  EXPECT_EQ(persistence->Load(stream.Get()), S_OK);
  EXPECT_EQ(everything(), changed);

  const std::uint16_t later = 2;
  rewind(4);
  stream->Write(&later, sizeof later, nullptr);
  rewind();
  SetErrorInfo(0, nullptr);
  EXPECT_EQ(persistence->Load(stream.Get()), STG_E_OLDDLL);
  ComPtr<IErrorInfo> info;
  ASSERT_EQ(GetErrorInfo(0, &info), S_OK);
  BSTR text = nullptr;
  info->GetDescription(&text);
  EXPECT_NE(std::wstring(text).find(L"later version"), std::wstring::npos);
  SysFreeString(text);
  EXPECT_EQ(everything(), changed);  // nothing was taken from it

  for (LONGLONG cut : {0, 3, 5, 7, 20}) {  // broken off streams
    ULARGE_INTEGER size;
    size.QuadPart = static_cast<ULONGLONG>(cut);
    rewind();
    persistence->Save(stream.Get(), FALSE);
    stream->SetSize(size);
    rewind();
    EXPECT_TRUE(FAILED(persistence->Load(stream.Get()))) << cut;
  }
}

TEST_F(ContainerTest, AStorageKeepsEverything) {
  ComPtr<IStorage> storage;
  ASSERT_EQ(StgCreateDocfile(
                nullptr, STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE | STGM_DELETEONRELEASE,
                0, &storage),
            S_OK);
  const auto persistence = as<IPersistStorage>();
  setEverything();
  EXPECT_EQ(persistence->Save(storage.Get(), TRUE), S_OK);
  EXPECT_EQ(persistence->SaveCompleted(nullptr), S_OK);
  EXPECT_EQ(persistence->InitNew(storage.Get()), S_OK);
  EXPECT_EQ(everything(), L"False 7 False False 4 False 0 9600 1 0 0 ");
  EXPECT_EQ(persistence->Load(storage.Get()), S_OK);
  EXPECT_EQ(everything(), changed);
}

TEST_F(ContainerTest, ItShowsInDesignHidesAtRunTimeAndFollowsItsPlace) {
  ShowWindow(site.window, SW_SHOWNA);
  site.userMode = false;
  activate();
  EXPECT_EQ(site.activations, 1);
  ASSERT_NE(window(), nullptr);
  EXPECT_TRUE(IsWindowVisible(window()));
  const RECT moved{20, 30, 120, 90};
  EXPECT_EQ(as<IOleInPlaceObject>()->SetObjectRects(&moved, &moved), S_OK);
  RECT area{};
  GetWindowRect(window(), &area);
  EXPECT_EQ(area.right - area.left, 100);
  EXPECT_EQ(area.bottom - area.top, 60);

  site.userMode = true;
  as<IOleControl>()->OnAmbientPropertyChange(DISPID_AMBIENT_USERMODE);
  EXPECT_FALSE(IsWindowVisible(window()));

  EXPECT_EQ(as<IOleObject>()->Close(OLECLOSE_SAVEIFDIRTY), S_OK);
  EXPECT_EQ(site.deactivations, 1);
  EXPECT_EQ(as<IOleInPlaceObject>()->GetWindow(&site.window), E_FAIL);
}

TEST_F(ContainerTest, ItsWindowMayGoWithTheForm) {
  site.userMode = false;
  activate();
  DestroyWindow(site.window);
  HWND gone = nullptr;
  EXPECT_EQ(as<IOleInPlaceObject>()->GetWindow(&gone), E_FAIL);
}

TEST_F(ContainerTest, ItsFaceShowsItsPort) {
  HDC device = CreateCompatibleDC(nullptr);
  BITMAPINFO format{};
  format.bmiHeader = {sizeof(BITMAPINFOHEADER), 160, -50, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
  void* bits = nullptr;
  HBITMAP bitmap = CreateDIBSection(device, &format, DIB_RGB_COLORS, &bits, nullptr, 0);
  HGDIOBJ before = SelectObject(device, bitmap);
  const auto draw = [&] {
    const RECTL bounds{0, 0, 160, 50};
    EXPECT_EQ(as<IViewObject2>()->Draw(DVASPECT_CONTENT, -1, nullptr, nullptr, nullptr, device,
                                       &bounds, nullptr, nullptr, 0),
              S_OK);
    GdiFlush();
    const auto* pixels = static_cast<const std::uint32_t*>(bits);
    return std::vector<std::uint32_t>(pixels, pixels + 160 * 50);
  };
  const auto first = draw();
  EXPECT_EQ(draw(), first);
  put(L"CommPort", 12);
  EXPECT_NE(draw(), first);
  EXPECT_EQ(as<IViewObject2>()->Draw(DVASPECT_ICON, -1, nullptr, nullptr, nullptr, device, nullptr,
                                     nullptr, nullptr, 0),
            DV_E_DVASPECT);
  SelectObject(device, before);
  DeleteObject(bitmap);
  DeleteDC(device);
}

TEST_F(ContainerTest, ChangesAreNotifiedUnderTheirMembersNumbers) {
  TestNotifySink sink;
  const auto point = pointOf(control.Get(), IID_IPropertyNotifySink);
  DWORD cookie = 0;
  ASSERT_EQ(point->Advise(&sink, &cookie), S_OK);
  const std::array<const wchar_t*, 13> names = {
      L"Enabled",          L"CommPort",         L"IdLen",
      L"DialupConnection", L"TelNum",           L"BPS",
      L"DeviceNum",        L"NumOfRecs",        L"DamagedRecs",
      L"WinSockProtocol",  L"WinSockLocalPort", L"WinSockRemotePort",
      L"WinSockRemoteHost"};
  std::vector<DISPID> expected;
  for (const wchar_t* name : names) {
    put(name, 2);
    auto* text = const_cast<wchar_t*>(name);
    DISPID id = 0;
    as<IDispatch>()->GetIDsOfNames(IID_NULL, &text, 1, LOCALE_USER_DEFAULT, &id);
    expected.push_back(id);
  }
  EXPECT_EQ(sink.changed, expected);
  EXPECT_EQ(point->Unadvise(cookie), S_OK);
  EXPECT_EQ(point->Unadvise(cookie), CONNECT_E_NOCONNECTION);
}

TEST_F(ContainerTest, QuickActivationConnectsEverything) {
  TestSink events;
  TestNotifySink changes;
  QACONTAINER container{};
  container.cbSize = sizeof container;
  container.pClientSite = &site;
  container.pUnkEventSink = &events;
  container.pPropertyNotifySink = &changes;
  QACONTROL answer{};
  answer.cbSize = sizeof answer;
  ASSERT_EQ(as<IQuickActivate>()->QuickActivate(&container, &answer), S_OK);
  EXPECT_EQ(answer.dwMiscStatus, miscStatus);
  put(L"DeviceNum", 9);
  EXPECT_EQ(changes.changed.size(), 1u);
  EXPECT_TRUE(pumpUntil([&] { return events.counts[1] > 0; }));  // the first state is reported
  pointOf(control.Get(), DIID___Cronvel)->Unadvise(answer.dwEventCookie);
  pointOf(control.Get(), IID_IPropertyNotifySink)->Unadvise(answer.dwPropNotifyCookie);
}

TEST_F(ContainerTest, AnotherObjectMayAggregateIt) {
  struct Outer final : TestObject<IPersist> {
    ComPtr<IUnknown> inner;
    STDMETHODIMP GetClassID(CLSID*) override { return E_NOTIMPL; }
    void* other(REFIID iid) override {
      void* found = nullptr;
      if (inner && SUCCEEDED(inner->QueryInterface(iid, &found))) Release();  // counted here
      return found;
    }
  } outer;
  outer.inner = create(&outer);
  ComPtr<IOleObject> object;
  ComPtr<IUnknown> identity;
  ASSERT_EQ(outer.QueryInterface(IID_PPV_ARGS(&object)), S_OK);
  ASSERT_EQ(object.As(&identity), S_OK);
  EXPECT_EQ(identity.Get(), static_cast<IUnknown*>(&outer));
  object.Reset();
  identity.Reset();
  outer.inner.Reset();
}

/// The page's dialog, and the box that it shows.
class PropertyPageTest : public ContainerTest {
 protected:
  void open() {
    ASSERT_EQ(createClass(CLSID_CronvelPage, IID_PPV_ARGS(&page)), S_OK);
    IUnknown* objects[] = {control.Get()};
    ASSERT_EQ(page->SetObjects(1, objects), S_OK);
    const RECT place{0, 0, 300, 200};
    ASSERT_EQ(page->Activate(site.window, &place, FALSE), S_OK);
    dialog = FindWindowExW(site.window, nullptr, L"#32770", nullptr);
    ASSERT_NE(dialog, nullptr);
  }
  void close() {
    page->Deactivate();
    page->SetObjects(0, nullptr);
    page.Reset();
  }
  std::wstring shown(int id) {
    std::array<wchar_t, 100> text{};
    GetDlgItemTextW(dialog, id, text.data(), static_cast<int>(text.size()));
    return text.data();
  }

  /// A box runs a message loop of its own; this sees it come and presses its button.
  static LRESULT CALLBACK pressOk(int code, WPARAM wParam, LPARAM lParam) {
    if (HWND box = FindWindowW(L"#32770", L"Cronvel"); box != nullptr) {
      std::array<wchar_t, 300> text{};
      GetDlgItemTextW(box, 0xFFFF, text.data(), static_cast<int>(text.size()));
      if (text[0] != L'\0') {
        *seen = text.data();
        PostMessageW(box, WM_COMMAND, IDOK, 0);
      }
    }
    return CallNextHookEx(nullptr, code, wParam, lParam);
  }

  ComPtr<IPropertyPage> page;
  HWND dialog = nullptr;
  inline static std::wstring* seen = nullptr;
};

TEST_F(PropertyPageTest, ItShowsAndAppliesTheProperties) {
  CAUUID pages{};
  ASSERT_EQ(as<ISpecifyPropertyPages>()->GetPages(&pages), S_OK);
  ASSERT_EQ(pages.cElems, 1u);
  EXPECT_EQ(pages.pElems[0], CLSID_CronvelPage);
  CoTaskMemFree(pages.pElems);

  site.userMode = false;
  setEverything();
  open();
  EXPECT_EQ(shown(IDC_COMMPORT), L"7");
  EXPECT_EQ(shown(IDC_TELNUM), L"0211234567");
  EXPECT_EQ(IsDlgButtonChecked(dialog, IDC_DIALUP), UINT{BST_CHECKED});
  EXPECT_FALSE(IsWindowEnabled(GetDlgItem(dialog, IDC_BPS)));  // cannot be set in design mode
  EXPECT_EQ(page->IsPageDirty(), S_FALSE);

  SetDlgItemTextW(dialog, IDC_COMMPORT, L"3");
  SendMessageW(GetDlgItem(dialog, IDC_DIALUP), BM_CLICK, 0, 0);
  EXPECT_EQ(page->IsPageDirty(), S_OK);
  EXPECT_EQ(text(L"CommPort"), L"7");
  EXPECT_EQ(page->Apply(), S_OK);
  EXPECT_EQ(text(L"CommPort"), L"3");
  EXPECT_EQ(text(L"DialupConnection"), L"False");
  EXPECT_EQ(page->IsPageDirty(), S_FALSE);
  close();
}

TEST_F(PropertyPageTest, AValueThatIsRefusedIsExplained) {
  open();
  for (const auto& [typed, says] : std::initializer_list<std::pair<const wchar_t*, const wchar_t*>>{
           {L"0", L"ports are numbered from 1"},
           {L"70000", L"out of range"},
           {L"x", L"not a number"}}) {
    SetDlgItemTextW(dialog, IDC_COMMPORT, typed);
    std::wstring message;
    seen = &message;
    const UINT_PTR timer = SetTimer(nullptr, 0, 50, nullptr);
    HHOOK hook = SetWindowsHookExW(WH_GETMESSAGE, pressOk, nullptr, GetCurrentThreadId());
    EXPECT_TRUE(FAILED(page->Apply())) << typed;
    UnhookWindowsHookEx(hook);
    KillTimer(nullptr, timer);
    EXPECT_NE(message.find(says), std::wstring::npos) << typed;
    EXPECT_EQ(page->IsPageDirty(), S_OK);  // still to be put right
  }
  close();
}

TEST_F(PropertyPageTest, ThePropertiesVerbOpensThePageInAFrame) {
  // Not registered, so the system is told of the page for this while.
  ComPtr<IClassFactory> factory;
  DWORD cookie = 0;
  ASSERT_EQ(classFactory(CLSID_CronvelPage, &factory), S_OK);
  ASSERT_EQ(CoRegisterClassObject(CLSID_CronvelPage, factory.Get(), CLSCTX_INPROC_SERVER,
                                  REGCLS_MULTIPLEUSE, &cookie),
            S_OK);
  // The frame is modal: a timer of its loop types into the page and presses OK.
  static bool typed = false;
  struct Typist {
    static BOOL CALLBACK typeInto(HWND window, LPARAM) {
      HWND field = GetDlgItem(window, IDC_COMMPORT);
      if (field == nullptr || GetDlgItem(window, IDC_TELNUM) == nullptr) return TRUE;
      SetWindowTextW(field, L"9");
      typed = true;
      return FALSE;
    }
    static void CALLBACK tick(HWND, UINT, UINT_PTR, DWORD) {
      HWND frame = FindWindowW(L"#32770", nullptr);
      if (frame == nullptr || typed) return;
      EnumChildWindows(frame, typeInto, 0);
      PostMessageW(frame, WM_COMMAND, typed ? IDOK : IDCANCEL, 0);
    }
  };
  const UINT_PTR timer = SetTimer(nullptr, 0, 100, Typist::tick);
  EXPECT_EQ(as<IOleObject>()->DoVerb(OLEIVERB_PROPERTIES, nullptr, &site, 0, site.window, nullptr),
            S_OK);
  KillTimer(nullptr, timer);
  EXPECT_TRUE(typed);  // Wine's frame does not apply pages; ItShowsAndAppliesTheProperties does
  CoRevokeClassObject(cookie);
}

}  // namespace
}  // namespace cronvel::activex::test
