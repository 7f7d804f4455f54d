#pragma once

#include <functional>
#include <iterator>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include "host/PropertyBagFile.h"
#include "tests/support/Commands.h"
#include "tests/support/RecordModel.h"
#include "tests/support/Setup.h"

namespace cronvel::test {

/// Seconds until the host gives up an endless wait for a connection.
constexpr double nobody = 30;

/// A host that keeps the bytes it gets, and does in its next event what is planned.
struct BusyHost : __Cronvel {
  std::string fromOther, fromOwn, monitored;
  std::vector<std::function<void()>> inNextEvent;

  void WinSockCurrentState(std::int16_t) override { act(); }
  void WinSockDataReceived(Bytes& bytes, std::int32_t, std::u16string& host, std::u16string&,
                           std::int16_t&, std::int32_t&) override {
    (host == u"other" ? fromOther : fromOwn).append(bytes.begin(), bytes.end());
    act();
  }
  void DataReceivedForMonitoring(Bytes& bytes, std::int16_t&) override {
    monitored.append(bytes.begin(), bytes.end());
    act();
  }
  void AddFileProgressInc(std::int32_t&) override { act(); }
  void act() {
    for (const auto& action : std::exchange(inNextEvent, {})) action();
  }
};

/// A control that tries one command after the other; its socket 1 is connected to another host.
struct Machine : Setup<BusyHost> {
  Machine() {
    folder.write("cards.txt", cardFile);
    platform.time.passLength = 40'000;
    platform.port->carrier = [] { return true; };
    platform.sockets->load(1);
    platform.sockets->at(1).Connect(u"other");
    platform.time.eachPass([this] {
      if (passed() > 2000) throw Finding("a wait without an end");
      FakeSocket& socket = platform.sockets->at(0);
      if (socket.State() == sckListening && passed() >= nobody) socket.Close();
    });
  }
  /// As after the start, whatever was before.
  void startAnew(Line line, bool monitoring) {
    platform.transcript.failIn = 0;
    platform.time.forgetPlans();
    platform.terminal.startAnew();
    events.inNextEvent.clear();
    platform.notes.clear();
    for (int i = platform.sockets->upperBound(); i > 1; --i)
      platform.sockets->unload(static_cast<std::int16_t>(i));
    platform.sockets->at(0).Close();
    for (const std::int16_t i : {std::int16_t{0}, std::int16_t{1}})
      platform.sockets->at(i).received.clear();
    events.fromOther.clear();
    events.fromOwn.clear();
    platform.time.clockStep = 0;
    platform.port->PortOpen(line == Line::modem);
    PropertyBagFile bag;
    bag.WriteProperty("MonitoringON", monitoring, false);
    bag.WriteProperty("DialupConnection", line == Line::modem, false);
    control->ReadProperties(bag);
    platform.time.sleep(1000);
    platform.time.slept = 0;
    started = platform.time.elapsed();
    platform.transcript.take();
  }
  double passed() const { return platform.time.elapsed() - started; }

  double started = 0;
};

/// One command, what the terminal answers and what happens meanwhile. What becomes of it is held
/// against the table of the commands.
class Attempt {
 public:
  /// Seconds after what came before, and the bytes.
  using Block = std::pair<double, Bytes>;

  /// The terminal connects in, where it has to, after `connects` seconds; its answer begins behind
  /// the request.
  Attempt(Machine& machine, const Command& command, Line line, double connects,
          std::vector<Block> answer)
      : m(machine),
        mCommand(command),
        mLine(line),
        mConnects(connects),
        mAnswer(std::move(answer)) {
    m.startAnew(mLine, mCommand.monitoring != "off");
    if (isDownload()) m.folder.write(rawFileName(), earlierFile);
    if (isNetwork() && mCommand.network != Network::connects && isConnected())
      m.platform.time.after(mConnects, [this] { m.platform.sockets->connectIn(socket()); });
    double at = pauseAfterLast(body());
    for (const auto& [gap, bytes] : mAnswer)
      m.platform.terminal.replyAfter(bytesOf(body()).size() + 1, at += gap, bytes);
  }

  /// The call of the machine of that number fails.
  void failCall(int number) {
    mFails = true;
    m.platform.transcript.failIn = number;
  }

  void otherTalks(double when, const std::string& bytes) {
    m.platform.time.arriveAfter(when, [this, bytes] {
      mOthers += bytes;
      m.platform.sockets->feed(1, {bytes.begin(), bytes.end()});
    });
  }

