#include "tests/activex/Host.h"

namespace cronvel::activex::test {
namespace {

/// The container of the system's own template library, of which the control knows nothing and which
/// tells it nothing: no ambient properties, no persistence.
class ForeignContainerTest : public ControlTest {
 protected:
  ForeignContainerTest() {
    library = LoadLibraryW(L"atl.dll");
    find(initialise, "AtlAxWinInit");
    find(attach, "AtlAxAttachControl");
    find(adviseEvents, "AtlAdvise");
    find(unadviseEvents, "AtlUnadvise");
    initialise();
    window = CreateWindowExW(0, L"AtlAxWin", L"", WS_POPUP | WS_VISIBLE, 50, 50, 300, 100, nullptr,
                             nullptr, nullptr, nullptr);
    ComPtr<IUnknown> container;
    EXPECT_EQ(attach(control.Get(), window, &container), S_OK);
  }
  ~ForeignContainerTest() override {
    if (window != nullptr) DestroyWindow(window);
  }
  template <typename Function>
  void find(Function& function, const char* name) {
    function = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library, name)));
    ASSERT_NE(function, nullptr) << name;
  }

  HMODULE library = nullptr;
  BOOL(WINAPI* initialise)() = nullptr;
  HRESULT(WINAPI* attach)(IUnknown*, HWND, IUnknown**) = nullptr;
  HRESULT(WINAPI* adviseEvents)(IUnknown*, IUnknown*, const IID&, DWORD*) = nullptr;
  HRESULT(WINAPI* unadviseEvents)(IUnknown*, const IID&, DWORD) = nullptr;
  HWND window = nullptr;
};

TEST_F(ForeignContainerTest, ItIsActivatedResizedAndHearsEvents) {
  HWND face = nullptr;
  ASSERT_EQ(as<IOleInPlaceObject>()->GetWindow(&face), S_OK);
  EXPECT_EQ(GetParent(face), window);
  EXPECT_FALSE(IsWindowVisible(face));  // a container that tells nothing is in run mode
  const auto widthIs = [&](int width) {
    RECT area{};
    GetClientRect(face, &area);
    return area.right == width;
  };
  EXPECT_TRUE(pumpUntil([&] { return widthIs(300); }));
  MoveWindow(window, 50, 50, 200, 80, TRUE);
  EXPECT_TRUE(pumpUntil([&] { return widthIs(200); }));

  TestSink sink;
  DWORD cookie = 0;
  ASSERT_EQ(adviseEvents(control.Get(), &sink, DIID___Cronvel, &cookie), S_OK);
  EXPECT_TRUE(pumpUntil([&] { return sink.counts[1] == 1; }));  // the first state is reported
  EXPECT_EQ(unadviseEvents(control.Get(), DIID___Cronvel, cookie), S_OK);
  EXPECT_EQ(put(L"BPS", L"300").result, S_OK);

  control.Reset();
  EXPECT_FALSE(canUnload());
  DestroyWindow(window);
  window = nullptr;
  EXPECT_TRUE(pumpUntil([&] { return canUnload(); }));
}

/// The runner looks at the screen while this shows the face, and makes the file when it has.
TEST_F(ForeignContainerTest, ItsFaceCanBeSeenOnTheScreen) {
  const wchar_t* const seen = _wgetenv(L"CRONVEL_SEEN");
  if (seen == nullptr) GTEST_SKIP() << "nobody looks at the screen (CRONVEL_SEEN)";
  const ComPtr<IViewObject2> view = as<IViewObject2>();
  const bool looked = pumpUntil(
      [&] {
        HDC device = GetDC(window);
        const RECT place{10, 10, 170, 60};
        EXPECT_EQ(OleDraw(view.Get(), DVASPECT_CONTENT, device, &place), S_OK);
        ReleaseDC(window, device);
        return GetFileAttributesW(seen) != INVALID_FILE_ATTRIBUTES;
      },
      20000);
  EXPECT_TRUE(looked) << "nobody looked at the screen";
}

}  // namespace
}  // namespace cronvel::activex::test
