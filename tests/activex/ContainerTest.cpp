#include <algorithm>
#include <array>
#include <cstdint>
#include <map>

#include "activex/Module.h"
#include "tests/activex/Host.h"

namespace cronvel::activex::test {
namespace {

/// The persisted properties, in their order.
constexpr std::array<const wchar_t*, 11> keys = {
    L"Enabled", L"CommPort", L"ReaderOn",  L"MonitoringON", L"IdLen",      L"DialupConnection",
    L"TelNum",  L"BPS",      L"DeviceNum", L"NumOfRecs",    L"DamagedRecs"};
std::size_t placeOf(std::wstring_view key) {
  return static_cast<std::size_t>(std::find(keys.begin(), keys.end(), key) - keys.begin());
}

/// A form's property bag, and its log of errors.
class TestBag final : public TestObject<IPropertyBag, IErrorLog> {
 public:
  std::map<std::wstring, Value> values;
  std::vector<std::wstring> order;
  std::map<std::wstring, HRESULT> errors;

  STDMETHODIMP Read(LPCOLESTR name, VARIANT* value, IErrorLog*) override {
    const auto found = values.find(name);
    return found == values.end() ? E_INVALIDARG : VariantCopy(value, &found->second);
  }
  STDMETHODIMP Write(LPCOLESTR name, VARIANT* value) override {
    order.emplace_back(name);
    return VariantCopy(&values[name], value);
  }
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

/// A picture in memory of the control's size.
class Picture {
 public:
  Picture() {
    BITMAPINFO format{};
    format.bmiHeader = {sizeof(BITMAPINFOHEADER), 160, -50, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    mBitmap = CreateDIBSection(device, &format, DIB_RGB_COLORS, &mBits, nullptr, 0);
    mBefore = SelectObject(device, mBitmap);
  }
  ~Picture() {
    SelectObject(device, mBefore);
    DeleteObject(mBitmap);
    DeleteDC(device);
  }
  Picture(const Picture&) = delete;
  Picture& operator=(const Picture&) = delete;
  std::vector<std::uint32_t> pixels() const {
    GdiFlush();
    const auto* const first = static_cast<const std::uint32_t*>(mBits);
    return {first, first + 160 * 50};
  }
  /// Whether it shows the icon, by the green of the terminal's display.
  bool hasIcon() const {
    return std::ranges::count(pixels(), 0x9FD8B4u, [](auto pixel) { return pixel & 0xFFFFFF; }) >
           50;
  }

  HDC device = CreateCompatibleDC(nullptr);

 private:
  void* mBits = nullptr;
  HBITMAP mBitmap;
  HGDIOBJ mBefore;
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
  HWND activate() {
    HWND window = nullptr;
    EXPECT_EQ(as<IOleObject>()->DoVerb(OLEIVERB_INPLACEACTIVATE, nullptr, &site, 0, site.window,
                                       &site.position),
              S_OK);
    EXPECT_EQ(as<IOleInPlaceObject>()->GetWindow(&window), S_OK);
    return window;
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
    for (const wchar_t* key : keys) all += text(key) + L" ";
    return all;
  }
  static constexpr auto changed = L"False 7 False False 6 True 0211234567 4800 42 100000 3 ";
  static constexpr auto fresh = L"True 1 False False 4 False 0 9600 1 0 0 ";

  TestSite site;
};

TEST_F(ContainerTest, TheFormSaysWhetherItIsBeingDesigned) {
  site.userMode = false;
  const Outcome refused = put(L"BPS", L"300");
  EXPECT_EQ(refused.number, 387);
  EXPECT_FALSE(refused.text.empty());
  EXPECT_EQ(refused.source, L"CronvelOCX.Cronvel");
  EXPECT_EQ(put(L"DeviceNum", 5).result, S_OK);
  site.userMode = true;
  EXPECT_EQ(put(L"BPS", L"300").result, S_OK);
  site.userMode.reset();  // a container that does not tell is in run mode
  EXPECT_EQ(put(L"BPS", L"600").result, S_OK);
}

TEST_F(ContainerTest, ABagKeepsWhatDiffersFromTheDefaults) {
  const auto persistence = as<IPersistPropertyBag>();
  EXPECT_EQ(persistence->InitNew(), S_OK);
  TestBag empty, all, bag;
  EXPECT_EQ(persistence->Save(&empty, TRUE, FALSE), S_OK);
  EXPECT_TRUE(empty.values.empty());
  EXPECT_EQ(persistence->Save(&all, TRUE, TRUE), S_OK);
  EXPECT_EQ(all.order, std::vector<std::wstring>(keys.begin(), keys.end()));
  setEverything();
  EXPECT_EQ(as<IPersistStreamInit>()->IsDirty(), S_OK);
  EXPECT_EQ(persistence->Save(&bag, TRUE, FALSE), S_OK);
  EXPECT_EQ(as<IPersistStreamInit>()->IsDirty(), S_FALSE);
  EXPECT_EQ(bag.values.size(), 9u);
  EXPECT_EQ(persistence->Load(&all, nullptr), S_OK);
  EXPECT_EQ(everything(), fresh);
  bag.values[L"CommPort"] = L"7";  // a bag that keeps texts
  EXPECT_EQ(persistence->Load(&bag, nullptr), S_OK);
  EXPECT_EQ(everything(), changed);

  bag.values[L"CommPort"] = L"three";
  EXPECT_EQ(persistence->Load(&bag, &bag), runTimeError(13));
  EXPECT_EQ(bag.errors[L"CommPort"], runTimeError(13));
  bag.values[L"CommPort"] = 100000;
  EXPECT_EQ(persistence->Load(&bag, nullptr), runTimeError(6));
}

TEST_F(ContainerTest, StreamsAndStoragesKeepEverythingAndLaterOnesAreRefused) {
  ComPtr<IStream> stream;
  CreateStreamOnHGlobal(nullptr, TRUE, &stream);
  const auto goTo = [&](LONGLONG place) {
    LARGE_INTEGER position;
    position.QuadPart = place;
    stream->Seek(position, STREAM_SEEK_SET, nullptr);
  };
  const auto persistence = as<IPersistStreamInit>();
  setEverything();
  ComPtr<IStorage> storage;
  ASSERT_EQ(StgCreateDocfile(
                nullptr, STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE | STGM_DELETEONRELEASE,
                0, &storage),
            S_OK);
  EXPECT_EQ(as<IPersistStorage>()->Save(storage.Get(), TRUE), S_OK);
  EXPECT_EQ(as<IPersistStorage>()->SaveCompleted(nullptr), S_OK);
  ULARGE_INTEGER most{};
  persistence->GetSizeMax(&most);
  EXPECT_EQ(persistence->Save(stream.Get(), TRUE), S_OK);
  STATSTG status{};
  stream->Stat(&status, STATFLAG_NONAME);
  EXPECT_LE(status.cbSize.QuadPart, most.QuadPart);
  EXPECT_EQ(persistence->InitNew(), S_OK);
  goTo(0);
  EXPECT_EQ(persistence->Load(stream.Get()), S_OK);
  EXPECT_EQ(everything(), changed);
  EXPECT_EQ(persistence->InitNew(), S_OK);
  EXPECT_EQ(as<IPersistStorage>()->Load(storage.Get()), S_OK);
  EXPECT_EQ(everything(), changed);

  const std::uint16_t later = 2;
  goTo(4);
  stream->Write(&later, sizeof later, nullptr);
  goTo(0);
  EXPECT_EQ(persistence->Load(stream.Get()), STG_E_OLDDLL);
  ComPtr<IErrorInfo> info;
  EXPECT_EQ(GetErrorInfo(0, &info), S_OK) << "says that it is a later version's";
  EXPECT_EQ(everything(), changed);  // nothing was taken from it

  for (ULONGLONG cut : {0u, 3u, 5u, 7u, 20u}) {  // broken off streams
    goTo(0);
    persistence->Save(stream.Get(), FALSE);
    stream->SetSize({{static_cast<DWORD>(cut), 0}});
    goTo(0);
    EXPECT_TRUE(FAILED(persistence->Load(stream.Get()))) << cut;
  }
}

TEST_F(ContainerTest, ItShowsInDesignHidesAtRunTimeAndFollowsItsPlace) {
  ShowWindow(site.window, SW_SHOWNA);
  site.userMode = false;
  HWND window = activate();
  EXPECT_EQ(site.activations, 1);
  EXPECT_TRUE(IsWindowVisible(window));
  Picture picture;
  EXPECT_TRUE(pumpUntil([&] {
    HDC screen = GetDC(window);
    BitBlt(picture.device, 0, 0, 160, 50, screen, 0, 0, SRCCOPY);
    ReleaseDC(window, screen);
    return picture.hasIcon();
  }));
  const RECT moved{20, 30, 120, 90};
  EXPECT_EQ(as<IOleInPlaceObject>()->SetObjectRects(&moved, &moved), S_OK);
  RECT area{};
  GetWindowRect(window, &area);
  EXPECT_EQ(area.right - area.left, 100);
  EXPECT_EQ(area.bottom - area.top, 60);

  site.userMode = true;
  as<IOleControl>()->OnAmbientPropertyChange(DISPID_AMBIENT_USERMODE);
  EXPECT_FALSE(IsWindowVisible(window));
  EXPECT_EQ(as<IOleObject>()->Close(OLECLOSE_SAVEIFDIRTY), S_OK);
  EXPECT_EQ(site.deactivations, 1);
  EXPECT_EQ(as<IOleInPlaceObject>()->GetWindow(&window), E_FAIL);

  activate();
  DestroyWindow(site.window);  // its window may go with the form
  EXPECT_EQ(as<IOleInPlaceObject>()->GetWindow(&window), E_FAIL);
}

TEST_F(ContainerTest, ItsFaceShowsItsPort) {
  Picture picture;
  const auto draw = [&] {
    const RECTL bounds{0, 0, 160, 50};
    EXPECT_EQ(as<IViewObject2>()->Draw(DVASPECT_CONTENT, -1, nullptr, nullptr, nullptr,
                                       picture.device, &bounds, nullptr, nullptr, 0),
              S_OK);
    return picture.pixels();
  };
  const auto first = draw();
  EXPECT_TRUE(picture.hasIcon());
  EXPECT_EQ(draw(), first);
  put(L"CommPort", 12);
  EXPECT_NE(draw(), first);
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
  for (const wchar_t* name : {L"DeviceNum", L"Enabled", L"WinSockRemoteHost"}) put(name, 9);
  EXPECT_EQ(changes.changed, (std::vector<DISPID>{8, DISPID_ENABLED, 14}));  // as in the IDL
  EXPECT_TRUE(pumpUntil([&] { return !events.order.empty(); }));  // the first state is reported
  const auto points = {std::pair(DIID___Cronvel, answer.dwEventCookie),
                       std::pair(IID_IPropertyNotifySink, answer.dwPropNotifyCookie)};
  for (const auto& [iid, cookie] : points) {
    EXPECT_EQ(pointOf(control.Get(), iid)->Unadvise(cookie), S_OK);
    EXPECT_EQ(pointOf(control.Get(), iid)->Unadvise(cookie), CONNECT_E_NOCONNECTION);
  }
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
}

/// The page's dialog, and the boxes that it shows.
class PropertyPageTest : public ContainerTest {
 protected:
  PropertyPageTest() {
    EXPECT_EQ(classFactory(CLSID_CronvelPage, &factory), S_OK);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_PPV_ARGS(&page)), S_OK);
  }
  ~PropertyPageTest() override {
    page->Deactivate();
    page->SetObjects(0, nullptr);
  }
  void open() {
    IUnknown* objects[] = {control.Get()};
    ASSERT_EQ(page->SetObjects(1, objects), S_OK);
    const RECT place{0, 0, 300, 200};
    ASSERT_EQ(page->Activate(site.window, &place, FALSE), S_OK);
    for (const wchar_t* key : keys) ASSERT_NE(field(site.window, key), nullptr) << key;
  }
  /// The property's field on a page below `parent`: the fields stand in the properties' order.
  static HWND field(HWND parent, std::wstring_view key) {
    HWND dialog = FindWindowExW(parent, nullptr, L"#32770", nullptr);
    std::size_t place = placeOf(key);
    for (HWND each = GetWindow(dialog, GW_CHILD); each != nullptr;
         each = GetWindow(each, GW_HWNDNEXT))
      if ((GetWindowLongW(each, GWL_STYLE) & WS_TABSTOP) != 0 && place-- == 0) return each;
    return nullptr;
  }
  HWND field(std::wstring_view key) const { return field(site.window, key); }
  std::wstring shown(std::wstring_view key) const {
    std::array<wchar_t, 100> text{};
    SendMessageW(field(key), WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()));
    return text.data();
  }
  bool checked(std::wstring_view key) const {
    return SendMessageW(field(key), BM_GETCHECK, 0, 0) == BST_CHECKED;
  }

