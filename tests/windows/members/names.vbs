' For Windows' own script host: the control by both of its names, given TERMINALPORT.
Option Explicit
Dim name, control, port
port = CLng(WScript.Arguments(0))
For Each name In Array("CronvelOCX.Cronvel", "CronvelOCX.Cronvel.1")
  Set control = CreateObject(name)
  control.IdLen = "8"
  control.TelNum = 123
  control.WinSockRemotePort = port
  control.WinSockRemoteHost = "127.0.0.1"
  control.WinSockLocalPort = 0
  control.SetWinSockUDPMode 0
  WScript.Echo name, control.Enabled, control.IdLen, control.TelNum, control.DeviceNum, control.BPS
  WScript.Echo control.SetKeyboard("127.0.0.1", 5), control.SetDate("127.0.0.1", "15/08/06", 3)
  On Error Resume Next
  control.WinSockListen 9
  WScript.Echo Err.Number, Err.Source
  Err.Clear
  control.NoSuchMember
  WScript.Echo Err.Number
  On Error GoTo 0
  Set control = Nothing
Next
WScript.Echo "end"
WScript.Quit 7
