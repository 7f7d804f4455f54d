#pragma once

#include <string>

#include "activex/Com.h"

namespace cronvel::activex {

/// The property page of the control; not in the type library.
inline constexpr CLSID CLSID_CronvelPage = {
    0x91c37153, 0x0b09, 0x4127, {0xb4, 0xb3, 0xbb, 0x94, 0xf5, 0xb2, 0x72, 0x85}};

/// What a container has to know before it makes a control: nothing to see or focus at run time,
/// and its site is to be set before its properties are loaded.
inline constexpr DWORD miscStatus = OLEMISC_RECOMPOSEONRESIZE | OLEMISC_CANTLINKINSIDE |
                                    OLEMISC_INSIDEOUT | OLEMISC_INVISIBLEATRUNTIME |
                                    OLEMISC_NOUIACTIVATE | OLEMISC_SETCLIENTSITEFIRST;

/// The file that this code was loaded from.
namespace module {

HINSTANCE instance();
void setInstance(HINSTANCE instance);
std::wstring path();

/// While a lock is held the file must stay loaded.
void lock();
void unlock();
bool locked();

class Lock {
 public:
  Lock() { lock(); }
  ~Lock() { unlock(); }
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;
};

/// The type library that the file contains.
ComPtr<ITypeLib> typeLibrary();

/// Registers a window class of this file, once; all go with the file.
void registerWindowClass(const wchar_t* name, WNDPROC procedure);
void unregisterWindowClasses();

}  // namespace module
}  // namespace cronvel::activex
