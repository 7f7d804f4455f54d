// An application that uses the control unregistered, through the manifest beside it. Prints
// "object works: 7" when all went well, else the step that failed and its result.
#include <windows.h>

#include <cstdio>
#include <cwchar>

namespace {

// The control's dual interface and its library.
constexpr IID dual{0xBAB17B23, 0x4B7F, 0x4AA9, {0xB5, 0xE3, 0xC8, 0x7B, 0x21, 0x0E, 0x49, 0x3C}};
constexpr GUID library{
    0xCE3ABB34, 0x5C38, 0x4C0D, {0x82, 0x65, 0x70, 0xF9, 0x34, 0xEB, 0xDE, 0x41}};

bool succeeded(const char* step, HRESULT result) {
  if (FAILED(result)) std::printf("%s: %08lx\n", step, static_cast<unsigned long>(result));
  return SUCCEEDED(result);
}

bool use(IDispatch& object) {
  wchar_t name[] = L"DeviceNum";
  wchar_t* names[] = {name};
  DISPID member = 0;
  VARIANT number{};
  number.vt = VT_I2;
  number.iVal = 7;
  DISPID put = DISPID_PROPERTYPUT;
  DISPPARAMS one{&number, &put, 1, 1};
  DISPPARAMS none{};
  VARIANT got{};
  const bool ok =
      succeeded("GetIDsOfNames", object.GetIDsOfNames(IID_NULL, names, 1, 0, &member)) &&
      succeeded("put", object.Invoke(member, IID_NULL, 0, DISPATCH_PROPERTYPUT, &one, nullptr,
                                     nullptr, nullptr)) &&
      succeeded("get", object.Invoke(member, IID_NULL, 0, DISPATCH_PROPERTYGET, &none, &got,
                                     nullptr, nullptr)) &&
      succeeded("VariantChangeType", VariantChangeType(&got, &got, 0, VT_I4));
  if (ok) std::printf("DeviceNum: %ld\n", got.lVal);
  return ok && got.lVal == 7;
}

// Another thread's way to the object needs what the manifest says of the interface.
bool marshal(IUnknown& object) {
  IStream* stream = nullptr;
  const bool ok =
      succeeded("marshal", CoMarshalInterThreadInterfaceInStream(dual, &object, &stream));
  if (stream != nullptr) {
    CoReleaseMarshalData(stream);
    stream->Release();
  }
  return ok;
}

bool run(const wchar_t* progId) {
  CLSID clsid{};
  IDispatch* object = nullptr;
  ITypeLib* types = nullptr;
  bool ok = succeeded("CLSIDFromProgID", CLSIDFromProgID(progId, &clsid)) &&
            succeeded("LoadRegTypeLib", LoadRegTypeLib(library, 1, 0, 0, &types)) &&
            succeeded("CoCreateInstance",
                      CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch,
                                       reinterpret_cast<void**>(&object)));
  if (object != nullptr) {
    ok = use(*object) && marshal(*object);
    object->Release();
  }
  if (types != nullptr) types->Release();
  return ok;
}

}  // namespace

int main() {
  CoInitialize(nullptr);
  const bool ok = run(L"CronvelOCX.Cronvel") && run(L"CronvelOCX.Cronvel.1");
  CoUninitialize();
  if (ok) std::puts("object works: 7");
  return ok ? 0 : 1;
}
