// Drives one control for a long time against simulated terminals with faults, ends its commands at
// random and looks that nothing is lost in silence, nothing hangs and nothing grows.
//
//   cronvel-soak MINUTES [SEED]

#include <chrono>
#include <cstdio>
#include <future>
#include <map>
#include <random>
#include <vector>

#include "control/Cronvel.h"
#include "records/StreamJudgement.h"
#include "runtime/RunTimeError.h"
#include "tests/support/SimulatedTerminal.h"

namespace cronvel::test {
namespace {

using Steady = std::chrono::steady_clock;

std::size_t entriesOf(const char* folder) {
  return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

/// In KiB.
long residentMemory() {
  long program = 0, resident = 0;
  std::ifstream("/proc/self/statm") >> program >> resident;
  return resident * 4;
}

struct Use {
  std::size_t descriptors = entriesOf("/proc/self/fd");
  std::size_t threads = entriesOf("/proc/self/task");
  long memory = residentMemory();
};

class Soak {
 public:
  explicit Soak(unsigned seed) : mRandom(seed) {
    std::istringstream faults(
        "none\n--silent\n--cut 300\n--cut 1\n--drop\n--trailer missing\n--trailer wrong\n"
        "--noise 1,2,3\n--pieces\n--pause-at 200 --pause 6000\n--pause-at 100 --pause 3000\n"
        "--damage 3\n--reply 15\n--delay 4500\n");
    for (std::string fault; std::getline(faults, fault);) mFaults[fault] = 0;
    for (int i = 0; i < 3; ++i) {
      const SimulatedTerminal terminal(optionsOf(i));
      connectTo(terminal);
      mControl.GetDataByDate(u"127.0.0.1", 1, 1, 0, 31, 12, 99, name());
      mWhole.push_back(mFolder.read("a.Hex"));
    }
  }

  /// One terminal with one fault, and some commands.
  void round() {
    const std::size_t which = below(mWhole.size());
    auto& [fault, times] = *std::next(mFaults.begin(), static_cast<int>(below(mFaults.size())));
    ++times;
    const SimulatedTerminal terminal(optionsOf(static_cast<int>(which)) +
                                     (fault == "none" ? "" : " " + fault));
    connectTo(terminal);
    mPlatform->mapCommPort(1, terminal.line());
    mControl.CommPort(1);
    for (int i = 0; i < 4; ++i) command(below(2) == 0 ? u"" : u"127.0.0.1", mWhole[which]);
    mControl.WinSockClose(0);
  }

  void report(double minutes, const Use& now) const {
    std::printf(
        "%6.1f min: %ld commands, %ld bad answers or errors, %ld ended, %ld downloads with "
        "%ld bytes, %ld losses said; %zu descriptors, %zu threads, %ld KiB; %ld violations\n",
        minutes, mCommands, mFailed, mEnded, mDownloads, mBytes, mSaid, now.descriptors,
        now.threads, now.memory, mViolations);
    std::fflush(stdout);
  }
  void faultsMet() const {
    for (const auto& [fault, times] : mFaults) std::printf("%6d x %s\n", times, fault.c_str());
  }
  void violation(const std::string& what) {
    ++mViolations;
    std::printf("VIOLATION: %s\n", what.c_str());
  }
  long violations() const { return mViolations; }

 private:
  static std::string optionsOf(int seed) {
    return "--serial --listen 0 --days 3 --network-speed 100000 --seed " + std::to_string(seed + 1);
  }
  std::size_t below(std::size_t limit) { return mRandom() % limit; }
  std::u16string name() const { return (mFolder / "a.Hex").u16string(); }
  void connectTo(const SimulatedTerminal& terminal) {
    mControl.WinSockRemotePort(std::stoi(terminal.port()));
    mControl.SetWinSockUDPMode(0);
  }

  void command(const std::u16string& host, const std::string& whole) {
    ++mCommands;
    const auto start = Steady::now();
    const bool ends = below(6) == 0;
    const auto after = std::chrono::milliseconds(below(9000));
    std::promise<void> done;
    const auto ender =
        ends ? std::async(std::launch::async,
                          [&, finished = done.get_future()] {
                            if (finished.wait_for(after) == std::future_status::timeout)
                              mControl.endCommand();
                          })
             : std::future<void>();
    mEnded += ends ? 1 : 0;
    try {
      act(host, whole);
    } catch (const RunTimeError&) {
      ++mFailed;
    }
    done.set_value();
    if (Steady::now() - start > std::chrono::seconds(60)) violation("a command took over a minute");
  }

  void act(const std::u16string& host, const std::string& whole) {
    switch (below(5)) {
      case 0:
        return count(mControl.SetKeyboard(host, 3));
      case 1:
        return count(mControl.SetDate(host, u"21/11/26", 1));
      case 2:
        return count(mControl.SendMsg(host, u"7", u"hello"));
      default:
        break;
    }
    ++mDownloads;
    std::filesystem::remove(mFolder / "a.Hex");
    bool said = false;
    try {
      said = (host.empty() ? mControl.GetData(host, name())
                           : mControl.GetDataByDate(host, 1, 1, 0, 31, 12, 99, name())) != 0;
    } catch (const RunTimeError&) {
      said = true;
    }
    judge(said || mControl.notes().lastKind() == NoteKind::ended, whole);
  }
  void count(bool accepted) { mFailed += accepted ? 0 : 1; }

  /// What came is the terminal's memory, or somebody says that it is not.
  void judge(bool said, const std::string& whole) {
    const std::string came = mFolder.read("a.Hex");
    mBytes += static_cast<long>(came.size());
    if (came == whole) return;
    StreamJudgement judgement(2);
    for (const char byte : came) judgement.take(static_cast<std::uint8_t>(byte));
    judgement.end();
    said = said || judgement.faults() > 0 || came.empty();
    if (said)
      ++mSaid;
    else
      violation("a loss that nobody told of: " + std::to_string(came.size()) + " bytes of " +
                std::to_string(whole.size()));
  }

  std::mt19937 mRandom;
  TestFolder mFolder;
  std::unique_ptr<Platform> mPlatform = Platform::create();
  Container mContainer;
  __Cronvel mEvents;
  Cronvel mControl{*mPlatform, mContainer, mEvents};
  std::vector<std::string> mWhole;     ///< what the terminal of each seed streams
  std::map<std::string, int> mFaults;  ///< how often each was met
  long mCommands = 0, mFailed = 0, mEnded = 0, mDownloads = 0, mBytes = 0, mSaid = 0,
       mViolations = 0;
};

int soak(double minutes, unsigned seed) {
  Soak soak(seed);
  for (int i = 0; i < 5; ++i) soak.round();  // what is made once is made
  const Use first;
  const auto start = Steady::now();
  double elapsed = 0;
  for (double told = 0; elapsed < minutes;) {
    soak.round();
    elapsed = std::chrono::duration<double>(Steady::now() - start).count() / 60;
    const Use now;
    if (now.descriptors > first.descriptors + 3) soak.violation("descriptors leak");
    if (now.threads > first.threads) soak.violation("threads leak");
    if (now.memory > first.memory + 32 * 1024) soak.violation("memory grows");
    if (elapsed < told && elapsed < minutes) continue;
    soak.report(elapsed, now);
    told = elapsed + 1;
  }
  soak.faultsMet();
  return soak.violations() == 0 ? 0 : 1;
}

}  // namespace
}  // namespace cronvel::test

int main(int argc, char** argv) {
  return cronvel::test::soak(argc > 1 ? std::stod(argv[1]) : 1,
                             argc > 2 ? static_cast<unsigned>(std::stoul(argv[2])) : 1);
}
