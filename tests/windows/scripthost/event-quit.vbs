'> tick
'= 9
Sub Leave
  WScript.Quit 9
End Sub
Sub Source_Tick(number)
  On Error Resume Next
  WScript.Echo "tick"
  Leave
  WScript.Echo "not reached"
End Sub
Set source = WScript.CreateObject("Cronvel.TestSource", "Source_")
source.Start 10, 5
WScript.Sleep 500
WScript.Echo "not reached"