  void setClock(double when, std::int64_t microseconds) {
    m.platform.time.arriveAfter(
        when, [this, microseconds] { m.platform.time.clockStep += microseconds; });
  }

  enum class Ends { inHandler, elsewhere, forGood };
  void endAt(double when, Ends how) {
    mForGood = mForGood || how == Ends::forGood;
    if (how == Ends::inHandler)
      m.platform.time.after(when, [this] { end(); });
    else
      m.platform.time.arriveAfter(when, [this] { end(); });
  }

  void inEvent(double when, const std::function<void()>& action) {
    m.platform.time.after(when, [this, action] { m.events.inNextEvent.push_back(action); });
  }

  /// No more is known then than that it ends, and that the next one works.
  void wild() { mWild = true; }

  /// False where the control is of no use any more: it was told to end for good. Throws a Finding.
  bool run() try {
    std::string result;
    const int error =
        errorOf([&] { result = mCommand.call.run(*m.control, isNetwork() ? host : u""); });
    m.platform.time.forgetPlans();
    const double end = m.passed();
    const std::string transcript = m.platform.transcript.take();
    const bool failed = mFails && m.platform.transcript.failIn == 0;
    if (!mWild) judge(transcript, result, error, end);
    m.platform.transcript.failIn = 0;
    if (mForGood) return false;
    if (!mWild && !failed) requireOthersBytes();
    return true;
  } catch (const Finding& finding) {
    throw Finding(mCommand.call.name() + (isNetwork() ? ", network: " : ", line: ") +
                  finding.what());
  }

  static constexpr auto earlierFile = "earlier";
  static constexpr auto host = u"gate-5000";

 private:
  bool isNetwork() const { return mLine == Line::network; }
  const std::string& body() const { return isNetwork() ? mCommand.networkBody : mCommand.body; }
  double wait() const { return isNetwork() ? mCommand.networkWait : mCommand.result.wait; }
  std::int16_t socket() const { return mCommand.network == Network::joins ? 2 : 0; }
  bool isConnected() const {
    return !isNetwork() || mCommand.network == Network::connects || mConnects < 10;
  }
  bool isStream() const { return mCommand.result.isStream; }
  bool isDownload() const { return mCommand.call.member.starts_with("GetData"); }
  bool isReplied() const { return !isStream() && !mAnswer.empty() && mAnswer[0].first < wait(); }
  /// Another socket's bytes are taken for the reply.
  bool isUnclear() const { return isNetwork() && !isStream() && wait() > 0 && !mOthers.empty(); }
  std::string rawFileName() const {
    const std::string& quoted = mCommand.call.arguments.back().literal;
    return quoted.substr(1, quoted.size() - 2);
  }

  std::string rawFile() const { return m.folder.read(rawFileName()); }
  /// The stream up to its silence; its last byte's time is added to `last`.
  std::string streamed(double* last = nullptr) const {
    std::string all;
    for (const auto& [gap, bytes] : mAnswer) {
      if (gap > wait()) break;
      all.append(bytes.begin(), bytes.end());
      if (last != nullptr) *last += gap;
    }
    return all;
  }

  /// What is seen when nothing goes wrong.
  std::string expected(bool replied) const {
    const std::string index = std::to_string(socket());
    if (!isConnected())
      return notConnectedOf(mCommand, index) +
             (mCommand.network == Network::awaits ? "; close 0" : "");
    return transcriptOf(mCommand, mLine, replied, index);
  }

  std::string expectedResult() const {
    const Result& can = mCommand.result;
    if (!isConnected()) return can.notSent;
    if (!isReplied()) return can.silent;
    const int first = mAnswer[0].second[0];
    if (can.silent == "Byte 255") return "Byte " + std::to_string(first);
    return first == 24 ? can.accepted : can.refused;
  }

  void end() {
    if (std::exchange(mHasAsked, true)) return;
    mAsked = m.passed();
    m.platform.transcript.add("END");
    mForGood ? m.control->endForGood() : m.control->endCommand();
  }

  void judge(const std::string& transcript, const std::string& result, int error, double end) {
    const auto asked = transcript.find("END");
    if (asked != std::string::npos) {
      requireEnded(transcript, asked, error, end);
      const std::string& quiet = isDownload() ? mCommand.result.accepted : mCommand.result.silent;
      if (!mFails && mAnswer.empty() && !isUnclear() && result != mCommand.result.notSent)
        require(result, quiet, "result after END");
    } else if (mFails && m.platform.transcript.failIn == 0) {
      require(error, 57, "error of the machine");
      requireBegun(transcript);
    } else {
      requireDone(transcript, result, error);
      if (error == 0) requireOnTime(end - m.platform.time.slept);
    }
  }

