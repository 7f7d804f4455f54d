#include "platform/Console.h"

#include <io.h>

namespace cronvel {

bool isTerminal(int standardStream) { return _isatty(standardStream) != 0; }

void reportFileSizeLimit() {}  // there is none

}  // namespace cronvel
