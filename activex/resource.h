// Numbers of the resources in Cronvel.rc. The toolbox bitmap's number stands in the registry.
#pragma once

#define IDB_TOOLBOX 102
#define IDI_CRONVEL 103
#define IDD_PROPERTIES 110

#define IDC_COMMPORT 201
#define IDC_DEVICENUM 202
#define IDC_IDLEN 203
#define IDC_BPS 204
#define IDC_DIALUP 205
#define IDC_TELNUM 206
#define IDC_ENABLED 207
#define IDC_READERON 208
#define IDC_MONITORINGON 209
#define IDC_NUMOFRECS 210
#define IDC_DAMAGEDRECS 211
