#include "records/RecordCheck.h"

#include <filesystem>
#include <vector>

#include "records/RecordOutputs.h"
#include "records/RecordStream.h"
#include "runtime/File.h"
#include "runtime/RunTimeError.h"

namespace cronvel {
namespace {

constexpr std::size_t readBlock = 256 * 1024;
constexpr std::int16_t vbTrue = -1;

/// Opening the file that is being read for output would empty it.
File openInput(const std::u16string& mFileName) {
  const std::filesystem::path input = toPath(mFileName);
  for (const RecordOutput& output : recordOutputs()) {
    std::error_code notThere;
    if (std::filesystem::equivalent(input, toPath(withExtension(mFileName, output.extension)),
                                    notThere))
      throw RunTimeError(ErrorNumber::fileAlreadyOpen,
                         pathText(input) +
                             " would be overwritten by the check's own output; give the raw "
                             "file the extension .Hex");
  }
  return {input, File::Access::read};
}

void readAll(File& input, RecordStream& stream) {
  std::vector<std::uint8_t> block(readBlock);
  while (const std::size_t count = input.read(block)) stream.take(std::span(block).first(count));
}

}  // namespace

void RecordCheck::IdLen(std::uint8_t New_IdLen) {
  if (New_IdLen % 2 == 0) mLinks.host.set(mLinks.state.IdLen, New_IdLen, "IdLen");
}

void RecordCheck::NumOfRecs(std::int32_t New_NumOfRecs) {
  mLinks.host.set(mLinks.state.NumOfRecs, New_NumOfRecs, "NumOfRecs");
}

void RecordCheck::DamagedRecs(std::int32_t New_DamagedRecs) {
  mLinks.host.set(mLinks.state.DamagedRecs, New_DamagedRecs, "DamagedRecs");
}

std::int16_t RecordCheck::CheckIntegrity(const std::u16string& mFileName, bool DoCheck) {
  ControlState& state = mLinks.state;
  state.NumOfRecs = 0;
  state.DamagedRecs = 0;
  File input = openInput(mFileName);
  RecordOutputs outputs(mFileName);
  RecordStream stream(state.IdLen / 2U, DoCheck, outputs, state.DamagedRecs);
  readAll(input, stream);
  state.NumOfRecs = stream.records();
  outputs.close();
  mLinks.host.container.PropertyChanged("NumOfRecs");
  mLinks.host.container.PropertyChanged("DamagedRecs");
  return stream.whole() ? vbTrue : std::int16_t{0};
}

}  // namespace cronvel
