// The file of settings: what any bytes are read as, and what a control makes of it.

#include <map>
#include <sstream>

#include "fuzz/Harness.h"
#include "host/PropertyBagFile.h"
#include "runtime/Text.h"

namespace cronvel::fuzz {
namespace {

using Values = std::map<std::string, std::string>;

/// Nothing for a file that cannot be read.
std::optional<Values> valuesOf(const std::string& text) {
  Values values;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (line.ends_with('\r')) line.pop_back();
    if (line.empty() || line.starts_with('#')) continue;
    const std::size_t equals = line.find('=');
    if (equals == std::string::npos) return std::nullopt;
    std::string value = line.substr(equals + 1);
    if (value.starts_with('"')) {
      if (value.size() < 2 || !value.ends_with('"')) return std::nullopt;
      std::string plain;
      for (std::size_t i = 1; i + 1 < value.size(); ++i) {
        const bool escaped = value[i] == '\\' && i + 2 < value.size();
        const char c = escaped ? value[++i] : value[i];
        plain += !escaped ? c : c == 'n' ? '\n' : c == 'r' ? '\r' : c;
      }
      value = plain;
    }
    values[line.substr(0, equals)] = value;
  }
  return values;
}

void requireValues(PropertyBagFile& bag, const Values& values) {
  for (const auto& [key, value] : values) {
    const Variant text = bag.ReadProperty(key, u"none");
    require(toUtf8(std::get<std::u16string>(text)), toUtf8(toUtf16(value)), "value of " + key);
  }
}

/// What a control has taken from a file it writes so that another takes the same.
void requireRoundTrip(Cronvel& control, const test::TestFolder& folder, PropertyBagFile read) {
  control.InitProperties();
  const int error = test::errorOf([&] { control.ReadProperties(read); });
  require(error == 0 || error == 6 || error == 13, true, "a control's error");
  std::string saved[2];
  for (std::string& text : saved) {
    PropertyBagFile written;
    control.WriteProperties(written);
    written.save("control.txt");
    text = folder.read("control.txt");
    read = PropertyBagFile::load("control.txt");
    control.InitProperties();
    control.ReadProperties(read);
  }
  require(saved[1], saved[0], "settings");
}

}  // namespace
}  // namespace cronvel::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace cronvel;
  static auto& [platform, container, events, folder, control] = *new fuzz::Setup<>;
  const std::string text = fuzz::Input(data, size).rest();
  folder.write("bag.txt", text);
  const auto values = fuzz::valuesOf(text);
  std::optional<PropertyBagFile> bag;
  fuzz::require(test::errorOf([&] { bag = PropertyBagFile::load("bag.txt"); }), values ? 0 : 13,
                "error");
  if (!bag) return 0;
  fuzz::requireValues(*bag, *values);
  bag->save("bag.txt");
  bag = PropertyBagFile::load("bag.txt");
  fuzz::requireValues(*bag, *values);
  fuzz::requireRoundTrip(*control, folder, *bag);
  platform.transcript.take();
  return 0;
}