  static int sendsIn(const std::string& transcript) {
    static const std::regex sent("(out|send) ");
    return static_cast<int>(
        std::distance(std::sregex_iterator(transcript.begin(), transcript.end(), sent), {}));
  }

  void requireEnded(const std::string& transcript, std::size_t asked, int error, double end) const {
    if (mFails) return;
    const bool isCardFile = mCommand.call.member == "AddCardFile";  // it stops between two cards
    require(error, 0, "error after END");
    if (end - mAsked > (isCardFile ? 0.15 : 0.05)) require(end, mAsked, "time of END");
    const int before = sendsIn(transcript.substr(0, asked)), all = sendsIn(transcript);
    if (all - before > (isCardFile ? 1 : 0)) require(transcript, "", "sent after END");
    if (isCardFile && all > 4 && all < 14) require(all % 2, 0, "half a card");
    requireBegun(asked < 2 ? "" : transcript.substr(0, asked - 2));
    if (isDownload() && rawFile() != earlierFile && !streamed().starts_with(rawFile()))
      require(rawFile(), streamed(), "raw file after END");
  }

  void requireBegun(const std::string& transcript) const {
    if (!expected(false).starts_with(transcript) && !expected(true).starts_with(transcript))
      require(transcript, expected(true), "transcript so far");
  }

  void requireDone(const std::string& transcript, const std::string& result, int error) const {
    std::string wanted = expectedResult();
    require(error, isStream() && isConnected() ? requireStream(wanted) : 0, "error");
    if (error != 0 || isUnclear()) return;
    require(transcript, expected(isReplied()), "transcript");
    require(result, wanted, "result");
    if (isDownload() && !isConnected()) require(rawFile(), earlierFile, "the file that was");
    const std::string& ends = mCommand.monitoring;
    const bool off =
        ends == "off" || (ends == "off after a serial reply" && isReplied() && !isNetwork());
    require(m.control->MonitoringON(), !off, "MonitoringON");
    require(m.platform.sockets->exists(2),
            isNetwork() && mCommand.network == Network::joins && isConnected(), "a new socket");
  }

  /// The error of a stream that ends in silence, and its result.
  int requireStream(std::string& wanted) const {
    const std::string stream = streamed();
    if (isDownload()) {
      require(rawFile(), stream, "raw file");
      const bool direct = mCommand.call.member == "GetData";
      if (isNetwork()) require(m.events.fromOwn.empty(), direct || stream.empty(), "no events");
      const RecordModel model(stream, 4, direct);
      wanted = model.result == -1 ? mCommand.result.accepted : mCommand.result.refused;
      return model.error;
    }
    wanted = "0..100";
    for (std::size_t i = 0; i < 101; ++i)
      wanted += " " + std::to_string(i < stream.size() ? static_cast<std::uint8_t>(stream[i]) : 0);
    return stream.size() > 101 ? 9 : 0;
  }

  void requireOnTime(double waited) const {
    double connected = isNetwork() && mCommand.network != Network::connects ? mConnects : 0;
    if (!isConnected()) connected = mCommand.network == Network::awaits ? nobody : 10;
    double replied = isReplied() ? mAnswer[0].first : wait();
    if (isStream()) streamed(&replied);
    if (!isConnected()) replied = 0;
    const double late = waited - connected - replied;
    if (late > 0.1 || (late < -0.1 && !isUnclear())) require(waited, connected + replied, "wait");
  }

  /// Afterwards all is told that other sockets got, and what comes unasked while monitoring is on.
  void requireOthersBytes() {
    m.platform.time.run(1);
    require(m.events.fromOther, mOthers, "the other socket's bytes");
    m.platform.port->Input();
    m.events.monitored.clear();
    for (const Bytes& bytes : {Bytes{'1', '2'}, Bytes{'3'}}) {
      m.platform.port->feed(bytes);
      m.platform.time.run(0.1);
    }
    require(m.events.monitored, m.control->MonitoringON() ? "123" : "", "monitored");
  }

  Machine& m;
  const Command& mCommand;
  Line mLine;
  double mConnects;
  std::vector<Block> mAnswer;
  bool mFails = false;
  bool mWild = false;
  bool mForGood = false;
  bool mHasAsked = false;
  double mAsked = 0;
  std::string mOthers;
};

}  // namespace cronvel::test
