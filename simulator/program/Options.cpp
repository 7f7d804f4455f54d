#include "simulator/program/Options.h"

#include <CLI/CLI.hpp>
#include <set>

namespace cronvel::simulator {

namespace {

constexpr int wrongUse = 2;

constexpr const char* description =
    "A simulated attendance terminal (or several), to try software without hardware.\n"
    "Examples:\n"
    "  cronvel-terminal --serial                 a serial line; the path to open is printed\n"
    "  cronvel-terminal --serial --terminals 1,2,12\n"
    "  cronvel-terminal --listen 8085            waits for callers on the network\n"
    "  cronvel-terminal --connect localhost:8085 connects to a PC, again and again\n"
    "  cronvel-terminal --serial --cut 500       with a fault: the record stream ends early";

struct RawFault {
  std::size_t number = 0;
  std::vector<int> bytes;
  std::string word;
};

// What the command line gives as text or wider numbers than the program keeps.
struct Raw {
  std::string connect;
  std::string start;
  std::vector<std::string> terminals;
  std::vector<std::string> modemAnswers{"connect"};
  std::vector<RawFault> faults{Faults::all().size()};
};

void addLinks(CLI::App& app, Options& options, Raw& raw) {
  const char* group = "Links (one at least)";
  app.add_option("--serial", options.linkName,
                 "a serial line; its path is printed. LINKNAME: a link to it under that name")
      ->expected(0, 1)
      ->type_name("[LINKNAME]")
      ->group(group);
  app.add_option("--listen", options.listenPort,
                 "wait for callers on this port; 0 takes a free one, which is printed")
      ->type_name("PORT")
      ->check(CLI::Range(0, 65535))
      ->group(group);
  app.add_option("--connect", raw.connect,
                 "connect to a PC, again and again; several terminals use PORT, PORT+1, ...")
      ->type_name("HOST:PORT")
      ->group(group);
  app.add_option("--terminals", raw.terminals,
                 "numbers of the terminals on each link, 0 to 159, with ranges: 1,5,10-12 [1]")
      ->type_name("N,N-N,...")
      ->delimiter(',')
      ->group(group);
  app.add_option("--event-rate", options.eventRate,
                 "live events per second of each terminal that is monitored")
      ->check(CLI::Range(0.0, 1000.0))
      ->capture_default_str()
      ->group(group);
  app.add_option("--card-capacity", options.cardCapacity, "cards that a terminal's list can hold")
      ->check(CLI::Range(0, 16000))
      ->capture_default_str()
      ->group(group);
  app.add_option("--network-speed", options.networkSpeed, "pace of streams on the network")
      ->type_name("BYTES_PER_SECOND")
      ->check(CLI::Range(1.0, 1e9))
      ->capture_default_str()
      ->group(group);
}

void addModem(CLI::App& app, Options& options, Raw& raw) {
  const char* group = "Modem";
  ModemOptions& modem = options.modem;
  auto* const link =
      app.add_option("--modem", options.modemLinkName,
                     "a serial line with a telephone modem, behind which the terminals are")
          ->expected(0, 1)
          ->type_name("[LINKNAME]")
          ->group(group);
  app.add_option("--modem-answer", raw.modemAnswers,
                 "what becomes of a call; several: of one call after another")
      ->type_name("KIND,...")
      ->delimiter(',')
      ->check(CLI::IsMember({"connect", "busy", "no-carrier", "silent"}))
      ->needs(link)
      ->group(group);
  app.add_option("--modem-delay", modem.delay, "milliseconds from the number to what becomes of it")
      ->type_name("MS")
      ->check(CLI::Range(0, 3'600'000))
      ->capture_default_str()
      ->needs(link)
      ->group(group);
  app.add_flag("--modem-pieces", modem.pieces, "BUSY comes in pieces")->needs(link)->group(group);
  app.add_option("--carrier-loss", modem.carrierLoss, "every call breaks off after this time")
      ->type_name("SECONDS")
      ->check(CLI::Range(0.0, 1e6))
      ->needs(link)
      ->group(group);
  app.add_option("--modem-lines", modem.linesFile,
                 "keep carrier detect and data terminal ready in this file (see README.md): a "
                 "line made here has no modem lines")
      ->type_name("FILE")
      ->needs(link)
      ->group(group);
}

void addRecords(CLI::App& app, Options& options, Raw& raw) {
  const char* group = "Records";
  Workplace& workplace = options.workplace;
  app.add_option("--cards", workplace.cards, "people who use the terminal")
      ->capture_default_str()
      ->check(CLI::Range(0, 65534))
      ->group(group);
  app.add_option("--days", workplace.days, "calendar days with records; Fridays are off")
      ->capture_default_str()
      ->check(CLI::Range(0, 65534))
      ->group(group);
  app.add_option("--seed", workplace.seed,
                 "another seed makes other records; each further terminal adds one to it")
      ->capture_default_str()
      ->group(group);
  app.add_option("--id-digits", workplace.idDigits, "digits of a card number, even, 2 to 16")
      ->capture_default_str()
      ->group(group);
  app.add_option("--start", raw.start, "first day [" + toText(workplace.start) + "]")
      ->type_name("DD/MM/YY")
      ->group(group);
  app.add_option("--start-position", options.startPosition,
                 "where the records begin in the memory; near 65535 it wraps")
      ->capture_default_str()
      ->check(CLI::Range(0, 65535))
      ->group(group);
  app.add_option("--records", options.recordsFile,
                 "stream this file as it is, instead of made records")
      ->type_name("FILE")
      ->group(group);
}

template <typename Raws, typename Use>
void forEachFault(Raws& raw, Use use) {
  for (std::size_t i = 0; i < raw.faults.size(); ++i) use(Faults::all()[i], raw.faults[i]);
}

void addFault(CLI::App& app, const Fault& fault, RawFault& raw) {
  CLI::Option* option = nullptr;
  switch (fault.takes) {
    case Fault::Takes::nothing:
      option = app.add_flag(fault.option, fault.help);
      break;
    case Fault::Takes::number:
      raw.number = fault.standard.value_or(0);
      option = app.add_option(fault.option, raw.number, fault.help);
      if (fault.most) option->check(CLI::Range(0, *fault.most));
      if (fault.standard) option->capture_default_str();
      break;
    case Fault::Takes::bytes:
      option = app.add_option(fault.option, raw.bytes, fault.help)->delimiter(',');
      option->check(CLI::Range(0, 255));
      break;
    case Fault::Takes::word:
      option = app.add_option(fault.option, raw.word, fault.help);
      option->check(CLI::IsMember(fault.words));
      break;
  }
  if (!fault.valueName.empty()) option->type_name(fault.valueName);
  option->group("Faults (of all terminals)");
}

FaultValue faultValue(const Fault& fault, const RawFault& raw) {
  if (fault.takes == Fault::Takes::word) return raw.word;
  if (fault.takes == Fault::Takes::bytes) return Bytes(raw.bytes.begin(), raw.bytes.end());
  return raw.number;
}

void addOutput(CLI::App& app, Options& options) {
  const char* group = "Output";
  app.add_option("--json", options.jsonFile,
                 "write everything as JSON lines; \"-\" is standard output, and what is for people "
                 "goes to standard error then")
      ->type_name("FILE")
      ->group(group);
  app.add_flag("--quiet", options.quiet, "print only where the terminals can be reached")
      ->group(group);
  app.add_flag("--once", options.once, "end after the first completed exchange")->group(group);
  app.add_option("--seconds", options.seconds, "end after this time")
      ->type_name("N")
      ->check(CLI::Range(0.0, 1e9))
      ->group(group);
}

void readConnect(const std::string& text, Options& options) {
  const std::size_t colon = text.rfind(':');
  int port = 0;
  if (colon == std::string::npos || colon == 0 ||
      !CLI::detail::lexical_cast(text.substr(colon + 1), port) || port < 1 ||
      port + static_cast<int>(options.terminals.size()) - 1 > 65535) {
    throw CLI::ValidationError("--connect",
                               "needs HOST:PORT with a port of 1 to 65535, not " + text);
  }
  options.connectHost = text.substr(0, colon);
  options.connectPort = port;
}

void readStart(const std::string& text, Options& options) {
  const auto start = parseDate(text);
  if (!start) throw CLI::ValidationError("--start", "needs a date DD/MM/YY, not " + text);
  options.workplace.start = *start;
}

ModemOptions::Answer modemAnswer(const std::string& text) {
  using enum ModemOptions::Answer;
  if (text == "busy") return busy;
  if (text == "no-carrier") return noCarrier;
  return text == "silent" ? silent : connect;
}

/// "5" or "10-12".
void readTerminals(const std::string& text, std::vector<int>& terminals) {
  const std::size_t dash = text.find('-');
  const std::string end = dash == std::string::npos ? text : text.substr(dash + 1);
  int first = 0;
  int last = 0;
  const bool good = CLI::detail::lexical_cast(text.substr(0, dash), first) &&
                    CLI::detail::lexical_cast(end, last) && first >= 0 && last <= 159;
  if (!good || first > last)
    throw CLI::ValidationError("--terminals", "needs numbers of 0 to 159 or ranges, not " + text);
  for (int number = first; number <= last; ++number) terminals.push_back(number);
}

void refuseDoubles(const std::vector<int>& terminals) {
  if (std::set<int>(terminals.begin(), terminals.end()).size() != terminals.size()) {
    throw CLI::ValidationError("--terminals", "each number can be given only once");
  }
}

void finish(const CLI::App& app, const Raw& raw, Options& options) {
  options.serial = app.count("--serial") > 0;
  if (!raw.terminals.empty()) options.terminals.clear();
  for (const std::string& text : raw.terminals) readTerminals(text, options.terminals);
  options.hasModem = app.count("--modem") > 0;
  options.modem.answers.clear();
  for (const auto& text : raw.modemAnswers) options.modem.answers.push_back(modemAnswer(text));
  if (!raw.connect.empty()) readConnect(raw.connect, options);
  if (!raw.start.empty()) readStart(raw.start, options);
  refuseDoubles(options.terminals);
  forEachFault(raw, [&](const Fault& fault, const RawFault& given) {
    if (app.count(fault.option) > 0) options.faults.choose(fault.option, faultValue(fault, given));
  });
  if (!options.serial && !options.hasModem && !options.listenPort && options.connectHost.empty()) {
    throw CLI::ValidationError("links",
                               "choose --serial, --modem, --listen PORT or --connect HOST:PORT");
  }
}

}  // namespace

std::optional<Options> parseOptions(int argc, char** argv, int& status) {
  Options options;
  Raw raw;
  CLI::App app(description, "cronvel-terminal");
  addLinks(app, options, raw);
  addModem(app, options, raw);
  addRecords(app, options, raw);
  forEachFault(raw, [&](const Fault& fault, RawFault& given) { addFault(app, fault, given); });
  addOutput(app, options);
  try {
    app.parse(argc, argv);
    finish(app, raw, options);
  } catch (const CLI::ParseError& error) {
    status = app.exit(error) == 0 ? 0 : wrongUse;
    return std::nullopt;
  }
  return options;
}

}  // namespace cronvel::simulator
