#pragma once

#include <string>
#include <vector>

namespace cronvel {

/// Whether a person sits at this standard stream: 0 input, 1 output, 2 errors.
bool isTerminal(int standardStream);

/// From now on a file that grows past the limit of this process is an error of the write like a
/// full disk, not the end of the program.
void reportFileSizeLimit();

/// What `main` got without the program's name, in UTF-8 whatever the system's own code page is.
std::vector<std::string> programArguments(int argc, char** argv);

/// While it lives, a console shows the standard streams as UTF-8.
class Utf8Console {
 public:
  Utf8Console();
  ~Utf8Console();  // NOLINT(performance-trivially-destructible): not on Windows
  Utf8Console(const Utf8Console&) = delete;
  Utf8Console& operator=(const Utf8Console&) = delete;

 private:
  [[maybe_unused]] unsigned mEarlier = 0;  ///< the console's own code page
};

/// Lets this program have as many files and sockets open at a time as the system permits it at all,
/// which is often a multiple of what it begins with.
void raiseOpenFileLimit();

}  // namespace cronvel
