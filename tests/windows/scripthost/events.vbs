'> Change 41 0 پیش 7 2.5
'> 0 42 -1 پیشرفت 200 8204
'> Data 2 3 2
'> 0 17 10 20 30
'> Data 2 3 2
'> 0 17 10 20 30
'> Data 2 3 -1
'> 0 17 9 8
'> Wide 4000000000 -5 2
'> 0 8209
'> silent: Change 41 0 پیش 7 2.5
'> 0 42 -1 پیشرفت 200 8204
'> 4321
'> other 4
'> 4321
'> released
'> released
'= 0
' Every kind of argument there and back; events while the script sleeps.
Option Explicit
Dim source, ticks
Sub Source_Change(number, yes, text, octet, any)
  WScript.Echo "Change", number, yes, text, octet, any
  number = number + 1
  yes = True
  text = text & "رفت"
  octet = "200"
  any = Array(1, 2)
End Sub
Sub Source_Data(given, changed)
  Dim i
  WScript.Echo "Data", UBound(given), given(2), UBound(changed)
  If UBound(changed) < 0 Then
    changed = Array(9, 8)
  Else
    For i = 0 To UBound(changed)
      changed(i) = changed(i) * 10
    Next
  End If
End Sub
Sub Source_Wide(large, little, any)
  WScript.Echo "Wide", large, little, any(1)
End Sub
Sub SOURCE_tick(number)
  ticks = ticks & number
End Sub

Set source = WScript.CreateObject("Cronvel.TestSource", "Source_")
WScript.Echo source.Change
WScript.Echo source.Data(0)
WScript.Echo source.Data(1)
WScript.Echo source.Data(2)
WScript.Echo source.Wide
' This one is known by its type library only.
Set source = CreateObject("Cronvel.TestSource.Silent")
WScript.ConnectObject source, "Source_"
WScript.StdOut.Write "silent: "
WScript.Echo source.Change
source.Start 20, 4
WScript.Sleep 300
WScript.Echo ticks

Sub Other_Tick(number)
  WScript.Echo "other", number
  WScript.DisconnectObject source
End Sub
WScript.DisconnectObject source
WScript.ConnectObject source, "Other_"
source.Start 20, 4
WScript.Sleep 300
WScript.Echo ticks
