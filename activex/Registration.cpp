#include "activex/Registration.h"

#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "activex/Module.h"

namespace cronvel::activex {
namespace {

struct Entry {
  bool shared;
  std::wstring key;
  std::wstring name;
  std::wstring value;
};

constexpr const wchar_t* bits = sizeof(void*) == 8 ? L"win64" : L"win32";
constexpr const wchar_t* otherBits = sizeof(void*) == 8 ? L"win32" : L"win64";

std::wstring replaced(std::wstring text, std::wstring_view what, std::wstring_view with) {
  for (auto at = text.find(what); at != std::wstring::npos; at = text.find(what, at + with.size()))
    text.replace(at, what.size(), with);
  return text;
}

/// The entries of registration.txt, which is one of the file's resources.
std::vector<Entry> entries() {
  HRSRC found = FindResourceW(module::instance(), L"REGISTRATION", RT_RCDATA);
  HGLOBAL loaded = found == nullptr ? nullptr : LoadResource(module::instance(), found);
  if (loaded == nullptr) throw ComError{SELFREG_E_CLASS};
  const std::string_view text(static_cast<const char*>(LockResource(loaded)),
                              SizeofResource(module::instance(), found));
  const std::wstring path = module::path();
  std::vector<Entry> list;
  bool shared = false;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    std::string_view line = text.substr(at, end - at);
    at = end + 1;
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    if (line.empty() || line[0] == '#') continue;
    if (line[0] == '[') {
      shared = line == "[shared]";
      continue;
    }
    const std::size_t first = line.find('|'), second = line.find('|', first + 1);
    const auto part = [&](std::string_view ascii) {
      const std::wstring wide(ascii.begin(), ascii.end());
      return replaced(replaced(wide, L"%MODULE%", path), L"%BITS%", bits);
    };
    list.push_back({shared, part(line.substr(0, first)),
                    part(line.substr(first + 1, second - first - 1)),
                    part(line.substr(second + 1))});
  }
  return list;
}

class Key {
 public:
  Key() = default;
  ~Key() {
    if (mKey != nullptr) RegCloseKey(mKey);
  }
  Key(const Key&) = delete;
  Key& operator=(const Key&) = delete;
  HKEY* operator&() { return &mKey; }  // NOLINT: used as the handle that it is
  operator HKEY() const { return mKey; }

 private:
  HKEY mKey = nullptr;
};

void checkRegistry(LSTATUS status) {
  if (status != ERROR_SUCCESS) throw ComError{HRESULT_FROM_WIN32(static_cast<DWORD>(status))};
}

/// The classes of the machine or of the user.
void openClasses(Scope scope, Key& classes) {
  HKEY root = scope == Scope::machine ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER;
  checkRegistry(RegCreateKeyExW(root, L"Software\\Classes", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                                &classes, nullptr));
}

/// Every part of a key's path: "A", "A\B", "A\B\C".
std::vector<std::wstring> partsOf(const std::wstring& key) {
  std::vector<std::wstring> parts;
  for (std::size_t at = key.find(L'\\'); at != std::wstring::npos; at = key.find(L'\\', at + 1))
    parts.push_back(key.substr(0, at));
  parts.push_back(key);
  return parts;
}

/// Writes to the registry and can take all of it back.
class Writer {
 public:
  explicit Writer(HKEY classes) : mClasses(classes) {}

  void write(const Entry& entry) {
    Key key;
    for (const std::wstring& part : partsOf(entry.key)) {
      DWORD disposition = 0;
      Key made;
      checkRegistry(RegCreateKeyExW(mClasses, part.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                                    &made, &disposition));
      if (disposition == REG_CREATED_NEW_KEY)
        mUndo.push_back([this, part] { RegDeleteKeyW(mClasses, part.c_str()); });
    }
    checkRegistry(RegOpenKeyExW(mClasses, entry.key.c_str(), 0, KEY_ALL_ACCESS, &key));
    rememberValue(key, entry);
    checkRegistry(set(key, entry.name, entry.value));
  }

  void undo() {
    for (auto step = mUndo.rbegin(); step != mUndo.rend(); ++step) (*step)();
  }

 private:
  static LSTATUS set(HKEY key, const std::wstring& name, const std::wstring& value) {
    return RegSetValueExW(key, name.c_str(), 0, REG_SZ,
                          reinterpret_cast<const BYTE*>(value.c_str()),
                          static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
  }

  void rememberValue(HKEY key, const Entry& entry) {
    DWORD size = 0;
    if (RegQueryValueExW(key, entry.name.c_str(), nullptr, nullptr, nullptr, &size) !=
        ERROR_SUCCESS) {
      mUndo.push_back([this, entry] {
        Key opened;
        if (RegOpenKeyExW(mClasses, entry.key.c_str(), 0, KEY_ALL_ACCESS, &opened) == 0)
          RegDeleteValueW(opened, entry.name.c_str());
      });
      return;
    }
    std::wstring before(size / sizeof(wchar_t), L'\0');
    RegQueryValueExW(key, entry.name.c_str(), nullptr, nullptr,
                     reinterpret_cast<BYTE*>(before.data()), &size);
    while (!before.empty() && before.back() == L'\0') before.pop_back();
    mUndo.push_back([this, entry, before] {
      Key opened;
      if (RegOpenKeyExW(mClasses, entry.key.c_str(), 0, KEY_ALL_ACCESS, &opened) == 0)
        set(opened, entry.name, before);
    });
  }

  HKEY mClasses;
  std::vector<std::function<void()>> mUndo;
};

/// Whether the other bitness has entered its type library.
bool otherIsRegistered(HKEY classes, const std::vector<Entry>& list) {
  for (const Entry& entry : list) {
    if (!entry.key.ends_with(bits)) continue;
    const std::wstring other =
        entry.key.substr(0, entry.key.size() - std::wstring_view(bits).size()) + otherBits;
    Key key;
    if (RegOpenKeyExW(classes, other.c_str(), 0, KEY_READ, &key) == ERROR_SUCCESS) return true;
  }
  return false;
}

}  // namespace

HRESULT registerControl(Scope scope) {
  try {
    Key classes;
    openClasses(scope, classes);
    Writer writer(classes);
    try {
      for (const Entry& entry : entries()) writer.write(entry);
    } catch (...) {
      writer.undo();
      throw;
    }
    return S_OK;
  } catch (const ComError& error) {
    return error.result;
  }
}

HRESULT unregisterControl(Scope scope) {
  try {
    Key classes;
    openClasses(scope, classes);
    const std::vector<Entry> list = entries();
    const bool keepShared = otherIsRegistered(classes, list);
    // Longer paths first, so that what stands in a key goes before it. A key that has others in it,
    // such as CLSID, is not deleted by the system.
    std::set<std::pair<std::size_t, std::wstring>> keys;
    for (const Entry& entry : list) {
      if (entry.shared && keepShared) continue;
      for (const std::wstring& part : partsOf(entry.key)) keys.emplace(part.size(), part);
    }
    for (auto key = keys.rbegin(); key != keys.rend(); ++key)
      RegDeleteKeyW(classes, key->second.c_str());
    return S_OK;
  } catch (const ComError& error) {
    return error.result;
  }
}

}  // namespace cronvel::activex
