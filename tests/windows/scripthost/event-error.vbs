'> tick
'! event-error.vbs(7, 3): *: Type mismatch (0x800A000D)
'= 2
Sub Source_Tick(number)
  Dim x
  WScript.Echo "tick"
  x = CLng("x")
  WScript.Echo "not reached"
End Sub
Set source = WScript.CreateObject("Cronvel.TestSource", "Source_")
source.Start 10, 5
On Error Resume Next
WScript.Sleep 500
WScript.Echo "not reached"
