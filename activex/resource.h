// Numbers of the resources in Cronvel.rc. The toolbox bitmap's number stands in the registry.
#pragma once

#define IDB_TOOLBOX 102
#define IDI_CRONVEL 103
