#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/Container.h"
#include "platform/Platform.h"
#include "runtime/RunTimeError.h"
#include "runtime/Text.h"

namespace cronvel::test {

/// What the control did to its machine, in order: "settings 600,m,8,1; open; out 12; sleep 50".
class Transcript {
 public:
  /// Writes an entry down. Raises the error that was planned for it.
  void add(const std::string& entry);
  /// The same for a value that is kept unless that happens.
  template <typename Value>
  void set(Value& field, const Value& value, const std::string& entry) {
    add(entry);
    field = value;
  }
  /// Everything since the last call.
  std::string take() { return std::exchange(mText, {}); }
  /// The next entry of that text raises the error, after it was written down.
  void failAt(const std::string& entry, ErrorNumber number) { mFailures[entry] = number; }

 private:
  std::string mText;
  std::map<std::string, ErrorNumber> mFailures;
};

/// Time that moves only when somebody sleeps or waits; what is planned happens in the pump.
class VirtualTime : public Clock, public MessagePump {
 public:
  explicit VirtualTime(Transcript& transcript) : mTranscript(transcript) {}

  double Timer() override;
  void sleep(std::int32_t milliseconds) override;
  void DoEvents() override;
  void waitEvents() override;

  void setTimeOfDay(double seconds) { mNow = toMicroseconds(seconds); }
  /// Seconds that have passed since the start, midnights not counted.
  double elapsed() const { return static_cast<double>(mNow) / 1e6; }
  /// Happens inside the pump, as a handler.
  void after(double seconds, std::function<void()> action);
  /// Happens whatever the control does then, also in a pause: bytes come into a buffer.
  void arriveAfter(double seconds, std::function<void()> arrival);
  /// Pumps for that long.
  void run(double seconds);
  /// Called in every pass, before the planned actions.
  void eachPass(std::function<void()> action) { mEachPass.push_back(std::move(action)); }

  std::int64_t stepPerRead = 0;  ///< microseconds that a look at the clock takes
  bool recordPasses = false;     ///< write "pump" for every `DoEvents`

 private:
  static std::int64_t toMicroseconds(double seconds) {
    return static_cast<std::int64_t>(seconds * 1e6 + 0.5);
  }
  using Plan = std::multimap<std::int64_t, std::function<void()>>;
  bool runDue(Plan& plan);
  bool runPass();

  Transcript& mTranscript;
  std::int64_t mNow = 12LL * 3600 * 1000000;
  Plan mPlanned;
  Plan mArrivals;
  std::vector<std::function<void()>> mEachPass;
};

/// The other end of the line or the socket: it answers after a number of bytes.
class FakeTerminal {
 public:
  explicit FakeTerminal(VirtualTime& time) : mTime(time) {}
  /// After `count` bytes, `delay` seconds later, `reply` arrives. Several can be planned.
  void replyAfter(std::size_t count, double delay, Bytes reply) {
    mPlanned.push_back({count, delay, std::move(reply)});
  }
  /// Forgets its plans and counts from 0 again.
  void startAnew() {
    mPlanned.clear();
    mReceived = 0;
  }
  void received(std::span<const std::uint8_t> bytes, std::function<void(Bytes)> deliver);

 private:
  struct Plan {
    std::size_t count;
    double delay;
    Bytes reply;
  };
  VirtualTime& mTime;
  std::vector<Plan> mPlanned;
  std::size_t mReceived = 0;
};

class FakeSerialPort : public SerialPort {
 public:
  FakeSerialPort(Transcript& transcript, VirtualTime& time, FakeTerminal& terminal);

  void feed(const Bytes& bytes);  ///< bytes arrive; the event comes in the next pass
  void raise(std::int16_t commEvent);
  bool carrier = false;
  std::function<bool()> onCarrierLook;  ///< answers instead, if there is one
  SerialPortSetup setup;

  void configure(const SerialPortSetup& newSetup) override { setup = newSetup; }
  std::int16_t CommPort() const override { return mNumber; }
  void CommPort(std::int16_t number) override {
    mTranscript.set(mNumber, number, "port " + std::to_string(number));
  }
  std::string Settings() const override { return mSettings; }
  void Settings(std::string_view settings) override {
    mTranscript.set(mSettings, std::string(settings), "settings " + std::string(settings));
  }
  bool PortOpen() const override { return mOpen; }
  void PortOpen(bool open) override { mTranscript.set(mOpen, open, open ? "open" : "close"); }
  std::int32_t InBufferCount() override { return static_cast<std::int32_t>(mReceived.size()); }
  void InBufferCount(std::int32_t count) override;
  std::int32_t OutBufferCount() override { return 0; }
  void OutBufferCount(std::int32_t) override { mTranscript.add("discard out"); }
  void Output(std::span<const std::uint8_t> bytes) override;
  Bytes Input() override { return std::exchange(mReceived, {}); }
  bool CDHolding() override { return onCarrierLook ? onCarrierLook() : carrier; }
  bool DTREnable() const override { return setup.DTREnable; }
  void DTREnable(bool enable) override {
    mTranscript.set(setup.DTREnable, enable, enable ? "dtr on" : "dtr off");
  }
  std::int16_t CommEvent() const override { return mCommEvent; }
  void onComm(std::function<void()> handler) override { mHandler = std::move(handler); }

 private:
  void requireOpen() const;

