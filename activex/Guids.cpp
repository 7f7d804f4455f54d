// The place of the interfaces' numbers, which the generated header only declares.

#include <windows.h>

#include <ocidl.h>

#include <initguid.h>

#include "CronvelOCX.h"
