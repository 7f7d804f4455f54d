#include <set>

#include "activex/Module.h"
#include "tests/activex/Host.h"

namespace cronvel::activex::test {
namespace {

const std::wstring classes = L"Software\\Classes";
const std::wstring classPath = classes + L"\\CLSID\\{B80BE6BE-ADE7-4BDC-9FAE-125A508C6F10}";
const std::wstring libraryPath = classes + L"\\TypeLib\\{CE3ABB34-5C38-4C0D-8265-70F934EBDE41}";
constexpr const wchar_t* otherBits = sizeof(void*) == 8 ? L"win32" : L"win64";

/// Every key under one of the user's.
std::set<std::wstring> keys(const std::wstring& path = classes) {
  std::set<std::wstring> found{path};
  HKEY key = nullptr;
  EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, KEY_READ, &key), ERROR_SUCCESS);
  wchar_t name[300];
  for (DWORD i = 0; RegEnumKeyW(key, i, name, 300) == ERROR_SUCCESS; ++i)
    found.merge(keys(path + L"\\" + name));
  RegCloseKey(key);
  return found;
}

/// The user's part of the registry, so that nothing of the machine's is touched.
class RegistrationTest : public ControlTest {
 protected:
  RegistrationTest() : before((install(false), keys())) {}
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
  const auto now = keys();
  wchar_t status[20]{};
  DWORD size = sizeof status;
  RegGetValueW(HKEY_CURRENT_USER, (classPath + L"\\MiscStatus\\1").c_str(), nullptr, RRF_RT_REG_SZ,
               nullptr, status, &size);
  EXPECT_EQ(status, std::to_wstring(miscStatus));
  EXPECT_EQ(install(true), S_OK);  // once more is no error
  EXPECT_EQ(keys(), now);
  EXPECT_EQ(install(false), S_OK);
  EXPECT_EQ(keys(), before);
  EXPECT_EQ(install(false), S_OK);
  EXPECT_EQ(install(true, L"everybody"), E_INVALIDARG);
}

TEST_F(RegistrationTest, AFailureOnTheWayLeavesTheRegistryAsItWas) {
  HKEY obstacle = nullptr;  // which takes nothing lasting
  RegCreateKeyExW(HKEY_CURRENT_USER, libraryPath.c_str(), 0, nullptr, REG_OPTION_VOLATILE,
                  KEY_ALL_ACCESS, nullptr, &obstacle, nullptr);
  RegCloseKey(obstacle);
  const auto withObstacle = keys();
  EXPECT_TRUE(FAILED(install(true)));
  EXPECT_EQ(keys(), withObstacle);
  RegDeleteKeyW(HKEY_CURRENT_USER, libraryPath.c_str());
}

TEST_F(RegistrationTest, WhatTheOtherBitnessNeedsStays) {
  ASSERT_EQ(install(true), S_OK);
  const std::wstring other = libraryPath + L"\\1.0\\0\\" + otherBits;
  HKEY made = nullptr;
  RegCreateKeyW(HKEY_CURRENT_USER, other.c_str(), &made);
  RegCloseKey(made);
  EXPECT_EQ(install(false), S_OK);
  EXPECT_TRUE(keys().contains(classes + L"\\CronvelOCX.Cronvel\\CurVer"));
  EXPECT_FALSE(keys().contains(classPath + L"\\InprocServer32"));
  RegDeleteKeyW(HKEY_CURRENT_USER, other.c_str());
  EXPECT_EQ(install(false), S_OK);
  EXPECT_EQ(keys(), before);
}

}  // namespace
}  // namespace cronvel::activex::test
