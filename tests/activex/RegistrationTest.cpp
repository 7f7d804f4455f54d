#include <set>

#include "activex/Module.h"
#include "tests/activex/Host.h"

namespace cronvel::activex::test {
namespace {

const std::wstring classes = L"Software\\Classes\\";
const std::wstring classPath = classes + L"CLSID\\{B80BE6BE-ADE7-4BDC-9FAE-125A508C6F10}";
const std::wstring libraryPath = classes + L"TypeLib\\{CE3ABB34-5C38-4C0D-8265-70F934EBDE41}";
constexpr const wchar_t* otherBits = sizeof(void*) == 8 ? L"win32" : L"win64";

/// Everything under a key of the user's: "path" and "path|name=value".
std::set<std::wstring> entries(const std::wstring& path = classes) {
  std::set<std::wstring> found;
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS)
    return found;
  found.insert(path);
  wchar_t name[300], value[600];
  DWORD nameSize = 300, valueSize = sizeof value;
  for (DWORD i = 0; RegEnumValueW(key, i, name, &nameSize, nullptr, nullptr,
                                  reinterpret_cast<BYTE*>(value), &valueSize) == ERROR_SUCCESS;
       ++i, nameSize = 300, valueSize = sizeof value)
    found.insert(path + L"|" + name + L"=" + value);
  for (DWORD i = 0; RegEnumKeyW(key, i, name, 300) == ERROR_SUCCESS; ++i)
    found.merge(entries(path + (path == classes ? L"" : L"\\") + name));
  RegCloseKey(key);
  return found;
}

void createKey(const std::wstring& path, DWORD options) {
  HKEY key = nullptr;
  EXPECT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, options, KEY_ALL_ACCESS,
                            nullptr, &key, nullptr),
            ERROR_SUCCESS);
  RegCloseKey(key);
}

/// The user's part of the registry, so that nothing of the machine's is touched.
class RegistrationTest : public ControlTest {
 protected:
  RegistrationTest() : before((install(false), entries())) {}
  ~RegistrationTest() override { install(false); }

  HRESULT install(bool on, const wchar_t* forWhom = L"user") const {
    using Install = HRESULT(STDAPICALLTYPE*)(BOOL, LPCWSTR);
    return reinterpret_cast<Install>(reinterpret_cast<void*>(GetProcAddress(module, "DllInstall")))(
        on, forWhom);
  }

  std::set<std::wstring> before;
};

TEST_F(RegistrationTest, ItEntersAndRemovesEverything) {
  ASSERT_EQ(install(true), S_OK);
  const auto now = entries();
  const std::wstring status = std::to_wstring(miscStatus);
  EXPECT_TRUE(now.contains(classPath + L"\\InprocServer32|ThreadingModel=Apartment"));
  EXPECT_TRUE(now.contains(classPath + L"\\MiscStatus\\1|=" + status));
  EXPECT_EQ(install(true), S_OK);  // once more is no error
  EXPECT_EQ(entries(), now);
  EXPECT_EQ(install(false), S_OK);
  EXPECT_EQ(entries(), before);
  EXPECT_EQ(install(false), S_OK);
  EXPECT_EQ(install(true, L"everybody"), E_INVALIDARG);
}

TEST_F(RegistrationTest, AFailureOnTheWayLeavesTheRegistryAsItWas) {
  createKey(libraryPath, REG_OPTION_VOLATILE);  // which takes nothing lasting
  const auto withObstacle = entries();
  EXPECT_TRUE(FAILED(install(true)));
  EXPECT_EQ(entries(), withObstacle);
  RegDeleteKeyW(HKEY_CURRENT_USER, libraryPath.c_str());
}

TEST_F(RegistrationTest, WhatTheOtherBitnessNeedsStays) {
  ASSERT_EQ(install(true), S_OK);
  const std::wstring other = libraryPath + L"\\1.0\\0\\" + otherBits;
  createKey(other, 0);
  EXPECT_EQ(install(false), S_OK);
  EXPECT_TRUE(entries().contains(classes + L"CronvelOCX.Cronvel\\CurVer|=CronvelOCX.Cronvel.1"));
  EXPECT_FALSE(entries().contains(classPath + L"\\InprocServer32"));
  RegDeleteKeyW(HKEY_CURRENT_USER, other.c_str());
  EXPECT_EQ(install(false), S_OK);
  EXPECT_EQ(entries(), before);
}

}  // namespace
}  // namespace cronvel::activex::test
