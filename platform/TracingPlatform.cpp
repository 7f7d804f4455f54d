#include "platform/TracingPlatform.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>
#include <utility>

#include "runtime/Text.h"

namespace cronvel {
namespace {

std::string hex(std::span<const std::uint8_t> bytes) {
  constexpr std::size_t shown = 32;
  std::string out;
  for (const std::uint8_t byte : bytes.first(std::min(bytes.size(), shown))) {
    std::array<char, 4> digits{};
    std::snprintf(digits.data(), digits.size(), " %02X", static_cast<unsigned>(byte));
    out += digits.data();
  }
  if (bytes.size() > shown) out += " ... " + std::to_string(bytes.size()) + " bytes";
  return out;
}

std::string count(std::int32_t bytes) {
  return std::to_string(bytes) + (bytes == 1 ? " byte" : " bytes");
}

class TracingSerialPort : public SerialPort {
 public:
  TracingSerialPort(std::unique_ptr<SerialPort> inner, TracingPlatform& trace)
      : mInner(std::move(inner)), mTrace(trace) {}

  void configure(const SerialPortSetup& setup) override { mInner->configure(setup); }
  std::int16_t CommPort() const override { return mInner->CommPort(); }
  void CommPort(std::int16_t number) override { mInner->CommPort(number); }
  std::string Settings() const override { return mInner->Settings(); }
  void Settings(std::string_view settings) override {
    mTrace.write("settings " + std::string(settings));
    mInner->Settings(settings);
  }
  bool PortOpen() const override { return mInner->PortOpen(); }
  void PortOpen(bool open) override {
    mTrace.write((open ? "open port " : "close port ") + std::to_string(CommPort()));
    mInner->PortOpen(open);
  }
  std::int32_t InBufferCount() override { return mInner->InBufferCount(); }
  void InBufferCount(std::int32_t value) override {
    const std::int32_t waiting = mInner->InBufferCount();
    if (waiting > 0) mTrace.write("discard " + count(waiting) + " that came before the wait");
    mInner->InBufferCount(value);
  }
  std::int32_t OutBufferCount() override { return mInner->OutBufferCount(); }
  void OutBufferCount(std::int32_t value) override { mInner->OutBufferCount(value); }
  void Output(std::span<const std::uint8_t> bytes) override {
    mTrace.write("out" + hex(bytes) + " (" + Settings() + ")");
    mInner->Output(bytes);
  }
  Bytes Input() override {
    Bytes bytes = mInner->Input();
    mTrace.write("in " + hex(bytes) + " (" + Settings() + ")");
    return bytes;
  }
  bool CDHolding() override { return mInner->CDHolding(); }
  bool DTREnable() const override { return mInner->DTREnable(); }
  void DTREnable(bool enable) override {
    mTrace.write(enable ? "DTR on" : "DTR off");
    mInner->DTREnable(enable);
  }
  std::int16_t CommEvent() const override { return mInner->CommEvent(); }
  void onComm(std::function<void()> handler) override { mInner->onComm(std::move(handler)); }

 private:
  std::unique_ptr<SerialPort> mInner;
  TracingPlatform& mTrace;
};

class TracingSocket : public Socket {
 public:
  TracingSocket(SocketArray& array, std::int16_t index, TracingPlatform& trace)
      : mArray(array), mIndex(index), mTrace(trace) {}

  std::int16_t Protocol() const override { return inner().Protocol(); }
  void Protocol(std::int16_t protocol) override { inner().Protocol(protocol); }
  std::int32_t LocalPort() const override { return inner().LocalPort(); }
  void LocalPort(std::int32_t port) override { inner().LocalPort(port); }
  std::int32_t RemotePort() const override { return inner().RemotePort(); }
  void RemotePort(std::int32_t port) override { inner().RemotePort(port); }
  std::u16string RemoteHost() const override { return inner().RemoteHost(); }
  void RemoteHost(const std::u16string& host) override { inner().RemoteHost(host); }
  std::u16string RemoteHostIP() const override { return inner().RemoteHostIP(); }
  std::u16string LocalIP() const override { return inner().LocalIP(); }
  std::int16_t State() const override { return inner().State(); }
  std::int32_t BytesReceived() override { return inner().BytesReceived(); }
  void Listen() override {
    write("listen on port " + std::to_string(LocalPort()));
    inner().Listen();
  }
  void Accept(std::int32_t requestID) override {
    inner().Accept(requestID);
    write("connection from " + toUtf8(RemoteHostIP()) + " accepted");
  }
  void Connect() override {
    write("connect to " + toUtf8(RemoteHost()) + " port " + std::to_string(RemotePort()));
    inner().Connect();
  }
  void Connect(const std::u16string& host) override {
    write("connect to " + toUtf8(host) + " port " + std::to_string(RemotePort()));
    inner().Connect(host);
  }
  void SendData(std::span<const std::uint8_t> bytes) override {
    write("out" + hex(bytes) + (State() == sckConnected ? "" : " (kept until connected)"));
    inner().SendData(bytes);
  }
  Bytes GetData() override {
    Bytes bytes = inner().GetData();
    write("in " + hex(bytes));
    return bytes;
  }
  void Close() override {
    if (State() != sckClosed) write("close");
    inner().Close();
  }

