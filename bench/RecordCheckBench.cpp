#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string>
#include <vector>

#include "control/Cronvel.h"
#include "runtime/Bytes.h"
#include "runtime/File.h"

// The record file check against writing the same number of bytes straight to the same folder: the
// quickest of each, in turns, since what else runs and the state of the memory only ever slow down.

namespace cronvel {
namespace {

namespace fs = std::filesystem;
using Steady = std::chrono::steady_clock;

std::size_t rawSize() {
  const char* megabytes = std::getenv("CRONVEL_BENCH_MEGABYTES");
  return (megabytes != nullptr ? std::stoul(megabytes) : 100) * 1'000'000;
}

double secondsSince(Steady::time_point start) {
  return std::chrono::duration<double>(Steady::now() - start).count();
}

/// Resident memory of this process at its highest since the last `forgetPeak`, in MB; 0 where it
/// cannot be told.
void forgetPeak() { std::ofstream("/proc/self/clear_refs") << 5; }
double peakMegabytes() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);)
    if (line.starts_with("VmHWM:")) return std::stod(line.substr(6)) / 1000;
  return 0;
}

/// A day of 200 records after another.
void writeRaw(const fs::path& path) {
  Bytes day{0xBB, 0x31, 0x12, 0x07};
  for (std::uint8_t i = 0; i < 200; ++i) {
    if (i % 20 == 0) day.push_back(0xA3);
    for (const int byte : {0x00, 0x12, 0x34, i % 10, 0x08, i % 60 / 10 * 16 + i % 10})
      day.push_back(static_cast<std::uint8_t>(byte));
  }
  File file(path, File::Access::output);
  for (std::size_t size = 0; size < rawSize(); size += day.size()) file.write(day);
  file.write(Bytes{0xE3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xE3});
  file.close();
}

double plainWrite(const fs::path& path, std::size_t size) {
  const Bytes block(256 * 1024, 'x');
  const auto start = Steady::now();
  File file(path, File::Access::output);
  for (; size > block.size(); size -= block.size()) file.write(block);
  file.close();
  return secondsSince(start);
}

void CheckOfRecords(benchmark::State& state) {
  const auto platform = Platform::createUntraced();
  Container container;
  __Cronvel events;
  Cronvel control(*platform, container, events);
  control.IdLen(8);
  const fs::path folder = fs::temp_directory_path() / "cronvel-bench";
  fs::create_directories(folder);
  const fs::path raw = folder / "records.Hex";
  writeRaw(raw);
  forgetPeak();
  const double before = peakMegabytes();
  double checking = std::numeric_limits<double>::max();
  double writing = checking;
  for (auto _ : state) {
    const auto start = Steady::now();
    if (control.CheckIntegrity(raw.u16string(), false) == 0) state.SkipWithError("not whole");
    checking = std::min(checking, secondsSince(start));
    std::size_t written = 0;
    for (const char* extension : {".txt", ".ddd", ".dat"})
      written += fs::file_size(fs::path(raw).replace_extension(extension));
    for (const char* extension : {".txt", ".ddd", ".dat"})
      fs::remove(fs::path(raw).replace_extension(extension));
    writing = std::min(writing, plainWrite(folder / "plain", written));
    fs::remove(folder / "plain");
    state.counters["times_plain_write"] = checking / writing;
    state.counters["raw_MB"] = static_cast<double>(fs::file_size(raw)) / 1e6;
    state.counters["written_MB"] = static_cast<double>(written) / 1e6;
    state.counters["peak_grew_MB"] = peakMegabytes() - before;
  }
  fs::remove_all(folder);
}
BENCHMARK(CheckOfRecords)->Iterations(5)->Unit(benchmark::kSecond);

}  // namespace
}  // namespace cronvel
