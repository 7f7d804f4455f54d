' For Windows' own script host: the control by both of its names, given TERMINALPORT.
Option Explicit
Dim name, control
For Each name In Array("CronvelOCX.Cronvel", "CronvelOCX.Cronvel.1")
  Set control = CreateObject(name)
  control.IdLen = "8"
  control.WinSockRemotePort = CLng(WScript.Arguments(0))
  control.WinSockRemoteHost = "127.0.0.1"
  control.SetWinSockUDPMode 0
  WScript.Echo control.IdLen, control.SetKeyboard("127.0.0.1", 5)
  On Error Resume Next
  control.WinSockListen 9
  WScript.Echo Err.Number, Err.Source
  On Error GoTo 0
Next
WScript.Quit 7