 private:
  Socket& inner() const { return mArray.at(mIndex); }
  void write(const std::string& text) {
    mTrace.write("socket " + std::to_string(mIndex) + " " + text);
  }

  SocketArray& mArray;
  std::int16_t mIndex;
  TracingPlatform& mTrace;
};

class TracingSocketArray : public SocketArray, private SocketEvents {
 public:
  TracingSocketArray(std::unique_ptr<SocketArray> inner, TracingPlatform& trace)
      : mInner(std::move(inner)), mTrace(trace) {
    mInner->setEvents(this);
  }

  TracingSocket& at(std::int16_t Index) override {
    mInner->at(Index);  // raises for an index that does not exist
    return mElements.try_emplace(Index, *mInner, Index, mTrace).first->second;
  }
  bool exists(std::int16_t Index) const override { return mInner->exists(Index); }
  void load(std::int16_t Index) override { mInner->load(Index); }
  void unload(std::int16_t Index) override { mInner->unload(Index); }
  std::int16_t upperBound() const override { return mInner->upperBound(); }
  void setEvents(SocketEvents* events) override { mEvents = events; }

 private:
  void ConnectionRequest(std::int16_t Index, std::int32_t requestID) override {
    if (mEvents != nullptr) mEvents->ConnectionRequest(Index, requestID);
  }
  void DataArrival(std::int16_t Index, std::int32_t bytesTotal) override {
    if (mEvents != nullptr) mEvents->DataArrival(Index, bytesTotal);
  }
  void Error(std::int16_t Index, std::int16_t Number, std::u16string& Description,
             std::int32_t Scode, const std::u16string& Source, const std::u16string& HelpFile,
             std::int32_t HelpContext, bool& CancelDisplay) override {
    write(Index, "error " + std::to_string(Number) + ": " + toUtf8(Description));
    if (mEvents != nullptr)
      mEvents->Error(Index, Number, Description, Scode, Source, HelpFile, HelpContext,
                     CancelDisplay);
  }
  void Connect(std::int16_t Index) override {
    write(Index, "connected");
    if (mEvents != nullptr) mEvents->Connect(Index);
  }
  void Close(std::int16_t Index) override {
    write(Index, "the peer has closed");
    if (mEvents != nullptr) mEvents->Close(Index);
  }
  void SendComplete(std::int16_t Index) override {
    if (mEvents != nullptr) mEvents->SendComplete(Index);
  }
  void SendProgress(std::int16_t Index, std::int32_t bytesSent,
                    std::int32_t bytesRemaining) override {
    if (mEvents != nullptr) mEvents->SendProgress(Index, bytesSent, bytesRemaining);
  }
  void write(std::int16_t index, const std::string& text) {
    mTrace.write("socket " + std::to_string(index) + " " + text);
  }

  std::unique_ptr<SocketArray> mInner;
  TracingPlatform& mTrace;
  std::map<std::int16_t, TracingSocket> mElements;
  SocketEvents* mEvents = nullptr;
};

}  // namespace

TracingPlatform::TracingPlatform(Platform& inner, Sink sink)
    : ForwardingPlatform(inner), mSink(std::move(sink)) {}

TracingPlatform::~TracingPlatform() = default;

std::unique_ptr<SerialPort> TracingPlatform::makeSerialPort() {
  return std::make_unique<TracingSerialPort>(forwardedTo().makeSerialPort(), *this);
}

std::unique_ptr<SocketArray> TracingPlatform::makeSocketArray() {
  return std::make_unique<TracingSocketArray>(forwardedTo().makeSocketArray(), *this);
}

void TracingPlatform::note(std::string_view text) {
  write("-- " + std::string(text));
  forwardedTo().note(text);
}

void TracingPlatform::write(const std::string& text) {
  if (!mSink) return;
  const double now = clock().Timer();
  const int seconds = static_cast<int>(now);
  const int thousandths = static_cast<int>((now - seconds) * 1000);
  std::array<char, 32> time{};
  std::snprintf(time.data(), time.size(), "%02d:%02d:%02d.%03d ", seconds / 3600, seconds / 60 % 60,
                seconds % 60, thousandths);
  mSink(time.data() + text);
}

}  // namespace cronvel
