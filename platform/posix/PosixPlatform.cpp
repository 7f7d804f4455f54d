#include <cstdlib>

#include "platform/reactor/ReactorPlatform.h"

namespace cronvel {
namespace {

class PosixPlatform : public ReactorPlatform {
  std::string environment(const std::string& name) const override {
    const char* value = std::getenv(name.c_str());
    return value == nullptr ? std::string() : value;
  }
  std::string usualPath(std::int16_t number) const override {
    return "/dev/ttyS" + std::to_string(number - 1);
  }
};

}  // namespace

std::unique_ptr<Platform> Platform::createUntraced() { return std::make_unique<PosixPlatform>(); }

}  // namespace cronvel
