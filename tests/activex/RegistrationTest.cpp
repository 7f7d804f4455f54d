#include <set>

#include "activex/Module.h"
#include "tests/activex/Host.h"

namespace cronvel::activex::test {
namespace {

constexpr const wchar_t* classesPath = L"Software\\Classes";
constexpr const wchar_t* classPath =
    L"Software\\Classes\\CLSID\\{B80BE6BE-ADE7-4BDC-9FAE-125A508C6F10}";
constexpr const wchar_t* libraryPath =
    L"Software\\Classes\\TypeLib\\{CE3ABB34-5C38-4C0D-8265-70F934EBDE41}";
constexpr const wchar_t* bits = sizeof(void*) == 8 ? L"win64" : L"win32";
constexpr const wchar_t* otherBits = sizeof(void*) == 8 ? L"win32" : L"win64";

/// Everything under a key: "path|name=value".
void collect(HKEY root, const std::wstring& path, std::set<std::wstring>& found) {
  HKEY key = nullptr;
  if (RegOpenKeyExW(root, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return;
  found.insert(path);
  wchar_t name[300], value[600];
  for (DWORD i = 0;; ++i) {
    DWORD nameSize = 300, valueSize = sizeof value, type = 0;
    if (RegEnumValueW(key, i, name, &nameSize, nullptr, &type, reinterpret_cast<BYTE*>(value),
                      &valueSize) != ERROR_SUCCESS)
      break;
    found.insert(path + L"|" + name + L"=" + value);
  }
  for (DWORD i = 0;; ++i) {
    DWORD nameSize = 300;
    if (RegEnumKeyExW(key, i, name, &nameSize, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
      break;
    collect(root, path + L"\\" + name, found);
  }
  RegCloseKey(key);
}

std::wstring valueOf(const std::wstring& path, const wchar_t* name = L"") {
  wchar_t value[600] = L"";
  DWORD size = sizeof value;
  RegGetValueW(HKEY_CURRENT_USER, path.c_str(), name, RRF_RT_REG_SZ, nullptr, value, &size);
  return value;
}

/// The user's part of the registry, so that nothing of the machine's is touched.
class RegistrationTest : public ControlTest {
 protected:
  RegistrationTest() {
    install(false);
    before = entries();
  }
  ~RegistrationTest() override { install(false); }

  HRESULT install(bool on, const wchar_t* forWhom = L"user") const {
    using Install = HRESULT(STDAPICALLTYPE*)(BOOL, LPCWSTR);
    return reinterpret_cast<Install>(reinterpret_cast<void*>(GetProcAddress(module, "DllInstall")))(
        on, forWhom);
  }
  static std::set<std::wstring> entries() {
    std::set<std::wstring> found;
    collect(HKEY_CURRENT_USER, classesPath, found);
    return found;
  }

  std::set<std::wstring> before;
};

TEST_F(RegistrationTest, ItEntersAndRemovesEverything) {
  ASSERT_EQ(install(true), S_OK);
  const std::wstring server = valueOf(std::wstring(classPath) + L"\\InprocServer32");
  EXPECT_TRUE(server.ends_with(L"\\Cronvel.ocx")) << "names the file itself";
  EXPECT_EQ(valueOf(std::wstring(classPath) + L"\\InprocServer32", L"ThreadingModel"),
            L"Apartment");
  EXPECT_EQ(valueOf(std::wstring(libraryPath) + L"\\1.0\\0\\" + bits), server);
  EXPECT_EQ(valueOf(L"Software\\Classes\\CronvelOCX.Cronvel\\CLSID"),
            L"{B80BE6BE-ADE7-4BDC-9FAE-125A508C6F10}");
  EXPECT_EQ(valueOf(std::wstring(classPath) + L"\\MiscStatus\\1"), std::to_wstring(miscStatus));
  EXPECT_EQ(install(true), S_OK);  // once more is no error
  EXPECT_EQ(install(false), S_OK);
  EXPECT_EQ(entries(), before);
  EXPECT_EQ(install(false), S_OK);
  EXPECT_EQ(install(true, L"everybody"), E_INVALIDARG);
}

TEST_F(RegistrationTest, AFailureOnTheWayLeavesTheRegistryAsItWas) {
  // Nothing lasting can be put into a key that goes with the session.
  HKEY obstacle = nullptr;
  ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, libraryPath, 0, nullptr, REG_OPTION_VOLATILE,
                            KEY_ALL_ACCESS, nullptr, &obstacle, nullptr),
            ERROR_SUCCESS);
  const auto withObstacle = entries();
  EXPECT_TRUE(FAILED(install(true)));
  EXPECT_EQ(entries(), withObstacle);
  RegCloseKey(obstacle);
  RegDeleteKeyW(HKEY_CURRENT_USER, libraryPath);
}

TEST_F(RegistrationTest, WhatTheOtherBitnessNeedsStays) {
  ASSERT_EQ(install(true), S_OK);
  HKEY other = nullptr;
  const std::wstring otherPath = std::wstring(libraryPath) + L"\\1.0\\0\\" + otherBits;
  RegCreateKeyExW(HKEY_CURRENT_USER, otherPath.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                  &other, nullptr);
  RegCloseKey(other);
  EXPECT_EQ(install(false), S_OK);
  EXPECT_EQ(valueOf(L"Software\\Classes\\CronvelOCX.Cronvel\\CurVer"), L"CronvelOCX.Cronvel.1");
  EXPECT_EQ(valueOf(std::wstring(classPath) + L"\\InprocServer32"), L"");
  RegDeleteKeyW(HKEY_CURRENT_USER, otherPath.c_str());
  EXPECT_EQ(install(false), S_OK);
  EXPECT_EQ(entries(), before);
}

}  // namespace
}  // namespace cronvel::activex::test
