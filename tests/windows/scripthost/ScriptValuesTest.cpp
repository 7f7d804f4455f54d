#include "scripthost/ScriptValues.h"

#include <tuple>

#include "scripthost/EventSink.h"
#include "tests/activex/Host.h"

namespace cronvel::scripthost {
namespace {

TEST(ScriptValuesTest, WhatScriptsHaveNoTypeForComesWider) {
  const std::tuple<VARTYPE, long long, VARTYPE, const wchar_t*> cases[] = {
      {VT_I1, -5, VT_I2, L"-5"},
      {VT_UI2, 65535, VT_I4, L"65535"},
      {VT_UI4, 7, VT_I4, L"7"},
      {VT_UI4, 4000000000, VT_R8, L"4000000000"}};
  for (const auto& [type, value, wider, text] : cases) {
    VARIANT given{};
    given.vt = type;
    given.llVal = value;
    Variant got;
    EXPECT_EQ(copyForScript(given, got), S_OK);
    EXPECT_EQ(got.vt, wider) << text;
    EXPECT_EQ(toText(got), text);
  }
}

TEST(ScriptValuesTest, WhatAScriptLeavesGoesBackInTheSendersType) {
  VARIANT reference{};
  SAFEARRAY* bytes = nullptr;  // an array without elements, as senders pass it
  reference.vt = VT_BYREF | VT_ARRAY | VT_UI1;
  reference.pparray = &bytes;
  Variant shown;
  EXPECT_EQ(copyForScript(reference, shown), S_OK);
  EXPECT_EQ(shown.vt, VT_ARRAY | VT_VARIANT);
  EXPECT_EQ(shown.parray->rgsabound[0].cElements, 0u);
  shown = Variant();
  shown.vt = VT_ARRAY | VT_VARIANT;
  shown.parray = SafeArrayCreateVector(VT_VARIANT, 0, 2);
  EXPECT_EQ(giveBack(shown, reference), S_OK);
  ASSERT_NE(bytes, nullptr);
  EXPECT_EQ(bytes->rgsabound[0].cElements, 2u);

  Variant any;  // a variant keeps the sender's kind of array, and takes anything else
  any.vt = VT_ARRAY | VT_UI1;
  any.parray = bytes;
  reference.vt = VT_BYREF | VT_VARIANT;
  reference.pvarVal = &any;
  EXPECT_EQ(giveBack(shown, reference), S_OK);
  EXPECT_EQ(any.vt, VT_ARRAY | VT_UI1);
  EXPECT_EQ(giveBack(Variant(L"x"), reference), S_OK);
  EXPECT_EQ(any.vt, VT_BSTR);
}

/// An object that tells nothing of itself but its interface's type.
struct Silent final : activex::test::TestDispatch<> {
  ComPtr<ITypeInfo> type;
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo** info) override { return type.CopyTo(info); }
};

TEST(EventSinkTest, TheTypeLibraryAloneTellsOfTheEvents) {
  Silent object;
  ComPtr<ITypeLib> library;
  ASSERT_EQ(LoadTypeLibEx(_wgetenv(L"CRONVEL_OCX"), REGKIND_NONE, &library), S_OK);
  ASSERT_EQ(library->GetTypeInfoOfGuid(IID__Cronvel, &object.type), S_OK);
  const EventSet events = eventsOf(&object);
  EXPECT_EQ(events.mId, DIID___Cronvel);
  EXPECT_EQ(events.mNames.at(5), L"DataReceivedForMonitoring");
}

}  // namespace
}  // namespace cronvel::scripthost
