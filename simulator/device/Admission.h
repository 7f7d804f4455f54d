#pragma once

#include <array>
#include <string>

#include "simulator/base/Journal.h"
#include "simulator/device/Outcome.h"

namespace cronvel::simulator {

/// Whom and how a terminal admits: reader, groups, codes, modes, access, tables; and the message to
/// a card holder. Each command takes its payload.
class Admission {
 public:
  Outcome setReader(Payload payload);
  Outcome setMainGroup(Payload payload) { return setGroup("SetMainGroup", mMainGroup, payload); }
  Outcome setSubGroup(Payload payload) { return setGroup("SetSubGroup", mSubGroup, payload); }
  Outcome setCode4(Payload payload) { return setCode("SetCode4", mCode4, payload); }
  Outcome setCode10(Payload payload) { return setCode("SetCode10", mCode10, payload); }
  Outcome sendMessage(Payload payload);
  Outcome setMode(Payload payload);
  Outcome nameModes(Payload payload);
  Outcome activateModes(Payload payload);
  Outcome setAccess(Payload payload);
  /// 72 bytes are a timetable that nobody waits for an answer to, 210 a table that is answered.
  Outcome setAlarms(Payload payload);
  Outcome setCardTable(Payload payload);

  std::string text() const;
  Json fields() const;

 private:
  Outcome setGroup(const std::string& name, int& group, Payload payload);
  Outcome setCode(const std::string& name, std::string& code, Payload payload);

  bool mReader = true;
  int mMainGroup = 0;
  int mSubGroup = 0;
  std::string mCode4;
  std::string mCode10;
  std::string mMessage;
  int mMode = 0;
  std::array<std::string, 8> mModeNames;
  std::string mActiveModes = "TTTTTTTT";
  bool mAccess = true;
  std::size_t mAlarmBytes = 0;
  std::string mCardTable;
};

}  // namespace cronvel::simulator
