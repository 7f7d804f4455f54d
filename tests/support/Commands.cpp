#include "tests/support/Commands.h"

#include <algorithm>
#include <cmath>
#include <sstream>

namespace cronvel::test {
namespace {

/// One card record and its trailer.
const Bytes records{0xED, 0x12, 0x34, 0x09, 0x30, 0xE3, 0, 0, 0, 0, 1, 0, 0, 1, 0, 0, 0xE3};

/// The properties block that starts with these bytes.
std::string block(std::string start) {
  for (auto i = std::count(start.begin(), start.end(), ' '); i < 101; ++i) start += " 0";
  return "0..100" + start;
}

const std::string yes = "Boolean True";
const std::string no = "Boolean False";
const Result nothing{"nothing", 0, {}, "Empty", "Empty", "Empty", "Empty"};
const Result accepted{"True when accepted", 5, {24, 15}, yes, no, no, no};
const Result sent{"True when sent", 0, {}, yes, yes, yes, no};
const Result cardReply{"reply byte", 5, {24, 15}, "Byte 24", "Byte 15", "Byte 255", "Byte 0"};
const Result block101{"101 bytes",  5,         {1, 255}, block(" 1 255"),
                      block(" 15"), block(""), "Empty",  true};
const Result whole{"0 whole, 1 not", 5,           records,     "Integer 0",
                   "Integer 1",      "Integer 1", "Integer 0", true};
const Result wholeOrEmpty{"0 whole, 1 not", 5,           records, "Integer 0",
                          "Integer 1",      "Integer 1", "Empty", true};

constexpr double timeOfDay(int hour, int minute, int second) {
  return (hour * 3600 + minute * 60 + second) / 86400.0;
}

Bytes timetable() {
  Bytes fields;
  for (std::uint8_t i = 0; i < 73; ++i) fields.push_back(i);
  return fields;
}
/// Two fields of digits and a byte as it is, 24 times.
std::string timetableBody() {
  std::string body = "02 16";
  for (int i = 0; i < 72; ++i) {
    char text[8];
    std::snprintf(text, sizeof text, i % 3 == 2 ? " %02X" : " %02d", i);
    body += text;
  }
  return body;
}

template <typename T, typename C, typename S, typename D>
Property property(const char* name, T (C::*get)() const, void (D::*set)(S), const char* atFirst,
                  std::type_identity_t<T> other, std::type_identity_t<T> first,
                  bool persisted = true, bool setInDesignMode = true) {
  return {test::get(name, get), put(name, set, other), put(name, set, first), atFirst, persisted,
          setInDesignMode};
}
#define PROPERTY(name) #name, &Cronvel::name, &Cronvel::name

bool isSettings(const std::string& word) { return word.find(',') != std::string::npos; }

/// A table's byte as an entry of the transcript: with its pause, as often as it comes.
std::string entryOf(const std::string& word, Line line) {
  const char mark = word.size() > 2 ? word[2] : ' ';
  std::string entry = (line == Line::network ? "; send " : "; out ") + word.substr(0, 2);
  if (mark != '.') entry += mark == '_' ? "; sleep 1000" : "; sleep 50";
  std::string text;
  for (int times = mark == 'x' ? std::stoi(word.substr(3)) : 1; times > 0; --times) text += entry;
  return text;
}

/// Up to the address.
std::string openingOf(const Command& command, const std::string& socket) {
  const std::string listens = "listen; close " + socket + "; accept 7; ";
  switch (command.network) {
    case Network::connects:
      return "connect gate-5000; ";
    case Network::listens:
      return "local port 5000; " + listens;
    case Network::joins:
      return "local port 8085; protocol 0; local port 5000; " + listens;
    default:
      return listens;
  }
}

}  // namespace

const std::vector<Command>& commands() {
  using enum Network;
  const std::string kept = "kept";
  const std::string offAfterReply = "off after a serial reply";
  const std::string itself = "-";
  static const std::vector<Command> rows{
      {put(MEMBER(ReaderOn), true), "02 11 54.", none, kept, nothing},
      {put(MEMBER(MonitoringON), true), "600,n,8,1 02 17 54.", none, itself, nothing},
      {call(MEMBER(SetTime), Time{timeOfDay(23, 59, 7)}), "02 0A 07 59 23", listens, offAfterReply,
       accepted},
      {call(MEMBER(SetDate), u"15/08/06", 3), "02 0B 03 06 08 15.", connects, offAfterReply,
       accepted},
      {call(MEMBER(SetDayLight), 21, 3, 22, 9), "02 1D 21 03 22 09", connects, "off", accepted},
      {call(MEMBER(ResetMem)), "02 1B 54.", connects, offAfterReply, accepted},
      {call(MEMBER(TestConnection)), "^ 600,n,8,1 02 12", listens, kept, accepted},
      {call(MEMBER(SetKeyboard), 200), "02 10 C8.", connects, offAfterReply, accepted},
      {call(MEMBER(SetReaderOnOff), true), "02 11 54.", connects, kept, accepted, 25},
      {call(MEMBER(SetMainGroup), 99), "02 13 99_", connects, offAfterReply, accepted},
      {call(MEMBER(SetSubGroup), 7), "02 14 07_", connects, offAfterReply, accepted},
      {call(MEMBER(SetCode4), u"1A9 5"), "02 0D 13 17 07 17", connects, offAfterReply, accepted},
      {call(MEMBER(SetCode10), u"0@234567891"), "02 0C 17 30 12 11 0E 0D 0C 09 08 07", connects,
       offAfterReply, accepted},
      {call(MEMBER(SendMsg), u"258", u"سلام AB"), "02 15 02 01 42 41 20 F4 F2 F3 A8 20x25 01",
       connects, offAfterReply, accepted},
      {call(MEMBER(SetMonitoringOnOff), true), "600,n,8,1 02 17 54.", awaits, itself, sent},
      {call(MEMBER(SetMonitoringOnGroup), true), "02 17 54.", joins, itself, accepted},
      {call(MEMBER(GetDeviceProperties)), "^ 02 18 600,s,8,1 !", listens, kept, block101},
      {call(MEMBER(SetAlarm), timetable()), timetableBody(), none, kept, nothing},
      {call(MEMBER(AddCardSimple), u"1234"), "02 2A 12 34", connects, kept, cardReply},
      {call(MEMBER(DeleteCardSimple), u"1234"), "02 29 12 34", connects, kept, cardReply},
      {call(MEMBER(DeleteCardAll)), "02 28 54.", connects, kept, cardReply},
      {call(MEMBER(AddCardFile), u"cards.txt"),
       "02 2B 9600,s,8,1 AA ~ 00 01 ~ 00 02 ~ 00 03 ~ 00 04 ~ 00 56 AA 00 00 00 60 600,s,8,1",
       connects, kept, cardReply},
      {call(MEMBER(SetMode), 7), "02 20 07", connects, kept, accepted},
      {call(MEMBER(SendModeStr),
            {u"ورود", u"12", u"", u"", u"", u"", u"", u"ABCDEFGHIJKLMNOPQRST", u"x"}),
       "02 1F 24 A2 F8 A4 F8 20x12 81 82 20x14 20x80 54 53 52 51 50 4F 4E 4D 4C 4B 4A 49 48 47 46 "
       "45",
       connects, kept, accepted},
      {call(MEMBER(SendModeActive), {true, false, false, false, false, false, false, true, true}),
       "02 1E 54 46x6 54", connects, kept, accepted},
      {call(MEMBER(SetPersonAccessable), true), "02 21 46.", connects, offAfterReply, accepted},
      {call(MEMBER(DefCards), {1, 10, 99, 0, 25, 59, 7}), "02 1A 01 10 99 00 25 59", connects,
       offAfterReply, accepted},
      {call(MEMBER(DefAlarms), Bytes(211, 25)), "02 16 25x210", connects, offAfterReply, accepted},
      {call(MEMBER(GetData), u"all.Hex"), "^ 02 0F ! FD ! 9600,s,8,1", awaits, kept, whole},
      {call(MEMBER(GetDataBuff), u"buffered.Hex"), "^ 02 1C ! 4800,s,8,1", none, kept,
       wholeOrEmpty},
      {call(MEMBER(GetDataByDate), 1, 3, 25, 31, 5, 26, u"dated.Hex"),
       "^ 02 19 01 03 25 31 05 26 ! FD ! 9600,s,8,1", connects, kept, whole, 5,
       "02 19 01 03 25 31 05 26 FE"}};
  return rows;
}

const std::vector<Failure>& failures() {
  static const std::vector<Failure> rows{
      {call(MEMBER(SetDayLight), 21, 2, 160, 4), 6, "02 1D 21 02"},
      {call(MEMBER(SendMsg), u"-1", u""), 6, "02 15"},
      {call(MEMBER(SendMsg), u"65536", u""), 6, "02 15 00"},
      {call(MEMBER(AddCardSimple), u"16000"), 6, "02 2A"},
      {call(MEMBER(AddCardSimple), u"-5"), 6, "02 2A 00"},
      {call(MEMBER(AddCardFile), u"missing.txt"), 53, "02 2B 9600,s,8,1"},
      {call(MEMBER(SendModeStr), std::vector<std::u16string>{u"1"}), 9, "02 1F 24 81 20x15"},
      {call(MEMBER(DefCards), {1, 160}), 6, "02 1A 01"},
      {call(MEMBER(DefCards), {1}), 9, "02 1A 01"},
      {call(MEMBER(GetDataByDate), 1, 1, 160, 1, 1, 7, u"dated.Hex"), 6, "02 19 01 01"},
  };
  return rows;
}

const std::vector<Property>& properties() {
  static const std::vector<Property> rows{
      property(PROPERTY(Enabled), "True", false, true),
      property(PROPERTY(CommPort), "1", 7, 1),
      property(PROPERTY(ReaderOn), "False", true, false, true, false),
      property(PROPERTY(MonitoringON), "False", true, false, true, false),
      property(PROPERTY(IdLen), "4", 6, 4),
      property(PROPERTY(DialupConnection), "False", true, false),
      property(PROPERTY(TelNum), "\"0\"", u"02188۱۲", u"0"),
      property(PROPERTY(BPS), "\"9600\"", u"19200", u"9600", true, false),
      property(PROPERTY(DeviceNum), "1", 159, 1),
      property(PROPERTY(NumOfRecs), "0", 70000, 0),
      property(PROPERTY(DamagedRecs), "0", 70001, 0),
      property(PROPERTY(WinSockProtocol), "0", 1, 0, false, false),
      property(PROPERTY(WinSockLocalPort), "8085", 65535, 8085, false, false),
      property(PROPERTY(WinSockRemotePort), "8085", 65534, 8085, false, false),
      property(PROPERTY(WinSockRemoteHost), "this machine's address", u"127.0.0.2", u"10.0.0.1",
               false, false),
  };
  return rows;
}

Bytes bytesOf(const std::string& body) {
  Bytes bytes;
  std::istringstream words(body);
  for (std::string word; words >> word;) {
    if (word.size() == 1 || word.find(',') != std::string::npos) continue;
    const std::size_t times = word.size() > 3 ? std::stoul(word.substr(3)) : 1;
    bytes.insert(bytes.end(), times, static_cast<std::uint8_t>(std::stoul(word, nullptr, 16)));
  }
  return bytes;
}

std::string requestOf(const std::string& body, Line line) {
  std::string settings = "600,s,8,1";
  std::string text;
  std::istringstream words(body);
  for (std::string word; words >> word;) {
    if (isSettings(word) && text.empty())
      settings = word;
    else if (isSettings(word))
      text += line == Line::serial ? "; settings " + word : "";
    else if (word == "!")
      text += line == Line::network ? "" : "; discard in";
    else if (word != "^")
      text += word == "~" ? "; sleep 50" : entryOf(word, line);
  }
  return entryOf("01", line).substr(2) + (line == Line::serial ? "; settings " + settings : "") +
         text;
}

std::string exchangeOf(const std::string& body, Line line) {
  return (line == Line::serial ? "settings 600,m,8,1; open; discard in; " : "discard in; ") +
         std::string(body[0] == '^' ? "discard out; " : "") + requestOf(body, line);
}

double pauseAfterLast(const std::string& body) {
  const std::string entries = requestOf(body, Line::network);
  const std::string last = entries.substr(entries.rfind("; "));
  return last.starts_with("; sleep") ? std::stod(last.substr(8)) / 1000 : 0;
}

std::string transcriptOf(const Command& command, Line line, bool replied,
                         const std::string& socket) {
  const bool replyIsNew = command.result.wait > 0 && !command.result.isStream;
  if (line != Line::network)
    return exchangeOf(command.body, line) + (replyIsNew ? "; discard in" : "");
  const bool closes = command.monitoring != "-" || (!replied && command.networkWait > 0);
  return openingOf(command, socket) + requestOf(command.networkBody, line) +
         (closes ? "; close " + socket : "");
}

std::string notConnectedOf(const Command& command, const std::string& socket) {
  const std::string opening = openingOf(command, socket);
  return opening.substr(0, opening.find("listen")) + "listen; close " + socket;
}

std::uint8_t Command::code() const { return bytesOf(body).at(1); }

std::string pageRow(const Command& command) {
  const auto seconds = [](double wait) {
    return wait == 0 ? "none" : std::to_string(std::lround(wait)) + " s";
  };
  const std::string network = command.network == Network::connects ? "connects" : "listens";
  std::string row = "| `" + command.call.name() + "` | ";
  if (command.serial()) row += command.network == Network::none ? "serial" : "serial, ";
  if (command.network != Network::none) row += network;
  row += " | " + std::to_string(command.code()) + " | " + seconds(command.result.wait);
  if (command.networkWait != command.result.wait)
    row += ", network " + seconds(command.networkWait);
  return row + " | " + command.result.words + " | " + command.monitoring + " |\n";
}

}  // namespace cronvel::test
