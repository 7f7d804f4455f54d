#pragma once

namespace cronvel {

/// Whether a person sits at this standard stream: 0 input, 1 output, 2 errors.
bool isTerminal(int standardStream);

/// From now on a file that grows past the limit of this process is an error of the write like a
/// full disk, not the end of the program.
void reportFileSizeLimit();

}  // namespace cronvel
