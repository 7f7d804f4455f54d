// docs/faults.md says what becomes of a command when something goes wrong around it: each row of
// its table is what is found here.

#include <sys/resource.h>
#include <unistd.h>

#include <csignal>

#include "platform/FileLock.h"
#include "tests/support/ControlTest.h"
#include "tests/support/Page.h"

namespace cronvel::test {
namespace {

enum class Doing { test, download, period };  // a short command, GetData, GetDataByDate

const Bytes first = Bytes{0xED} + Bytes(40, 0x12);
const Bytes second{0xE3, 0, 0, 0, 0, 10, 0, 0, 10, 0, 0, 0xE3};

/// A machine of its own for one fault, with a terminal that answers and streams.
struct Bench : ControlTest {
  void TestBody() override {}

  const TestFolder folder;
  std::function<void()> mend = [] {};
  std::size_t request = 4;  ///< bytes, before the stream

  FakePlatform& machine() { return platform; }
  Cronvel& cronvel() { return *control; }
  FakeSocket& socket() { return platform.sockets->at(0); }
  std::u16string file() const { return (folder / "rec.Hex").u16string(); }
  void at(double seconds, std::function<void()> happens) {
    platform.time.after(seconds, std::move(happens));
  }
  void inPause(double seconds, std::function<void()> happens) {
    platform.time.arriveAfter(seconds, std::move(happens));
  }
  void fail(const std::string& entry, ErrorNumber number) { transcript().failAt(entry, number); }
  void pull() {
    platform.port->gone = true;
    mend = [this] {
      platform.port->gone = false;
      control->CommPort(1);
    };
  }
  void socketFails(std::int16_t number) {
    platform.time.forgetPlans();
    socket().state = sckError;
    bool cancel = false;
    std::u16string text = u"failed";
    platform.sockets->events->Error(0, number, text, 0, u"", u"", 0, cancel);
  }
  void lower(decltype(RLIMIT_FSIZE) resource, rlim_t limit) {
    rlimit earlier{};
    getrlimit(resource, &earlier);
    mend = [=] { setrlimit(resource, &earlier); };
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit lowered{limit, earlier.rlim_max};
    setrlimit(resource, &lowered);
  }
  void unprivileged() {
    std::filesystem::permissions(folder.path(), std::filesystem::perms(0555));
    if (geteuid() != 0) return;
    EXPECT_EQ(seteuid(65534), 0);
    mend = [] { EXPECT_EQ(seteuid(0), 0); };
  }
  void stream(double secondBlock = 2) {
    platform.terminal.startAnew();
    platform.terminal.replyAfter(request, 0.1, first);
    platform.terminal.replyAfter(request, secondBlock, second);
  }

