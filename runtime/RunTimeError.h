#pragma once

#include <stdexcept>
#include <string>

namespace cronvel {

/// The error numbers that hosts of such a control know, with their usual names and texts. The first
/// group is the host language's own; 8000 and up are the serial port's, 10000 and up are Windows
/// Sockets numbers, which the socket keeps on every platform.
// clang-format off
#define CRONVEL_ERRORS(row) \
  row(invalidProcedureCall, 5, "Invalid procedure call or argument") \
  row(overflow, 6, "Overflow") \
  row(subscriptOutOfRange, 9, "Subscript out of range") \
  row(divisionByZero, 11, "Division by zero") \
  row(typeMismatch, 13, "Type mismatch") \
  row(badFileName, 52, "Bad file name or number") \
  row(fileNotFound, 53, "File not found") \
  row(fileAlreadyOpen, 55, "File already open") \
  row(deviceIoError, 57, "Device I/O error") \
  row(diskFull, 61, "Disk full") \
  row(inputPastEnd, 62, "Input past end of file") \
  row(tooManyFiles, 67, "Too many files") \
  row(permissionDenied, 70, "Permission denied") \
  row(pathFileAccess, 75, "Path/File access error") \
  row(pathNotFound, 76, "Path not found") \
  row(controlArrayElement, 340, "Control array element doesn't exist") \
  row(invalidPropertyValue, 380, "Invalid property value") \
  row(setNotPermitted, 387, "Set not permitted") \
  row(portIsOpen, 8000, "Operation not valid while the port is opened") \
  row(invalidPortNumber, 8002, "Invalid port number") \
  row(portAlreadyOpen, 8005, "Port already open") \
  row(hardwareNotAvailable, 8010, "Hardware not available (locked by another device)") \
  row(deviceNotOpen, 8012, "The device is not open") \
  row(couldNotSetCommState, 8015, "Could not set comm state") \
  row(portNotOpen, 8018, "Operation valid only when the port is open") \
  row(errorReadingCommDevice, 8020, "Error reading comm device") \
  row(addressInUse, 10048, "Address in use") \
  row(addressNotAvailable, 10049, "Address not available") \
  row(networkUnreachable, 10051, "Network unreachable") \
  row(connectionAborted, 10053, "Connection aborted") \
  row(connectionReset, 10054, "Connection reset") \
  row(timedOut, 10060, "Timed out") \
  row(connectionRefused, 10061, "Connection refused") \
  row(hostUnreachable, 10065, "Host unreachable") \
  row(hostNotFound, 11001, "Host not found") \
  row(wrongConnectionState, 40006, "Wrong protocol or connection state for the requested transaction or request") \
  row(invalidOperationAtState, 40020, "Invalid operation at current state") \
  row(wrongProtocol, 40026, "Wrong protocol")
// clang-format on

#define CRONVEL_ERROR_NUMBER(name, number, text) name = (number),
enum class ErrorNumber : int { CRONVEL_ERRORS(CRONVEL_ERROR_NUMBER) };
#undef CRONVEL_ERROR_NUMBER

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
