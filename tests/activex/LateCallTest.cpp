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

TEST_F(LateCallTest, ArgumentsMayBeLiteralsOrVariablesOfAnyKind) {
  Value text = L"3", number = 3, empty, letters = L"three", typed, noon, quarter;
  Value nested = Value::variable(text);
  Value bytes = Value::array({1, L"2", 3, 4, 5, 6});
  typed.vt = VT_ARRAY | VT_UI1;
  typed.parray = SafeArrayCreateVector(VT_UI1, 0, 6);
  noon.vt = VT_DATE;
  noon.date = 0.5;
  quarter.vt = VT_R8;
  quarter.dblVal = 0.25;
  const struct {
    const wchar_t* command;
    Value argument;
    HRESULT result;
  } calls[] = {
      {L"SetKeyboard", 3, passed},
      {L"SetKeyboard", L"3", passed},
      {L"SetKeyboard", false, passed},
      {L"SetKeyboard", Value::variable(text), passed},
      {L"SetKeyboard", Value::variable(number), passed},
      {L"SetKeyboard", Value::variable(nested), passed},
      {L"SetKeyboard", Value::variable(empty), passed},
      {L"SetKeyboard", 256, DISP_E_OVERFLOW},
      {L"SetKeyboard", -1, DISP_E_OVERFLOW},
      {L"SetKeyboard", Value::variable(letters), DISP_E_TYPEMISMATCH},
      {L"DefCards", bytes, passed},
      {L"DefCards", Value::variable(bytes), passed},
      {L"DefCards", typed, passed},
      {L"DefCards", Value::variable(typed), passed},
      {L"DefCards", Value::array({1, 2, 300}), DISP_E_OVERFLOW},
      {L"DefCards", Value::array({1, L"x"}), DISP_E_TYPEMISMATCH},
      {L"DefCards", L"123456", DISP_E_TYPEMISMATCH},
      {L"SendModeStr", Value::array({L"a", 2, true}), passed},
      {L"SendModeActive", Value::array({true, 0, L"True"}), passed},
      {L"SetTime", L"23:59:07", passed},
      {L"SetTime", noon, passed},
      {L"SetTime", quarter, passed},
      {L"SetTime", Value::variable(noon), passed},
  };
  for (const auto& [command, argument, result] : calls)
    EXPECT_EQ(call(command, {Value::variable(empty), argument}).result, result)
        << command << ", type " << argument.vt;
  EXPECT_EQ(text.vt, VT_BSTR) << "a variable stays what it was";
  EXPECT_EQ(call(L"SetKeyboard", {L""}).result, DISP_E_BADPARAMCOUNT);
  EXPECT_EQ(call(L"SetKeyboard", {L"", 1, 2}).result, DISP_E_BADPARAMCOUNT);
}

TEST_F(LateCallTest, CompiledHostsGetTheExactTypes) {
  const auto early = as<::_Cronvel>();
  EXPECT_EQ(early->get_TelNum(nullptr), E_POINTER);
  VARIANT_BOOL accepted = VARIANT_TRUE;
  EXPECT_EQ(early->ResetMem(nullptr, &accepted), E_POINTER);
  BSTR nothing = nullptr;  // an empty text
  SAFEARRAY* array = nullptr;
  EXPECT_EQ(early->DefCards(&nothing, &array, &accepted), passed);
  ComPtr<IErrorInfo> info;
  EXPECT_EQ(GetErrorInfo(0, &info), S_OK);
}

}  // namespace
}  // namespace cronvel::activex::test
