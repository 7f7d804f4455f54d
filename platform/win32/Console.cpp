#include "platform/Console.h"

#include <io.h>

namespace cronvel {

bool isTerminal(int standardStream) { return _isatty(standardStream) != 0; }

}  // namespace cronvel
