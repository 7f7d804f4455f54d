#include "link/SerialLink.h"

#include <limits>
#include <utility>

#include "runtime/Conversion.h"

namespace cronvel {
namespace {

constexpr std::int32_t timer2Interval = 60000;

constexpr SerialPortSetup binaryInput{
    .InputMode = 1,
    .InputLen = 0,
    .RThreshold = 1,
    .SThreshold = 0,
    .Handshaking = 0,
    .NullDiscard = false,
    .EOFEnable = false,
    .Break = false,
    .DTREnable = true,
    .RTSEnable = true,
};

}  // namespace

SerialLink::SerialLink(Platform& platform, Host& host, ControlState& state)
    : mState(state),
      mEvents(host.events),
      MSComm1(platform.makeSerialPort()),
      Timer2(platform.makeTimer()) {
  MSComm1->configure(binaryInput);
  MSComm1->onComm([this] { OnComm(); });
  Timer2->Interval(timer2Interval);
  Timer2->onTimer([this] { Timer2Tick(); });
}

void SerialLink::startTimeOut(std::int16_t ticks) {
  stopTimeOut();
  mTimerTicks = 0;
  mTimerLimit = ticks;
  Timer2->Enabled(true);
}

void SerialLink::stopTimeOut() {
  Timer2->Enabled(false);
  mTimedOut = false;
}

void SerialLink::OnComm() {
  // Bytes that come during a command stay in the port: they are its reply.
  if (!mState.MonitoringON) return;
  if (MSComm1->CommEvent() != comEvReceive) return;
  const std::int32_t count = MSComm1->InBufferCount();
  if (count <= 0) return;
  keep(MSComm1->Input(), count);
  while (!mUndelivered.empty()) {
    Delivery next = std::move(mUndelivered.front());
    mUndelivered.pop_front();
    mEvents.DataReceivedForMonitoring(next.bytes, next.count);
  }
}

/// In as many events as it takes: one counts no further than a 16-bit integer. A host that pumps in
/// its event is told of the rest there, so that later bytes do not come before it.
void SerialLink::keep(Bytes bytes, std::int32_t count) {
  constexpr std::int16_t most = std::numeric_limits<std::int16_t>::max();
  while (count > most) {
    const auto end = bytes.begin() + most;
    mUndelivered.push_back({Bytes(bytes.begin(), end), most});
    bytes.erase(bytes.begin(), end);
    count -= most;
  }
  mUndelivered.push_back({std::move(bytes), toInteger(count)});
}

void SerialLink::Timer2Tick() {
  mTimerTicks = toInteger(mTimerTicks + 1);
  if (mTimerTicks < mTimerLimit) return;
  Timer2->Enabled(false);
  mTimedOut = true;
}

}  // namespace cronvel
