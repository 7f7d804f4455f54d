#include "runtime/RunTimeError.h"

namespace cronvel {

std::string errorText(ErrorNumber number) {
#define TEXT(name, code, text) \
  case ErrorNumber::name:      \
    return text;
  switch (number) { CRONVEL_ERRORS(TEXT) }
#undef TEXT
  return "Error";
}

RunTimeError::RunTimeError(ErrorNumber number, const std::string& detail)
    : std::runtime_error(detail.empty() ? errorText(number) : errorText(number) + ": " + detail),
      mNumber(number) {}

}  // namespace cronvel
