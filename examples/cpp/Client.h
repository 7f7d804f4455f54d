#pragma once

#include <windows.h>

#include <oaidl.h>
#include <ocidl.h>
#include <oleauto.h>
#include <wrl/client.h>

#include <functional>
#include <string>

#include "CronvelOCX.h"

// What a C++ host needs around the control: texts, errors, events.

using Microsoft::WRL::ComPtr;

/// A text for the control's members, which take their arguments by reference.
class Text {
 public:
  Text() = default;
  explicit Text(const std::wstring& text) : mText(SysAllocString(text.c_str())) {}
  ~Text() { SysFreeString(mText); }
  Text(const Text&) = delete;
  Text& operator=(const Text&) = delete;
  BSTR* address() { return &mText; }
  std::wstring copy() const { return mText == nullptr ? L"" : mText; }

 private:
  BSTR mText = nullptr;
};

/// A failed call: a run-time error of the control, or the system's own failure.
struct ControlError {
  HRESULT mResult = S_OK;
  int mNumber = 0;  ///< of the run-time error; 0 if it is none
  std::wstring mText;
  std::wstring mSource;

  std::wstring message() const;
};

/// Throws a ControlError if the call has failed. To be called right after it.
void check(HRESULT result);

/// Writes a line on the standard output, as UTF-8.
void print(const std::wstring& line);

/// Which way commands go to the terminal.
struct Line {
  short mCommPort = 0;  ///< 0 on the network
  long mNetworkPort = 0;

  /// Of the number of a serial port, or of "network:" and the port to which the terminal connects
  /// in. Throws std::exception for other text.
  explicit Line(const std::wstring& text);
  /// Tells the control.
  void choose(_Cronvel& control) const;
  /// The first argument of a command.
  std::wstring host() const;
};

/// The present time of day, for SetTime.
VARIANT now();

/// Receives the control's events, and reports each as a line. The control calls it on the thread
/// that made the control, from that thread's message loop or from inside a command that waits.
class EventSink final : public IDispatch {
 public:
  using Report = std::function<void(const std::wstring& line)>;

  static ComPtr<EventSink> connect(IUnknown* control, Report report);
  void disconnect();

  STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
  STDMETHODIMP_(ULONG) AddRef() override { return ++mReferences; }
  STDMETHODIMP_(ULONG) Release() override;
  STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
  STDMETHODIMP Invoke(DISPID event, REFIID, LCID, WORD, DISPPARAMS* parameters, VARIANT*,
                      EXCEPINFO*, UINT*) override;

 private:
  explicit EventSink(Report report) : mReport(std::move(report)) {}
  virtual ~EventSink() = default;

  ULONG mReferences = 0;
  Report mReport;
  ComPtr<IConnectionPoint> mPoint;
  DWORD mCookie = 0;
};
