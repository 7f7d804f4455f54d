// An application that uses the control unregistered, through the manifest beside it. Prints
// "object works: 7" when all went well, else the step that failed and its result.
#include <windows.h>

#include <initguid.h>
#include <ole2.h>

#include <cstdio>
#include <initializer_list>

#include "CronvelOCX.h"

namespace {

void check(const char* step, HRESULT result) {
  if (SUCCEEDED(result)) return;
  std::printf("%s: %08lx\n", step, static_cast<unsigned long>(result));
  ExitProcess(1);
}

}  // namespace

int main() {
  CoInitialize(nullptr);
  BYTE number = 0;
  for (const wchar_t* progId : {L"CronvelOCX.Cronvel", L"CronvelOCX.Cronvel.1"}) {
    CLSID clsid{};
    _Cronvel* object = nullptr;
    ITypeLib* types = nullptr;
    IStream* stream = nullptr;
    check("CLSIDFromProgID", CLSIDFromProgID(progId, &clsid));
    check("LoadRegTypeLib", LoadRegTypeLib(LIBID_CronvelOCX, 1, 0, 0, &types));
    check("CoCreateInstance",
          CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&object)));
    check("put", object->put_DeviceNum(7));
    check("get", object->get_DeviceNum(&number));
    // Another thread's way to the object needs what the manifest says of the interface.
    check("marshal", CoMarshalInterThreadInterfaceInStream(IID__Cronvel, object, &stream));
    check("unmarshal", CoReleaseMarshalData(stream));
  }
  std::printf("object works: %d\n", number);
}
