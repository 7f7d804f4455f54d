#pragma once

#include <stdexcept>
#include <string>

namespace cronvel {

/// The error numbers that hosts of such a control know, by the names of their usual texts. The
/// first group is the host language's own; 8000 and up are the serial port's, 10000 and up are
/// Windows Sockets numbers, which the socket keeps on every platform.
enum class ErrorNumber : int {
  invalidProcedureCall = 5,
  overflow = 6,
  subscriptOutOfRange = 9,
  divisionByZero = 11,
  typeMismatch = 13,
  badFileName = 52,
  fileNotFound = 53,
  fileAlreadyOpen = 55,
  deviceIoError = 57,
  diskFull = 61,
  inputPastEnd = 62,
  tooManyFiles = 67,
  permissionDenied = 70,
  pathFileAccess = 75,
  pathNotFound = 76,
  controlArrayElement = 340,
  invalidPropertyValue = 380,
  setNotPermitted = 387,

  portIsOpen = 8000,
  invalidPortNumber = 8002,
  portAlreadyOpen = 8005,
  hardwareNotAvailable = 8010,
  deviceNotOpen = 8012,
  couldNotSetCommState = 8015,
  portNotOpen = 8018,
  errorReadingCommDevice = 8020,

  addressInUse = 10048,
  addressNotAvailable = 10049,
  networkUnreachable = 10051,
  connectionAborted = 10053,
  connectionReset = 10054,
  timedOut = 10060,
  connectionRefused = 10061,
  hostUnreachable = 10065,
  hostNotFound = 11001,
  wrongConnectionState = 40006,
  invalidOperationAtState = 40020,
  wrongProtocol = 40026,
};

/// The usual short text of a number, for example "Overflow" for 6.
std::string errorText(ErrorNumber number);

/// An error that ends a member and reaches its caller. `what()` is one UTF-8 sentence that starts
/// with the number's usual text and says what went wrong with which value and what to do.
class RunTimeError : public std::runtime_error {
 public:
  /// `detail` follows the usual text after ": "; without a detail the text stands alone.
  explicit RunTimeError(ErrorNumber number, const std::string& detail = {});

  ErrorNumber number() const { return mNumber; }

 private:
  ErrorNumber mNumber;
};

}  // namespace cronvel