  /// Applies the page; its box runs a message loop of its own, which this sees and ends.
  std::wstring refusal() {
    said.clear();
    const UINT_PTR timer = SetTimer(nullptr, 0, 50, [](HWND, UINT, UINT_PTR, DWORD) {
      HWND box = FindWindowW(L"#32770", L"Cronvel");
      std::array<wchar_t, 300> text{};
      if (box == nullptr || GetDlgItemTextW(box, 0xFFFF, text.data(), 300) == 0) return;
      said = text.data();
      PostMessageW(box, WM_COMMAND, IDOK, 0);
    });
    EXPECT_TRUE(FAILED(page->Apply()));
    KillTimer(nullptr, timer);
    return said;
  }

  ComPtr<IClassFactory> factory;
  ComPtr<IPropertyPage> page;
  inline static std::wstring said;
};

TEST_F(PropertyPageTest, ItShowsAndAppliesTheProperties) {
  setEverything();
  site.userMode = false;
  open();
  EXPECT_EQ(shown(L"CommPort"), L"7");
  EXPECT_EQ(shown(L"TelNum"), L"0211234567");
  EXPECT_EQ(shown(L"BPS"), L"4800");
  EXPECT_TRUE(checked(L"DialupConnection"));
  EXPECT_FALSE(checked(L"Enabled"));
  EXPECT_FALSE(IsWindowEnabled(field(L"BPS")));  // cannot be set in design mode
  EXPECT_FALSE(IsWindowEnabled(field(L"ReaderOn")));
  EXPECT_EQ(page->IsPageDirty(), S_FALSE);

  SetWindowTextW(field(L"CommPort"), L"3");
  SendMessageW(field(L"DialupConnection"), BM_CLICK, 0, 0);
  EXPECT_EQ(page->IsPageDirty(), S_OK);
  EXPECT_EQ(text(L"CommPort"), L"7");
  EXPECT_EQ(page->Apply(), S_OK);
  EXPECT_EQ(everything(), L"False 3 False False 6 False 0211234567 4800 42 100000 3 ");
  EXPECT_EQ(page->IsPageDirty(), S_FALSE);

  const std::pair<const wchar_t*, const wchar_t*> refusals[] = {
      {L"0", L"ports are numbered from 1"}, {L"70000", L"out of range"}, {L"x", L"not a number"}};
  for (const auto& [typed, says] : refusals) {
    SetWindowTextW(field(L"CommPort"), typed);
    EXPECT_NE(refusal().find(says), std::wstring::npos) << typed;
    EXPECT_EQ(page->IsPageDirty(), S_OK);  // still to be put right
  }
}

TEST_F(PropertyPageTest, ItOffersTheSpeedsAndNeverTalksToATerminal) {
  open();
  EXPECT_EQ(SendMessageW(field(L"BPS"), CB_GETCOUNT, 0, 0), 9);
  EXPECT_FALSE(IsWindowEnabled(field(L"MonitoringON")));
}

TEST_F(PropertyPageTest, HostsAndThePropertiesVerbFindIt) {
  CAUUID pages{};
  ASSERT_EQ(as<ISpecifyPropertyPages>()->GetPages(&pages), S_OK);
  ASSERT_EQ(pages.cElems, 1u);
  EXPECT_EQ(pages.pElems[0], CLSID_CronvelPage);
  CoTaskMemFree(pages.pElems);
  // Not registered, so the system is told of the page for this while.
  DWORD cookie = 0;
  ASSERT_EQ(CoRegisterClassObject(CLSID_CronvelPage, factory.Get(), CLSCTX_INPROC_SERVER,
                                  REGCLS_MULTIPLEUSE, &cookie),
            S_OK);
  said.clear();
  const UINT_PTR timer = SetTimer(nullptr, 0, 50, [](HWND, UINT, UINT_PTR, DWORD) {
    HWND frame = FindWindowW(L"#32770", nullptr);
    if (frame == nullptr) return;
    said = L"a modal frame";
    PostMessageW(frame, WM_COMMAND, IDCANCEL, 0);
  });
  EXPECT_EQ(as<IOleObject>()->DoVerb(OLEIVERB_PROPERTIES, nullptr, &site, 0, site.window, nullptr),
            S_OK);
  KillTimer(nullptr, timer);
  EXPECT_EQ(said, L"a modal frame");
  CoRevokeClassObject(cookie);
}

}  // namespace
}  // namespace cronvel::activex::test
