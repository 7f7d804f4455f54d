#pragma once

/// The speeds that a settings text may name, in baud: `each(speed)` for every one.
// clang-format off
#define CRONVEL_SERIAL_SPEEDS(each) \
  each(50) each(75) each(110) each(134) each(150) each(200) \
  each(300) each(600) each(1200) each(1800) each(2400) each(4800) \
  each(9600) each(19200) each(38400) each(57600) each(115200) each(230400) \
  each(460800) each(500000) each(576000) each(921600) each(1000000) each(1152000) \
  each(1500000) each(2000000) each(2500000) each(3000000) each(3500000) each(4000000)
// clang-format on
