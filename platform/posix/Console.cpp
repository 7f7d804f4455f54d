#include "platform/Console.h"

#include <unistd.h>

namespace cronvel {

bool isTerminal(int standardStream) { return isatty(standardStream) == 1; }

}  // namespace cronvel
