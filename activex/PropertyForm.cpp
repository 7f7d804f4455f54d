#include "activex/PropertyForm.h"

#include <cwctype>
#include <string>

#include "activex/InterfaceProperty.h"
#include "activex/Module.h"
#include "records/StreamSpeeds.h"

namespace cronvel::activex {
namespace {

constexpr int firstField = 201;

// In the dialog's own units, which follow its font.
constexpr short width = 266, margin = 6, rowHeight = 15, fieldHeight = 12, fieldLeft = 196;

bool isFlag(const PersistedProperty& property) {
  return std::holds_alternative<bool>(property.defaultValue);
}

/// What the type library says of the property, up to its first pause.
std::wstring labelOf(const PersistedProperty& property) {
  const InterfaceProperty* const described = interfaceProperty(property.key);
  if (described == nullptr) return {property.key.begin(), property.key.end()};
  std::wstring label(described->help.substr(0, described->help.find_first_of(L".,;")));
  if (constexpr std::wstring_view doubt = L"Whether "; label.starts_with(doubt))
    label.erase(0, doubt.size());
  label[0] = static_cast<wchar_t>(std::towupper(label[0]));
  return label;
}

/// Marks the first letter that no label before has as its access key.
std::wstring withAccessKey(std::wstring label, std::wstring& taken) {
  for (std::size_t i = 0; i < label.size(); ++i) {
    const auto letter = static_cast<wchar_t>(std::towlower(label[i]));
    if (std::iswalpha(letter) == 0 || taken.find(letter) != std::wstring::npos) continue;
    taken += letter;
    return label.insert(i, 1, L'&');
  }
  return label;
}

/// Puts windows into a form, row by row.
class Builder {
 public:
  explicit Builder(HWND form) : mForm(form), mFont(SendMessageW(form, WM_GETFONT, 0, 0)) {}

  void addRow(const PersistedProperty& property, int field) {
    const std::wstring label = withAccessKey(labelOf(property), mKeys);
    if (isFlag(property)) {
      add(L"BUTTON", label, BS_AUTOCHECKBOX | WS_TABSTOP, field, margin, width - 2 * margin);
    } else {
      add(L"STATIC", label, SS_LEFT, -1, margin, fieldLeft - margin);
      addText(property, field);
    }
    mTop += rowHeight;
  }

 private:
  void addText(const PersistedProperty& property, int field) {
    constexpr long wide = width - margin - fieldLeft;
    if (property.key != "BPS") {
      add(L"EDIT", L"", ES_AUTOHSCROLL | WS_BORDER | WS_TABSTOP, field, fieldLeft, wide);
      return;
    }
    HWND list = add(L"COMBOBOX", L"", CBS_DROPDOWN | CBS_AUTOHSCROLL | WS_VSCROLL | WS_TABSTOP,
                    field, fieldLeft, wide, 10 * fieldHeight);
    for (const StreamSpeed& speed : streamSpeeds()) {
      const std::wstring text(speed.text.begin(), speed.text.end());
      SendMessageW(list, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(text.c_str()));
    }
  }

  HWND add(const wchar_t* windowClass, const std::wstring& text, DWORD style, int number, long left,
           long wide, long high = fieldHeight) {
    RECT place{left, mTop, left + wide, mTop + high};
    MapDialogRect(mForm, &place);
    HWND made = CreateWindowExW(
        0, windowClass, text.c_str(), WS_CHILD | WS_VISIBLE | style, place.left, place.top,
        place.right - place.left, place.bottom - place.top, mForm,
        reinterpret_cast<HMENU>(static_cast<INT_PTR>(number)), module::instance(), nullptr);
    SendMessageW(made, WM_SETFONT, static_cast<WPARAM>(mFont), FALSE);
    return made;
  }

  HWND mForm;
  LRESULT mFont;
  long mTop = margin;
  std::wstring mKeys;
};

/// A dialog of some size without any window in it, as Windows wants it described.
struct alignas(DWORD) Template {
  DLGTEMPLATE head{};
  WORD menu = 0, windowClass = 0, title = 0;
  WORD fontSize = 8;
  wchar_t font[13] = L"MS Shell Dlg";
};

}  // namespace

HWND createPropertyForm(HWND parent, DLGPROC procedure, LPARAM context) {
  const auto properties = persistedProperties();
  Template described;
  described.head.style = DS_SETFONT | DS_CONTROL | WS_CHILD;
  described.head.cx = width;
  described.head.cy =
      static_cast<short>(2 * margin + rowHeight * static_cast<int>(properties.size()));
  HWND form =
      CreateDialogIndirectParamW(module::instance(), &described.head, parent, procedure, context);
  if (form == nullptr) return nullptr;
  Builder builder(form);
  int field = firstField;
  for (const PersistedProperty& property : properties) builder.addRow(property, field++);
  return form;
}

const PersistedProperty* propertyOfField(int field) {
  const auto properties = persistedProperties();
  const auto place = static_cast<std::size_t>(field - firstField);
  return field >= firstField && place < properties.size() ? &properties[place] : nullptr;
}

HWND fieldOf(HWND form, const PersistedProperty& property) {
  return GetDlgItem(form, firstField + static_cast<int>(&property - persistedProperties().data()));
}

void showIn(HWND field, const PersistedProperty& property, VARIANT& value) {
  if (FAILED(VariantChangeType(&value, &value, 0, isFlag(property) ? VT_BOOL : VT_BSTR))) return;
  if (isFlag(property))
    SendMessageW(field, BM_SETCHECK, value.boolVal ? BST_CHECKED : BST_UNCHECKED, 0);
  else
    SetWindowTextW(field, value.bstrVal);
}

VARIANT shownIn(HWND field, const PersistedProperty& property) {
  VARIANT value;
  VariantInit(&value);
  if (isFlag(property)) {
    value.vt = VT_BOOL;
    value.boolVal =
        SendMessageW(field, BM_GETCHECK, 0, 0) == BST_CHECKED ? VARIANT_TRUE : VARIANT_FALSE;
  } else {
    value.vt = VT_BSTR;
    value.bstrVal = SysAllocString(textIn(field).c_str());
  }
  return value;
}

std::wstring textIn(HWND window) {
  std::wstring text(static_cast<std::size_t>(GetWindowTextLengthW(window)) + 1, L'\0');
  text.resize(
      static_cast<std::size_t>(GetWindowTextW(window, text.data(), static_cast<int>(text.size()))));
  return text;
}

}  // namespace cronvel::activex
