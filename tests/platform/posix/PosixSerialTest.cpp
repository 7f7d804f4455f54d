#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>

#include "tests/platform/SerialTest.h"

namespace cronvel {

std::unique_ptr<SerialLineEnd> makeTestLine(Platform& platform) {
  return platform.makeSerialLineEnd("");
}

bool underWine() { return false; }

void setVariable(const char* name, const std::string& value) {
  if (value.empty())
    unsetenv(name);
  else
    setenv(name, value.c_str(), 1);
}

namespace {

namespace fs = std::filesystem;
using PosixSerialTest = SerialTest;

TEST_F(PosixSerialTest, AFolderIsNoPort) {
  platform->mapCommPort(1, "/");
  EXPECT_EQ(openError(), 8002);
}

TEST_F(PosixSerialTest, WithoutPermissionItSaysWhatToDo) {
  chmod(line->path().c_str(), 0);
  const uid_t user = geteuid();
  if (user == 0) {
    ASSERT_EQ(seteuid(65534), 0);
  }
  const Raised raised = raisedBy([&] { port->PortOpen(true); });
  ASSERT_EQ(seteuid(user), 0);
  EXPECT_EQ(raised.number, 8010);
  EXPECT_NE(raised.text.find("dialout"), std::string::npos) << raised.text;
}

TEST_F(PosixSerialTest, AKilledProgramLeavesThePortFree) {
  const pid_t child = fork();
  if (child == 0) {
    port->PortOpen(true);
    port->Output(Bytes{1});
    pause();
    _exit(1);
  }
  EXPECT_TRUE(pumpUntil([&] { return fromPc == Bytes{1}; }));
  EXPECT_EQ(openError(), 8005);
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  EXPECT_EQ(openError(), 0);
  port->Output(Bytes{2});
  EXPECT_TRUE(pumpUntil([&] { return fromPc == Bytes{1, 2}; }));
}

TEST_F(PosixSerialTest, NothingIsEchoedBackWhateverAProgramLeftSet) {
  const int fd = ::open(line->path().c_str(), O_RDWR | O_NOCTTY);
  termios cooked{};
  tcgetattr(fd, &cooked);
  EXPECT_EQ(cooked.c_lflag & ECHO, 0U);
  cooked.c_lflag |= ECHO | ICANON;
  cooked.c_oflag |= OPOST | ONLCR;
  tcsetattr(fd, TCSANOW, &cooked);
  pumpFor(15);
  ::close(fd);
  pumpFor(25);
  const int again = ::open(line->path().c_str(), O_RDWR | O_NOCTTY);
  EXPECT_TRUE(pumpUntil([&] { return line->settings().speed != 0; }));
  send({'a', '\n'});
  pumpFor(15);
  ::close(again);
  EXPECT_EQ(fromPc, Bytes{});
}

TEST_F(PosixSerialTest, TheLinkGoesWithTheLine) {
  const std::string name = inTemp("line-link");
  fs::create_symlink("/nowhere/at/all", name);  // as a killed program leaves it
  {
    const auto linked = platform->makeSerialLineEnd(name);
    EXPECT_EQ(fs::read_symlink(name), linked->path());
    EXPECT_EQ(raisedBy([&] { platform->makeSerialLineEnd(name); }).number, 75);
    platform->mapCommPort(1, name);
    EXPECT_EQ(openError(), 0);
  }
  EXPECT_FALSE(fs::is_symlink(name));
  std::ofstream(name) << "precious";
  EXPECT_EQ(raisedBy([&] { platform->makeSerialLineEnd(name); }).number, 75);
  EXPECT_TRUE(fs::is_regular_file(name));
  fs::remove(name);
}

}  // namespace
}  // namespace cronvel
