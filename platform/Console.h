#pragma once

namespace cronvel {

/// Whether a person sits at this standard stream: 0 input, 1 output, 2 errors.
bool isTerminal(int standardStream);

}  // namespace cronvel
