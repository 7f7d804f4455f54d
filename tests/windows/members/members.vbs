' What members-native's script stands on: it is put in front of it.
Option Explicit
On Error Resume Next

Dim control, result, heard, socketState, progress, host, i, v1, v2, v3, v4, v5, v6, v7
heard = ""
progress = ""
Set control = WScript.CreateObject("CronvelOCX.Cronvel", "Control_")
If Err.Number <> 0 Then WScript.Echo "no control: " & Err.Description

Function Described(value)
  If IsArray(value) Then
    Described = LBound(value) & ".." & UBound(value) & Digits(value, UBound(value))
  ElseIf IsEmpty(value) Then
    Described = "Empty"
  Else
    Described = TypeName(value) & " " & value
  End If
End Function

Function Digits(bytes, last)
  Dim n, text
  For n = 0 To last
    text = text & " " & bytes(n)
  Next
  Digits = text
End Function

' Prints what became of a call.
Sub Said(what)
  Dim parts
  If Err.Number <> 0 Then
    ' Behind a bracket stands what the machine calls things.
    parts = Split(Err.Description, " (")
    WScript.Echo what & progress & ": error " & Err.Number & " " & parts(0)
  Else
    WScript.Echo what & progress & ": " & Described(result)
  End If
  Err.Clear
  result = Empty
  progress = ""
End Sub

Sub Control_AddFileProgressInit(count)
  progress = progress & " of " & count
End Sub
Sub Control_AddFileProgressInc(count)
  progress = progress & " " & count
End Sub
Sub Control_DataReceivedForMonitoring(bytes, length)
  heard = heard & Digits(bytes, length - 1)
End Sub
Sub Control_WinSockDataReceived(bytes, length, host, address, loops, calls)
  heard = heard & Digits(bytes, length - 1)
End Sub
Sub Control_WinSockCurrentState(state)
  socketState = state
End Sub

' Waits for so many bytes and prints them, but for the time of day in a live event.
Sub Hear(what, count)
  Dim n, bytes, text
  For n = 1 To 50
    bytes = Split(heard, " ")
    If UBound(bytes) >= count Then Exit For
    WScript.Sleep 100
  Next
  text = what & ":"
  For n = 1 To UBound(bytes)
    If n > count Then Exit For
    If what = "live event" And (n = 6 Or n = 7) Then bytes(n) = "*"
    text = text & " " & bytes(n)
  Next
  WScript.Echo text
  heard = ""
End Sub

Sub AwaitState(wanted)
  Dim n
  For n = 1 To 100
    If socketState = wanted Then Exit For
    WScript.Sleep 50
  Next
  WScript.Sleep 200
End Sub

