#include <tuple>

#include "tests/activex/Host.h"

namespace cronvel::activex::test {
namespace {

/// Calls as script hosts make them. What reaches the control shows in its answer; the port is one
/// that does not exist, so a call that got past its arguments ends with 8002.
class LateCallTest : public ControlTest {
 protected:
  LateCallTest() { put(L"CommPort", 200); }
  static constexpr HRESULT passed = runTimeError(8002);
};

_variant_t array(std::initializer_list<_variant_t> elements) {
  _variant_t made;
  made.vt = VT_ARRAY | VT_VARIANT;
  made.parray = SafeArrayCreateVector(VT_VARIANT, 0, static_cast<ULONG>(elements.size()));
  LONG at = 0;
  for (_variant_t element : elements) {
    SafeArrayPutElement(made.parray, &at, &element);
    ++at;
  }
  return made;
}

template <typename Number>
_variant_t typedArray(VARTYPE type, std::initializer_list<Number> numbers) {
  _variant_t made;
  made.vt = static_cast<VARTYPE>(VT_ARRAY | type);
  made.parray = SafeArrayCreateVector(type, 0, static_cast<ULONG>(numbers.size()));
  std::copy(numbers.begin(), numbers.end(), static_cast<Number*>(made.parray->pvData));
  return made;
}

TEST_F(LateCallTest, ArgumentsMayBeLiteralsOrVariablesOfAnyKind) {
  _variant_t text = L"3", empty, letters = L"three", bytes = array({1, L"2", 3, 4, 5, 6});
  _variant_t nested = variable(text), noon(0.5, VT_DATE);
  _variant_t typed = typedArray<BYTE>(VT_UI1, {1, 2, 3, 4, 5, 6});
  const std::tuple<const wchar_t*, _variant_t, HRESULT> calls[] = {
      {L"SetKeyboard", false, passed},
      {L"SetKeyboard", variable(nested), passed},
      {L"SetKeyboard", variable(empty), passed},
      {L"SetKeyboard", 256, DISP_E_OVERFLOW},
      {L"SetKeyboard", -1, DISP_E_OVERFLOW},
      {L"SetKeyboard", variable(letters), DISP_E_TYPEMISMATCH},
      {L"DefCards", variable(bytes), passed},
      {L"DefCards", typed, passed},
      {L"DefCards", variable(typed), passed},
      {L"DefCards", typedArray<SHORT>(VT_I2, {1, 2, 255}), passed},
      {L"DefCards", typedArray<LONG>(VT_I4, {1, 2, 256}), DISP_E_OVERFLOW},
      {L"DefCards", array({1, 2, 300}), DISP_E_OVERFLOW},
      {L"DefCards", array({1, L"x"}), DISP_E_TYPEMISMATCH},
      {L"DefCards", L"123456", DISP_E_TYPEMISMATCH},
      {L"SendModeStr", array({L"a", 2, true}), passed},
      {L"SendModeActive", array({true, 0, L"True"}), passed},
      {L"SetTime", variable(noon), passed},
  };
  for (const auto& [command, argument, result] : calls)
    EXPECT_EQ(call(command, {variable(empty), argument}), result)
        << command << ", type " << argument.vt;
  EXPECT_EQ(text.vt, VT_BSTR) << "a variable stays what it was";
  EXPECT_EQ(call(L"SetKeyboard", {L""}), DISP_E_BADPARAMCOUNT);
  EXPECT_EQ(call(L"SetKeyboard", {L"", 1, 2}), DISP_E_BADPARAMCOUNT);
}

TEST_F(LateCallTest, CompiledHostsGetTheExactTypes) {
  const auto early = as<::_Cronvel>();
  EXPECT_EQ(early->get_TelNum(nullptr), E_POINTER);
  VARIANT_BOOL accepted = VARIANT_TRUE;
  EXPECT_EQ(early->ResetMem(nullptr, &accepted), E_POINTER);
  BSTR nothing = nullptr;  // an empty text
  SAFEARRAY* array = nullptr;
  EXPECT_EQ(early->DefCards(&nothing, &array, &accepted), passed);
  SafeArrayAllocDescriptor(1, &array);  // keeps no kind
  array->cbElements = 1;
  array->rgsabound[0].cElements = 6;
  SafeArrayAllocData(array);
  EXPECT_EQ(early->DefCards(&nothing, &array, &accepted), passed);
  SafeArrayDestroy(array);
  ComPtr<IErrorInfo> info;
  EXPECT_EQ(GetErrorInfo(0, &info), S_OK);
}

}  // namespace
}  // namespace cronvel::activex::test
