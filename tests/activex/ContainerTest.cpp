#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <sstream>

#include "activex/Module.h"
#include "tests/activex/Host.h"

namespace cronvel::activex::test {
namespace {

/// The persisted properties, in their order.
constexpr std::array<const wchar_t*, 11> keys = {
    L"Enabled", L"CommPort", L"ReaderOn",  L"MonitoringON", L"IdLen",      L"DialupConnection",
    L"TelNum",  L"BPS",      L"DeviceNum", L"NumOfRecs",    L"DamagedRecs"};

/// A form's property bag, and its log of errors.
class TestBag final : public TestObject<IPropertyBag, IErrorLog> {
 public:
  std::map<std::wstring, _variant_t> values;
  std::map<std::wstring, HRESULT> errors;

  STDMETHODIMP Read(LPCOLESTR name, VARIANT* value, IErrorLog*) override {
    const auto found = values.find(name);
    return found == values.end() ? E_INVALIDARG : VariantCopy(value, &found->second);
  }
  STDMETHODIMP Write(LPCOLESTR name, VARIANT* value) override {
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

std::vector<COLORREF> pixels(HDC device, int width, int height) {
  std::vector<COLORREF> all;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) all.push_back(GetPixel(device, x, y));
  return all;
}
/// Whether it shows the icon, by the green of the terminal's display.
bool hasIcon(const std::vector<COLORREF>& picture) {
  return std::ranges::count(picture, RGB(0x9F, 0xD8, 0xB4)) > 50;
}

/// Something to draw on, in a colour that the control has nowhere.
class Surface {
 public:
  Surface(int width, int height) : device(CreateCompatibleDC(nullptr)), area{0, 0, width, height} {
    DeleteObject(SelectObject(device, CreateBitmap(width, height, 1, 32, nullptr)));
    HBRUSH brush = CreateSolidBrush(empty);
    FillRect(device, &area, brush);
    DeleteObject(brush);
  }
  ~Surface() {
    DeleteObject(SelectObject(device, CreateBitmap(1, 1, 1, 1, nullptr)));
    DeleteDC(device);
  }
  Surface(const Surface&) = delete;
  Surface& operator=(const Surface&) = delete;

  std::vector<COLORREF> picture() const { return pixels(device, area.right, area.bottom); }
  /// Icon and background, as far as the edges.
  void expectFace(const std::string& how) const {
    const auto shown = picture();
    EXPECT_TRUE(hasIcon(shown)) << how;
    EXPECT_LE(std::ranges::count(shown, empty), static_cast<long>(shown.size() / 20)) << how;
  }

  HDC device;
  RECT area;

 private:
  static constexpr COLORREF empty = RGB(255, 0, 255);
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
    std::wistringstream values(changed);
    std::wstring value;
    for (const wchar_t* key : keys) {
      values >> value;
      if (text(key) != value) put(key, value.c_str());
    }
    EXPECT_EQ(everything(), changed);
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
  EXPECT_EQ(put(L"BPS", L"300"), runTimeError(387));
  EXPECT_EQ(put(L"DeviceNum", 5), S_OK);
  site.userMode = true;
  EXPECT_EQ(put(L"BPS", L"300"), S_OK);
  site.userMode.reset();  // a container that does not tell is in run mode
  EXPECT_EQ(put(L"BPS", L"600"), S_OK);
}

TEST_F(ContainerTest, ABagKeepsWhatDiffersFromTheDefaults) {
  const auto persistence = as<IPersistPropertyBag>();
  EXPECT_EQ(persistence->InitNew(), S_OK);
  TestBag empty, all, bag;
  EXPECT_EQ(persistence->Save(&empty, TRUE, FALSE), S_OK);
  EXPECT_TRUE(empty.values.empty());
  EXPECT_EQ(persistence->Save(&all, TRUE, TRUE), S_OK);
  EXPECT_EQ(all.values.size(), keys.size());
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
    stream->Seek({.QuadPart = place}, STREAM_SEEK_SET, nullptr);
  };
  const auto load = [&] {
    goTo(0);
    return as<IPersistStreamInit>()->Load(stream.Get());
  };
  setEverything();
  ComPtr<IStorage> storage;
  constexpr DWORD mode = STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE | STGM_DELETEONRELEASE;
  ASSERT_EQ(StgCreateDocfile(nullptr, mode, 0, &storage), S_OK);
  EXPECT_EQ(as<IPersistStorage>()->Save(storage.Get(), TRUE), S_OK);
  EXPECT_EQ(as<IPersistStorage>()->SaveCompleted(nullptr), S_OK);
  EXPECT_EQ(as<IPersistStreamInit>()->Save(stream.Get(), TRUE), S_OK);
  EXPECT_EQ(as<IPersistStreamInit>()->InitNew(), S_OK);
  EXPECT_EQ(load(), S_OK);
  EXPECT_EQ(everything(), changed);
  EXPECT_EQ(as<IPersistStreamInit>()->InitNew(), S_OK);
  EXPECT_EQ(as<IPersistStorage>()->Load(storage.Get()), S_OK);
  EXPECT_EQ(everything(), changed);

