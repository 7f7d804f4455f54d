'$ PORT
'! event-argument.vbs(0, 0): Control_WinSockError: argument 7 cannot take *: Type mismatch (0x80020005)
'= 2
Sub Control_WinSockError(number, text, code, source, file, context, cancel)
  cancel = "perhaps"
End Sub
Set control = WScript.CreateObject("CronvelOCX.Cronvel", "Control_")
control.WinSockRemotePort = WScript.Arguments(0)
control.SetWinSockUDPMode 0
control.WinSockConnectToHost 0, "127.0.0.1"
WScript.Sleep 50000
