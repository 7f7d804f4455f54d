#include <windows.h>

#include <ocidl.h>

#include <cstdint>
#include <cstdio>
#include <iterator>
#include <vector>

// With this header before it, the generated one defines its identifiers instead of declaring them.
#include <initguid.h>

#include "CronvelOCX.h"

#include "Client.h"

namespace {

/// The events by their numbers in the type library.
enum Event : DISPID {
  cWinSockCurrentState = 1,
  cWinSockError = 2,
  cWinSockDataReceived = 3,
  cDataReceivedForMonitoring = 5,
  cAddFileProgressInit = 6,
  cAddFileProgressInc = 7
};

/// The first `count` bytes in hexadecimal.
std::wstring hexOf(SAFEARRAY* bytes, long count) {
  std::wstring hex;
  for (LONG i = 0; i < count; ++i) {
    std::uint8_t byte = 0;
    if (FAILED(SafeArrayGetElement(bytes, &i, &byte))) break;
    wchar_t digits[4];
    swprintf(digits, std::size(digits), L" %02X", byte);
    hex += digits;
  }
  return hex;
}

std::wstring systemText(HRESULT result) {
  wchar_t text[300] = L"";
  DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                static_cast<DWORD>(result), 0, text,
                                static_cast<DWORD>(std::size(text)), nullptr);
  while (length > 0 && text[length - 1] <= L' ') --length;
  return {text, length};
}

/// Arguments come in reverse order. Those that the type library declares as [in, out] come by
/// reference, with VT_BYREF in their type.
std::wstring describe(DISPID event, const DISPPARAMS& parameters) {
  const auto argument = [&](UINT index) -> const VARIANT& {
    return parameters.rgvarg[parameters.cArgs - 1 - index];
  };
  switch (event) {
    case cWinSockCurrentState:
      return L"socket state " + std::to_wstring(argument(0).iVal);
    case cWinSockError:
      return L"socket error " + std::to_wstring(argument(0).iVal) + L": " + *argument(1).pbstrVal;
    case cWinSockDataReceived:
      return L"from " + std::wstring(*argument(3).pbstrVal) + L":" +
             hexOf(*argument(0).pparray, argument(1).lVal);
    case cDataReceivedForMonitoring:
      return L"from the serial line:" + hexOf(*argument(0).pparray, *argument(1).piVal);
    case cAddFileProgressInit:
      return std::to_wstring(*argument(0).plVal) + L" cards";
    case cAddFileProgressInc:
      return std::to_wstring(*argument(0).plVal) + L" cards sent";
    default:
      return {};
  }
}

}  // namespace

void check(HRESULT result) {
  if (SUCCEEDED(result)) return;
  ControlError error;
  error.mResult = result;
  if (HRESULT_FACILITY(result) == FACILITY_CONTROL) error.mNumber = HRESULT_CODE(result);
  ComPtr<IErrorInfo> info;
  if (GetErrorInfo(0, &info) == S_OK) {
    Text text, source;
    info->GetDescription(text.address());
    info->GetSource(source.address());
    error.mText = text.copy();
    error.mSource = source.copy();
  } else {
    error.mText = systemText(result);
  }
  throw error;
}

std::wstring ControlError::message() const {
  wchar_t result[11];
  swprintf(result, std::size(result), L"0x%08lX", static_cast<unsigned long>(mResult));
  return L"error " + (mNumber != 0 ? std::to_wstring(mNumber) : result) + L": " + mText +
         (mSource.empty() ? L"" : L" (" + mSource + L")");
}

void print(const std::wstring& line) {
  const int size = WideCharToMultiByte(CP_UTF8, 0, line.c_str(), -1, nullptr, 0, nullptr, nullptr);
  std::vector<char> bytes(static_cast<std::size_t>(size));
  WideCharToMultiByte(CP_UTF8, 0, line.c_str(), -1, bytes.data(), size, nullptr, nullptr);
  std::puts(bytes.data());
  std::fflush(stdout);
}

Line::Line(const std::wstring& text) {
  const std::wstring network = L"network:";
  if (text.starts_with(network))
    mNetworkPort = std::stol(text.substr(network.size()));
  else
    mCommPort = static_cast<short>(std::stoi(text));
}

void Line::choose(_Cronvel& control) const {
  if (mNetworkPort == 0) return check(control.put_CommPort(mCommPort));
  short socket = 0;  // the commands' socket; a download listens on the port that it has
  long port = mNetworkPort;
  check(control.SetWinSockLocalPort(&socket, &port));
}

std::wstring Line::host() const {
  return mNetworkPort == 0 ? L"" : L"terminal-" + std::to_wstring(mNetworkPort);
}

VARIANT now() {
  SYSTEMTIME local;
  GetLocalTime(&local);
  VARIANT time;
  VariantInit(&time);
  time.vt = VT_DATE;
  SystemTimeToVariantTime(&local, &time.date);
  return time;
}

ComPtr<EventSink> EventSink::connect(IUnknown* control, Report report) {
  ComPtr<EventSink> sink(new EventSink(std::move(report)));
  ComPtr<IConnectionPointContainer> points;
  check(control->QueryInterface(IID_PPV_ARGS(&points)));
  check(points->FindConnectionPoint(DIID___Cronvel, &sink->mPoint));
  check(sink->mPoint->Advise(sink.Get(), &sink->mCookie));
  return sink;
}

void EventSink::disconnect() {
  if (mPoint) mPoint->Unadvise(mCookie);
  mPoint.Reset();
}

STDMETHODIMP EventSink::QueryInterface(REFIID iid, void** object) {
  const bool known = iid == IID_IUnknown || iid == IID_IDispatch || iid == DIID___Cronvel;
  *object = known ? this : nullptr;
  if (!known) return E_NOINTERFACE;
  AddRef();
  return S_OK;
}

STDMETHODIMP_(ULONG) EventSink::Release() {
  const ULONG left = --mReferences;
  if (left == 0) delete this;
  return left;
}

STDMETHODIMP EventSink::Invoke(DISPID event, REFIID, LCID, WORD, DISPPARAMS* parameters, VARIANT*,
                               EXCEPINFO*, UINT*) {
  const std::wstring line = describe(event, *parameters);
  if (!line.empty()) mReport(line);
  return S_OK;
}
