#pragma once

#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "link/DeviceLinks.h"
#include "protocol/DeviceLine.h"
#include "runtime/Bytes.h"

namespace cronvel {

/// How `MonitoringON` ends after a command that held it.
enum class MonitoringEnd {
  restored,       ///< has its earlier value in every outcome
  offAfterReply,  ///< False after a reply, else restored
  off,            ///< False whenever something was sent; the command does not hold it before
  untouched,      ///< the command does not hold it
};

/// What most commands do: a reply on the serial line leaves `MonitoringON` False.
inline constexpr PerLine<MonitoringEnd> usualEnd{MonitoringEnd::offAfterReply,
                                                 MonitoringEnd::restored};
inline constexpr PerLine<MonitoringEnd> alwaysRestored{MonitoringEnd::restored,
                                                       MonitoringEnd::restored};
inline constexpr PerLine<MonitoringEnd> alwaysOff{MonitoringEnd::off, MonitoringEnd::off};
inline constexpr PerLine<MonitoringEnd> notHeld{MonitoringEnd::untouched, MonitoringEnd::untouched};

/// What one command does differently from the others: its row in a table of them.
struct CommandForm {
  int code = 0;  ///< the terminal's number for the command; the body is 2, the code, the payload
  NetworkVariant network = NetworkVariant::connect;
  std::string_view bodySettings = "600,s,8,1";
  bool discardOutput = false;  ///< the link preparation empties the output buffer too
  PerLine<MonitoringEnd> monitoring = usualEnd;
  PerLine<double> wait = {5, 5};  ///< seconds that it waits for a reply
};

/// The terminals' reply for success.
inline constexpr std::uint8_t successReply = 24;

/// How an exchange went.
struct Outcome {
  enum class Kind { noCarrier, notConnected, noReply, replied };
  Kind kind = Kind::noReply;
  Bytes reply;

  /// The judgement: only a reply that starts with `successReply` is a success.
  bool accepted() const;
};

/// One exchange with one terminal: carrier check, monitoring hold, link preparation, address phase,
/// body phase, reply wait, judgement, release. The steps are members, so that a command that does
/// something else in between can take them one by one. There is no undoing: an error leaves
/// everything as the steps before it set it.
class CommandExchange {
 public:
  /// Sends a command's payload. It runs when its turn has come, so that a byte that cannot be made
  /// raises its error after the ones before it went out.
  using Payload = std::function<void(CommandExchange&)>;

  /// `links` must outlive the exchange.
  CommandExchange(DeviceLinks& links, const std::u16string& sRemoteHost, const CommandForm& form);
  /// Always on the serial line.
  CommandExchange(DeviceLinks& links, const CommandForm& form)
      : CommandExchange(links, std::u16string(), form) {}
  CommandExchange(DeviceLinks& links, std::unique_ptr<DeviceLine> line, const CommandForm& form);

  /// The whole sequence.
  Outcome run(const Payload& payload);
  /// The sequence from the link preparation on.
  Outcome converse(const Payload& payload);

  /// False, after a message, when the control is set to a modem that has no carrier. Asked on the
  /// network too.
  bool carrierPresent();
  /// What connects before the hold; False when no terminal will connect in.
  bool connect();
  /// Keeps the monitoring path from taking the reply.
  void holdMonitoring();
  /// False when no terminal connected in; the exchange is released then.
  bool prepareLink();
  /// The address and the start of the body, up to the code.
  void sendRequest();
  /// Sends a byte and pauses: the terminals need 50 ms for each.
  void send(int value) { send(value, 50); }
  void send(int value, int pause);
  /// The same for bytes that belong together: an ending comes before or behind them. What fits no
  /// byte raises 6 when its turn comes.
  void sendWhole(std::initializer_list<int> values);
  /// The line settings for what follows.
  void settings(std::string_view settings);
  /// Sends a text in display codes, cut or filled up with blanks to that many bytes.
  void sendText(std::u16string_view text, std::size_t length);
  /// All of a switch command, which waits for no reply: link preparation, the request and "T" or
  /// "F". False when no terminal connected in.
  bool sendSwitch(bool on);
  /// What came during the body is an echo or noise.
  void endBody() {
    if (!mLinks.ended()) mLine->discardInput();
  }
  std::optional<Bytes> awaitReply();
  /// Ends the hold and closes the connection.
  void release(bool replied);

  /// Seconds that it waits for a reply.
  double limit() const { return mLine->own(mForm.wait); }

  DeviceLine& line() { return *mLine; }

 private:
  MonitoringEnd monitoringEnd() const { return mLine->own(mForm.monitoring); }
  void endMonitoringHold(bool replied);
  void noteReply(const std::optional<Bytes>& reply, double wait) const;

  DeviceLinks& mLinks;
  Ending::Command mUnderWay;
  CommandForm mForm;
  std::unique_ptr<DeviceLine> mLine;
  bool mSavedMonitoring = false;
};

}  // namespace cronvel
