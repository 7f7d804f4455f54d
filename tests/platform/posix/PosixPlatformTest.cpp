#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <fstream>

#include "tests/platform/PlatformTest.h"

namespace cronvel {

std::unique_ptr<SerialLineEnd> makeTestLine(Platform& platform) {
  return platform.makeSerialLineEnd("");
}

bool underWine() { return false; }

void setVariable(const char* name, const std::string& value) { setenv(name, value.c_str(), 1); }

namespace {

namespace fs = std::filesystem;
using PosixPlatformTest = SerialTest;

TEST_F(PosixPlatformTest, WithoutPermissionItSaysWhatToDoAndAFolderIsNoPort) {
  chmod(line->path().c_str(), 0);
  const uid_t user = geteuid();
  ASSERT_EQ(seteuid(user == 0 ? 65534 : user), 0);
  const std::string raised = openError();
  ASSERT_EQ(seteuid(user), 0);
  EXPECT_TRUE(raised.starts_with("8010 ")) << raised;
  EXPECT_NE(raised.find("dialout"), std::string::npos) << raised;
  EXPECT_TRUE(openError("/").starts_with("8002 "));
}

TEST_F(PosixPlatformTest, AKilledProgramLeavesThePortFree) {
  const pid_t child = fork();
  if (child == 0) {
    port->PortOpen(true);
    port->Output(Bytes{1});
    pause();
    _exit(1);
  }
  EXPECT_TRUE(pumpUntil([&] { return fromPc == Bytes{1}; }));
  EXPECT_TRUE(openError().starts_with("8005 "));
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  EXPECT_EQ(openError(), "");
  port->Output(Bytes{2});
  EXPECT_TRUE(pumpUntil([&] { return fromPc == Bytes{1, 2}; }));
}

TEST_F(PosixPlatformTest, NothingIsEchoedBackWhateverAProgramLeftSet) {
  const auto isRaw = [&] {
    const int fd = ::open(line->path().c_str(), O_RDWR | O_NOCTTY);
    termios state{};
    tcgetattr(fd, &state);
    ::close(fd);
    return (state.c_lflag & (ECHO | ICANON)) == 0 && (state.c_oflag & OPOST) == 0;
  };
  EXPECT_TRUE(isRaw());
  ASSERT_EQ(std::system(("stty sane <" + line->path()).c_str()), 0);
  EXPECT_FALSE(isRaw());
  EXPECT_TRUE(pumpUntil(isRaw));
}

TEST_F(PosixPlatformTest, TheLinkGoesWithTheLine) {
  const std::string name = inTemp("line-link");
  const auto linkError = [&] { return errorOf([&] { platform->makeSerialLineEnd(name); }); };
  fs::create_symlink("/nowhere/at/all", name);  // as a killed program leaves it
  {
    const auto linked = platform->makeSerialLineEnd(name);
    EXPECT_EQ(fs::read_symlink(name), linked->path());
    EXPECT_EQ(linkError(), 75);
    EXPECT_EQ(openError(name), "");
  }
  EXPECT_FALSE(fs::is_symlink(name));
  std::ofstream(name) << "precious";
  EXPECT_EQ(linkError(), 75);
  EXPECT_TRUE(fs::is_regular_file(name));
  fs::remove(name);
}

TEST_F(PosixPlatformTest, SleepResumesAfterASignalAndThePumpReturns) {
  std::signal(SIGALRM, [](int) {});
  ualarm(3000, 3000);
  const auto start = Steady::now();
  platform->clock().sleep(20);
  EXPECT_GE(Steady::now() - start, std::chrono::milliseconds(20));
  pumpFor(20);
  ualarm(0, 0);
}

}  // namespace
}  // namespace cronvel
