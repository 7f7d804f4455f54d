// The check of a raw record file, with its three files, against the model.

#include "fuzz/Harness.h"
#include "tests/support/RecordModel.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace cronvel;
  static auto& [platform, container, events, folder, control] = *new fuzz::Setup<>;
  fuzz::Input input(data, size);
  const bool DoCheck = input.byte() % 2 == 1;
  const std::uint8_t IdLen = input.byte();
  const std::string stream = input.rest();
  folder.write("rec.Hex", stream);
  control->IdLen(4);
  control->IdLen(IdLen);
  const test::RecordModel model(stream, IdLen % 2 == 0 ? IdLen : 4, DoCheck);
  int result = 0;
  fuzz::require(test::errorOf([&] { result = control->CheckIntegrity(u"rec.Hex", DoCheck); }),
                model.error, "error");
  fuzz::require(folder.read("rec.txt"), model.txt, ".txt");
  fuzz::require(folder.read("rec.ddd"), model.ddd, ".ddd");
  fuzz::require(folder.read("rec.dat"), model.dat, ".dat");
  fuzz::require(control->DamagedRecs(), model.damaged, "DamagedRecs");
  fuzz::require(control->NumOfRecs(), model.error == 0 ? model.records : 0, "NumOfRecs");
  fuzz::require(result, model.result, "result");
  return 0;
}
