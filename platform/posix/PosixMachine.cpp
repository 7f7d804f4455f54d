#include <cstdlib>

#include "platform/system/Machine.h"

namespace cronvel {

std::string environmentVariable(const std::string& name) {
  const char* value = std::getenv(name.c_str());
  return value == nullptr ? std::string() : value;
}

std::string usualPortPath(std::int16_t number) { return "/dev/ttyS" + std::to_string(number - 1); }

}  // namespace cronvel
