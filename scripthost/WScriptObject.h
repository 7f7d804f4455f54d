#pragma once

#include "scripthost/ScriptObject.h"

namespace cronvel::scripthost {

class ScriptHost;

/// The script's global object WScript:
///   Echo [value...]                       a line on standard output, the values parted by blanks
///   Sleep milliseconds                    events arrive meanwhile
///   Quit [code]
///   Arguments                             Count, Length, Item(i) or (i) from 0, For Each
///   ScriptFullName, ScriptName
///   CreateObject(progId [, prefix])       with a prefix, as by ConnectObject
///   ConnectObject object, prefix          its events call the procedures prefix + event name
///   DisconnectObject object
///   StdOut, StdErr                        Write text, WriteLine [text]
class WScriptObject : public ScriptObject {
 public:
  /// The host outlives the script and what it holds.
  explicit WScriptObject(ScriptHost& host);

 protected:
  Variant call(DISPID id, const Arguments& arguments) override;

 private:
  Variant createObject(const Arguments& arguments);

  ScriptHost& mHost;
};

}  // namespace cronvel::scripthost
