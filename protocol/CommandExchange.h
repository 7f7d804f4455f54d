#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "link/DeviceLinks.h"
#include "protocol/DeviceLine.h"
#include "runtime/Bytes.h"

namespace cronvel {

/// How `MonitoringON` ends after a command.
enum class MonitoringEnd {
  restored,             ///< has its earlier value in every outcome
  offAfterSerialReply,  ///< False after a reply on the serial line, else restored
  off,                  ///< False whenever something was sent; the command does not hold it before
};

/// What one command does differently from the others.
struct CommandForm {
  NetworkVariant network = NetworkVariant::connect;
  std::string_view bodySettings = "600,s,8,1";
  bool discardOutput = false;  ///< the link preparation empties the output buffer too
  MonitoringEnd monitoring = MonitoringEnd::offAfterSerialReply;
  double wait = 5;  ///< seconds that it waits for a reply
};

/// How an exchange went.
struct Outcome {
  enum class Kind { noCarrier, notConnected, noReply, replied };
  Kind kind = Kind::noReply;
  Bytes reply;

  /// The judgement: only a reply that starts with 24 is a success.
  bool accepted() const;
};

/// One exchange with one terminal: carrier check, monitoring hold, link preparation, address phase,
/// body phase, reply wait, judgement, release. The steps are members, so that a command that does
/// something else in between can take them one by one. There is no undoing: an error leaves
/// everything as the steps before it set it.
class CommandExchange {
 public:
  /// Sends a command's bytes. It runs when their turn has come, so that a byte that cannot be made
  /// raises its error after the ones before it went out.
  using Body = std::function<void(CommandExchange&)>;

  /// `links` must outlive the exchange.
  CommandExchange(const DeviceLinks& links, const std::u16string& sRemoteHost,
                  const CommandForm& form);

  /// The whole sequence.
  Outcome run(const Body& body);

  /// False, after a message, when the control is set to a modem that has no carrier. Asked on the
  /// network too.
  bool carrierPresent();
  /// The connect variant connects before the hold.
  void connect() { mLine->connect(mForm.network); }
  /// Keeps the monitoring path from taking the reply.
  void holdMonitoring();
  /// False when no terminal connected in; the exchange is released then.
  bool prepareLink();
  void sendAddress();
  /// Between the address and the body.
  void beginBody() { mLine->settings(mForm.bodySettings); }
  /// Sends a byte and pauses: the terminals need 50 ms for each.
  void send(int value) { send(value, 50); }
  void send(int value, int pause);
  /// What came during the body is an echo or noise.
  void endBody() { mLine->discardInput(); }
  std::optional<Bytes> awaitReply();
  /// Ends the hold and closes the connection.
  void release(bool replied);
  /// Only the first half of `release`.
  void endMonitoringHold(bool replied);

  DeviceLine& line() { return *mLine; }

 private:
  void noteReply(const std::optional<Bytes>& reply) const;

  const DeviceLinks& mLinks;
  CommandForm mForm;
  std::unique_ptr<DeviceLine> mLine;
  bool mSavedMonitoring = false;
};

}  // namespace cronvel
