#pragma once

#include "link/DeviceLinks.h"

namespace cronvel {

/// Switches the card reader over the serial line and waits for no reply: what setting `ReaderOn`
/// sends.
void sendReaderSwitch(const DeviceLinks& links, bool on);

/// The same for monitoring: what setting `MonitoringON` sends.
void sendMonitoringSwitch(const DeviceLinks& links, bool on);

}  // namespace cronvel
