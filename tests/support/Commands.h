#pragma once

#include <string>
#include <vector>

#include "runtime/Bytes.h"
#include "tests/support/Call.h"

namespace cronvel::test {

/// How a command gets its connection on the network.
enum class Network {
  none,      ///< it goes over the serial line only
  connects,  ///< to the host that it is given
  listens,   ///< 10 s on the port after "-"
  awaits,    ///< listens without a limit on the port that socket 0 has
  joins,     ///< listens on a new socket, which stays connected if a reply comes
};

/// What comes of an exchange, as `described` prints it.
struct Result {
  std::string words;  ///< of the page
  double wait;        ///< seconds that it waits for a reply; 0: it does not
  Bytes reply;        ///< the good one
  std::string accepted;
  std::string refused;  ///< a reply of 15
  std::string silent;
  std::string notSent;    ///< without a carrier or a connection
  bool isStream = false;  ///< silence ends it
};

/// A command: all that the tests and docs/interface.md know of it.
struct Command {
  Call call;
  /// What goes out after the address. "1A" is a byte with a pause of 50 ms behind it, "1A." one
  /// without, "1A_" one with 1 s, "1Ax5" five of them, "~" a pause alone. On the serial line only:
  /// what has a comma are settings, "!" discards the input and a "^" in front the output, before
  /// the address.
  std::string body;
  Network network;
  std::string monitoring;  ///< how MonitoringON ends, in words of the page
  const Result& result;
  double networkWait = result.wait;
  std::string networkBody = body;

  bool serial() const { return network != Network::joins; }
  std::uint8_t code() const;
};

/// Every command once, in the order of the page.
const std::vector<Command>& commands();
/// Its row in docs/interface.md.
std::string pageRow(const Command& command);
/// A body's bytes.
Bytes bytesOf(const std::string& body);

enum class Line { serial, modem, network };
// What is seen on a line, as the fakes' transcript has it; on the network of the host "gate-5000".
/// What goes out for a body, from the address on.
std::string requestOf(const std::string& body, Line line);
/// The whole exchange on the serial line or the modem.
std::string exchangeOf(const std::string& body, Line line = Line::serial);
/// The whole command, on the socket of that index.
std::string transcriptOf(const Command& command, Line line, bool replied,
                         const std::string& socket = "0");
/// The same where nobody connects in.
std::string notConnectedOf(const Command& command, const std::string& socket);
double pauseAfterLast(const std::string& body);

/// What is in the card file that the table's call loads.
constexpr auto cardFile = "1\r\n2,3\n\"4\"\nx,12345\n56";

/// A call that fails when an argument's turn to be sent comes.
struct Failure {
  Call call;
  int number;
  std::string sent;  ///< as a command's body
};
const std::vector<Failure>& failures();

struct Property {
  Call get;
  Call put;  ///< another value than at first
  Call restore;
  const char* atFirst;  ///< in words of the page
  bool persisted;
  bool setInDesignMode;
};
const std::vector<Property>& properties();

}  // namespace cronvel::test
