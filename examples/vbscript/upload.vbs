' Loads a list of card numbers into a terminal and shows the progress. For example
'
'   cscript //nologo upload.vbs 3 12 C:\cards.txt
'   cscript //nologo upload.vbs 192.168.1.20:8085 12 C:\cards.txt
'
' The first argument is the number of the serial port, or the terminal's own address and port. The
' file holds numbers of up to four digits, one to a line or separated by commas.
' Exit code: 0 the terminal took the list, 1 it did not, 2 wrong use, 3 a run-time error.
Option Explicit

Const cardAccepted = 24, cardNoReply = 255

Dim control, host, total, reply

If WScript.Arguments.Count <> 3 Then
  WScript.Echo "usage: upload.vbs PORT|HOST:PORT DEVICE FILE"
  WScript.Quit 2
End If

' From here on every step is followed by a look at Err.
On Error Resume Next
' With a prefix the host calls Cards_... for the control's events. A host that cannot do that still
' loads the list, without showing how far it is.
Set control = WScript.CreateObject("CronvelOCX.Cronvel", "Cards_")
If Err.Number <> 0 Then
  Err.Clear
  Set control = CreateObject("CronvelOCX.Cronvel")
End If
StopIfFailed "making the control"
host = ChooseLine(WScript.Arguments(0))
StopIfFailed "choosing the port"
control.DeviceNum = WScript.Arguments(1)
StopIfFailed "choosing the terminal"

reply = control.AddCardFile(host, WScript.Arguments(2))
StopIfFailed "loading the list"
If reply = cardAccepted Then
  WScript.Echo "the terminal has the list"
  WScript.Quit 0
ElseIf reply = cardNoReply Then
  WScript.Echo "terminal " & control.DeviceNum & " does not answer"
Else
  WScript.Echo "the terminal refused the list: " & reply
End If
WScript.Quit 1

' Once, before the first card.
Sub Cards_AddFileProgressInit(nMax)
  total = nMax
  WScript.Echo total & " cards"
End Sub

' After each card.
Sub Cards_AddFileProgressInc(nValue)
  If nValue Mod 10 = 0 Or nValue = total Then WScript.Echo nValue & " of " & total
End Sub

' Returns what a command takes as its first argument: nothing for the serial line, else the
' terminal's address.
Function ChooseLine(text)
  Dim parts
  parts = Split(text, ":")
  If UBound(parts) = 0 Then
    control.CommPort = text
    ChooseLine = ""
  Else
    ' This mode member is the one that gives the remote port to the socket.
    control.WinSockRemoteHost = parts(0)
    control.WinSockRemotePort = parts(1)
    control.SetWinSockUDPMode 0
    ChooseLine = parts(0)
  End If
End Function

Sub StopIfFailed(what)
  If Err.Number = 0 Then Exit Sub
  WScript.Echo what & ": error " & Err.Number & ": " & Err.Description & " (" & Err.Source & ")"
  WScript.Quit 3
End Sub
