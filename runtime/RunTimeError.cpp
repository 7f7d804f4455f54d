#include "runtime/RunTimeError.h"

namespace cronvel {

std::string errorText(ErrorNumber number) {
  switch (number) {
    case ErrorNumber::invalidProcedureCall:
      return "Invalid procedure call or argument";
    case ErrorNumber::overflow:
      return "Overflow";
    case ErrorNumber::subscriptOutOfRange:
      return "Subscript out of range";
    case ErrorNumber::divisionByZero:
      return "Division by zero";
    case ErrorNumber::typeMismatch:
      return "Type mismatch";
    case ErrorNumber::badFileName:
      return "Bad file name or number";
    case ErrorNumber::fileNotFound:
      return "File not found";
    case ErrorNumber::fileAlreadyOpen:
      return "File already open";
    case ErrorNumber::deviceIoError:
      return "Device I/O error";
    case ErrorNumber::diskFull:
      return "Disk full";
    case ErrorNumber::inputPastEnd:
      return "Input past end of file";
    case ErrorNumber::tooManyFiles:
      return "Too many files";
    case ErrorNumber::permissionDenied:
      return "Permission denied";
    case ErrorNumber::pathFileAccess:
      return "Path/File access error";
    case ErrorNumber::pathNotFound:
      return "Path not found";
    case ErrorNumber::controlArrayElement:
      return "Control array element doesn't exist";
    case ErrorNumber::invalidPropertyValue:
      return "Invalid property value";
    case ErrorNumber::setNotPermitted:
      return "Set not permitted";
    case ErrorNumber::portIsOpen:
      return "Operation not valid while the port is opened";
    case ErrorNumber::invalidPortNumber:
      return "Invalid port number";
    case ErrorNumber::portAlreadyOpen:
      return "Port already open";
    case ErrorNumber::hardwareNotAvailable:
      return "Hardware not available (locked by another device)";
    case ErrorNumber::deviceNotOpen:
      return "The device is not open";
    case ErrorNumber::couldNotSetCommState:
      return "Could not set comm state";
    case ErrorNumber::portNotOpen:
      return "Operation valid only when the port is open";
    case ErrorNumber::errorReadingCommDevice:
      return "Error reading comm device";
    case ErrorNumber::addressInUse:
      return "Address in use";
    case ErrorNumber::addressNotAvailable:
      return "Address not available";
    case ErrorNumber::networkUnreachable:
      return "Network unreachable";
    case ErrorNumber::connectionAborted:
      return "Connection aborted";
    case ErrorNumber::connectionReset:
      return "Connection reset";
    case ErrorNumber::timedOut:
      return "Timed out";
    case ErrorNumber::connectionRefused:
      return "Connection refused";
    case ErrorNumber::hostUnreachable:
      return "Host unreachable";
    case ErrorNumber::hostNotFound:
      return "Host not found";
    case ErrorNumber::wrongConnectionState:
      return "Wrong protocol or connection state for the requested transaction or request";
    case ErrorNumber::invalidOperationAtState:
      return "Invalid operation at current state";
    case ErrorNumber::wrongProtocol:
      return "Wrong protocol";
  }
  return "Error";
}

RunTimeError::RunTimeError(ErrorNumber number, const std::string& detail)
    : std::runtime_error(detail.empty() ? errorText(number) : errorText(number) + ": " + detail),
      mNumber(number) {}

}  // namespace cronvel
