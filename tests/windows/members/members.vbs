' What members-native's script stands on: it is put in front of it.
Option Explicit
On Error Resume Next

Dim control, result, events, progress
Set control = WScript.CreateObject("CronvelOCX.Cronvel", "Control_")
If Err.Number <> 0 Then WScript.Echo "no control: " & Err.Description

Function Described(value)
  Dim element
  If IsArray(value) Then
    Described = LBound(value) & ".." & UBound(value)
    For Each element In value
      Described = Described & " " & element
    Next
  ElseIf IsEmpty(value) Then
    Described = "Empty"
  Else
    Described = TypeName(value) & " " & value
  End If
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

' Prints whether an event of the last call's comes.
Sub Await(what)
  Dim n
  For n = 1 To 400
    If InStr(events, "|" & what & "|") Then Exit For
    WScript.Sleep 50
  Next
  WScript.Echo what & ": Boolean " & (InStr(events, "|" & what & "|") > 0)
End Sub

Sub Control_AddFileProgressInit(count)
  progress = progress & " of " & count
End Sub
Sub Control_AddFileProgressInc(count)
  progress = progress & " " & count
End Sub
Sub Control_DataReceivedForMonitoring(bytes, length)
  Dim byteHeard
  For Each byteHeard In bytes
    events = events & "byte " & byteHeard & "|"
  Next
End Sub
Sub Control_WinSockDataReceived(bytes, length, host, address, loops, calls)
  Control_DataReceivedForMonitoring bytes, length
End Sub
Sub Control_WinSockCurrentState(state)
  events = events & "state " & state & "|"
End Sub

