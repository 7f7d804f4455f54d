'> state
'! event-error.vbs(6, 3): *: Type mismatch (0x800A000D)
'= 2
Sub Control_WinSockCurrentState(number)
  WScript.Echo "state"
  x = CLng("x")
  WScript.Echo "not reached"
End Sub
Set control = WScript.CreateObject("CronvelOCX.Cronvel", "Control_")
On Error Resume Next
WScript.Sleep 50000
