#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/Platform.h"
#include "runtime/RunTimeError.h"
#include "runtime/Text.h"

namespace cronvel::test {

/// " 01 FF"
inline std::string hex(std::span<const std::uint8_t> bytes) {
  constexpr char digits[] = "0123456789ABCDEF";
  std::string text;
  for (const std::uint8_t byte : bytes) text += {' ', digits[byte / 16], digits[byte % 16]};
  return text;
}

inline Bytes operator+(Bytes left, const Bytes& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

/// What the control did to its machine, in order: "settings 600,m,8,1; open; out 12; sleep 50".
class Transcript {
 public:
  /// Writes an entry down. Raises the error that was planned for it.
  void add(const std::string& entry) {
    mText += (mText.empty() ? "" : "; ") + entry;
    if (failIn > 0 && --failIn == 0)
      throw RunTimeError(ErrorNumber::deviceIoError, "planned at " + entry);
    if (const auto failure = mFailures.extract(entry))
      throw RunTimeError(failure.mapped(), "planned at " + entry);
  }
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

  int failIn = 0;  ///< counts entries down; the one at 0 raises 57, after it was written

 private:
  std::string mText;
  std::map<std::string, ErrorNumber> mFailures;
};

/// Time that moves only when somebody sleeps or waits; what is planned happens in the pump.
class VirtualTime : public Clock, public MessagePump {
 public:
  explicit VirtualTime(Transcript& transcript) : mTranscript(transcript) {}

  double Timer() override {
    mNow += stepPerRead;
    return static_cast<double>((mNow + clockStep) % 86'400'000'000) / 1e6;
  }
  double steadySeconds() override { return static_cast<double>(mNow) / 1e6; }
  void sleep(std::int32_t milliseconds) override {
    mTranscript.add("sleep " + std::to_string(milliseconds));
    mNow += milliseconds * 1000LL;
    slept += milliseconds / 1000.0;
    runDue(mArrivals);
  }
  void DoEvents() override {
    if (recordPasses) mTranscript.add("pump");
    runPass();
  }
  void awaitEvents() override {
    if (!mWoken.exchange(false) && !due(mPlanned) && !due(mArrivals)) mNow += passLength;
    runDue(mArrivals);
  }
  void wake() override { mWoken = true; }

  /// Seconds that have passed since the start, midnights not counted.
  double elapsed() const { return static_cast<double>(mNow) / 1e6; }
  /// Happens inside the pump, as a handler.
  void after(double seconds, std::function<void()> action) {
    mPlanned.emplace(in(seconds), std::move(action));
  }
  /// Happens whatever the control does then, also in a pause: bytes come into a buffer.
  void arriveAfter(double seconds, std::function<void()> arrival) {
    mArrivals.emplace(in(seconds), std::move(arrival));
  }
  /// What was planned and has not come never comes.
  void forgetPlans() {
    mPlanned.clear();
    mArrivals.clear();
  }
  /// Pumps for that long.
  void run(double seconds) {
    for (const double end = elapsed() + seconds; elapsed() < end;) waitEvents();
  }
  /// Called in every pass, before the planned actions.
  void eachPass(std::function<void()> action) { mEachPass.push_back(std::move(action)); }

  std::int64_t stepPerRead = 0;    ///< microseconds that a look at the clock takes
  std::int64_t passLength = 1000;  ///< microseconds that a wait takes in which nothing comes
  std::int64_t clockStep = 0;      ///< microseconds by which somebody has set the clock
  double slept = 0;                ///< seconds of `elapsed`
  bool recordPasses = false;       ///< write "pump" for every `DoEvents`

 private:
  using Plan = std::multimap<std::int64_t, std::function<void()>>;

  std::int64_t in(double seconds) const {
    return mNow + static_cast<std::int64_t>(seconds * 1e6 + 0.5);
  }
  bool due(const Plan& plan) const { return !plan.empty() && plan.begin()->first <= mNow; }
  void runDue(Plan& plan) {
    while (due(plan)) plan.extract(plan.begin()).mapped()();
  }
  void runPass() {
    runDue(mArrivals);
    for (std::size_t i = 0; i < mEachPass.size(); ++i) mEachPass[i]();
    runDue(mPlanned);
  }

  Transcript& mTranscript;
  std::atomic<bool> mWoken = false;
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
  void replyAfter(std::size_t count, double delay, const Bytes& reply) {
    mPlanned.emplace(count, std::pair(delay, reply));
  }
  /// Forgets its plans and counts from 0 again.
  void startAnew() {
    mPlanned.clear();
    mReceived = 0;
  }
  void received(std::size_t count, const std::function<void(const Bytes&)>& deliver) {
    mReceived += count;
    for (auto [plan, end] = mPlanned.equal_range(mReceived); plan != end; ++plan)
      mTime.arriveAfter(plan->second.first, std::bind(deliver, plan->second.second));
  }

 private:
  VirtualTime& mTime;
  std::multimap<std::size_t, std::pair<double, Bytes>> mPlanned;
  std::size_t mReceived = 0;
};

/// What the fakes share.
struct FakeMachine {
  Transcript transcript;
  VirtualTime time{transcript};
  FakeTerminal terminal{time};
};

class FakeSerialPort : public SerialPort {
 public:
  explicit FakeSerialPort(FakeMachine& machine) : mMachine(machine) {
    machine.time.eachPass([this] {
      if (std::exchange(mEventDue, false)) raise(comEvReceive);
    });
  }

  /// Bytes arrive; the event comes in the next pass.
  void feed(const Bytes& bytes) {
    mReceived = mReceived + bytes;
    mEventDue = true;
  }
  void raise(std::int16_t commEvent) {
    mCommEvent = commEvent;
    mHandler();
  }
  std::function<bool()> carrier = [] { return false; };
  bool gone = false;  ///< its device
  SerialPortSetup setup;

  void configure(const SerialPortSetup& newSetup) override { setup = newSetup; }
  std::int16_t CommPort() const override { return mNumber; }
  void CommPort(std::int16_t number) override {
    log().set(mNumber, number, "port " + std::to_string(number));
  }
  std::string Settings() const override { return {}; }
  void Settings(std::string_view settings) override {
    log().add("settings " + std::string(settings));
  }
  bool PortOpen() const override { return mOpen; }
  void PortOpen(bool open) override { log().set(mOpen, open, open ? "open" : "close"); }
  std::int32_t InBufferCount() override {
    if (gone && mOpen) throw RunTimeError(ErrorNumber::errorReadingCommDevice);
    return static_cast<std::int32_t>(mReceived.size());
  }
  void InBufferCount(std::int32_t) override {
    addIfOpen("discard in");
    mReceived.clear();
  }
  std::int32_t OutBufferCount() override { return 0; }
  void OutBufferCount(std::int32_t) override { log().add("discard out"); }
  void Output(std::span<const std::uint8_t> bytes) override {
    addIfOpen("out" + hex(bytes));
    if (gone) throw RunTimeError(ErrorNumber::deviceIoError);
    mMachine.terminal.received(bytes.size(), [this](const Bytes& reply) { feed(reply); });
  }
  Bytes Input() override { return std::exchange(mReceived, {}); }
  bool CDHolding() override { return carrier(); }
  bool DTREnable() const override { return setup.DTREnable; }
  void DTREnable(bool enable) override {
    log().set(setup.DTREnable, enable, enable ? "dtr on" : "dtr off");
  }
  std::int16_t CommEvent() const override { return mCommEvent; }
  void onComm(std::function<void()> handler) override { mHandler = std::move(handler); }

 private:
  Transcript& log() { return mMachine.transcript; }
  void addIfOpen(const std::string& entry) {
    log().add(entry);
    if (!mOpen) throw RunTimeError(ErrorNumber::portNotOpen);
  }

  FakeMachine& mMachine;
  std::int16_t mNumber = 1;
  bool mOpen = false;
  Bytes mReceived;
  bool mEventDue = false;
  std::int16_t mCommEvent = 0;
  std::function<void()> mHandler;
};

class FakeSocket : public Socket {
 public:
  FakeSocket(FakeMachine& machine, std::int16_t index, std::function<void(const Bytes&)> deliver)
      : mMachine(machine), mIndex(index), mDeliver(std::move(deliver)) {}

  std::int16_t state = sckClosed;
  Bytes received;
  bool announcing = false;

  std::int16_t Protocol() const override { return 0; }
  void Protocol(std::int16_t protocol) override { add("protocol " + std::to_string(protocol)); }
  std::int32_t LocalPort() const override { return 0; }
  void LocalPort(std::int32_t port) override { add("local port " + std::to_string(port)); }
  std::int32_t RemotePort() const override { return 0; }
  void RemotePort(std::int32_t port) override { add("remote port " + std::to_string(port)); }
  std::u16string RemoteHost() const override { return mRemoteHost; }
  void RemoteHost(const std::u16string& host) override { add("remote host " + toUtf8(host)); }
  std::u16string RemoteHostIP() const override { return u"10.0.0.9"; }
  std::u16string LocalIP() const override { return u"10.0.0.1"; }
  std::int16_t State() const override { return state; }
  std::int32_t BytesReceived() override { return static_cast<std::int32_t>(received.size()); }
  void Listen() override {
    add("listen");
    if (state != sckClosed) throw RunTimeError(ErrorNumber::invalidOperationAtState);
    state = sckListening;
  }
  void Accept(std::int32_t requestID) override { connected("accept " + std::to_string(requestID)); }
  void Connect() override { connected("connect"); }
  void Connect(const std::u16string& host) override {
    connected("connect " + toUtf8(host));
    mRemoteHost = host;
  }
  void SendData(std::span<const std::uint8_t> bytes) override {
    add("send" + hex(bytes));
    if (state != sckConnected) throw RunTimeError(ErrorNumber::wrongConnectionState);
    mMachine.terminal.received(bytes.size(), mDeliver);
  }
  Bytes GetData() override { return std::exchange(received, {}); }
  void Close() override {
    add("close " + std::to_string(mIndex));
    state = sckClosed;
  }

 private:
  void add(const std::string& entry) { mMachine.transcript.add(entry); }
  void connected(const std::string& entry) {
    add(entry);
    state = sckConnected;
  }

  FakeMachine& mMachine;
  std::int16_t mIndex;
  std::function<void(const Bytes&)> mDeliver;
  std::u16string mRemoteHost;
};

class FakeSocketArray : public SocketArray {
 public:
  explicit FakeSocketArray(FakeMachine& machine) : mMachine(machine) {
    load(0);
    machine.time.eachPass([this] { announceArrivals(); });
  }

  /// A peer connects in to the listening element; nothing if it does not listen.
  void connectIn(std::int16_t index) {
    if (exists(index) && at(index).state == sckListening) events->ConnectionRequest(index, 7);
  }
  void feed(std::int16_t index, const Bytes& bytes) {
    at(index).received = at(index).received + bytes;
  }
  SocketEvents* events = nullptr;

  FakeSocket& at(std::int16_t Index) override {
    if (!exists(Index)) throw RunTimeError(ErrorNumber::controlArrayElement);
    return *mElements[Index];
  }
  bool exists(std::int16_t Index) const override { return mElements.contains(Index); }
  void load(std::int16_t Index) override {
    mElements[Index] = std::make_shared<FakeSocket>(
        mMachine, Index, [this, Index](const Bytes& bytes) { feed(Index, bytes); });
  }
  void unload(std::int16_t Index) override { mElements.erase(Index); }
  std::int16_t upperBound() const override { return mElements.rbegin()->first; }
  void setEvents(SocketEvents* newEvents) override { events = newEvents; }

 private:
  using Elements = std::map<std::int16_t, std::shared_ptr<FakeSocket>>;
  /// Also ends when the handler fails.
  struct Announcing {
    explicit Announcing(FakeSocket& announced) : socket(announced) { socket.announcing = true; }
    ~Announcing() { socket.announcing = false; }
    FakeSocket& socket;
  };

  void announceArrivals() {
    for (const auto& [index, socket] : Elements(mElements)) {  // a handler may unload some
      if (socket->announcing || socket->received.empty()) continue;
      const Announcing inHandler(*socket);
      events->DataArrival(index, socket->BytesReceived());
    }
  }

  FakeMachine& mMachine;
  Elements mElements;
};

class FakeTimer : public Timer {
 public:
  explicit FakeTimer(VirtualTime& time) : mTime(time) {
    time.eachPass([this] {
      if (!mEnabled || mTime.elapsed() < mNext) return;
      mNext = mTime.elapsed() + mInterval;
      mHandler();
    });
  }
  void Interval(std::int32_t milliseconds) override { mInterval = milliseconds / 1000.0; }
  bool Enabled() const override { return mEnabled; }
  void Enabled(bool enabled) override {
    mEnabled = enabled;
    mNext = mTime.elapsed() + mInterval;
  }
  void onTimer(std::function<void()> handler) override { mHandler = std::move(handler); }

 private:
  VirtualTime& mTime;
  double mInterval = 0;
  double mNext = 0;
  bool mEnabled = false;
  std::function<void()> mHandler;
};

/// Makes the fakes and shows the boxes. Serves one control.
class FakePlatform : public Platform, public MsgBox, public FakeMachine {
 public:
  FakeSerialPort* port = nullptr;      ///< the one port that was made
  FakeSocketArray* sockets = nullptr;  ///< the one array that was made
  std::vector<std::string> notes;
  int yesAnswers = 0;  ///< to the next yes/no questions; then No

  std::unique_ptr<SerialPort> makeSerialPort() override {
    return std::unique_ptr<SerialPort>(port = new FakeSerialPort(*this));
  }
  std::unique_ptr<SocketArray> makeSocketArray() override {
    return std::unique_ptr<SocketArray>(sockets = new FakeSocketArray(*this));
  }
  std::unique_ptr<Timer> makeTimer() override { return std::make_unique<FakeTimer>(time); }
  Clock& clock() override { return time; }
  MessagePump& messagePump() override { return time; }
  MsgBox& msgBox() override { return *this; }
  void mapCommPort(std::int16_t, const std::string&) override {}
  std::unique_ptr<SerialLineEnd> makeSerialLineEnd(const std::string&) override { return nullptr; }
  void note(std::string_view text) override { notes.emplace_back(text); }

  Answer show(const std::u16string& prompt, Buttons buttons, const std::u16string& title) override {
    transcript.add("box " + toUtf8(title) + ": " + toUtf8(prompt) +
                   (buttons == Buttons::ok ? " [OK]" : " [Yes] [No]"));
    if (buttons == Buttons::ok) return Answer::ok;
    return yesAnswers-- > 0 ? Answer::yes : Answer::no;
  }
};

}  // namespace cronvel::test
