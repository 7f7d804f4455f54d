#include "platform/Platform.h"

#include <cstdlib>
#include <fstream>
#include <map>

#include "platform/TracingPlatform.h"
#include "platform/reactor/ReactorTimer.h"
#include "platform/serial/ReactorSerialPort.h"
#include "platform/sockets/Network.h"
#include "platform/system/Machine.h"
#include "runtime/RunTimeError.h"

namespace cronvel {
namespace {

/// A platform around one reactor.
class ReactorPlatform : public Platform {
 public:
  std::unique_ptr<SerialPort> makeSerialPort() override {
    return cronvel::makeSerialPort(mReactor, *mClock,
                                   [this](std::int16_t number) { return pathOf(number); });
  }
  std::unique_ptr<SocketArray> makeSocketArray() override {
    return cronvel::makeSocketArray(mNetwork);
  }
  std::unique_ptr<Timer> makeTimer() override { return cronvel::makeTimer(mReactor); }
  std::unique_ptr<SerialLineEnd> makeSerialLineEnd(const std::string& linkName) override {
    return cronvel::makeSerialLineEnd(mReactor, linkName);
  }
  Clock& clock() override { return *mClock; }
  MessagePump& messagePump() override { return mReactor; }
  MsgBox& msgBox() override { return *mMsgBox; }

  void mapCommPort(std::int16_t number, const std::string& path) override {
    mCommPorts[number] = path;
  }

 private:
  std::string pathOf(std::int16_t number) const {
    if (const auto mapped = mCommPorts.find(number); mapped != mCommPorts.end())
      return mapped->second;
    const std::string named = environmentVariable("CRONVEL_COM" + std::to_string(number));
    return named.empty() ? usualPortPath(number) : named;
  }

  SocketLibrary mSocketLibrary;
  Reactor mReactor{makePoller()};
  Network mNetwork{mReactor};
  std::unique_ptr<Clock> mClock = makeClock();
  std::unique_ptr<MsgBox> mMsgBox = makeMsgBox();
  std::map<std::int16_t, std::string> mCommPorts;
};

/// What a TracingPlatform needs before it is made.
struct TraceParts {
  explicit TraceParts(const char* fileName) : file(fileName, std::ios::app) {
    if (!file)
      throw RunTimeError(ErrorNumber::pathFileAccess,
                         std::string("cannot write ") + fileName + ", which CRONVEL_TRACE names");
  }
  std::unique_ptr<Platform> inner = Platform::createUntraced();
  std::ofstream file;
};

class FileTracingPlatform : private TraceParts, public TracingPlatform {
 public:
  explicit FileTracingPlatform(const char* fileName)
      : TraceParts(fileName), TracingPlatform(*inner, [this](std::string_view line) {
          file << line << std::endl;  // at once: the program may be killed for hanging
        }) {}
};

}  // namespace

std::unique_ptr<Platform> Platform::createUntraced() { return std::make_unique<ReactorPlatform>(); }

std::unique_ptr<Platform> Platform::create() {
  const char* fileName = std::getenv("CRONVEL_TRACE");
  if (fileName == nullptr || *fileName == '\0') return createUntraced();
  return std::make_unique<FileTracingPlatform>(fileName);
}

}  // namespace cronvel
