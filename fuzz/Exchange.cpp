// Whole commands over a scripted line: a call of the machine fails, a second socket talks, the
// clock is set, the host pumps, calls commands, fails, ends the command. A command is held against
// the table of the commands, and the one after it, undisturbed, too.

#include <iterator>
#include <regex>

#include "fuzz/Harness.h"
#include "fuzz/RecordModel.h"
#include "host/PropertyBagFile.h"
#include "tests/support/Commands.h"

namespace cronvel::fuzz {
namespace {

using test::Command;
using test::Line;
using test::Network;

struct Host : __Cronvel {
  std::string fromOther, monitored;
  std::vector<std::function<void()>> inNextEvent;

  void WinSockCurrentState(std::int16_t) override { act(); }
  void WinSockDataReceived(Bytes& bytes, std::int32_t, std::u16string& host, std::u16string&,
                           std::int16_t&, std::int32_t&) override {
    if (host == u"other") fromOther.append(bytes.begin(), bytes.end());
    act();
  }
  void DataReceivedForMonitoring(Bytes& bytes, std::int16_t) override {
    monitored.append(bytes.begin(), bytes.end());
    act();
  }
  void AddFileProgressInc(std::int32_t&) override { act(); }
  void act() {
    for (const auto& action : std::exchange(inNextEvent, {})) action();
  }
};

constexpr double nobody = 30;  // seconds until the host gives up an endless wait for a connection

struct Machine : Setup<Host> {
  Machine() {
    folder.write("cards.txt", test::cardFile);
    platform.time.passLength = 40'000;
    platform.port->carrier = [] { return true; };
    platform.sockets->load(1);
    platform.sockets->at(1).Connect(u"other");
    platform.time.eachPass([this] {
      if (passed() > 2000) std::abort();  // a wait without an end
      test::FakeSocket& socket = platform.sockets->at(0);
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

/// One command and what happens meanwhile.
class Attempt {
 public:
  Attempt(Machine& machine, Input& input, bool disturbed)
      : m(machine), mCommand(commandOf(input)), mLine(lineOf(input)) {
    m.startAnew(mLine, mCommand.monitoring != "off");
    if (isDownload()) std::filesystem::remove(rawFileName());
    planAnswer(input);
    for (int count = disturbed ? input.byte() % 8 : 0; count > 0; --count) disturb(input);
  }

  /// False where the control is of no use any more: it was told to end for good.
  bool run() {
    std::string result;
    const int error =
        test::errorOf([&] { result = mCommand.call.run(*m.control, isNetwork() ? host : u""); });
    m.platform.time.forgetPlans();
    const double end = m.passed();
    const std::string transcript = m.platform.transcript.take();
    const bool failed = mFails && m.platform.transcript.failIn == 0;
    const auto asked = transcript.find("END");
    if (!mWild && asked != std::string::npos) requireEnded(transcript, asked, error, end);
    if (!mWild && asked == std::string::npos && failed) {
      require(error, 57, "error of the machine");
      requireBegun(transcript);
    } else if (!mWild && asked == std::string::npos) {
      requireDone(transcript, result, error);
      if (error == 0) requireOnTime(end - m.platform.time.slept);
    }
    m.platform.transcript.failIn = 0;
    if (mForGood) return false;
    if (!mWild && !failed) requireOthersBytes();
    return true;
  }

 private:
  using Block = std::pair<double, Bytes>;

  static const Command& commandOf(Input& input) {
    return test::commands()[input.byte() % test::commands().size()];
  }
  Line lineOf(Input& input) const {
    const int any = input.byte() % 3;
    if (!mCommand.serial()) return Line::network;
    return mCommand.network == Network::none ? static_cast<Line>(any % 2) : static_cast<Line>(any);
  }
  bool isNetwork() const { return mLine == Line::network; }
  const std::string& body() const { return isNetwork() ? mCommand.networkBody : mCommand.body; }
  double wait() const { return isNetwork() ? mCommand.networkWait : mCommand.result.wait; }
  std::int16_t socket() const { return mCommand.network == Network::joins ? 2 : 0; }

  void planAnswer(Input& input) {
    mConnects = 0.05 + input.byte() / 20.0;
    if (isNetwork() && mCommand.network != Network::connects && isConnected())
      m.platform.time.after(mConnects, [this] { m.platform.sockets->connectIn(socket()); });
    double at = test::pauseAfterLast(body());
    for (int blocks = input.byte() % 5; blocks > 0; --blocks) {
      const double gap = 0.1 + input.byte() % 32 / 5.0;
      const bool good = input.byte() % 4 > 0;
      const Bytes bytes = good ? mCommand.result.reply : bytesOf(input.bytes(input.byte() % 40U));
      if (bytes.empty()) continue;
      m.platform.terminal.replyAfter(test::bytesOf(body()).size() + 1, at += gap, bytes);
      mBlocks.emplace_back(gap, bytes);
    }
  }

  void disturb(Input& input) {
    const int kind = input.byte() % 9;
    const double when = input.byte() / 16.0;
    const std::string bytes = input.bytes(input.byte() % 4U);
    auto& time = m.platform.time;
    const auto inEvent = [&](const std::function<void()>& action) {
      time.after(when, [this, action] { m.events.inNextEvent.push_back(action); });
    };
    mWild = mWild || kind > 5;
    if (kind == 0) {
      mFails = (m.platform.transcript.failIn = 1 + static_cast<int>(when * 4)) > 0;
    } else if (kind == 1) {
      time.arriveAfter(when, [this, bytes] {
        mOthers += bytes;
        m.platform.sockets->feed(1, bytesOf(bytes));
      });
    } else if (kind == 2) {
      const std::int64_t step = bytes.empty() ? -1'800'000'000 : 3'600'000'000;
      time.arriveAfter(when, [&time, step] { time.clockStep += step; });
    } else if (kind == 3) {
      mForGood = bytes.size() == 3;
      time.arriveAfter(when, [this] { end(); });
    } else if (kind == 4) {
      time.after(when, [this] { end(); });
    } else if (kind == 5) {
      inEvent([&time] { time.DoEvents(); });
    } else if (kind == 6) {
      inEvent([this] { m.control->WinSockClose(0); });
    } else if (kind == 7) {
      inEvent([this, &other = commandOf(input), over = input.byte() % 2] {
        other.call.run(*m.control, over == 0 ? u"" : host);
      });
    } else {
      inEvent([] { throw RunTimeError(ErrorNumber::overflow, "of the host"); });
    }
  }

  void end() {
    if (std::exchange(mHasAsked, true)) return;
    mAsked = m.passed();
    m.platform.transcript.add("END");
    mForGood ? m.control->endForGood() : m.control->endCommand();
  }

  bool isConnected() const {
    return !isNetwork() || mCommand.network == Network::connects || mConnects < 10;
  }
  /// What is seen when nothing goes wrong.
  std::string expected(bool replied) const {
    const std::string index = std::to_string(socket());
    if (!isConnected())
      return test::notConnectedOf(mCommand, index) +
             (mCommand.network == Network::awaits ? "; close 0" : "");
    return test::transcriptOf(mCommand, mLine, replied, index);
  }
  bool isStream() const { return mCommand.result.isStream; }
  bool isDownload() const { return mCommand.call.member.starts_with("GetData"); }
  bool isReplied() const { return !isStream() && !mBlocks.empty() && mBlocks[0].first < wait(); }
  /// Another socket's bytes are taken for the reply.
  bool isUnclear() const { return isNetwork() && !isStream() && wait() > 0 && !mOthers.empty(); }

  /// The stream up to its silence.
  std::string streamed(double* last = nullptr) const {
    std::string all;
    for (const auto& [gap, bytes] : mBlocks) {
      if (gap > wait()) break;
      all.append(bytes.begin(), bytes.end());
      if (last != nullptr) *last += gap;
    }
    return all;
  }
  static Bytes bytesOf(const std::string& text) { return {text.begin(), text.end()}; }
  std::string rawFileName() const {
    const std::string& quoted = mCommand.call.arguments.back().literal;
    return quoted.substr(1, quoted.size() - 2);
  }
  std::string rawFile() const { return m.folder.read(rawFileName()); }

  static int sendsIn(const std::string& transcript) {
    static const std::regex sent("(out|send) ");
    return static_cast<int>(
        std::distance(std::sregex_iterator(transcript.begin(), transcript.end(), sent), {}));
  }

  void requireEnded(const std::string& transcript, std::size_t asked, int error, double end) {
    if (mFails) return;
    const bool cardFile = mCommand.call.member == "AddCardFile";  // it stops between two cards
    require(error, 0, "error after END");
    if (end - mAsked > (cardFile ? 0.15 : 0.05)) require(end, mAsked, "time of END");
    const int before = sendsIn(transcript.substr(0, asked)), all = sendsIn(transcript);
    if (all - before > (cardFile ? 1 : 0)) require(transcript, "", "sent after END");
    if (cardFile && all > 4 && all < 14) require(all % 2, 0, "half a card");
    requireBegun(asked < 2 ? "" : transcript.substr(0, asked - 2));
    if (isDownload() && isConnected() && !streamed().starts_with(rawFile()))
      require(rawFile(), streamed(), "raw file after END");
  }

  void requireBegun(const std::string& transcript) {
    if (!expected(false).starts_with(transcript) && !expected(true).starts_with(transcript))
      require(transcript, expected(true), "transcript so far");
  }

  void requireDone(const std::string& transcript, const std::string& result, int error) {
    const test::Result& can = mCommand.result;
    std::string wanted = can.silent;
    if (isReplied()) {
      const int first = mBlocks[0].second[0];
      wanted = first == 24 ? can.accepted : can.refused;
      if (can.silent == "Byte 255") wanted = "Byte " + std::to_string(first);
    }
    int wantedError = 0;
    if (isStream() && isConnected()) {
      const std::string stream = streamed();
      if (isDownload()) {
        require(rawFile(), stream, "raw file");
        const RecordModel model(stream, 4, mCommand.call.member == "GetData");
        wantedError = model.error;
        wanted = model.result == -1 ? can.accepted : can.refused;
      } else {
        wantedError = stream.size() > 101 ? 9 : 0;
        wanted = "0..100";
        for (std::size_t i = 0; i < 101; ++i)
          wanted += " " + std::to_string(i < stream.size() ? bytesOf(stream)[i] : 0);
      }
    }
    require(error, wantedError, "error");
    if (error != 0 || isUnclear()) return;
    require(transcript, expected(isReplied()), "transcript");
    if (!isConnected()) wanted = can.notSent;
    require(result, wanted, "result");
    const std::string& ends = mCommand.monitoring;
    const bool off =
        ends == "off" || (ends == "off after a serial reply" && isReplied() && !isNetwork());
    require(m.control->MonitoringON(), !off, "MonitoringON");
  }

  void requireOnTime(double waited) {
    double connected = isNetwork() && mCommand.network != Network::connects ? mConnects : 0;
    if (!isConnected()) connected = mCommand.network == Network::awaits ? nobody : 10;
    double replied = isReplied() ? mBlocks[0].first : wait();
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
    for (const char* bytes : {"12", "3"}) {
      m.platform.port->feed(bytesOf(bytes));
      m.platform.time.run(0.1);
    }
    require(m.events.monitored, m.control->MonitoringON() ? "123" : "", "monitored");
  }

  static constexpr auto host = u"gate-5000";
  Machine& m;
  const Command& mCommand;
  Line mLine;
  double mConnects = 0;
  std::vector<Block> mBlocks;  ///< how long after the one before, and the bytes
  bool mFails = false;
  bool mWild = false;  ///< no more is known than that it ends, and that the next one works
  bool mForGood = false;
  bool mHasAsked = false;
  double mAsked = 0;
  std::string mOthers;
};

}  // namespace
}  // namespace cronvel::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace cronvel::fuzz;
  static auto machine = std::make_unique<Machine>();
  const std::size_t next = std::min<std::size_t>(size, 8);
  Input disturbed(data + next, size - next), undisturbed(data, next);
  const bool usable = Attempt(*machine, disturbed, true).run();
  if (usable)
    Attempt(*machine, undisturbed, false).run();
  else
    machine = std::make_unique<Machine>();
  return 0;
}
