' Downloads all records of a terminal and checks the file. For example
'
'   cscript //nologo download.vbs 3 12 C:\records\march.Hex
'   cscript //nologo download.vbs network:8085 12 C:\records\march.Hex
'
' The first argument is the number of the serial port, or the network port to which the terminal
' connects in. The second is the terminal's number. A fourth one is the speed on the serial line.
' Exit code: 0 the file is whole, 1 it is not or the terminal does not answer, 2 wrong use,
' 3 a run-time error.
Option Explicit

Dim control, host, file, answers, result

If WScript.Arguments.Count < 3 Then
  WScript.Echo "usage: download.vbs PORT|network:PORT DEVICE FILE.Hex [SPEED]"
  WScript.Quit 2
End If
file = WScript.Arguments(2)

' From here on every step is followed by a look at Err.
On Error Resume Next
Set control = CreateObject("CronvelOCX.Cronvel")
StopIfFailed "making the control"
host = ChooseLine(WScript.Arguments(0))
StopIfFailed "choosing the port"
control.DeviceNum = WScript.Arguments(1)
StopIfFailed "choosing the terminal"
If WScript.Arguments.Count > 3 Then control.BPS = WScript.Arguments(3)
StopIfFailed "choosing the speed"

answers = control.TestConnection(host)
StopIfFailed "testing the connection"
If Not answers Then
  WScript.Echo "terminal " & control.DeviceNum & " does not answer"
  WScript.Quit 1
End If

result = control.GetData(host, file)
StopIfFailed "downloading"
WScript.Echo control.NumOfRecs & " records, " & control.DamagedRecs & " damaged"
If result = 0 Then
  WScript.Echo "the file is whole"
Else
  WScript.Echo "the file is not whole"
End If
WScript.Quit result

' Returns what a command takes as its first argument: nothing for the serial line, else a text that
' ends with the port to listen on.
Function ChooseLine(text)
  If LCase(Left(text, 8)) <> "network:" Then
    control.CommPort = text
    ChooseLine = ""
  Else
    ' A download listens on the port that socket 0 has.
    control.SetWinSockLocalPort 0, Mid(text, 9)
    ChooseLine = "terminal-" & Mid(text, 9)
  End If
End Function

Sub StopIfFailed(what)
  If Err.Number = 0 Then Exit Sub
  WScript.Echo what & ": error " & Err.Number & ": " & Err.Description & " (" & Err.Source & ")"
  WScript.Quit 3
End Sub