  const std::uint16_t later = 2;
  goTo(4);
  stream->Write(&later, sizeof later, nullptr);
  EXPECT_EQ(load(), STG_E_OLDDLL);
  ComPtr<IErrorInfo> info;
  EXPECT_EQ(GetErrorInfo(0, &info), S_OK) << "says that it is a later version's";
  EXPECT_EQ(everything(), changed);  // nothing was taken from it

  for (ULONGLONG cut : {0u, 3u, 5u, 7u, 20u}) {  // broken off streams
    goTo(0);
    as<IPersistStreamInit>()->Save(stream.Get(), FALSE);
    stream->SetSize({.QuadPart = cut});
    EXPECT_TRUE(FAILED(load())) << cut;
  }
}

TEST_F(ContainerTest, ItShowsInDesignHidesAtRunTimeAndFollowsItsPlace) {
  ShowWindow(site.window, SW_SHOWNA);
  site.userMode = false;
  HWND window = activate();
  EXPECT_EQ(site.activations, 1);
  EXPECT_TRUE(IsWindowVisible(window));
  HDC screen = GetDC(window);
  EXPECT_TRUE(pumpUntil([&] { return hasIcon(pixels(screen, 160, 50)); }));
  ReleaseDC(window, screen);
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

TEST_F(ContainerTest, ItsFaceShowsItsPortInAnySizeAlsoFromAMetafile) {
  const auto view = as<IViewObject2>();
  const auto data = as<IDataObject>();
  const auto draw = [&](const Surface& to) {
    const RECTL bounds{0, 0, to.area.right, to.area.bottom};
    EXPECT_EQ(view->Draw(DVASPECT_CONTENT, -1, nullptr, nullptr, nullptr, to.device, &bounds,
                         nullptr, nullptr, 0),
              S_OK);
    return to.picture();
  };
  ComPtr<IEnumFORMATETC> formats;
  EXPECT_EQ(data->EnumFormatEtc(DATADIR_GET, &formats), S_OK);
  FORMATETC format{};
  while (formats->Next(1, &format, nullptr) == S_OK)
    for (const auto& [width, height] : {std::pair(200, 50), {400, 100}}) {
      const Surface to(width, height);
      STGMEDIUM medium{};
      ASSERT_EQ(data->GetData(&format, &medium), S_OK);
      if (medium.tymed == TYMED_MFPICT) {
        SetMapMode(to.device, MM_ANISOTROPIC);
        SetViewportExtEx(to.device, width, height, nullptr);
        PlayMetaFile(to.device, static_cast<METAFILEPICT*>(GlobalLock(medium.hMetaFilePict))->hMF);
        GlobalUnlock(medium.hMetaFilePict);
        SetMapMode(to.device, MM_TEXT);
      } else {
        PlayEnhMetaFile(to.device, medium.hEnhMetaFile, &to.area);
      }
      ReleaseStgMedium(&medium);
      to.expectFace("format " + std::to_string(format.cfFormat) + ", " + std::to_string(width));
    }
  format.cfFormat = CF_BITMAP;
  EXPECT_EQ(data->QueryGetData(&format), DV_E_FORMATETC);

  const Surface form(160, 50);
  const auto first = draw(form);
  form.expectFace("on a form");
  EXPECT_EQ(draw(form), first);
  put(L"CommPort", 12);
  EXPECT_NE(draw(form), first);
}

TEST_F(ContainerTest, LoadingIsSafeAndScriptsAreNot) {
  ComPtr<IObjectSafety> safety;
  ASSERT_EQ(control->QueryInterface(IID_IObjectSafety, &safety), S_OK);
  constexpr DWORD data = INTERFACESAFE_FOR_UNTRUSTED_DATA,
                  caller = INTERFACESAFE_FOR_UNTRUSTED_CALLER;
  EXPECT_EQ(safety->SetInterfaceSafetyOptions(IID_IPersistStreamInit, data, data), S_OK);
  EXPECT_EQ(safety->SetInterfaceSafetyOptions(IID_IDispatch, caller, caller), E_FAIL);
  EXPECT_EQ(safety->SetInterfaceSafetyOptions(IID_IViewObjectEx, data, data), E_NOINTERFACE);
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
  for (const auto& [iid, cookie] : points)
    EXPECT_EQ(pointOf(control.Get(), iid)->Unadvise(cookie), S_OK);
}

TEST_F(ContainerTest, AnotherObjectMayAggregateIt) {
  struct Outer final : TestObject<IPersist> {
    ComPtr<IUnknown> inner;
    STDMETHODIMP GetClassID(CLSID*) override { return E_NOTIMPL; }
    STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
      return iid == IID_IUnknown || !inner ? TestObject::QueryInterface(iid, object)
                                           : inner->QueryInterface(iid, object);
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
    // The fields stand in the properties' order, between their labels.
    HWND dialog = FindWindowExW(site.window, nullptr, L"#32770", nullptr);
    auto key = keys.begin();
    for (HWND each = GetWindow(dialog, GW_CHILD); each != nullptr;
         each = GetWindow(each, GW_HWNDNEXT))
      if ((GetWindowLongW(each, GWL_STYLE) & WS_TABSTOP) != 0) field[*key++] = each;
    ASSERT_EQ(field.size(), keys.size());
  }
  /// What `everything` has of the control.
  std::wstring shown() {
    std::wstring all;
    for (const wchar_t* key : keys) {
      std::array<wchar_t, 100> text{};
      SendMessageW(field[key], WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()));
      if ((SendMessageW(field[key], WM_GETDLGCODE, 0, 0) & DLGC_BUTTON) != 0)
        wcscpy(text.data(), IsDlgButtonChecked(GetParent(field[key]), GetDlgCtrlID(field[key]))
                                ? L"True"
                                : L"False");
      all += text.data() + std::wstring(L" ");
    }
    return all;
  }

  static void CALLBACK endDialog(HWND, UINT, UINT_PTR, DWORD) {
    HWND box = FindWindowW(L"#32770", nullptr);
    if (box == nullptr) return;
    std::array<wchar_t, 300> text{};
    GetDlgItemTextW(box, 0xFFFF, text.data(), 300);
    said = std::wstring(L"said: ") + text.data();
    PostMessageW(box, WM_COMMAND, IDCANCEL, 0);
  }
  /// Does what shows a dialog with a message loop of its own; sees what that says and ends it.
  template <typename Action>
  static std::wstring dialogOf(Action&& action) {
    said.clear();
    const UINT_PTR timer = SetTimer(nullptr, 0, 50, endDialog);
    action();
    KillTimer(nullptr, timer);
    return said;
  }

  ComPtr<IClassFactory> factory;
  ComPtr<IPropertyPage> page;
  std::map<std::wstring, HWND> field;
  inline static std::wstring said;
};

TEST_F(PropertyPageTest, ItShowsAndAppliesTheProperties) {
  setEverything();
  site.userMode = false;
  open();
  EXPECT_EQ(shown(), changed);
  EXPECT_FALSE(IsWindowEnabled(field[L"BPS"]));  // cannot be set in design mode
  EXPECT_FALSE(IsWindowEnabled(field[L"ReaderOn"]));
  EXPECT_EQ(page->IsPageDirty(), S_FALSE);

  SetWindowTextW(field[L"CommPort"], L"3");
  SendMessageW(field[L"DialupConnection"], BM_CLICK, 0, 0);
  EXPECT_EQ(page->IsPageDirty(), S_OK);
  EXPECT_EQ(text(L"CommPort"), L"7");
  EXPECT_EQ(page->Apply(), S_OK);
  EXPECT_EQ(everything(), L"False 3 False False 6 False 0211234567 4800 42 100000 3 ");
  EXPECT_EQ(page->IsPageDirty(), S_FALSE);

  const std::pair<const wchar_t*, const wchar_t*> refusals[] = {
      {L"0", L"ports are numbered from 1"}, {L"70000", L"out of range"}, {L"x", L"not a number"}};
  for (const auto& [typed, says] : refusals) {
    SetWindowTextW(field[L"CommPort"], typed);
    const auto box = dialogOf([&] { EXPECT_TRUE(FAILED(page->Apply())); });
    EXPECT_NE(box.find(says), std::wstring::npos) << typed;
    EXPECT_EQ(page->IsPageDirty(), S_OK);  // still to be put right
  }
}

TEST_F(PropertyPageTest, ASpeedIsChosenAtRunTimeButNothingThatTalksToATerminal) {
  open();
  EXPECT_FALSE(IsWindowEnabled(field[L"MonitoringON"]));
  HWND list = field[L"BPS"];
  EXPECT_EQ(SendMessageW(list, CB_GETCOUNT, 0, 0), 9);
  EXPECT_NE(SendMessageW(list, CB_SELECTSTRING, static_cast<WPARAM>(-1),
                         reinterpret_cast<LPARAM>(L"300")),
            CB_ERR);
  SendMessageW(GetParent(list), WM_COMMAND, MAKEWPARAM(GetDlgCtrlID(list), CBN_SELCHANGE),
               reinterpret_cast<LPARAM>(list));
  EXPECT_EQ(page->Apply(), S_OK);
  EXPECT_EQ(text(L"BPS"), L"300");
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
  const auto verb = [&] {
    return as<IOleObject>()->DoVerb(OLEIVERB_PROPERTIES, nullptr, &site, 0, site.window, nullptr);
  };
  EXPECT_EQ(dialogOf([&] { EXPECT_EQ(verb(), S_OK); }), L"said: ");
  CoRevokeClassObject(cookie);
}

}  // namespace
}  // namespace cronvel::activex::test
