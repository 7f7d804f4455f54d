#pragma once

#include <cstdint>
#include <string>

#include "runtime/Bytes.h"

namespace cronvel {

/// The control's source interface: what it reports to its host. Every event comes on the thread
/// that drives the control, inside a pump pass (so also inside a command's wait), one after
/// another. A host may call the control from an event. An exception leaves the pump pass.
///
/// The name is the interface's own, although C++ reserves such names.
class __Cronvel {  // NOLINT(bugprone-reserved-identifier): the name of the interface
 public:
  virtual ~__Cronvel() = default;

  /// The state of socket 0 (a `SocketState`) was found changed; looked at every 100 ms. The first
  /// look after creation always reports.
  virtual void WinSockCurrentState(std::int16_t /*CurrentState*/) {}

  /// A socket failed: Windows Sockets number and text. What the host writes into the arguments is
  /// discarded.
  virtual void WinSockError(std::int16_t /*number*/, std::u16string& /*Description*/,
                            std::int32_t /*Scode*/, const std::u16string& /*Source*/,
                            const std::u16string& /*HelpFile*/, std::int32_t /*HelpContext*/,
                            bool& /*CancelDisplay*/) {}

  /// Bytes arrived on a socket and no command is reading it directly. The two counters are always 0
  /// and what the host writes into any argument is discarded.
  virtual void WinSockDataReceived(Bytes& /*ReceivedData*/, std::int32_t /*DataLen*/,
                                   std::u16string& /*RemoteHost*/, std::u16string& /*RemoteHostIP*/,
                                   std::int16_t& /*LoopCounter*/,
                                   std::int32_t& /*FunctionCallCounter*/) {}

  /// Declared in the interface, never raised.
  virtual void WinSockDataReceivedGetData(Bytes& /*ReceivedData*/, std::int32_t /*DataLen*/,
                                          const std::u16string& /*RemoteHostIP*/) {}

  /// Bytes arrived on the serial line outside a command while `MonitoringON` is True. The array can
  /// be longer than `DataLen` if more came while it was read.
  virtual void DataReceivedForMonitoring(Bytes& /*mRStr*/, std::int16_t& /*DataLen*/) {}

  /// A card list is about to be sent: the number of valid cards in the file.
  virtual void AddFileProgressInit(std::int32_t& /*nMax*/) {}

  /// One more card was sent: how many so far.
  virtual void AddFileProgressInc(std::int32_t& /*nValue*/) {}
};

}  // namespace cronvel