  /// "True", "error 61".
  std::string outcome(Doing doing, bool network) try {
    const std::u16string host = network ? u"10.0.0.9" : u"";
    if (doing == Doing::test) return control->ResetMem(host) ? "True" : "False";
    if (doing == Doing::download) return std::to_string(control->GetData(host, file()));
    return std::to_string(control->GetDataByDate(host, 1, 1, 7, 2, 1, 7, file()));
  } catch (const RunTimeError& error) {
    return "error " + std::to_string(static_cast<int>(error.number()));
  } catch (const std::logic_error&) {
    return "the exception";
  }
  std::string kept() const {
    const std::string bytes = folder.read("rec.Hex");
    const Bytes content(bytes.begin(), bytes.end());
    if (!folder.has("rec.Hex")) return "no file";
    if (content == first + second) return "all";
    if (content.empty()) return "an empty file";
    return content == first ? "what came" : std::to_string(content.size()) + " bytes";
  }
  std::string next(bool network) {
    platform.time.forgetPlans();
    platform.terminal.startAnew();
    platform.terminal.replyAfter(4, 0.2, {24});
    const std::string result = outcome(Doing::test, network);
    return result == "True" ? "works" : result;
  }
};

struct Fault {
  const char* cause;
  bool network;
  Doing doing;
  std::function<void(Bench&)> happens;
};

constexpr bool line = false, network = true;

const std::vector<Fault>& faults() {
  using enum Doing;
  static const std::vector<Fault> all = {
      {"there is no such port", line, test,
       [](Bench& b) { b.fail("open", ErrorNumber::invalidPortNumber); }},
      {"another program has the port", line, download,
       [](Bench& b) { b.fail("open", ErrorNumber::portAlreadyOpen); }},
      {"the line is pulled before the request", line, test,
       [](Bench& b) { b.fail("settings 600,m,8,1", ErrorNumber::couldNotSetCommState); }},
      {"the line is pulled in the request", line, test,
       [](Bench& b) { b.inPause(0.06, [&] { b.pull(); }); }},
      {"the line is pulled in the wait for a reply", line, test,
       [](Bench& b) { b.at(2, [&] { b.pull(); }); }},
      {"the line is pulled in the stream", line, download,
       [](Bench& b) { b.at(1, [&] { b.pull(); }); }},
      {"the terminal is silent", line, test, [](Bench& b) { b.machine().terminal.startAnew(); }},
      {"the terminal sends nothing", line, download,
       [](Bench& b) { b.machine().terminal.startAnew(); }},
      {"silence after half of the stream", line, download, [](Bench& b) { b.stream(5.3); }},
      {"4.9 s of silence in the stream", line, download, [](Bench& b) { b.stream(4.9); }},
      {"noise during the request", line, test,
       [](Bench& b) {
         b.inPause(0.01, [&] { b.machine().port->feed({1, 2, 3}); });
         b.machine().terminal.replyAfter(4, 0.2, {24});
       }},
      {"the terminal refuses", line, test,
       [](Bench& b) { b.machine().terminal.replyAfter(4, 0.2, {15}); }},
      {"the modem loses its carrier in the stream", line, download, [](Bench& b) { b.stream(9); }},
      {"the host refuses the connection", network, test,
       [](Bench& b) { b.inPause(0.02, [&] { b.socketFails(10061); }); }},
      {"the host's name is not found", network, period,
       [](Bench& b) { b.inPause(0.02, [&] { b.socketFails(11001); }); }},
      {"the host drops all packets", network, test,
       [](Bench& b) { b.machine().terminal.startAnew(); }},
      {"the peer hangs up in the request", network, test,
       [](Bench& b) { b.inPause(0.06, [&] { b.socket().state = sckClosing; }); }},
      {"the peer resets in the wait for a reply", network, test,
       [](Bench& b) { b.at(2, [&] { b.socketFails(10054); }); }},
      {"the peer resets in the stream", network, period,
       [](Bench& b) { b.at(1.3, [&] { b.socketFails(10054); }); }},
      {"the peer is gone without a word in the stream", network, period,
       [](Bench& b) { b.stream(9); }},
      {"another program listens on the port", network, download,
       [](Bench& b) { b.fail("listen", ErrorNumber::addressInUse); }},
      {"nobody connects in, until the host closes socket 0", network, download,
       [](Bench& b) { b.at(60, [&] { b.cronvel().WinSockClose(0); }); }},
      {"another connection comes in the stream", network, period,
       [](Bench& b) {
         b.machine().sockets->load(1);
         b.at(1.2, [&] { b.machine().sockets->feed(1, {9}); });
       }},
      {"the folder is missing", line, download,
       [](Bench& b) { std::filesystem::remove(b.folder.path()); }},
      {"the folder is removed in the stream", line, download,
       [](Bench& b) { b.at(1, [&] { std::filesystem::remove_all(b.folder.path()); }); }},
      {"the disk is full in the stream", line, download,
       [](Bench& b) { b.at(1, [&] { b.lower(RLIMIT_FSIZE, 41); }); }},
      {"no descriptors are left", line, download, [](Bench& b) { b.lower(RLIMIT_NOFILE, 3); }},
      {"an unprivileged user may not write there", line, download,
       [](Bench& b) { b.unprivileged(); }},
      {"another download writes the file", line, download,
       [](Bench& b) {
         auto lock = std::make_shared<FileLock>(b.folder / "rec.Hex");
         b.mend = [lock]() mutable { lock.reset(); };
       }},
      {"somebody sets the clock by an hour", line, download,
       [](Bench& b) { b.at(1, [&] { b.machine().time.clockStep = 3'600'000'000; }); }},
      {"midnight, and a reply after 60 s", line, test,
       [](Bench& b) {
         b.machine().time.sleep(43'198'000);
         b.machine().terminal.replyAfter(4, 60, {24});
       }},
      {"midnight, where `endWaitsAtMidnight` was called", line, test,
       [](Bench& b) {
         b.cronvel().endWaitsAtMidnight();
         b.machine().time.sleep(43'198'000);
         b.machine().terminal.replyAfter(4, 60, {24});
       }},
      {"midnight, and the command is ended after 60 s", line, test,
       [](Bench& b) {
         b.machine().time.sleep(43'198'000);
         b.at(60, [&] { b.cronvel().endCommand(); });
       }},
      {"the command is ended in the stream", line, download,
       [](Bench& b) { b.at(1, [&] { b.cronvel().endCommand(); }); }},
      {"an event of the host throws", line, download,
       [](Bench& b) { b.at(1, [] { throw std::logic_error("the host's"); }); }},
      {"an event of the host calls a command, which takes the reply", line, test,
       [](Bench& b) {
         b.at(1, [&] { b.cronvel().TestConnection(u""); });
         b.machine().terminal.replyAfter(7, 0.2, {24});
       }},
      {"an event of the host closes socket 0 in the stream", network, period,
       [](Bench& b) {
         b.at(1.3, [&] {
           b.machine().time.forgetPlans();
           b.cronvel().WinSockClose(0);
         });
       }},
  };
  return all;
}

std::string rowOf(const Fault& fault) {
  Bench bench;
  const bool isTest = fault.doing == Doing::test;
  if (fault.doing == Doing::period) bench.request = 10;
  if (!isTest) bench.stream();
  fault.happens(bench);
  const std::string outcome = bench.outcome(fault.doing, fault.network);
  bench.mend();
  const std::string kept = isTest ? "" : bench.kept();
  const char* const doing[] = {"a command", "`GetData`", "`GetDataByDate`"};
  return std::string("| ") + fault.cause + " | " + doing[static_cast<int>(fault.doing)] +
         (fault.network ? ", network | " : ", line | ") + outcome + " | " + kept + " | " +
         bench.next(fault.network) + " |\n";
}

TEST(Faults, ThePageSaysWhatBecomesOfEach) {
  std::string rows;
  for (const Fault& fault : faults()) rows += rowOf(fault);
  expectTable("docs/faults.md", 5, rows);
}

}  // namespace
}  // namespace cronvel::test
