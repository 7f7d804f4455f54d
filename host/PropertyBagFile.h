#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "host/PropertyBag.h"

namespace cronvel {

/// A property bag that can be kept in a small text file, one `Key=value` to a line in the order
/// written; texts stand in double quotes. Lines that are empty or start with "#" are passed over.
///
///     CommPort=3
///     DialupConnection=True
///     TelNum="0211234567"
class PropertyBagFile : public PropertyBag {
 public:
  /// Raises 53 for a missing file and 13 for a line that cannot be read.
  static PropertyBagFile load(const std::filesystem::path& path);
  /// Raises the file errors of writing.
  void save(const std::filesystem::path& path) const;

  Variant ReadProperty(std::string_view key, const Variant& defaultValue) override;
  void WriteProperty(std::string_view key, const Variant& value,
                     const Variant& defaultValue) override;

 private:
  void parseLine(std::string_view line, const std::string& where);

  std::vector<std::string> mOrder;
  std::map<std::string, Variant, std::less<>> mValues;
};

}  // namespace cronvel
