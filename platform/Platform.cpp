#include "platform/Platform.h"

#include <cstdlib>
#include <fstream>

#include "platform/TracingPlatform.h"
#include "runtime/RunTimeError.h"

namespace cronvel {
namespace {

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

std::unique_ptr<Platform> Platform::create() {
  const char* fileName = std::getenv("CRONVEL_TRACE");
  if (fileName == nullptr || *fileName == '\0') return createUntraced();
  return std::make_unique<FileTracingPlatform>(fileName);
}

}  // namespace cronvel
