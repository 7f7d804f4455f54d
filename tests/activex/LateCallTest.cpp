#include "tests/activex/Host.h"

namespace cronvel::activex::test {
namespace {

/// Calls as script hosts make them. What reaches the control shows in its answer; the port is one
/// that does not exist, so a call that got past its arguments ends with 8002.
class LateCallTest : public ControlTest {
 protected:
  LateCallTest() { put(L"CommPort", 200); }
};

TEST_F(LateCallTest, ArgumentsMayBeLiteralsOrVariablesOfAnyKind) {
  Value text = L"3", number = 3, empty;
  Value nested = Value::variable(text);
  for (const Value& key :
       {Value(3), Value(L"3"), Value(true == false), Value::variable(text), Value::variable(number),
        Value::variable(nested), Value::variable(empty)})
    EXPECT_EQ(call(L"SetKeyboard", {L"", key}).number, 8002) << key.vt;
  EXPECT_EQ(text.vt, VT_BSTR) << "a variable stays what it was";
  Value host;
  EXPECT_EQ(call(L"ResetMem", {Value::variable(host)}).number, 8002);

  Value big = 256, letters = L"three";
  EXPECT_EQ(call(L"SetKeyboard", {L"", big}).result, DISP_E_OVERFLOW);
  EXPECT_EQ(call(L"SetKeyboard", {L"", -1}).result, DISP_E_OVERFLOW);
  EXPECT_EQ(call(L"SetKeyboard", {L"", Value::variable(letters)}).result, DISP_E_TYPEMISMATCH);
  EXPECT_EQ(call(L"SetKeyboard", {L""}).result, DISP_E_BADPARAMCOUNT);
  EXPECT_EQ(call(L"SetKeyboard", {L"", 1, 2}).result, DISP_E_BADPARAMCOUNT);
}

TEST_F(LateCallTest, ArraysMayBeArraysOfVariants) {
  const Value six = Value::array({1, L"2", 3, 4, 5, 6});
  Value kept = six;
  EXPECT_EQ(call(L"DefCards", {L"", six}).number, 8002);
  EXPECT_EQ(call(L"DefCards", {L"", Value::variable(kept)}).number, 8002);
  EXPECT_EQ(call(L"SendModeStr", {L"", Value::array({L"a", 2, true})}).number, 8002);
  EXPECT_EQ(call(L"SendModeActive", {L"", Value::array({true, 0, L"True"})}).number, 8002);
  Value byteArray;
  byteArray.vt = VT_ARRAY | VT_UI1;
  byteArray.parray = SafeArrayCreateVector(VT_UI1, 0, 6);
  EXPECT_EQ(call(L"DefCards", {L"", byteArray}).number, 8002);
  EXPECT_EQ(call(L"DefCards", {L"", Value::variable(byteArray)}).number, 8002);

  EXPECT_EQ(call(L"DefCards", {L"", Value::array({1, 2, 300})}).result, DISP_E_OVERFLOW);
  EXPECT_EQ(call(L"DefCards", {L"", Value::array({1, L"x"})}).result, DISP_E_TYPEMISMATCH);
  EXPECT_EQ(call(L"DefCards", {L"", L"123456"}).result, DISP_E_TYPEMISMATCH);
  EXPECT_EQ(call(L"DefCards", {L"", 5}).result, DISP_E_TYPEMISMATCH);
}

TEST_F(LateCallTest, TimesComeInEveryForm) {
  Value time;
  time.vt = VT_DATE;
  time.date = 0.5;
  Value fraction;
  fraction.vt = VT_R8;
  fraction.dblVal = 0.25;
  for (const Value& value : {Value(L"23:59:07"), time, fraction, Value::variable(time)})
    EXPECT_EQ(call(L"SetTime", {L"", value}).number, 8002);
}

TEST_F(LateCallTest, ErrorsCarryNumberTextAndSource) {
  const Outcome refused = put(L"CommPort", 0);
  EXPECT_EQ(refused.number, 8002);
  EXPECT_EQ(refused.source, L"CronvelOCX.Cronvel");
  EXPECT_EQ(refused.text.find(L"Invalid port number"), 0u) << refused.text.size();
  EXPECT_EQ(put(L"CommPort", 40000).result, DISP_E_OVERFLOW);
  EXPECT_EQ(call(L"WinSockClose", {9}).number, 340);
  EXPECT_EQ(call(L"WinSockSendDataByte", {0, 1}).number, 40006);
  EXPECT_EQ(call(L"CheckIntegrity", {L"C:\\no\\such.Hex", false}).number, 53);
}

TEST_F(LateCallTest, CompiledHostsGetTheExactTypes) {
  const auto early = as<::_Cronvel>();
  BSTR text = nullptr;
  EXPECT_EQ(early->get_TelNum(&text), S_OK);
  EXPECT_STREQ(text, L"0");
  SysFreeString(text);
  EXPECT_EQ(early->get_TelNum(nullptr), E_POINTER);
  VARIANT_BOOL accepted = VARIANT_TRUE;
  EXPECT_EQ(early->ResetMem(nullptr, &accepted), E_POINTER);
  BSTR nothing = nullptr;  // an empty text
  EXPECT_EQ(early->ResetMem(&nothing, &accepted), runTimeError(8002));
  ComPtr<IErrorInfo> info;
  EXPECT_EQ(GetErrorInfo(0, &info), S_OK);
  SAFEARRAY* array = nullptr;
  EXPECT_EQ(early->DefCards(&nothing, &array, &accepted), runTimeError(8002));
}

}  // namespace
}  // namespace cronvel::activex::test
