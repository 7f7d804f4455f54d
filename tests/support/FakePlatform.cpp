#include "tests/support/FakePlatform.h"

#include <array>
#include <cstdio>
#include <utility>

#include "runtime/Text.h"

namespace cronvel::test {
namespace {

std::string hex(std::span<const std::uint8_t> bytes) {
  std::string out;
  for (const std::uint8_t byte : bytes) {
    std::array<char, 4> digits{};
    std::snprintf(digits.data(), digits.size(), " %02X", static_cast<unsigned>(byte));
    out += digits.data();
  }
  return out;
}

}  // namespace

void Transcript::add(const std::string& entry) {
  mText += (mText.empty() ? "" : "; ") + entry;
  const auto failure = mFailures.find(entry);
  if (failure == mFailures.end()) return;
  const ErrorNumber number = failure->second;
  mFailures.erase(failure);
  throw RunTimeError(number, "planned at " + entry);
}

double VirtualTime::Timer() {
  mNow += stepPerRead;
  return static_cast<double>(mNow % 86'400'000'000) / 1e6;
}

void VirtualTime::sleep(std::int32_t milliseconds) {
  mTranscript.add("sleep " + std::to_string(milliseconds));
  mNow += milliseconds * 1000LL;
  runDue(mArrivals);
}

void VirtualTime::DoEvents() {
  if (recordPasses) mTranscript.add("pump");
  runPass();
}

void VirtualTime::waitEvents() {
  if (!runPass()) mNow += 1000;
}

bool VirtualTime::runPass() {
  const bool arrived = runDue(mArrivals);
  for (std::size_t i = 0; i < mEachPass.size(); ++i) mEachPass[i]();
  return runDue(mPlanned) || arrived;
}

void VirtualTime::after(double seconds, std::function<void()> action) {
  mPlanned.emplace(mNow + toMicroseconds(seconds), std::move(action));
}

void VirtualTime::arriveAfter(double seconds, std::function<void()> arrival) {
  mArrivals.emplace(mNow + toMicroseconds(seconds), std::move(arrival));
}

void VirtualTime::run(double seconds) {
  for (const double end = elapsed() + seconds; elapsed() < end;) waitEvents();
}

bool VirtualTime::runDue(Plan& plan) {
  bool ran = false;
  while (!plan.empty() && plan.begin()->first <= mNow) {
    const auto action = plan.extract(plan.begin()).mapped();
    action();
    ran = true;
  }
  return ran;
}

void FakeTerminal::received(std::span<const std::uint8_t> bytes,
                            std::function<void(Bytes)> deliver) {
  mReceived += bytes.size();
  for (const Plan& plan : mPlanned)
    if (plan.count == mReceived)
      mTime.arriveAfter(plan.delay, [deliver, reply = plan.reply] { deliver(reply); });
}

FakeSerialPort::FakeSerialPort(Transcript& transcript, VirtualTime& time, FakeTerminal& terminal)
    : mTranscript(transcript), mTerminal(terminal) {
  time.eachPass([this] {
    if (!std::exchange(mEventDue, false)) return;
    raise(comEvReceive);
  });
}

void FakeSerialPort::feed(const Bytes& bytes) {
  mReceived.insert(mReceived.end(), bytes.begin(), bytes.end());
  mEventDue = true;
}

void FakeSerialPort::raise(std::int16_t commEvent) {
  mCommEvent = commEvent;
  if (mHandler) mHandler();
}

void FakeSerialPort::InBufferCount(std::int32_t /*count*/) {
  mTranscript.add("discard in");
  requireOpen();
  mReceived.clear();
}

void FakeSerialPort::Output(std::span<const std::uint8_t> bytes) {
  mTranscript.add("out" + hex(bytes));
  requireOpen();
  mTerminal.received(bytes, [this](const Bytes& reply) { feed(reply); });
}

void FakeSerialPort::requireOpen() const {
  if (!mOpen) throw RunTimeError(ErrorNumber::portNotOpen);
}

void FakeSocket::add(const std::string& entry) { mArray.transcript.add(entry); }

void FakeSocket::Listen() {
  add("listen");
  if (state != sckClosed) throw RunTimeError(ErrorNumber::invalidOperationAtState);
  state = sckListening;
}

void FakeSocket::Accept(std::int32_t requestID) {
  add("accept " + std::to_string(requestID));
  state = sckConnected;
}

void FakeSocket::Connect() {
  add("connect");
  state = sckConnected;
}

void FakeSocket::Connect(const std::u16string& host) {
  add("connect " + toUtf8(host));
  mRemoteHost = host;
  state = sckConnected;
}

void FakeSocket::SendData(std::span<const std::uint8_t> bytes) {
  add("send" + hex(bytes));
  if (state != sckConnected) throw RunTimeError(ErrorNumber::wrongConnectionState);
  mArray.terminal.received(bytes,
                           [&array = mArray, i = mIndex](const Bytes& b) { array.feed(i, b); });
}

void FakeSocket::Close() {
  add("close " + std::to_string(mIndex));
  state = sckClosed;
}

FakeSocketArray::FakeSocketArray(Transcript& theTranscript, VirtualTime& time,
                                 FakeTerminal& theTerminal)
    : transcript(theTranscript), terminal(theTerminal) {
  load(0);
  time.eachPass([this] { announceArrivals(); });
}

void FakeSocketArray::connectIn(std::int16_t index) {
  if (at(index).state == sckListening) events->ConnectionRequest(index, 7);
}

void FakeSocketArray::feed(std::int16_t index, const Bytes& bytes) {
  Bytes& received = at(index).received;
  received.insert(received.end(), bytes.begin(), bytes.end());
}

void FakeSocketArray::fail(std::int16_t index, std::int16_t number, const std::u16string& text) {
  at(index).state = sckError;
  std::u16string description = text;
  bool cancelDisplay = false;
  events->Error(index, number, description, 1, u"socket", u"help", 2, cancelDisplay);
  transcript.add(cancelDisplay ? "no box" : "box");
}

FakeSocket& FakeSocketArray::at(std::int16_t Index) {
  const auto found = mElements.find(Index);
  if (found == mElements.end()) throw RunTimeError(ErrorNumber::controlArrayElement);
  return *found->second;
}

void FakeSocketArray::load(std::int16_t Index) {
  mElements[Index] = std::make_unique<FakeSocket>(*this, Index);
}

void FakeSocketArray::announceArrivals() {
  if (events == nullptr) return;
  std::vector<std::int16_t> waiting;
  for (const auto& [index, socket] : mElements)
    if (!socket->received.empty()) waiting.push_back(index);
  for (const std::int16_t index : waiting) {
    if (!mAnnouncing.insert(index).second) continue;
    events->DataArrival(index, at(index).BytesReceived());
    mAnnouncing.erase(index);
  }
}

FakeTimer::FakeTimer(VirtualTime& time) : mTime(time) {
  time.eachPass([this] { look(); });
}

void FakeTimer::Enabled(bool enabled) {
  mEnabled = enabled;
  mNext = mTime.elapsed() + mInterval;
}

void FakeTimer::look() {
  if (!mEnabled || mRunning || !mHandler || mTime.elapsed() < mNext) return;
  mNext = mTime.elapsed() + mInterval;
  mRunning = true;
  mHandler();
  mRunning = false;
}

MsgBox::Answer FakeMsgBox::show(const std::u16string& prompt, Buttons buttons,
                                const std::u16string& title) {
  mTranscript.add("box " + toUtf8(title) + ": " + toUtf8(prompt) +
                  (buttons == Buttons::ok ? " [OK]" : " [Yes] [No]"));
  if (buttons == Buttons::ok) return Answer::ok;
  if (answers.empty()) return Answer::no;
  const Answer answer = answers.front();
  answers.pop_front();
  return answer;
}

std::unique_ptr<SerialPort> FakePlatform::makeSerialPort() {
  auto made = std::make_unique<FakeSerialPort>(transcript, time, terminal);
  port = made.get();
  return made;
}

std::unique_ptr<SocketArray> FakePlatform::makeSocketArray() {
  auto made = std::make_unique<FakeSocketArray>(transcript, time, terminal);
  sockets = made.get();
  return made;
}

}  // namespace cronvel::test