  Transcript& mTranscript;
  FakeTerminal& mTerminal;
  std::int16_t mNumber = 1;
  std::string mSettings = "9600,n,8,1";
  bool mOpen = false;
  Bytes mReceived;
  bool mEventDue = false;
  std::int16_t mCommEvent = 0;
  std::function<void()> mHandler;
};

class FakeSocketArray;

class FakeSocket : public Socket {
 public:
  FakeSocket(FakeSocketArray& array, std::int16_t index) : mArray(array), mIndex(index) {}

  std::int16_t state = sckClosed;
  Bytes received;

  std::int16_t Protocol() const override { return mProtocol; }
  void Protocol(std::int16_t protocol) override { set(mProtocol, protocol, "protocol "); }
  std::int32_t LocalPort() const override { return mLocalPort; }
  void LocalPort(std::int32_t port) override { set(mLocalPort, port, "local port "); }
  std::int32_t RemotePort() const override { return mRemotePort; }
  void RemotePort(std::int32_t port) override { set(mRemotePort, port, "remote port "); }
  std::u16string RemoteHost() const override { return mRemoteHost; }
  void RemoteHost(const std::u16string& host) override {
    add("remote host " + toUtf8(host));
    mRemoteHost = host;
  }
  std::u16string RemoteHostIP() const override { return u"10.0.0.9"; }
  std::u16string LocalIP() const override { return u"10.0.0.1"; }
  std::int16_t State() const override { return state; }
  std::int32_t BytesReceived() override { return static_cast<std::int32_t>(received.size()); }
  void Listen() override;
  void Accept(std::int32_t requestID) override;
  void Connect() override;
  void Connect(const std::u16string& host) override;
  void SendData(std::span<const std::uint8_t> bytes) override;
  Bytes GetData() override { return std::exchange(received, {}); }
  void Close() override;

 private:
  void add(const std::string& entry);
  template <typename Number>
  void set(Number& field, Number value, const std::string& label) {
    add(label + std::to_string(value));
    field = value;
  }

  FakeSocketArray& mArray;
  std::int16_t mIndex;
  std::int16_t mProtocol = 0;
  std::int32_t mLocalPort = 8085;
  std::int32_t mRemotePort = 8085;
  std::u16string mRemoteHost;
};

class FakeSocketArray : public SocketArray {
 public:
  FakeSocketArray(Transcript& transcript, VirtualTime& time, FakeTerminal& terminal);

  /// A peer connects in to the listening element; nothing if it does not listen.
  void connectIn(std::int16_t index);
  void feed(std::int16_t index, const Bytes& bytes);
  void fail(std::int16_t index, std::int16_t number, const std::u16string& text);

  FakeSocket& at(std::int16_t Index) override;
  bool exists(std::int16_t Index) const override { return mElements.contains(Index); }
  void load(std::int16_t Index) override;
  void unload(std::int16_t Index) override { mElements.erase(Index); }
  std::int16_t upperBound() const override { return mElements.rbegin()->first; }
  void setEvents(SocketEvents* newEvents) override { events = newEvents; }

  SocketEvents* events = nullptr;
  Transcript& transcript;
  FakeTerminal& terminal;

 private:
  void announceArrivals();

  std::map<std::int16_t, std::unique_ptr<FakeSocket>> mElements;
  std::set<std::int16_t> mAnnouncing;
};

class FakeTimer : public Timer {
 public:
  explicit FakeTimer(VirtualTime& time);
  void Interval(std::int32_t milliseconds) override { mInterval = milliseconds / 1000.0; }
  bool Enabled() const override { return mEnabled; }
  void Enabled(bool enabled) override;
  void onTimer(std::function<void()> handler) override { mHandler = std::move(handler); }

 private:
  void look();

  VirtualTime& mTime;
  double mInterval = 0;
  double mNext = 0;
  bool mEnabled = false;
  bool mRunning = false;
  std::function<void()> mHandler;
};

class FakeMsgBox : public MsgBox {
 public:
  explicit FakeMsgBox(Transcript& transcript) : mTranscript(transcript) {}
  std::deque<Answer> answers;  ///< to the next yes/no questions; No when there are no more
  Answer show(const std::u16string& prompt, Buttons buttons, const std::u16string& title) override;

 private:
  Transcript& mTranscript;
};

/// Wires all the fakes. Serves one control.
class FakePlatform : public Platform {
 public:
  Transcript transcript;
  VirtualTime time{transcript};
  FakeTerminal terminal{time};
  FakeSerialPort* port = nullptr;      ///< the one port that was made
  FakeSocketArray* sockets = nullptr;  ///< the one array that was made
  std::vector<std::string> notes;
  FakeMsgBox box{transcript};

  std::unique_ptr<SerialPort> makeSerialPort() override;
  std::unique_ptr<SocketArray> makeSocketArray() override;
  std::unique_ptr<Timer> makeTimer() override { return std::make_unique<FakeTimer>(time); }
  Clock& clock() override { return time; }
  MessagePump& messagePump() override { return time; }
  MsgBox& msgBox() override { return box; }
  void mapCommPort(std::int16_t, const std::string&) override {}
  std::unique_ptr<SerialLineEnd> makeSerialLineEnd(const std::string&) override { return nullptr; }
  void note(std::string_view text) override { notes.emplace_back(text); }
};

}  // namespace cronvel::test
